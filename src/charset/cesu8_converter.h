// CESU-8 (Unicode Technical Report 26): UTF-16 units, each encoded as UTF-8 encodes a code point.
#pragma once

#include "charset/piecewise_converter.h"

namespace sourcetype {

// One invalid unit is a lead byte with the continuation bytes after it, if the sequence
// - is too short or overlong,
// - encodes a surrogate without its partner,
// - has four bytes, which is valid in UTF-8 but not in CESU-8.
// A continuation byte without a lead byte is an invalid unit too.
class Cesu8Converter final : public PiecewiseConverter {
 protected:
  std::size_t decode(std::string_view bytes, Input input, std::string& out) override;
};

}  // namespace sourcetype
