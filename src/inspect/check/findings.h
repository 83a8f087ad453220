// What a check of configuration files finds.
#pragma once

#include <cstddef>
#include <filesystem>
#include <string>
#include <string_view>
#include <vector>

namespace sourcetype {

// Error: what is written has no effect, or another one than it says. Warning: it may be meant so.
enum class Level { Error, Warning };

// "error" or "warning".
std::string_view levelName(Level level);

struct Place {
  std::filesystem::path file;
  std::size_t line = 0;  // physical line, from 1
};

struct Finding {
  Place place;
  Level level;
  std::string message;
};

class Findings {
 public:
  void error(Place place, std::string message) {
    add(std::move(place), Level::Error, std::move(message));
  }
  void warn(Place place, std::string message) {
    add(std::move(place), Level::Warning, std::move(message));
  }

  // By file, line and message; each once.
  std::vector<Finding> sorted() const;

 private:
  void add(Place place, Level level, std::string message) {
    found_.push_back({std::move(place), level, std::move(message)});
  }

  std::vector<Finding> found_;
};

// A text from a file in double quotes, for a message; the start of a long one.
std::string quoted(std::string_view text);

// "<file>:<line>", for a message about another place.
std::string placeText(const Place& place);

}  // namespace sourcetype
