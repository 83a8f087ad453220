#include "support.h"

#include <algorithm>
#include <array>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <iostream>
#include <iterator>
#include <system_error>

#include "platform/environment.h"
#include "util/log_configuration.h"

namespace sourcetype::fuzzing {
namespace {

constexpr std::string_view kSeedsOption = "--seeds";

void writeSeeds(const std::filesystem::path& directory) {
  std::filesystem::create_directories(directory);
  int number = 0;
  for (const auto& seed : seeds()) {
    std::ofstream(directory / ("seed-" + std::to_string(++number)), std::ios::binary) << seed;
  }
}

}  // namespace

std::string bytesOf(const std::filesystem::path& path) {
  std::ifstream file(path, std::ios::binary);
  return {std::istreambuf_iterator<char>(file), {}};
}

void require(bool holds, std::string_view promise) {
  if (holds) return;
  std::fprintf(stderr, "BROKEN PROMISE: %.*s\n", static_cast<int>(promise.size()), promise.data());
  std::abort();
}

std::string_view Parts::next() {
  const auto part = rest_.substr(0, rest_.find(kEnd));
  rest_.remove_prefix(std::min(part.size() + 1, rest_.size()));
  return part;
}

std::vector<std::string_view> Parts::all() {
  std::vector<std::string_view> parts;
  while (!rest_.empty()) parts.push_back(next());
  return parts;
}

std::size_t Parts::nextBelow(std::size_t end) {
  std::size_t number = 0;
  for (const char c : next()) number = number * 10 + static_cast<unsigned char>(c) - '0';
  return number % end;
}

std::string joined(std::initializer_list<std::string_view> parts) {
  std::string input;
  for (const auto part : parts) input.append(part) += Parts::kEnd;
  if (!input.empty()) input.pop_back();
  return input;
}

std::size_t characterLength(std::string_view text) {
  struct Row {
    unsigned char firstLow, firstHigh, secondLow, secondHigh;
    std::size_t length;
  };
  constexpr std::array kRows{Row{0x00, 0x7F, 0, 0, 1},       Row{0xC2, 0xDF, 0x80, 0xBF, 2},
                             Row{0xE0, 0xE0, 0xA0, 0xBF, 3}, Row{0xE1, 0xEC, 0x80, 0xBF, 3},
                             Row{0xED, 0xED, 0x80, 0x9F, 3}, Row{0xEE, 0xEF, 0x80, 0xBF, 3},
                             Row{0xF0, 0xF0, 0x90, 0xBF, 4}, Row{0xF1, 0xF3, 0x80, 0xBF, 4},
                             Row{0xF4, 0xF4, 0x80, 0x8F, 4}};
  const auto isIn = [&](std::size_t at, unsigned char low, unsigned char high) {
    const auto byte = static_cast<unsigned char>(text[at]);
    return low <= byte && byte <= high;
  };
  for (const Row& row : kRows) {
    if (text.size() < row.length || !isIn(0, row.firstLow, row.firstHigh)) continue;
    bool valid = row.length < 2 || isIn(1, row.secondLow, row.secondHigh);
    for (std::size_t at = 2; at < row.length; ++at) valid = valid && isIn(at, 0x80, 0xBF);
    return valid ? row.length : 0;
  }
  return 0;
}

bool isCleanUtf8(std::string_view text) {
  while (!text.empty()) {
    const auto length = characterLength(text);
    if (length == 0 || text.front() == '\0') return false;
    text.remove_prefix(length);
  }
  return true;
}

std::vector<std::string_view> linesOf(std::string_view text) {
  std::vector<std::string_view> lines;
  while (!text.empty()) {
    const auto line = text.substr(0, text.find_first_of("\r\n"));
    text.remove_prefix(std::min(line.size() + 1, text.size()));
    if (!line.empty()) lines.push_back(line);
  }
  return lines;
}

FileBytes fileBytes(std::string_view text) {
  FileBytes bytes{.bytes = std::make_unique_for_overwrite<char[]>(text.size()),  // NOLINT
                  .size = text.size(),
                  .error = {}};
  std::ranges::copy(text, bytes.bytes.get());
  return bytes;
}

Tree::Tree()
    : root_(std::filesystem::temp_directory_path() /
            ("sourcetype-fuzz-" + std::to_string(processId()))) {
  std::filesystem::create_directories(root_);
}

Tree::~Tree() {
  std::error_code ignored;
  std::filesystem::current_path(root_.parent_path(), ignored);
  std::filesystem::remove_all(root_, ignored);
}

void Tree::clear() const {
  std::filesystem::current_path(root_);  // Windows removes no directory that somebody works in
  for (const auto& entry : std::filesystem::directory_iterator(root_)) {
    std::filesystem::remove_all(entry);
  }
}

std::filesystem::path Tree::write(std::string_view relative, std::string_view content) const {
  auto path = root_ / relative;
  std::filesystem::create_directories(path.parent_path());
  std::ofstream(path, std::ios::binary) << content;
  return path;
}

std::optional<std::string> Tree::read(std::string_view relative) const {
  if (!std::filesystem::exists(root_ / relative)) return std::nullopt;
  return bytesOf(root_ / relative);
}

std::vector<std::string> Tree::files() const {
  std::vector<std::string> names;
  for (const auto& entry : std::filesystem::recursive_directory_iterator(root_)) {
    if (entry.is_regular_file())
      names.push_back(entry.path().lexically_relative(root_).generic_string());
  }
  std::ranges::sort(names);
  return names;
}

const Tree& tree() {
  static const Tree kTree;
  return kTree;
}

std::ostringstream& records() {
  static std::ostringstream stream;
  static const bool kIsSetUp = [] {
    std::cerr.rdbuf(stream.rdbuf());
    const auto configuration = tree().write(
        "log.cfg",
        "rootCategory=DEBUG,A\nappender.A=ConsoleAppender\nappender.A.target=stderr\n"
        "appender.A.layout=PatternLayout\nappender.A.layout.ConversionPattern=%p %c %m%n\n");
    return configureLogging(configuration, {}).empty();
  }();
  require(kIsSetUp, "logging is configured");
  return stream;
}

std::string repositoryFile(std::string_view relative) {
  return bytesOf(std::filesystem::path(SOURCETYPE_SOURCE_DIR) / relative);
}

}  // namespace sourcetype::fuzzing

extern "C" int LLVMFuzzerInitialize(int* count, char*** arguments);  // NOLINT: its own name
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size);

// "TARGET --seeds DIRECTORY" writes the seeds and does no more.
extern "C" int LLVMFuzzerInitialize(int* count, char*** arguments) {  // NOLINT
  if (*count == 3 && (*arguments)[1] == sourcetype::fuzzing::kSeedsOption) {
    sourcetype::fuzzing::writeSeeds((*arguments)[2]);
    std::exit(0);
  }
  return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  sourcetype::fuzzing::run({reinterpret_cast<const char*>(data), size});
  return 0;
}
