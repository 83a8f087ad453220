// What the converters share that have to wait for the rest of a unit.
#pragma once

#include <cstddef>
#include <string>
#include <string_view>

#include "charset/charset_converter.h"

namespace sourcetype {

// Keeps the unfinished unit at the end of a piece and puts it before the next one.
class PiecewiseConverter : public CharsetConverter {
 public:
  void convert(std::string_view bytes, std::string& out) final;
  void finish(std::string& out) final;

 protected:
  enum class Input { MayGoOn, Ends };

  // Converts the units at the start of `bytes` and says how many bytes they take. What may yet
  // become a unit is left, which must be short: it is read again with the next piece. When the
  // input ends nothing is left.
  virtual std::size_t decode(std::string_view bytes, Input input, std::string& out) = 0;

  // Writes a scalar value, U+0000 as the invalid unit that it is.
  void appendCharacter(char32_t c, std::string& out);

 private:
  std::string kept_;
};

}  // namespace sourcetype
