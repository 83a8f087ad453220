// UTF-32, also called UCS-4.
#pragma once

#include <optional>

#include "charset/byte_order.h"
#include "charset/piecewise_converter.h"

namespace sourcetype {

// Four bytes with a surrogate or a value above U+10FFFF are one invalid unit. A byte-order mark is
// converted like any other character. If `order` is empty, a mark at the start decides the order;
// without a mark the text is big-endian.
class Utf32Converter final : public PiecewiseConverter {
 public:
  explicit Utf32Converter(std::optional<ByteOrder> order) : order_(order) {}

 protected:
  std::size_t decode(std::string_view bytes, Input input, std::string& out) override;

 private:
  std::optional<ByteOrder> order_;  // may be empty until the first unit was read
};

}  // namespace sourcetype
