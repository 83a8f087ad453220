#include "charset/utf7_converter.h"

#include <cstddef>
#include <optional>
#include <utility>

#include "util/text.h"
#include "util/utf8.h"

namespace sourcetype {
namespace {

constexpr bool isAlphanumeric(char c) {
  return isAsciiLetter(c) || isAsciiDigit(c);
}

// A direct character: sets D and O of the RFC, space, tab and line ends; not "+".
constexpr bool isDirect(char c) {
  constexpr std::string_view kOthers = "'(),-./:? \t\r\n!\"#$%&*;<=>@[]^_`{|}";
  return isAlphanumeric(c) || kOthers.find(c) != std::string_view::npos;
}

std::optional<std::uint32_t> base64Value(char c) {
  constexpr std::string_view kAlphabet =
      "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";
  const std::size_t value = kAlphabet.find(c);
  if (value == std::string_view::npos) return std::nullopt;
  return static_cast<std::uint32_t>(value);
}

}  // namespace

void Utf7Converter::convert(std::string_view bytes, std::string& out) {
  for (const char byte : bytes) {
    if (isShifted_) {
      takeShifted(byte, out);
    } else {
      takeDirect(byte, out);
    }
  }
}

void Utf7Converter::finish(std::string& out) {
  if (isShifted_) endRun(out);
}

void Utf7Converter::takeDirect(char byte, std::string& out) {
  if (byte == '+') {
    isShifted_ = true;
    isRunEmpty_ = true;
  } else if (isDirect(byte)) {
    out += byte;
  } else {
    appendInvalid({&byte, 1}, out);
  }
}

void Utf7Converter::takeShifted(char byte, std::string& out) {
  if (const auto value = base64Value(byte)) return takeBase64(byte, *value, out);
  if (byte == '-' && isRunEmpty_) {
    isShifted_ = false;
    out += '+';
    return;
  }
  endRun(out);
  if (byte != '-') takeDirect(byte, out);
}

void Utf7Converter::takeBase64(char byte, std::uint32_t value, std::string& out) {
  isRunEmpty_ = false;
  lastBase64_ = byte;
  unitBytes_ += byte;
  bits_ = bits_ << 6 | value;
  bitCount_ += 6;
  if (bitCount_ < 16) return;
  bitCount_ -= 16;
  const char32_t unit = bits_ >> bitCount_;
  bits_ &= (1U << bitCount_) - 1;
  takeUnit(unit, out);
  unitBytes_.clear();
}

void Utf7Converter::takeUnit(char32_t unit, std::string& out) {
  if (highSurrogate_ != 0 && isLowSurrogate(unit)) {
    appendUtf8(joinSurrogates(std::exchange(highSurrogate_, 0), unit), out);
    return;
  }
  rejectHighSurrogate(out);
  if (isHighSurrogate(unit)) {
    highSurrogate_ = unit;
    highBytes_ = unitBytes_;
  } else if (unit == 0) {
    appendInvalid(std::string_view("\0", 1), out);
  } else if (isLowSurrogate(unit)) {
    appendInvalid(unitBytes_, out);
  } else {
    appendUtf8(unit, out);
  }
}

void Utf7Converter::rejectHighSurrogate(std::string& out) {
  if (std::exchange(highSurrogate_, 0) != 0) appendInvalid(highBytes_, out);
}

void Utf7Converter::endRun(std::string& out) {
  if (isRunEmpty_) appendInvalid("+", out);
  rejectHighSurrogate(out);
  if (!unitBytes_.empty()) {
    appendInvalid(unitBytes_, out);
  } else if (bits_ != 0) {
    appendInvalid({&lastBase64_, 1}, out);
  }
  unitBytes_.clear();
  isShifted_ = false;
  bits_ = 0;
  bitCount_ = 0;
}

}  // namespace sourcetype
