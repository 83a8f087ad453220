// Charsets of East Asia in which a character has a varying number of bytes, read by iconv where the
// libraries agree.
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

// How the bytes of one charset make up units, assigned to a character or not.
struct MultiByteLayout;

// Where iconv finds no character, the longest start of the rest that looks like a unit of the
// charset is one invalid unit: lead and trail of an unassigned pair, a lead byte alone where no
// trail byte follows, else one byte. Reading goes on behind it.
class MultiByteConverter final : public PiecewiseConverter {
 public:
  // Nothing for a charset whose layout is unknown here or that this system's iconv does not have.
  static std::unique_ptr<MultiByteConverter> create(std::string_view charset);

 protected:
  std::size_t decode(std::string_view bytes, Input input, std::string& out) override;

 private:
  struct ChosenUnit {
    std::size_t at, length;  // in bytes
    char32_t character;      // 0 where it has none
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
