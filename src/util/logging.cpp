#include "util/logging.h"

#include <cstdio>

namespace sourcetype {
bool LogCategory::isEnabled(LogLevel level) const { return level >= LogLevel::Warn; }
void LogCategory::write(LogLevel, const std::string& record) const {
  std::fprintf(stderr, "%s - %s\n", name_, record.c_str());
}
}  // namespace sourcetype
