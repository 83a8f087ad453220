// What each byte of a single-byte charset stands for.
#pragma once

#include <array>
#include <optional>
#include <string>
#include <string_view>

namespace sourcetype {

// The UTF-8 text of every byte, empty where the charset has no character. Byte 00 stands for NUL.
using ByteTexts = std::array<std::string, 256>;

// As the system's iconv has the charset: byte by byte, so that it cannot join a letter and an
// accent behind it (as glibc would in CP1255 and CP1258), with the cells of chosen_cells.h. Nothing
// when the system has no such set.
std::optional<ByteTexts> askIconv(const std::string& charset);

// As its vendor published it; nothing for a name that vendor_tables.h does not hold.
std::optional<ByteTexts> findVendorTexts(std::string_view name);

// JIS X 0201: ASCII with the yen sign and the overline, and half-width katakana from A1 to DF.
ByteTexts jisX0201Texts();

}  // namespace sourcetype
