// A 94x94 set by itself, without shifts to another one.
#pragma once

#include <memory>
#include <utility>

#include "charset/double_byte_table.h"
#include "charset/piecewise_converter.h"

namespace sourcetype {

// Space, delete and the controls 01-1F stay what they are, as ISO/IEC 2022 has it beside any set of
// 94x94 characters: a file has line ends. Invalid units are an unassigned pair, a first byte
// without a second one, and a byte 80-FF.
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
