#include "inspect/report/html_text.h"

#include <fmt/core.h>

#include <algorithm>
#include <array>

#include "util/utf8.h"

namespace sourcetype {
namespace {

struct Range {
  char32_t first, last;
};

// As visible() in page.js.
constexpr std::array kInvisible{Range{0x00, 0x08},     Range{0x0B, 0x1F},     Range{0x7F, 0x9F},
                                Range{0x200B, 0x200F}, Range{0x2028, 0x202E}, Range{0x2060, 0x2069},
                                Range{0xFEFF, 0xFEFF}};

// The first character of valid UTF-8.
char32_t characterOf(std::string_view text) {
  const std::size_t length = lengthByLead(byteAt(text, 0));
  if (length == 1) return byteAt(text, 0);
  char32_t character = byteAt(text, 0) & (0xFFU >> (length + 1));
  for (std::size_t i = 1; i < length; ++i)
    character = (character << 6U) | (byteAt(text, i) & 0x3FU);
  return character;
}

std::string_view entityOf(char32_t character) {
  switch (character) {
    case '&':
      return "&amp;";
    case '<':
      return "&lt;";
    case '>':
      return "&gt;";
    case '"':
      return "&quot;";
    case '\'':
      return "&#39;";
    default:
      return {};
  }
}

}  // namespace

std::string htmlText(std::string_view text) {
  const std::string valid = withInvalidUtf8Replaced(text);
  std::string html;
  std::string_view rest = valid;
  while (!rest.empty()) {
    const char32_t character = characterOf(rest);
    const auto bytes = rest.substr(0, lengthByLead(byteAt(rest, 0)));
    const auto escape = entityOf(character);
    const bool isInvisible = std::ranges::any_of(kInvisible, [&](const Range& range) {
      return range.first <= character && character <= range.last;
    });
    if (isInvisible) {
      html += fmt::format("\\u{{{:X}}}", static_cast<std::uint32_t>(character));
    } else {
      html += escape.empty() ? bytes : escape;
    }
    rest.remove_prefix(bytes.size());
  }
  return html;
}

}  // namespace sourcetype
