#include "support/converted.h"

#include <gtest/gtest.h>

#include "charset/charset_registry.h"

namespace sourcetype::testing {

std::ostream& operator<<(std::ostream& out, const Converted& converted) {
  return out << '"' << converted.text << "\" with " << converted.invalid << " invalid";
}

Converted convertInPieces(std::string_view charset, std::string_view bytes, std::size_t firstPiece,
                          std::size_t pieceSize) {
  const auto converter = findConverter(charset);
  EXPECT_NE(converter, nullptr) << charset;
  if (!converter) return {};
  Converted result;
  converter->convert(bytes.substr(0, firstPiece), result.text);
  for (std::size_t at = firstPiece; at < bytes.size(); at += pieceSize) {
    converter->convert(bytes.substr(at, pieceSize), result.text);
  }
  converter->finish(result.text);
  result.invalid = converter->invalidCount();
  return result;
}

Converted convertAll(std::string_view charset, std::string_view bytes) {
  return convertInPieces(charset, bytes, bytes.size(), 1);
}

std::uint64_t digestOf(std::string_view text) {
  std::uint64_t digest = 0xCBF29CE484222325U;
  for (const char c : text) digest = (digest ^ static_cast<unsigned char>(c)) * 0x100000001B3U;
  return digest;
}

}  // namespace sourcetype::testing
