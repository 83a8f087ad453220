// What every fuzz target shares. A target defines seeds() and run(); support.cpp passes them to
// libFuzzer.
#pragma once

#include <filesystem>
#include <initializer_list>
#include <optional>
#include <sstream>
#include <string>
#include <string_view>
#include <vector>

#include "platform/file_system.h"

namespace sourcetype::fuzzing {

// --- What a target defines ---

// The first inputs: from files of the repository, and for the special cases of the code.
std::vector<std::string> seeds();

// Takes one input and checks with require() what holds for every one.
void run(std::string_view input);

// --- What it is made of ---

// Ends the process as a finding when `holds` is false. `promise` says what should hold.
void require(bool holds, std::string_view promise);

// An input that consists of several texts, separated by kEnd, a byte that texts do not need.
class Parts {
 public:
  static constexpr char kEnd = '\x1E';

  explicit Parts(std::string_view input) : rest_(input) {}

  // Up to the next kEnd; empty when nothing is left.
  std::string_view next();
  // All that is left.
  std::string_view rest() const { return rest_; }
  // What is left, cut at each kEnd.
  std::vector<std::string_view> all();
  // The next part as a number modulo `end`: its text need not be one.
  std::size_t nextBelow(std::size_t end);

 private:
  std::string_view rest_;
};

std::string joined(std::initializer_list<std::string_view> parts);

// The number of bytes of the valid UTF-8 character at the start of `text`; 0 if there is none.
// Reads the table of the Unicode standard literally, for comparison with the program's fast code.
std::size_t characterLength(std::string_view text);
// True for valid UTF-8 without a NUL.
bool isCleanUtf8(std::string_view text);

// The lines of `text`, cut at LF and CR as by the program, without the empty ones.
std::vector<std::string_view> linesOf(std::string_view text);

// The text as if it had been read from a file.
FileBytes fileBytes(std::string_view text);

// The directory that the process works in, made at the first call and emptied by clear().
class Tree {
 public:
  Tree();
  Tree(const Tree&) = delete;
  Tree& operator=(const Tree&) = delete;
  ~Tree();

  const std::filesystem::path& root() const { return root_; }
  // Removes all files, and makes the root the working directory.
  void clear() const;
  std::filesystem::path write(std::string_view relative, std::string_view content) const;
  // Nothing when there is no such file.
  std::optional<std::string> read(std::string_view relative) const;
  // All regular files, relative to the root, with "/", in byte order.
  std::vector<std::string> files() const;

 private:
  std::filesystem::path root_;
};
const Tree& tree();

// The records of logging, of every level, each a line "LEVEL CATEGORY MESSAGE". From the first call
// on they go here instead of standard error; the caller empties it.
std::ostringstream& records();

// The bytes of a file; none if it cannot be read.
std::string bytesOf(const std::filesystem::path& path);

// A file of the repository, for seeds.
std::string repositoryFile(std::string_view relative);

}  // namespace sourcetype::fuzzing
