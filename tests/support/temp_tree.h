// A directory of its own for one test, removed at the end.
#pragma once

#include <filesystem>
#include <string>
#include <string_view>

namespace sourcetype::testing {

class TempTree {
 public:
  TempTree();
  TempTree(const TempTree&) = delete;
  TempTree& operator=(const TempTree&) = delete;
  ~TempTree();

  const std::filesystem::path& root() const { return root_; }
  // With the system's own separators throughout.
  std::filesystem::path path(std::string_view relative) const;

  // Writes a file, making its directories; gives its path.
  std::filesystem::path write(std::string_view relative, std::string_view content) const;
  // The content of a file; a test failure and empty text when it cannot be read.
  std::string read(std::string_view relative) const;

 private:
  std::filesystem::path root_;
};

// `text` `count` times.
std::string repeated(std::string_view text, int count);

}  // namespace sourcetype::testing
