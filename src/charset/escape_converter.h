// ASCII with backslash escapes for all other characters.
#pragma once

#include "charset/piecewise_converter.h"

namespace sourcetype {

enum class EscapeSyntax {
  C99,  // \uXXXX and \UXXXXXXXX, for what C99 allows: U+00A0 and up, "$", "@" and "`"
  Java  // \uXXXX, for any UTF-16 unit; a character above U+FFFF takes two
};

// An escape that is malformed or names what it must not name is text like any other; only bytes
// 80-FF are invalid.
class EscapeConverter final : public PiecewiseConverter {
 public:
  explicit EscapeConverter(EscapeSyntax syntax) : syntax_(syntax) {}

 protected:
  std::size_t decode(std::string_view bytes, Input input, std::string& out) override;

 private:
  EscapeSyntax syntax_;
};

}  // namespace sourcetype
