// For libraries that convert names by the locale of the thread.
#pragma once

#include <cstdint>

namespace sourcetype {

// While the object lives, the characters of the calling thread's locale are UTF-8, if the system has
// such a locale. Windows needs none: its names are UTF-16.
class Utf8Locale {
 public:
  Utf8Locale();
  Utf8Locale(const Utf8Locale&) = delete;
  Utf8Locale& operator=(const Utf8Locale&) = delete;
  ~Utf8Locale();  // NOLINT(performance-trivially-destructible): trivial on Windows alone

 private:
  [[maybe_unused]] std::intptr_t before_ = 0;
};

}  // namespace sourcetype
