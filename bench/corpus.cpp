#include "corpus.h"

#include <unistd.h>

#include <array>
#include <fstream>
#include <string_view>

namespace sourcetype::bench {
namespace {

constexpr std::array<std::string_view, 8> kWords{"request", "from",    "client", "accepted",
                                                 "queue",   "timeout", "retry",  "stored"};

std::string line(std::size_t number, std::string_view body, std::size_t bytes) {
  std::string text = "2026-05-04 03:02:" + std::to_string(10 + number % 50) + " INFO ";
  while (text.size() + body.size() < bytes) {
    text += kWords[(number + text.size()) % kWords.size()];
    text += ' ';
    text += body;
    text += std::to_string(number);
    text += ' ';
  }
  return text + "\n";
}

// Lines whose bodies take turns.
template <std::size_t count>
std::string log(std::size_t bytes, const std::array<std::string_view, count>& bodies) {
  constexpr std::size_t kLineBytes = 1000;
  std::string text;
  for (std::size_t number = 0; text.size() < bytes; ++number) {
    text += line(number, bodies[number % count], kLineBytes);
  }
  return text;
}

}  // namespace

const std::filesystem::path& workDirectory() {
  struct Directory {
    std::filesystem::path path;
    Directory()
        : path(std::filesystem::temp_directory_path() /
               ("sourcetype-bench-" + std::to_string(::getpid()))) {
      std::filesystem::create_directories(path);
    }
    Directory(const Directory&) = delete;
    Directory& operator=(const Directory&) = delete;
    ~Directory() {
      std::error_code ignored;
      std::filesystem::remove_all(path, ignored);
    }
  };
  static const Directory kDirectory;
  return kDirectory.path;
}

std::string asciiLog(std::size_t bytes) {
  return log<1>(bytes, {"unit="});
}

std::string mixedLog(std::size_t bytes) {
  return log<3>(bytes, {"unit=", "состояние изменено ", "状态已更改 服务器 "});
}

std::string shortLineLog(std::size_t lines) {
  std::string text;
  for (std::size_t number = 0; number < lines; ++number) text += line(number, "unit=", 100);
  return text;
}

std::string sourcetypeStanzas(std::size_t count) {
  std::string text;
  for (std::size_t i = 0; i < count; ++i) {
    text += "# about the next one\n[type_" + std::to_string(i) + "]\n";
    text +=
        "BREAK_ONLY_BEFORE = ^\\d+\nCHARSET = UTF-8\nMAX_TIMESTAMP_LOOKAHEAD = 40\n"
        "SHOULD_LINEMERGE = False\nTIME_FORMAT = %Y-%m-%d %H:%M:%S\nTIME_PREFIX = \\[\n"
        "is_valid = True\nmaxDist = 300\n\n";
  }
  return text;
}

std::string patternStanzas(std::size_t count) {
  std::string text;
  for (std::size_t i = 0; i < count; ++i) {
    const auto number = std::to_string(i);
    text += i % 2 == 0 ? "[source::.../app" + number + "/*.log]\n"
                       : "[source::/var/log/host" + number + "/...]\n";
    text += "sourcetype = type_" + number + "\npriority = 5\n\n";
  }
  return text;
}

std::filesystem::path madeFile(const std::string& name, const std::string& content) {
  auto path = workDirectory() / name;
  if (!std::filesystem::exists(path)) {
    std::filesystem::create_directories(path.parent_path());
    std::ofstream(path, std::ios::binary) << content;
  }
  return path;
}

}  // namespace sourcetype::bench
