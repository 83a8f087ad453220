#include "inspect/line_diff.h"

#include <fmt/core.h>

#include <algorithm>
#include <cstdint>
#include <span>

namespace sourcetype {
namespace {

constexpr std::size_t kContext = 3;

// Cells of the table of common lines, 16 MB. Edits of configuration change few lines of a file, and
// only the part from the first to the last change needs cells.
constexpr std::size_t kMaxCells = 4'000'000;

using Lines = std::vector<std::string_view>;

Lines linesOf(std::string_view text) {
  Lines lines;
  while (!text.empty()) {
    const auto end = std::min(text.find('\n'), text.size() - 1) + 1;
    lines.push_back(text.substr(0, end));
    text.remove_prefix(end);
  }
  return lines;
}

void append(std::vector<DiffLine>& result, char kind, std::span<const std::string_view> lines) {
  for (const auto line : lines) result.push_back({.kind = kind, .line = line});
}

// The difference of two lists, by a table of the longest common sequences of their ends.
void appendDiff(std::vector<DiffLine>& result, std::span<const std::string_view> before,
                std::span<const std::string_view> after) {
  const std::size_t columns = after.size() + 1;
  if (before.size() >= kMaxCells / columns) {
    append(result, '-', before);
    append(result, '+', after);
    return;
  }
  std::vector<std::uint32_t> common((before.size() + 1) * columns);
  for (std::size_t i = before.size(); i-- > 0;) {
    for (std::size_t j = after.size(); j-- > 0;) {
      common[i * columns + j] = before[i] == after[j] ? common[(i + 1) * columns + j + 1] + 1
                                                      : std::max(common[(i + 1) * columns + j],
                                                                 common[i * columns + j + 1]);
    }
  }
  std::size_t i = 0;
  std::size_t j = 0;
  while (i < before.size() && j < after.size()) {
    if (before[i] == after[j]) {
      result.push_back({.kind = ' ', .line = before[i]});
      ++i;
      ++j;
    } else if (common[(i + 1) * columns + j] >= common[i * columns + j + 1]) {
      result.push_back({.kind = '-', .line = before[i++]});
    } else {
      result.push_back({.kind = '+', .line = after[j++]});
    }
  }
  append(result, '-', before.subspan(i));
  append(result, '+', after.subspan(j));
}

bool isCommon(const DiffLine& line) {
  return line.kind == ' ';
}

// The end of the hunk that has the change at `change`. At most twice the context separates the
// changes of a hunk.
std::size_t endOfHunk(std::span<const DiffLine> lines, std::size_t change) {
  std::size_t last = change;
  for (std::size_t i = change; i < lines.size() && i <= last + 2 * kContext + 1; ++i) {
    if (!isCommon(lines[i])) last = i;
  }
  return std::min(last + 1 + kContext, lines.size());
}

// "4,2": the first line and the number of lines. For no lines, the number of the line before.
std::string rangeText(std::size_t before, std::size_t count) {
  return count == 1 ? fmt::format("{}", before + 1)
                    : fmt::format("{},{}", count == 0 ? before : before + 1, count);
}

}  // namespace

std::vector<DiffLine> diffLines(std::string_view before, std::string_view after) {
  const Lines left = linesOf(before);
  const Lines right = linesOf(after);
  const auto start =
      static_cast<std::size_t>(std::ranges::mismatch(left, right).in1 - left.begin());
  const std::size_t shorter = std::min(left.size(), right.size());
  std::size_t end = 0;
  while (end < shorter - start && left[left.size() - 1 - end] == right[right.size() - 1 - end])
    ++end;
  std::vector<DiffLine> result;
  const std::span all(left);
  append(result, ' ', all.first(start));
  appendDiff(result, all.subspan(start, left.size() - start - end),
             std::span(right).subspan(start, right.size() - start - end));
  append(result, ' ', all.last(end));
  return result;
}

DiffCounts countChanges(const std::vector<DiffLine>& lines) {
  return {.added = static_cast<std::size_t>(std::ranges::count(lines, '+', &DiffLine::kind)),
          .removed = static_cast<std::size_t>(std::ranges::count(lines, '-', &DiffLine::kind))};
}

std::string unifiedHunks(const std::vector<DiffLine>& lines) {
  std::string text;
  std::size_t before = 0;  // lines of each text so far
  std::size_t after = 0;
  std::size_t done = 0;
  const auto skipTo = [&](std::size_t end) {
    for (; done < end; ++done) {
      if (lines[done].kind != '+') ++before;
      if (lines[done].kind != '-') ++after;
    }
  };
  while (true) {
    const auto change = static_cast<std::size_t>(
        std::ranges::find_if_not(lines.begin() + static_cast<std::ptrdiff_t>(done), lines.end(),
                                 isCommon) -
        lines.begin());
    if (change == lines.size()) return text;
    const std::size_t end = endOfHunk(lines, change);
    skipTo(std::max(done, change - std::min(change, kContext)));
    const std::size_t first = done;
    const std::size_t firstBefore = before;
    const std::size_t firstAfter = after;
    skipTo(end);
    text += fmt::format("@@ -{} +{} @@\n", rangeText(firstBefore, before - firstBefore),
                        rangeText(firstAfter, after - firstAfter));
    for (std::size_t i = first; i < end; ++i) {
      text.append(1, lines[i].kind).append(lines[i].line);
      if (!lines[i].line.ends_with('\n')) text += "\n\\ No newline at end of file\n";
    }
  }
}

}  // namespace sourcetype
