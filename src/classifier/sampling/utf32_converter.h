// UTF-32, alias UCS-4.
#pragma once

#include "classifier/sampling/byte_order.h"
#include "classifier/sampling/piecewise_converter.h"

namespace sourcetype {

// Four bytes that hold a surrogate or pass U+10FFFF are one invalid unit. A byte-order mark is a
// character like any other.
class Utf32Converter final : public PiecewiseConverter {
 public:
  explicit Utf32Converter(ByteOrder order) : order_(order) {}

 protected:
  std::size_t decode(std::string_view bytes, Input input, std::string& out) override;

 private:
  ByteOrder order_;
};

}  // namespace sourcetype
