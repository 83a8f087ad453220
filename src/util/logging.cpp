#include "util/logging.h"

#include <log4cpp/Category.hh>
#include <log4cpp/Priority.hh>

namespace sourcetype {
namespace {

using log4cpp::Priority;

Priority::Value priorityOf(LogLevel level) {
  switch (level) {
    case LogLevel::Debug:
      return Priority::DEBUG;
    case LogLevel::Info:
      return Priority::INFO;
    case LogLevel::Warn:
      return Priority::WARN;
    case LogLevel::Error:
      break;
  }
  return Priority::ERROR;
}

}  // namespace

bool LogCategory::isEnabled(LogLevel level) const {
  return backEnd().isPriorityEnabled(priorityOf(level));
}

void LogCategory::write(LogLevel level, const std::string& record) const {
  backEnd().log(priorityOf(level), record);
}

log4cpp::Category& LogCategory::backEnd() const {
  log4cpp::Category* found = backEnd_;
  if (found == nullptr) backEnd_ = found = &log4cpp::Category::getInstance(name_);
  return *found;
}

}  // namespace sourcetype
