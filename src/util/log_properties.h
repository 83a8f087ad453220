// Reads the property file that configures logging. log_configuration.h says what its keys mean.
//
// - A line is "key = value", blank, or a comment, which begins with "#". In a value " #" begins a
//   comment, too.
// - Blanks around key and value are dropped, and so is "log4cpp." or "log4j." before the key.
// - Of two lines with the same key the later one counts.
// - "${NAME}" in a value is replaced by a variable of the caller, never by one of the environment.
//   The text of a variable is not searched for further variables.
#pragma once

#include <filesystem>
#include <functional>
#include <map>
#include <string>
#include <string_view>

namespace sourcetype {

struct LogSetting {
  std::string value;
  std::filesystem::path file;  // that has the setting
};

using LogProperties = std::map<std::string, LogSetting, std::less<>>;

// Collects the faults of a logging configuration.
class LogComplaints {
 public:
  void add(const std::filesystem::path& file, std::string_view reason);
  bool empty() const { return text_.empty(); }
  // A line "FILE: REASON." for each fault.
  const std::string& text() const { return text_; }

 private:
  std::string text_;
};

// The settings of `file`. Settings of its optional "-local" sibling (of "a.cfg": "a-local.cfg")
// replace those with the same key. Each of the following adds a complaint: a file that cannot be
// read or is too large has no settings; a line of another form is skipped; a setting that names an
// unknown variable is dropped.
LogProperties readLogProperties(const std::filesystem::path& file,
                                const std::map<std::string, std::string>& variables,
                                LogComplaints& complaints);

}  // namespace sourcetype
