// The system's iconv, from any charset to UTF-8.
#pragma once

#include <memory>
#include <optional>
#include <string>
#include <string_view>

namespace sourcetype {

class IconvStream {
 public:
  enum class Stop {
    End,         // all bytes are converted
    Unfinished,  // the bytes left are the start of a unit
    Invalid      // the bytes left start with no character of the charset
  };

  // Nothing when this system has no such charset.
  static std::optional<IconvStream> open(const std::string& charset);

  // Appends what `bytes` hold to `out` and removes it from `bytes`.
  Stop convert(std::string_view& bytes, std::string& out);

  // Appends a character that was held back (of a unit that stands for two) and starts afresh.
  void flush(std::string& out);

 private:
  struct Close {
    void operator()(void* descriptor) const;
  };

  explicit IconvStream(void* descriptor) : descriptor_(descriptor) {}

  std::unique_ptr<void, Close> descriptor_;
};

}  // namespace sourcetype
