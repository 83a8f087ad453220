// The appenders of the logging back end, made from the settings of a logging configuration.
#pragma once

#include <log4cpp/Appender.hh>

#include <memory>
#include <string>

#include "util/log_properties.h"

namespace sourcetype {

// The appender `name` with its layout and threshold. Null when it cannot be used, of which
// `complaints` has the reason.
std::unique_ptr<log4cpp::Appender> makeLogAppender(const LogProperties& properties,
                                                   const std::string& name,
                                                   LogComplaints& complaints);

// The appender that is made when a configuration has none. It writes to standard error.
std::unique_ptr<log4cpp::Appender> makeFallbackLogAppender();

}  // namespace sourcetype
