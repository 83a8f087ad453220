// The names of all charsets are those in charset_digests.txt. The digests there were made on Linux,
// when the tables of the usual charsets were found equal to those of other implementations. They
// are made anew by running this with SOURCETYPE_WRITE_DIGESTS set to anything. How bytes are cut in
// every charset, and lines after damaged ones, are tried in fuzz/sampler_fuzz.cpp.
#include <gtest/gtest.h>

#include <array>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <initializer_list>
#include <map>
#include <string>
#include <string_view>
#include <vector>

#include "charset/charset_registry.h"
#include "support/table.h"
#include "support/temp_tree.h"

namespace sourcetype::testing {
namespace {

constexpr const char* kDigestsFile = SOURCETYPE_TESTS_DIR "/charset/charset_digests.txt";

struct Converted {
  std::string text;
  std::uint64_t invalid = 0;

  bool operator==(const Converted&) const = default;
};

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

TEST(Conversion, GivesTheSameTextHoweverTheInputIsCut) {
  forEachRow("charset/conversions.txt", 5, [](const Row& row) {
    const auto &charset = row[1], &bytes = row[2];
    const Converted expected{row[3], row.number(4)};
    EXPECT_EQ(convertAll(charset, bytes), expected);
    EXPECT_EQ(convertInPieces(charset, bytes, 0, 1), expected) << "byte by byte";
    for (std::size_t cut = 0; cut <= bytes.size(); ++cut) {
      EXPECT_EQ(convertInPieces(charset, bytes, cut, bytes.size()), expected) << "cut at " << cut;
    }
  });
}

// The run of ASCII is measured in words and blocks; each place in them is tried.
TEST(AsciiRun, EndsAtTheFirstOtherByteWhereverItStands) {
  const std::string ascii = repeated("a~\x01\x7F", 25);
  for (std::size_t at = 0; at < ascii.size(); ++at) {
    for (const auto& [byte, escaped] : {std::pair{'\0', "\\x00"}, std::pair{'\x80', "\\x80"}}) {
      std::string bytes = ascii, text = ascii;
      bytes[at] = byte;
      text.replace(at, 1, escaped);
      EXPECT_EQ(convertAll("utf-8", bytes), (Converted{text, 1})) << at;
    }
  }
}

struct Range {
  unsigned first, last;
};

// A row of the file: name, kind of corpus, digest of the text in hexadecimal digits, number of
// invalid units.
struct CharsetDigest {
  std::string name, corpus;
  std::uint64_t digest = 0, invalid = 0;
};

std::vector<CharsetDigest> readDigests() {
  std::ifstream file(kDigestsFile);
  std::vector<CharsetDigest> rows;
  CharsetDigest row;
  while (file >> row.name >> row.corpus >> std::hex >> row.digest >> std::dec >> row.invalid)
    rows.push_back(row);
  return rows;
}

// All units with one byte of each range, with `before` and `behind` around each.
void appendUnits(std::string& corpus, std::string_view before, std::initializer_list<Range> ranges,
                 std::string_view after = "\n", const std::string& unit = {}) {
  if (unit.size() == ranges.size()) {
    corpus.append(before).append(unit).append(after);
    return;
  }
  const Range range = ranges.begin()[unit.size()];
  for (unsigned byte = range.first; byte <= range.last; ++byte)
    appendUnits(corpus, before, ranges, after, unit + static_cast<char>(byte));
}

constexpr Range kAny{0x00, 0xFF}, kHigh{0x80, 0xFF}, kGr{0xA0, 0xFF}, kDigit{0x30, 0x39};

// A value of `size` bytes, in both byte orders.
void appendBothOrders(std::string& bigEndian, std::string& littleEndian, unsigned value, int size) {
  for (int i = 0; i < size; ++i) {
    bigEndian += static_cast<char>(value >> (8 * (size - 1 - i)));
    littleEndian += static_cast<char>(value >> (8 * i));
  }
}

// Units of 16 and 32 bits: values below 110080, and each surrogate alone and in a pair.
std::string wideCorpus() {
  std::string big, little;
  for (unsigned unit = 0; unit <= 0xFFFF; ++unit) appendBothOrders(big, little, unit, 2);
  for (unsigned high = 0xD800; high <= 0xDBFF; ++high) {
    appendBothOrders(big, little, high, 2);
    appendBothOrders(big, little, high + 0x400, 2);
  }
  for (unsigned value = 0; value < 0x110080; value += value < 0x10000 ? 1 : 0x1F)
    appendBothOrders(big, little, value, 4);
  return big + little + "\x01";
}

// Escapes of C99 and Java: single surrogates, pairs of them, malformed ones, and an unfinished one.
std::string escapeCorpus() {
  std::string corpus;
  std::array<char, 16> digits;
  for (unsigned value = 0; value < 0x120000; value += value < 0x10000 ? 1 : 0x1F) {
    std::snprintf(digits.data(), digits.size(), value < 0x10000 ? "\\u%04X" : "\\U%08X", value);
    corpus += digits.data();
  }
  return corpus + R"(\uD83D\uDE00 \ud83d\n \U0001f600\U80000000\u00G0\u12)";
}

// Each byte by itself, then the units of this kind of charset.
std::string makeCorpus(std::string_view kind) {
  std::string corpus;
  appendUnits(corpus, "", {kAny}, kind == "bytes" ? "" : "\n");
  if (kind == "bytes") return corpus;
  if (kind == "wide") return wideCorpus();
  if (kind == "escapes") return corpus + escapeCorpus();
  appendUnits(corpus, "", {kAny, kAny});
  if (kind == "eucjp") appendUnits(corpus, "\x8F", {kHigh, kHigh});
  if (kind == "euctw") appendUnits(corpus, "\x8E", {{0xA0, 0xB1}, kGr, kGr});
  if (kind == "gb18030") {
    appendUnits(corpus, "", {{0x81, 0x84}, kDigit, kHigh, kDigit});
    appendUnits(corpus, "", {{0x85, 0xFF}, kDigit, kHigh, {0x39, 0x39}});
  }
  if (kind == "hz") appendUnits(corpus, "~{", {{0x20, 0x7F}, {0x20, 0x7F}}, "~}");
  if (kind == "utf7") {
    appendUnits(corpus, "+", {{0x2A, 0x7A}, {0x2A, 0x7A}, {0x2A, 0x7A}}, "-");
    appendUnits(corpus, "+2D3e", {{0x2A, 0x7A}, {0x2A, 0x7A}}, "-");
  }
  if (kind == "utf8") {
    appendUnits(corpus, "", {kHigh, kHigh, {0xBE, 0xC0}});
    appendUnits(corpus, "", {{0xED, 0xF6}, kHigh, {0xBF, 0xBF}, {0x80, 0x81}});
    appendUnits(corpus, "\xED\xA0\x80\xED", {kHigh, {0x80, 0x81}});  // pairs of CESU-8
  }
  return corpus;
}

TEST(EveryCharset, ConvertsTheSameOnAllSystems) {
  std::vector<CharsetDigest> rows = readDigests();
  ASSERT_EQ(rows.size(), 275U);
  const bool isWriting = std::getenv("SOURCETYPE_WRITE_DIGESTS") != nullptr;
  std::map<std::string, std::string> corpora;
  for (CharsetDigest& row : rows) {
    const auto [corpus, isNew] = corpora.try_emplace(row.corpus);
    if (isNew) corpus->second = makeCorpus(row.corpus);
    const Converted converted = convertAll(row.name, corpus->second);
    const std::uint64_t digest = digestOf(converted.text);
    if (!isWriting) {
      EXPECT_EQ(digest, row.digest) << row.name;
      EXPECT_EQ(converted.invalid, row.invalid) << row.name;
    }
    row.digest = digest;
    row.invalid = converted.invalid;
  }
  if (!isWriting) return;
  std::ofstream file(kDigestsFile, std::ios::binary);
  for (const CharsetDigest& row : rows) {
    file << row.name << ' ' << row.corpus << ' ' << std::hex << row.digest << std::dec << ' '
         << row.invalid << '\n';
  }
}

TEST(CharsetRegistry, HasNoOtherNames) {
  for (const std::string name : {"", "utf", "utf88", "zzz", "0", "latin11", "Ünicode"}) {
    EXPECT_EQ(findConverter(name), nullptr) << name;
  }
}

TEST(CharsetRegistry, AcceptsANameInAnySpelling) {
  EXPECT_EQ(normaliseCharsetName("ISO_8859-1:1987"), "iso885911987");
  EXPECT_EQ(normaliseCharsetName("\xC3\x84 Utf-16LE\n"), "utf16le");
  for (const char* name : {"UTF-8", "utf_8", " Utf8 ", "ISO_8859-1", "Shift_JIS"}) {
    EXPECT_NE(findConverter(name), nullptr) << name;
  }
}

}  // namespace
}  // namespace sourcetype::testing
