// UTF-32, alias UCS-4.
#pragma once

#include <optional>

#include "charset/byte_order.h"
#include "charset/piecewise_converter.h"

namespace sourcetype {

// Four bytes that hold a surrogate or pass U+10FFFF are one invalid unit. A byte-order mark is a
// character like any other. Where no order is given, a mark at the start says it; without one the
// text is big-endian.
class Utf32Converter final : public PiecewiseConverter {
 public:
  explicit Utf32Converter(std::optional<ByteOrder> order) : order_(order) {}

 protected:
  std::size_t decode(std::string_view bytes, Input input, std::string& out) override;

 private:
  std::optional<ByteOrder> order_;  // none until the first unit is there
};

}  // namespace sourcetype
