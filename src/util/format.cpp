#include "util/format.h"

namespace sourcetype {
std::string formatText(std::string_view format, std::span<const FormatArgument>) {
  return std::string(format);
}
}  // namespace sourcetype
