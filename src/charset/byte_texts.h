// The characters of single-byte charsets.
#pragma once

#include <array>
#include <optional>
#include <string>
#include <string_view>

namespace sourcetype {

// The UTF-8 text of each byte; empty if the charset has no character there.
using ByteTexts = std::array<std::string, 256>;

// The charset as the system's iconv converts it, except the cells in chosen_cells.h. Each byte is
// converted by itself: otherwise glibc would join a letter and the accent after it in CP1255 and
// CP1258. Nothing when the system does not have the charset.
std::optional<ByteTexts> askIconv(const std::string& charset);

// The charset as its vendor published it; nothing when vendor_tables.h does not have the name.
std::optional<ByteTexts> findVendorTexts(std::string_view name);

// JIS X 0201: ASCII with a yen sign for "\" and an overline for "~", and half-width katakana in
// A1-DF.
ByteTexts jisX0201Texts();

}  // namespace sourcetype
