#include "inspect/report/script_text.h"

#include <nlohmann/json.hpp>
#include <string_view>

namespace sourcetype {

std::string scriptText(const Json& json) {
  // In JSON, "<" is only in strings, where it may be written as an escape.
  constexpr std::string_view kLess = "\\u003c";
  const auto plain = json.dump(-1, ' ', false, Json::error_handler_t::replace);
  std::string text;
  text.reserve(plain.size());
  for (const char c : plain) {
    if (c == '<') {
      text += kLess;
    } else {
      text += c;
    }
  }
  return text;
}

}  // namespace sourcetype
