#include "util/text.h"

namespace sourcetype {

std::vector<std::string_view> split(std::string_view text, std::string_view separators) {
  std::vector<std::string_view> pieces;
  while (true) {
    const auto end = text.find_first_of(separators);
    pieces.push_back(text.substr(0, end));
    if (end == std::string_view::npos) return pieces;
    text.remove_prefix(end + 1);
  }
}

}  // namespace sourcetype
