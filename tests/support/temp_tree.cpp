#include "support/temp_tree.h"

#include <gtest/gtest.h>

#include <fstream>
#include <iterator>
#include <random>

#include "platform/path_form.h"

namespace sourcetype::testing {

TempTree::TempTree() {
  std::random_device random;
  root_ = std::filesystem::temp_directory_path() / ("sourcetype-" + std::to_string(random()));
  std::filesystem::create_directories(root_);
}

TempTree::~TempTree() {
  std::error_code ignored;
  std::filesystem::remove_all(root_, ignored);
}

std::filesystem::path TempTree::path(std::string_view relative) const {
  return (root_ / pathFromText(relative)).make_preferred();
}

std::filesystem::path TempTree::write(std::string_view relative, std::string_view content) const {
  auto file = path(relative);
  std::filesystem::create_directories(file.parent_path());
  std::ofstream(file, std::ios::binary) << content;
  return file;
}

std::string TempTree::read(std::string_view relative) const {
  std::ifstream file(path(relative), std::ios::binary);
  EXPECT_TRUE(file) << path(relative);
  return {std::istreambuf_iterator<char>(file), {}};
}

std::string repeated(std::string_view text, int count) {
  std::string result;
  for (int i = 0; i < count; ++i) result += text;
  return result;
}

}  // namespace sourcetype::testing
