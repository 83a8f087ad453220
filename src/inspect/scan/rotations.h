// Finds rotations of one log that do not have the same sourcetype.
//
//   Rotations rotations;
//   rotations.add("logs/app.log", "java");
//   rotations.add("logs/app.log.1.gz", "syslog");
//   rotations.disagreeing();  // of "logs/app.log"
#pragma once

#include <cstddef>
#include <map>
#include <string>
#include <string_view>
#include <vector>

namespace sourcetype {

// The name of the log that a file is a rotation of: without compression (".gz"), number (".1"),
// date ("-20260101", ".2026-01-01") and ".old", which may also be before ".log". The name itself if
// it is no rotation. Names without letters, such as addresses, are no rotations.
std::string rotatedLogName(std::string_view file);

class Rotations {
 public:
  // Logs that are remembered. In a larger tree only files near one another are compared.
  static constexpr std::size_t kMaxLogs = 20'000;
  // Disagreements that are kept; further ones are only counted.
  static constexpr std::size_t kMaxKept = 1000;

  struct Log {
    std::string name;
    std::map<std::string, std::string> firstFiles;  // by their sourcetypes
  };

  // In the order of FileWalk, which keeps the files of a directory together.
  void add(const std::string& file, const std::string& sourcetype);

  // In the order in which they were found.
  const std::vector<Log>& disagreeing() const { return disagreeing_; }
  std::size_t count() const { return count_; }

 private:
  struct Seen {
    std::string sourcetype;
    std::string file;
    std::size_t kept = 0;  // index in disagreeing_, plus one
    bool isCounted = false;
  };

  std::map<std::string, Seen> logs_;
  std::vector<Log> disagreeing_;
  std::size_t count_ = 0;
};

}  // namespace sourcetype
