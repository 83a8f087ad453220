// UTF-EBCDIC (Unicode Technical Report 16).
#pragma once

#include "charset/piecewise_converter.h"

namespace sourcetype {

// One invalid unit is a lead byte with the continuation bytes after it, if the sequence is too
// short or overlong, or encodes a surrogate or a value above U+10FFFF; or a continuation byte
// without a lead byte.
class UtfEbcdicConverter final : public PiecewiseConverter {
 protected:
  std::size_t decode(std::string_view bytes, Input input, std::string& out) override;
};

}  // namespace sourcetype
