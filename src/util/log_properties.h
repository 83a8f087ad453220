// The property file that configures logging: reading it, nothing of what its keys mean.
//
// A line is "key = value", blank, or a comment (its first character is "#"); " #" in a value begins
// a comment too. Blanks around key and value do not count, nor does a "log4cpp." or "log4j." before
// the key; of two lines with the same key the later one counts. "${NAME}" in a value stands for a
// variable of the caller's, never for one of the environment, and what it gives is not looked at
// again.
#pragma once

#include <filesystem>
#include <functional>
#include <map>
#include <string>
#include <string_view>

namespace sourcetype {

struct LogSetting {
  std::string value;
  std::filesystem::path file;  // that it stands in
};

using LogProperties = std::map<std::string, LogSetting, std::less<>>;

// What is wrong with a logging configuration.
class LogComplaints {
 public:
  void add(const std::filesystem::path& file, std::string_view reason);
  bool empty() const { return text_.empty(); }
  // "FILE: REASON." for each fault, with a newline after it. Reasons are one line each.
  const std::string& text() const { return text_; }

 private:
  std::string text_;
};

// The settings of `file`, with those of its "-local" sibling ("a.cfg": "a-local.cfg") laid over
// them key by key where there is one. A file that cannot be read, or is larger than any
// configuration, has no settings; lines of another form are skipped, and so are values that name an
// unknown variable. All of these are complained of.
LogProperties readLogProperties(const std::filesystem::path& file,
                                const std::map<std::string, std::string>& variables,
                                LogComplaints& complaints);

}  // namespace sourcetype
