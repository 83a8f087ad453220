// UTF-8 and ASCII. Valid text is not changed.
#pragma once

#include "charset/piecewise_converter.h"

namespace sourcetype {

// Each byte of an invalid sequence is an invalid unit, unlike in the other charsets. Such a
// sequence is a lead byte and the continuation bytes after it, if it is too short or overlong, or
// encodes a surrogate or a value above U+10FFFF.
class Utf8Converter final : public PiecewiseConverter {
 protected:
  std::size_t decode(std::string_view bytes, Input input, std::string& out) override;
};

}  // namespace sourcetype
