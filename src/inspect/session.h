// What all verbs of one run share: the common options, the output and the exit status.
#pragma once

#include <algorithm>
#include <filesystem>
#include <optional>
#include <stdexcept>
#include <string>
#include <vector>

#include "inspect/output.h"

namespace sourcetype {

// The exit statuses. The greatest one of a run counts.
enum class Status {
  Fine = 0,
  Found = 1,   // something is to be looked at: nothing recognised, mistakes, changes
  Failed = 2,  // wrong usage, or a file that cannot be read or written
};

// Ends the run with Status::Failed and this message.
class InspectError : public std::runtime_error {
 public:
  using std::runtime_error::runtime_error;
};

class Session {
 public:
  // Set while the command line is parsed.
  struct Options {
    Output::Options output;
    std::string home;  // empty: TARNEL_HOME
  };
  Options& options() { return options_; }

  // The output; the options must not change after the first call.
  Output& out();

  // The installation root of --home or TARNEL_HOME. Throws InspectError if there is none, or if it
  // has no directory "etc".
  std::filesystem::path home() const;
  std::filesystem::path etc() const { return home() / "etc"; }

  // The paths that exist; the word "-" stands for the lines of standard input. Calls fail() for
  // each other word or line. Throws InspectError if standard input cannot be read.
  std::vector<std::filesystem::path> existingPaths(const std::vector<std::string>& names);

  void raise(Status status) { status_ = std::max(status_, status); }
  // Says what is wrong with a file, and makes the run fail.
  void fail(const std::string& problem);
  Status status() const { return status_; }

 private:
  void addExisting(const std::string& name, std::vector<std::filesystem::path>& paths);

  Options options_;
  std::optional<Output> out_;
  Status status_ = Status::Fine;
};

}  // namespace sourcetype
