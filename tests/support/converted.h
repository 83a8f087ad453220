// A charset converter run over bytes that are cut into pieces.
#pragma once

#include <cstdint>
#include <ostream>
#include <string>
#include <string_view>

namespace sourcetype::testing {

struct Converted {
  std::string text;
  std::uint64_t invalid = 0;

  bool operator==(const Converted&) const = default;
};

std::ostream& operator<<(std::ostream& out, const Converted& converted);

// A test failure and empty text when the charset is unknown. `firstPiece` bytes come first, then
// pieces of `pieceSize`.
Converted convertInPieces(std::string_view charset, std::string_view bytes, std::size_t firstPiece,
                          std::size_t pieceSize);

// In one piece.
Converted convertAll(std::string_view charset, std::string_view bytes);

// FNV-1a of 64 bits.
std::uint64_t digestOf(std::string_view text);

}  // namespace sourcetype::testing
