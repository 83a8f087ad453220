// UTF-16, also for the names of UCS-2, its predecessor.
#pragma once

#include <optional>

#include "charset/byte_order.h"
#include "charset/piecewise_converter.h"

namespace sourcetype {

// A surrogate without its partner is an invalid unit of two bytes. A byte-order mark is converted
// like any other character. If `order` is empty, a mark at the start decides the order; without a
// mark the text is big-endian.
class Utf16Converter final : public PiecewiseConverter {
 public:
  explicit Utf16Converter(std::optional<ByteOrder> order) : order_(order) {}

 protected:
  std::size_t decode(std::string_view bytes, Input input, std::string& out) override;

 private:
  std::optional<ByteOrder> order_;  // may be empty until the first unit was read
};

}  // namespace sourcetype
