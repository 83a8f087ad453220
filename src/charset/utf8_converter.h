// UTF-8 and ASCII: what is valid stays as it is.
#pragma once

#include "charset/piecewise_converter.h"

namespace sourcetype {

// Unlike in the other charsets every byte of an invalid sequence counts by itself: that of a lead
// byte and the continuation bytes behind it which break off early, are overlong, name a surrogate
// or pass U+10FFFF.
class Utf8Converter final : public PiecewiseConverter {
 protected:
  std::size_t decode(std::string_view bytes, Input input, std::string& out) override;
};

}  // namespace sourcetype
