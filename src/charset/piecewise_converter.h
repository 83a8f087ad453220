// The base class of converters that may have to wait for the rest of a unit.
#pragma once

#include <cstddef>
#include <string>
#include <string_view>

#include "charset/charset_converter.h"

namespace sourcetype {

// Keeps the unfinished unit at the end of a piece and converts it with the next piece.
class PiecewiseConverter : public CharsetConverter {
 public:
  void convert(std::string_view bytes, std::string& out) final;
  void finish(std::string& out) final;

 protected:
  enum class Input { MayGoOn, Ends };

  // Converts `bytes` and returns the number of bytes converted. With MayGoOn, the beginning of a
  // unit at the end is left; it must be short, because it is read again with the next piece. With
  // Ends, no bytes are left.
  virtual std::size_t decode(std::string_view bytes, Input input, std::string& out) = 0;

  // Writes a scalar value; U+0000 as an invalid unit.
  void appendCharacter(char32_t c, std::string& out);

 private:
  std::string kept_;
};

}  // namespace sourcetype
