#include "charset/byte_texts.h"

#include <algorithm>
#include <cstddef>

#include "charset/chosen_cells.h"
#include "charset/iconv_stream.h"
#include "charset/unit_form.h"
#include "charset/vendor_tables.h"
#include "util/utf8.h"

namespace sourcetype {
namespace {

ByteTexts asciiTexts() {
  ByteTexts texts;
  for (std::size_t byte = 0; byte < 0x80; ++byte) texts[byte] = static_cast<char>(byte);
  return texts;
}

}  // namespace

std::optional<ByteTexts> askIconv(const std::string& charset) {
  auto stream = IconvStream::open(charset);
  if (!stream) return std::nullopt;
  ByteTexts texts;
  for (std::size_t byte = 0; byte < texts.size(); ++byte) {
    const char c = static_cast<char>(byte);
    std::string_view rest(&c, 1);
    stream->convert(rest, texts[byte]);
    stream->flush(texts[byte]);
    for (const ChosenCells& cells : chosenCells(charset)) {
      if (fittingLength(cells.units, {&c, 1}) == 0) continue;
      texts[byte].clear();
      if (const char32_t chosen = chosenCharacter(cells, {&c, 1})) appendUtf8(chosen, texts[byte]);
    }
  }
  return texts;
}

std::optional<ByteTexts> findVendorTexts(std::string_view name) {
  const auto tables = vendorTables();
  const auto table = std::ranges::find(tables, name, &VendorTable::name);
  if (table == tables.end()) return std::nullopt;
  ByteTexts texts = asciiTexts();
  for (std::size_t i = 0; i < table->upperHalf.size(); ++i) {
    for (const char16_t c : table->upperHalf[i]) appendUtf8(c, texts[0x80 + i]);
  }
  return texts;
}

ByteTexts jisX0201Texts() {
  ByteTexts texts = asciiTexts();
  texts['\\'] = "\xC2\xA5";
  texts['~'] = "\xE2\x80\xBE";
  for (char32_t byte = 0xA1; byte <= 0xDF; ++byte) appendUtf8(0xFF61 + byte - 0xA1, texts[byte]);
  return texts;
}

}  // namespace sourcetype
