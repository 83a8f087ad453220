// CESU-8 (Unicode Technical Report 26): UTF-16 units, each written as UTF-8 would a code point.
#pragma once

#include "charset/piecewise_converter.h"

namespace sourcetype {

// One invalid unit is a lead byte with the continuation bytes behind it: where they break off early
// or are overlong, where they hold a surrogate without its partner, and any sequence of four, which
// is UTF-8 but not CESU-8. A continuation byte alone is one too.
class Cesu8Converter final : public PiecewiseConverter {
 protected:
  std::size_t decode(std::string_view bytes, Input input, std::string& out) override;
};

}  // namespace sourcetype
