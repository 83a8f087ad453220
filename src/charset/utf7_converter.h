// UTF-7 (RFC 2152).
#pragma once

#include <cstdint>
#include <string>
#include <string_view>

#include "charset/charset_converter.h"

namespace sourcetype {

// A shifted run is "+", UTF-16 in Base64, and "-" or any other byte that is not Base64. Each byte
// is converted when it is read; the state of a run is kept from piece to piece. Invalid units are
// - a byte that is not a direct character: controls except tab and line ends, "\", "~", 80-FF;
// - a "+" that is not followed by Base64 or "-";
// - the Base64 bytes of an unpaired surrogate;
// - at the end of a run, Base64 bytes that are not a whole UTF-16 unit, or else the last Base64
// byte
//   if its padding bits are not zero.
class Utf7Converter final : public CharsetConverter {
 public:
  void convert(std::string_view bytes, std::string& out) override;
  void finish(std::string& out) override;

 private:
  void takeDirect(char byte, std::string& out);
  void takeShifted(char byte, std::string& out);
  void takeBase64(char byte, std::uint32_t value, std::string& out);
  void takeUnit(char32_t unit, std::string& out);
  void rejectHighSurrogate(std::string& out);
  void endRun(std::string& out);

  bool isShifted_ = false;
  bool isRunEmpty_ = false;     // no byte after the "+" yet
  std::uint32_t bits_ = 0;      // bits of the next unit, right-aligned
  unsigned bitCount_ = 0;       // the number of these bits: below 16 between bytes
  std::string unitBytes_;       // Base64 bytes after the last whole unit
  char lastBase64_ = 0;         // has the padding bits at the end of a run
  char32_t highSurrogate_ = 0;  // waits for its partner; 0: none
  std::string highBytes_;       // the Base64 bytes of highSurrogate_
};

}  // namespace sourcetype
