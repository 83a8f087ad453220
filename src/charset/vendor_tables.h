// Single-byte charsets as their vendors published them. Not every iconv has these charsets.
#pragma once

#include <array>
#include <span>
#include <string_view>

namespace sourcetype {

// 00-7F are ASCII. The tables of Apple have hints in the private use area (U+F860-F87F), which
// select a variant of the character beside them; these hints are left out. C0 of MacHebrew has two
// characters, lamed and holam.
struct VendorTable {
  std::string_view name;
  std::array<std::u16string_view, 128> upperHalf;  // 80-FF; empty: no character
};

std::span<const VendorTable> vendorTables();

}  // namespace sourcetype
