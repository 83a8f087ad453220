// UTF-EBCDIC (Unicode Technical Report 16).
#pragma once

#include "charset/piecewise_converter.h"

namespace sourcetype {

// One invalid unit is a lead byte with the continuation bytes behind it, where they break off
// early, are overlong, name a surrogate or pass U+10FFFF; or one continuation byte alone.
class UtfEbcdicConverter final : public PiecewiseConverter {
 protected:
  std::size_t decode(std::string_view bytes, Input input, std::string& out) override;
};

}  // namespace sourcetype
