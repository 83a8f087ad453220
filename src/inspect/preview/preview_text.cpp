#include "inspect/preview/preview_text.h"

#include <fmt/core.h>

#include <algorithm>
#include <span>
#include <string_view>
#include <vector>

#include "inspect/preview/setting_problems.h"
#include "timestamp/instant_text.h"
#include "util/utf8.h"

namespace sourcetype {
namespace {

// What a person reads of one event.
constexpr std::size_t kMaxShownLines = 50;
constexpr std::size_t kMaxShownBytes = 2000;  // of a line

std::string timeText(const Timestamp& time) {
  return instantText(time.seconds, time.nanoseconds, time.utcOffset);
}

// Tabs stay: they align columns and do no harm.
std::string harmlessExceptTabs(std::string_view text) {
  std::string result;
  for (auto tab = text.find('\t'); tab != std::string_view::npos; tab = text.find('\t')) {
    result += harmless(text.substr(0, tab)) + '\t';
    text.remove_prefix(tab + 1);
  }
  return result + harmless(text);
}

std::string marked(std::string_view text, const Output& out) {
  const auto shown = harmlessExceptTabs(text);
  const auto painted = out.paint(Style::Mark, shown);
  return painted == shown ? ">>" + shown + "<<" : painted;
}

// The bytes of a line that are shown, up to the end of a character.
std::size_t shownBytes(std::string_view line) {
  if (line.size() <= kMaxShownBytes) return line.size();
  std::size_t end = kMaxShownBytes;
  while (end > 0 && isUtf8Continuation(byteAt(line, end))) --end;
  return end;
}

// A line of an event that starts at the byte `begin` of its text.
std::string lineText(std::string_view line, std::size_t begin, std::span<const TimestampSpan> spans,
                     const Output& out) {
  const std::size_t end = shownBytes(line);
  std::string text;
  std::size_t at = 0;
  for (const auto& span : spans) {
    const auto inLine = [&](std::ptrdiff_t offset) {
      const auto place = static_cast<std::size_t>(offset);
      return std::clamp(place < begin ? 0 : place - begin, at, std::max(at, end));
    };
    const auto from = inLine(span.start);
    const auto to = inLine(span.end);
    if (from >= to) continue;
    text +=
        harmlessExceptTabs(line.substr(at, from - at)) + marked(line.substr(from, to - from), out);
    at = to;
  }
  text += harmlessExceptTabs(line.substr(at, end - at));
  if (end < line.size()) {
    const auto rest = fmt::format(" ... {}", counted(line.size() - end, "more byte"));
    text += out.paint(Style::Dim, rest);
  }
  return text;
}

std::string timePart(const PreviewEvent& event, const Output& out) {
  std::string text = event.time ? timeText(*event.time) : out.paint(Style::Bad, "no time");
  if (event.isInherited()) text += " (inherited)";
  if (event.isOutOfOrder) text += out.paint(Style::Bad, " out of order");
  if (event.refused) {
    text += out.paint(Style::Bad, fmt::format(" out of limits: {}", timeText(*event.refused)));
  }
  return text;
}

std::string row(std::string_view name, const std::string& value) {
  return fmt::format("{:<21}{}\n", name, value);
}

std::string countRow(std::string_view name, const EventCount& events, const Output& out) {
  if (events.count == 0) return row(name, "0");
  const auto text = out.paint(Style::Bad, fmt::format("{}", events.count));
  return row(name, fmt::format("{} (first #{})", text, events.first));
}

std::string unreadText(const Preview& preview) {
  if (preview.unreadLines == 0) return "the rest was not read\n";
  const auto lines = counted(preview.unreadLines, "more line");
  const auto verb = preview.unreadLines == 1 ? "was" : "were";
  return preview.isWhole ? fmt::format("{} {} not read\n", lines, verb)
                         : fmt::format("at least {} {} not read\n", lines, verb);
}

}  // namespace

std::string headText(const Preview& preview, const std::string& file, const Output& out) {
  auto text = out.paint(Style::Heading, harmless(file)) + " as " +
              (preview.sourcetype.empty() ? "no sourcetype" : harmless(preview.sourcetype)) + '\n';
  for (const auto& key : previewKeys()) {
    const auto value = preview.settings.tryGet(key);
    if (value)
      text += out.paint(Style::Dim, fmt::format("  {} = {}", key, harmless(*value))) + '\n';
  }
  return text;
}

std::string eventText(const PreviewEvent& event, std::size_t number, const Output& out) {
  const auto place = event.lines == 1 ? fmt::format("line {}", event.line)
                                      : fmt::format("line {}, {} lines", event.line, event.lines);
  auto text = fmt::format("\n{}  {}  {}\n", out.paint(Style::Heading, fmt::format("#{}", number)),
                          place, timePart(event, out));
  const auto spans = stampSpans(event);
  const std::string_view all = event.text;
  std::size_t begin = 0;
  for (std::size_t line = 0; line < std::min(event.lines, kMaxShownLines); ++line) {
    const auto end = std::min(all.find('\n', begin), all.size());
    text += "  " + lineText(all.substr(begin, end - begin), begin, spans, out) + '\n';
    begin = end + 1;
  }
  if (event.lines > kMaxShownLines) {
    const auto rest = counted(event.lines - kMaxShownLines, "more line");
    text += out.paint(Style::Dim, fmt::format("  ... {}\n", rest));
  }
  return text;
}

std::string summaryText(const Preview& preview, const PreviewSummary& summary, const Output& out) {
  auto text =
      "\n" + row("events", fmt::format("{} of {}", summary.events, counted(preview.lines, "line")));
  if (summary.events > 0) {
    text += row("lines of an event", fmt::format("median {}, longest {} (#{})", summary.medianLines,
                                                 summary.maxLines, summary.longestEvent));
  }
  if (summary.first) {
    text += row("times", timeText(*summary.first) + " to " + timeText(*summary.last));
  }
  text += countRow("without a timestamp", summary.withoutStamp, out);
  text += countRow("out of limits", summary.outOfLimits, out);
  text += countRow("out of order", summary.outOfOrder, out);
  if (preview.cutLines > 0) text += row("cut lines", fmt::format("{}", preview.cutLines));
  if (preview.unreadLines > 0 || !preview.isWhole) text += unreadText(preview);
  return text;
}

}  // namespace sourcetype
