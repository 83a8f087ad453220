#include "platform/temporary_name.h"

#include <algorithm>
#include <chrono>
#include <string>
#include <string_view>

#include "platform/environment.h"
#include "platform/path_form.h"

namespace sourcetype {
namespace {

constexpr std::string_view kExtension = ".tmp";

// Removes the digits at the start of `text`; false if there are none.
bool takeNumber(std::string_view& text) {
  const auto digits = std::min(text.find_first_not_of("0123456789"), text.size());
  text.remove_prefix(digits);
  return digits > 0;
}

bool take(std::string_view& text, std::string_view prefix) {
  if (!text.starts_with(prefix)) return false;
  text.remove_prefix(prefix.size());
  return true;
}

}  // namespace

std::filesystem::path temporaryName(std::filesystem::path target) {
  const auto now = std::chrono::system_clock::now().time_since_epoch();
  target += "." + std::to_string(processId()) + "-";
  target += std::to_string(std::chrono::nanoseconds(now).count());
  target += kExtension;
  return target;
}

bool isTemporaryName(const std::filesystem::path& name, const std::filesystem::path& target) {
  const std::string text = pathToText(name);
  std::string_view rest = text;
  return take(rest, pathToText(target)) && take(rest, ".") && takeNumber(rest) && take(rest, "-") &&
         takeNumber(rest) && rest == kExtension;
}

}  // namespace sourcetype
