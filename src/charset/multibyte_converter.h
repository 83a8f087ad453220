// Charsets of East Asia in which the characters have different numbers of bytes. iconv converts
// them, except the cells in chosen_cells.h.
#pragma once

#include <bitset>
#include <cstddef>
#include <memory>
#include <optional>
#include <span>
#include <string>
#include <string_view>

#include "charset/chosen_cells.h"
#include "charset/iconv_stream.h"
#include "charset/piecewise_converter.h"

namespace sourcetype {

// The forms of the units of one charset, with or without a character.
struct MultiByteLayout;

// If iconv finds no character, the longest prefix of the remaining bytes with the form of a unit is
// one invalid unit: both bytes of an unassigned pair, a lead byte without a trail byte, else one
// byte. The conversion continues after it.
class MultiByteConverter final : public PiecewiseConverter {
 public:
  // `charset` is a name in iconv. Null when its layout is unknown, or when the system's iconv does
  // not have the charset.
  static std::unique_ptr<MultiByteConverter> create(std::string_view charset);

 protected:
  std::size_t decode(std::string_view bytes, Input input, std::string& out) override;

 private:
  struct ChosenUnit {
    std::size_t at, length;  // in bytes
    char32_t character;      // 0 when it has none
  };

  MultiByteConverter(IconvStream stream, const MultiByteLayout& layout);

  std::size_t decodeRun(std::string_view bytes, Input input, std::string& out);

  std::optional<ChosenUnit> findChosen(std::string_view bytes) const;

  std::size_t decodeByIconv(std::string_view bytes, Input input, std::string& out);

  bool stepsOver(std::string_view pair, std::string& out);

  IconvStream stream_;
  const MultiByteLayout& layout_;
  std::span<const ChosenCells> chosen_;
  std::bitset<256> startsChosen_;  // by the first byte of a unit
};

}  // namespace sourcetype
