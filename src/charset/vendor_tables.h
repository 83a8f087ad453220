// Single-byte charsets that their vendor published and that not every iconv has.
#pragma once

#include <array>
#include <span>
#include <string_view>

namespace sourcetype {

// 00-7F are ASCII. Apple's hints in the private use area (U+F860-F87F: a variant shape of the
// character beside them) are left out; MacHebrew's C0 keeps its two characters, lamed and holam.
struct VendorTable {
  std::string_view name;
  std::array<std::u16string_view, 128> upperHalf;  // 80-FF; empty: no character
};

std::span<const VendorTable> vendorTables();

}  // namespace sourcetype
