// ASCII, with backslash escapes for all other characters.
#pragma once

#include "charset/piecewise_converter.h"

namespace sourcetype {

enum class EscapeSyntax {
  C99,  // \uXXXX and \UXXXXXXXX, for the characters that C99 allows: from U+00A0, "$", "@" and "`"
  Java  // \uXXXX, for any UTF-16 unit; a character above U+FFFF has two escapes
};

// A malformed escape, and one for a character that is not allowed, are converted as plain text.
// Only bytes in 80-FF are invalid.
class EscapeConverter final : public PiecewiseConverter {
 public:
  explicit EscapeConverter(EscapeSyntax syntax) : syntax_(syntax) {}

 protected:
  std::size_t decode(std::string_view bytes, Input input, std::string& out) override;

 private:
  EscapeSyntax syntax_;
};

}  // namespace sourcetype
