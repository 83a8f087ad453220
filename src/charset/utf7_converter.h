// UTF-7 (RFC 2152).
#pragma once

#include <cstdint>
#include <string>

#include "charset/charset_converter.h"

namespace sourcetype {

// Every byte is taken at once; what is carried from piece to piece is the state of a shifted run,
// "+", Base64 of UTF-16, and "-" or any other byte that is no Base64. Invalid are
// - a byte that may not stand for itself: controls but for tab and line ends, "\", "~", 80-FF;
// - a "+" behind which neither Base64 nor "-" stands;
// - the Base64 bytes of an unpaired surrogate;
// - at the end of a run, Base64 bytes that make up no unit, or the last one where its padding bits
//   are not zero.
class Utf7Converter final : public CharsetConverter {
 public:
  void convert(std::string_view bytes, std::string& out) override;
  void finish(std::string& out) override;

 private:
  void takeDirect(char byte, std::string& out);
  void takeShifted(char byte, std::string& out);
  void takeBase64(char byte, std::uint32_t value, std::string& out);
  void takeUnit(char32_t unit, std::string& out);
  void dropHighSurrogate(std::string& out);
  void endRun(std::string& out);

  bool isShifted_ = false;
  bool isRunEmpty_ = false;     // nothing behind the "+" yet
  std::uint32_t bits_ = 0;      // bits that no unit has taken, right-aligned
  unsigned bitCount_ = 0;       // how many: below 16 between bytes
  std::string unitBytes_;       // Base64 bytes since the last whole unit
  char lastBase64_ = 0;         // holds the padding bits at the end of a run
  char32_t highSurrogate_ = 0;  // waits for its partner; 0: none
  std::string highBytes_;       // the Base64 bytes that it came from
};

}  // namespace sourcetype
