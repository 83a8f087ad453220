// UTF-16, and UCS-2 as what it became.
#pragma once

#include <optional>

#include "charset/byte_order.h"
#include "charset/piecewise_converter.h"

namespace sourcetype {

// A surrogate without its partner is an invalid unit of two bytes. A byte-order mark is a
// character like any other. Where no order is given, a mark at the start says it; without one the
// text is big-endian.
class Utf16Converter final : public PiecewiseConverter {
 public:
  explicit Utf16Converter(std::optional<ByteOrder> order) : order_(order) {}

 protected:
  std::size_t decode(std::string_view bytes, Input input, std::string& out) override;

 private:
  std::optional<ByteOrder> order_;  // none until the first unit is there
};

}  // namespace sourcetype
