// A 94x94 set by itself, without shifts to another set.
#pragma once

#include <memory>
#include <utility>

#include "charset/double_byte_table.h"
#include "charset/piecewise_converter.h"

namespace sourcetype {

// Space, delete and the controls 01-1F are ASCII, as ISO/IEC 2022 has them with every 94x94 set:
// files need line ends. Invalid units are an unassigned pair, a first byte without a second one,
// and a byte in 80-FF.
class DoubleByteConverter final : public PiecewiseConverter {
 public:
  explicit DoubleByteConverter(std::shared_ptr<const DoubleByteTable> table)
      : table_(std::move(table)) {}

 protected:
  std::size_t decode(std::string_view bytes, Input input, std::string& out) override;

 private:
  std::shared_ptr<const DoubleByteTable> table_;
};

}  // namespace sourcetype
