#include "inspect/check/findings.h"

#include <fmt/core.h>

#include <algorithm>
#include <tuple>

#include "platform/path_form.h"
#include "util/utf8.h"

namespace sourcetype {
namespace {

// Bytes of a text that a message shows.
constexpr std::size_t kMaxQuoted = 80;

auto orderOf(const Finding& finding) {
  return std::tie(finding.place.file, finding.place.line, finding.message);
}

}  // namespace

std::string_view levelName(Level level) {
  return level == Level::Error ? "error" : "warning";
}

std::vector<Finding> Findings::sorted() const {
  auto sorted = found_;
  std::ranges::sort(sorted, [](const auto& a, const auto& b) { return orderOf(a) < orderOf(b); });
  const auto isSame = [](const auto& a, const auto& b) { return orderOf(a) == orderOf(b); };
  sorted.erase(std::unique(sorted.begin(), sorted.end(), isSame), sorted.end());
  return sorted;
}

std::string quoted(std::string_view text) {
  if (text.size() <= kMaxQuoted) return fmt::format("\"{}\"", text);
  std::size_t end = kMaxQuoted;
  while (end > 0 && isUtf8Continuation(byteAt(text, end))) --end;
  return fmt::format("\"{}...\"", text.substr(0, end));
}

std::string placeText(const Place& place) {
  return fmt::format("{}:{}", pathToText(place.file), place.line);
}

}  // namespace sourcetype
