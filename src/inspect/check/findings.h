// What a check of configuration files finds.
#pragma once

#include <cstddef>
#include <filesystem>
#include <string>
#include <string_view>
#include <vector>

namespace sourcetype {

// Error: a part of a file has no effect, or another effect than it says. Warning: the author may
// have intended it.
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

// `text` in double quotes, for a message. Of a text of more than 80 bytes, only the start and
// "...".
std::string quoted(std::string_view text);

// "<file>:<line>", for a message about another place.
std::string placeText(const Place& place);

}  // namespace sourcetype
