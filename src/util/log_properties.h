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
#include <stdexcept>
#include <string>

namespace sourcetype {

using LogProperties = std::map<std::string, std::string, std::less<>>;

// A logging configuration that cannot be used. The text says where and why.
class LogConfigurationError : public std::runtime_error {
 public:
  using std::runtime_error::runtime_error;
};

// The settings of `file`, with those of its "-local" sibling ("a.cfg": "a-local.cfg") laid over
// them key by key where there is one. Throws LogConfigurationError when a file cannot be read, is
// larger than any configuration, holds a line of another form or names an unknown variable.
LogProperties readLogProperties(const std::filesystem::path& file,
                                const std::map<std::string, std::string>& variables);

}  // namespace sourcetype
