// Configures logging (util/logging.h) from a property file (util/log_properties.h):
//
//   rootCategory = LEVEL[, APPENDER...]
//   category.NAME = [LEVEL][, APPENDER...]
//   additivity.NAME = true | false
//   appender.NAME = TYPE
//   appender.NAME.threshold = LEVEL
//   appender.NAME.layout = BasicLayout | SimpleLayout | PatternLayout
//   appender.NAME.layout.ConversionPattern = PATTERN
//
//   TYPE                      further keys of the appender
//   ConsoleAppender           .target = stdout | stderr
//   FileAppender              .fileName, .append = true | false
//   RollingFileAppender       .fileName, .append, .maxFileSize (bytes), .maxBackupIndex
//   DailyRollingFileAppender  .fileName, .append, .maxDaysKeep
//   SyslogAppender            .syslogName, .syslogHost, .portNumber (UDP)
//
// - A level is a name or its number in the back end's scale. A category without a level has the
//   root's.
// - additivity = false keeps the records of a category from the root's appenders.
// - A type may have a path before its name ("org.x.FileAppender").
// - An appender that no category names is not made.
#pragma once

#include <filesystem>
#include <map>
#include <string>

namespace sourcetype {

// Configures the back end from `file`; replaces the configuration of an earlier call. A value that
// cannot be used counts as not set, an appender that cannot be used as not named. If the root
// category is missing or has no usable appender, records of its level and above go to standard
// error; without a level that is WARN. Returns one line for each fault, with its file; empty if
// there is none.
std::string configureLogging(const std::filesystem::path& file,
                             const std::map<std::string, std::string>& variables);

}  // namespace sourcetype
