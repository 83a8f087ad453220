// Converts the bytes of one charset to UTF-8, piece by piece.
//
//   const auto converter = findConverter("latin1");  // of charset_registry.h; null: unknown
//   while (readPiece(bytes)) converter->convert(bytes, text);
//   converter->finish(text);
//   converter->invalidCount();
#pragma once

#include <cstdint>
#include <string>
#include <string_view>

namespace sourcetype {

// A unit is the bytes of one character. A unit without a character is invalid: it is written as
// \xHH for each of its bytes (upper-case digits) and counted once. U+0000 is invalid too and is
// written as \x00. No byte is lost, and the output is valid UTF-8 without NUL. The output does not
// depend on how the input is split into pieces.
class CharsetConverter {
 public:
  CharsetConverter() = default;
  CharsetConverter(const CharsetConverter&) = delete;
  CharsetConverter& operator=(const CharsetConverter&) = delete;
  virtual ~CharsetConverter() = default;

  // Appends `bytes` to `out` as UTF-8. Keeps an unfinished unit at the end of `bytes` for the next
  // call.
  virtual void convert(std::string_view bytes, std::string& out) = 0;

  // Ends the input: an unfinished unit is invalid then.
  virtual void finish(std::string& out) = 0;

  // The number of invalid units so far.
  std::uint64_t invalidCount() const { return invalidCount_; }

 protected:
  // Writes an invalid unit and counts it.
  void appendInvalid(std::string_view unit, std::string& out);

 private:
  std::uint64_t invalidCount_ = 0;
};

}  // namespace sourcetype
