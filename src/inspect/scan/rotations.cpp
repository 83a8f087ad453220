#include "inspect/scan/rotations.h"

#include <algorithm>

#include "util/regex.h"
#include "util/text.h"

namespace sourcetype {
namespace {

// A date or seconds since 1970, a number, and "old". Each once: a second number is a part of the
// name, as in an address.
constexpr std::string_view kRotated =
    R"((?:[-._]\d{4}-?\d\d-?\d\d(?:[-_T.]?\d\d(?:[-.:]?\d\d){0,2})?|[-.]\d{10})?)"
    R"((?:\.\d{1,4})?(?:\.old)?)";

const Regex& rotationExpression() {
  static const Regex expression(std::string("^(.+?)")
                                    .append(kRotated)
                                    .append(R"((\.(?:log|txt|out|err|json|csv))?)")
                                    .append(kRotated)
                                    .append(R"((?:\.(?:gz|xz|bz2|zst|lz4))?$)"),
                                Regex::kNoOptions, Regex::Compile::ToMachineCode);
  return expression;
}

}  // namespace

std::string rotatedLogName(std::string_view file) {
  const auto slash = file.find_last_of("/\\");
  const std::size_t begin = slash == std::string_view::npos ? 0 : slash + 1;
  const auto name = file.substr(begin);
  MatchResult parts;
  if (!rotationExpression().match(name, parts)) return std::string(file);
  const auto stem = parts.text(1, name);
  if (std::ranges::none_of(stem, [](char c) { return isAsciiLetter(c); })) return std::string(file);
  return std::string(file.substr(0, begin)).append(stem).append(parts.text(2, name));
}

void Rotations::add(const std::string& file, const std::string& sourcetype) {
  const auto [found, isNew] = logs_.try_emplace(rotatedLogName(file));
  Seen& seen = found->second;
  if (isNew) {
    seen.sourcetype = sourcetype;
    seen.file = file;
    if (logs_.size() > kMaxLogs) logs_.erase(found == logs_.begin() ? found : logs_.begin());
    return;
  }
  if (seen.sourcetype != sourcetype && !seen.isCounted) {
    seen.isCounted = true;
    ++count_;
    if (disagreeing_.size() < kMaxKept) {
      disagreeing_.push_back({.name = found->first, .firstFiles = {{seen.sourcetype, seen.file}}});
      seen.kept = disagreeing_.size();
    }
  }
  if (seen.kept > 0) disagreeing_[seen.kept - 1].firstFiles.try_emplace(sourcetype, file);
}

}  // namespace sourcetype
