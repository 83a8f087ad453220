// The system's iconv, from one charset to UTF-8.
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
    Unfinished,  // the remaining bytes are the start of a unit
    Invalid      // the remaining bytes do not begin with a character of the charset
  };

  // Nothing when the system does not have the charset.
  static std::optional<IconvStream> open(const std::string& charset);

  // Appends the characters of `bytes` to `out` and removes the bytes converted from `bytes`.
  Stop convert(std::string_view& bytes, std::string& out);

  // Appends a character that iconv has kept (it may combine with the next one) and resets the
  // state.
  void flush(std::string& out);

 private:
  struct Close {
    void operator()(void* descriptor) const;
  };

  explicit IconvStream(void* descriptor) : descriptor_(descriptor) {}

  std::unique_ptr<void, Close> descriptor_;
};

}  // namespace sourcetype
