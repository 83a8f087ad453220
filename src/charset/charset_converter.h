// One way of turning a charset's bytes into UTF-8, fed piece by piece.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>

namespace sourcetype {

// Every unit that has no character is written as \xHH for each of its bytes (upper-case digits) and
// counts once as invalid; so does a decoded U+0000, written as \x00. No byte is lost, and what
// comes out is valid UTF-8 without a NUL. How the input is cut into pieces makes no difference.
class CharsetConverter {
 public:
  CharsetConverter() = default;
  CharsetConverter(const CharsetConverter&) = delete;
  CharsetConverter& operator=(const CharsetConverter&) = delete;
  virtual ~CharsetConverter() = default;

  // Appends `bytes` to `out` as UTF-8. A unit that the end of `bytes` cuts off is kept and
  // completed by the next call.
  virtual void convert(std::string_view bytes, std::string& out) = 0;

  // Ends the input: what is kept of an unfinished unit is invalid.
  virtual void finish(std::string& out) = 0;

  // Invalid units so far.
  std::uint64_t invalidCount() const { return invalidCount_; }

 protected:
  // Writes a unit that has no character and counts it once.
  void appendInvalid(std::string_view unit, std::string& out);

 private:
  std::uint64_t invalidCount_ = 0;
};

}  // namespace sourcetype
