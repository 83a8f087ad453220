// HZ (RFC 1843): ASCII with GB 2312 between "~{" and "~}".
#pragma once

#include <memory>
#include <utility>

#include "charset/double_byte_table.h"
#include "charset/piecewise_converter.h"

namespace sourcetype {

// "~~" is a tilde, and "~" before a line feed joins two lines. If "~}" is missing, the line feed
// ends GB 2312, so that damage affects one line. Invalid units are a "~" before any other byte, an
// unassigned pair, a byte of GB 2312 without its partner, and a byte in 80-FF.
class HzConverter final : public PiecewiseConverter {
 public:
  explicit HzConverter(std::shared_ptr<const DoubleByteTable> gb2312)
      : gb2312_(std::move(gb2312)) {}

 protected:
  std::size_t decode(std::string_view bytes, Input input, std::string& out) override;

 private:
  bool takeTilde(char next, std::string& out);
  std::size_t takeByte(std::string_view rest, std::string& out);

  std::shared_ptr<const DoubleByteTable> gb2312_;
  bool isShifted_ = false;
};

}  // namespace sourcetype
