#include "inspect/scan/gzip_trailer.h"

#include <array>
#include <cstdint>
#include <fstream>

namespace sourcetype {
namespace {

// The CRC-32 of every byte, by the reversed polynomial that gzip uses.
constexpr std::array<std::uint32_t, 256> makeCrcTable() {
  constexpr std::uint32_t kPolynomial = 0xEDB88320;
  std::array<std::uint32_t, 256> table{};
  for (std::uint32_t byte = 0; byte < table.size(); ++byte) {
    std::uint32_t crc = byte;
    for (int bit = 0; bit < 8; ++bit) crc = (crc >> 1U) ^ ((crc & 1U) != 0 ? kPolynomial : 0);
    table[byte] = crc;
  }
  return table;
}
constexpr auto kCrcTable = makeCrcTable();

std::uint32_t crcOf(std::string_view text) {
  std::uint32_t crc = ~std::uint32_t{0};
  for (const char c : text) {
    crc = (crc >> 8U) ^ kCrcTable[(crc ^ static_cast<unsigned char>(c)) & 0xFFU];
  }
  return ~crc;
}

std::uint32_t littleEndian(std::string_view bytes) {
  std::uint32_t value = 0;
  for (std::size_t i = 4; i-- > 0;) value = (value << 8U) | static_cast<unsigned char>(bytes[i]);
  return value;
}

}  // namespace

std::string gzipFault(const std::filesystem::path& file, std::string_view text) {
  std::array<char, 8> trailer{};  // the checksum and the length, modulo 2^32
  std::ifstream stream(file, std::ios::binary);
  stream.seekg(-std::streamoff{trailer.size()}, std::ios::end);
  if (!stream.read(trailer.data(), trailer.size())) return "the end of the file cannot be read";
  const std::string_view bytes(trailer.data(), trailer.size());
  const std::uint32_t length = littleEndian(bytes.substr(4));
  if (length > text.size()) return "damaged: the text is shorter than it was";
  const auto last = text.substr(text.size() - length);
  return crcOf(last) == littleEndian(bytes) ? "" : "damaged: the checksum is wrong";
}

}  // namespace sourcetype
