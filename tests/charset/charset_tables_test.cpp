// Compares the tables with an independent source: the digests were made with the codecs of Python
// 3.11, in the output format of the converters (\xHH for a unit without a character).
#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <numeric>
#include <string>
#include <string_view>

#include "charset/charset_registry.h"
#include "support/converted.h"

namespace sourcetype::testing {
namespace {

struct ByteDigest {
  std::string_view charset;
  std::uint64_t digest, invalid;
};

// All bytes from 00 to FF. VISCII is from perl's Encode, because Python does not have it. TIS-620
// of Python has the controls 80-9F, which are omitted here. Neither has a table of ARMSCII-8, the
// Georgian sets and ISO 646. CP1255 is not tested, because Python has no character at CA.
constexpr std::array kByteDigests{
    ByteDigest{"cp1250", 0xCB6A9FA5DD89422FU, 6},
    ByteDigest{"cp1251", 0x2990EEF89FA6E326U, 2},
    ByteDigest{"cp1252", 0x7077A129C19E0ED7U, 6},
    ByteDigest{"cp1253", 0xFE0210A43F44BA34U, 18},
    ByteDigest{"cp1254", 0xAEB672EA610656A6U, 8},
    ByteDigest{"cp1256", 0xD33B91FD108C0925U, 1},
    ByteDigest{"cp1257", 0xD42B8323DFF60056U, 13},
    ByteDigest{"cp1258", 0x2D16DC129FDFB87EU, 10},
    ByteDigest{"cp850", 0x0031CC4D0B77106DU, 1},
    ByteDigest{"cp862", 0x7010346679019FBFU, 1},
    ByteDigest{"cp866", 0xF362AEB5E4CFB85CU, 1},
    ByteDigest{"cp874", 0x12B92C3B6CA1B6BAU, 32},
    ByteDigest{"hproman8", 0xE94C56E45A47F55DU, 2},
    ByteDigest{"koi8r", 0xA59478CE80E8013BU, 1},
    ByteDigest{"koi8t", 0x0DE08E18F28E2A5FU, 20},
    ByteDigest{"koi8u", 0x1EF632D9851D43F7U, 1},
    ByteDigest{"iso88591", 0x0FFBFF20ACDD53FBU, 1},
    ByteDigest{"iso88592", 0x6BD48B0493BCE834U, 1},
    ByteDigest{"iso88593", 0xEDA68B40701F4133U, 8},
    ByteDigest{"iso88594", 0xC5A002808C972F41U, 1},
    ByteDigest{"iso88595", 0x1CEF2CAAD9E2AF59U, 1},
    ByteDigest{"iso88596", 0x1826E282A8FB3C3AU, 46},
    ByteDigest{"iso88597", 0x3DDC7F6EDB25CEBAU, 4},
    ByteDigest{"iso88598", 0x5B1CBB0114D0F912U, 37},
    ByteDigest{"iso88599", 0xB67BC1B07933159CU, 1},
    ByteDigest{"iso885910", 0xD0DC35941CC1AE69U, 1},
    ByteDigest{"iso885911", 0xAE939283051B3163U, 9},
    ByteDigest{"iso885913", 0xDBEC1F5CB6C4D793U, 1},
    ByteDigest{"iso885914", 0x5CAA62D396A883A7U, 1},
    ByteDigest{"iso885915", 0x9008CB19B92D9F9EU, 1},
    ByteDigest{"iso885916", 0x9FA342375330ECB8U, 1},
    ByteDigest{"tis620", 0xEFEE576ED28BD432U, 42},
    ByteDigest{"macarabic", 0xAD9964558B977CFBU, 1},
    ByteDigest{"maccentraleurope", 0x58DCD573C260C3D5U, 1},
    ByteDigest{"maccroatian", 0x1C0AF745A4BA61BDU, 1},
    ByteDigest{"maccyrillic", 0xE6BE6CF176DE83A3U, 1},
    ByteDigest{"macgreek", 0x45C8E95E90BF905DU, 1},
    ByteDigest{"maciceland", 0x26C57A8151BAB476U, 1},
    ByteDigest{"macroman", 0x305187C482D613FBU, 1},
    ByteDigest{"macromania", 0xB7E0438F28843D0DU, 1},
    ByteDigest{"macturkish", 0xD8030709C7E1BF81U, 1},
    ByteDigest{"viscii", 0x25E7BF1640DCF9F6U, 1},
};

TEST(SingleByteTables, AreThePublishedOnes) {
  std::string bytes(256, '\0');
  std::iota(bytes.begin(), bytes.end(), '\0');
  for (const auto& [charset, digest, invalid] : kByteDigests) {
    const Converted converted = convertAll(charset, bytes);
    EXPECT_EQ(digestOf(converted.text), digest) << charset << ' ' << converted;
    EXPECT_EQ(converted.invalid, invalid) << charset;
  }
}

struct Range {
  unsigned first, last;
};

struct PairDigest {
  std::string_view charset;
  Range leads, trails;
  int characters;
  std::uint64_t digest;
};

// All pairs in these ranges with one character outside the private use area, where libraries
// differ. The ranges do not include the pairs for which Python has another table: symbols of Big5,
// GB 18030 before 2005 (rows A6, A8, FE), the single letters of Johab, the tilde of JIS X 0212, and
// the characters added to KS X 1001 in 1998 and 2002.
constexpr std::array kPairDigests{
    PairDigest{"shiftjis", {0x81, 0xFC}, {0x40, 0xFC}, 6879, 0xAB4999241605A6F7U},
    PairDigest{"cp932", {0x81, 0xFC}, {0x40, 0xFC}, 7724, 0x992C8770C7DF5D75U},
    PairDigest{"eucjp", {0xA1, 0xFE}, {0xA1, 0xFE}, 6879, 0xAB4999241605A6F7U},
    PairDigest{"gb2312", {0xA1, 0xFE}, {0xA1, 0xFE}, 7445, 0x4B26B7BE84C37E50U},
    PairDigest{"gbk", {0x81, 0xFE}, {0x40, 0xFE}, 21791, 0xC16843CBCFEF3B50U},
    PairDigest{"cp949", {0x81, 0xFE}, {0x41, 0xFE}, 17048, 0xB147D9D15B455871U},
    PairDigest{"big5", {0xA4, 0xC5}, {0x40, 0xFE}, 5338, 0xADBB7309E1C0FAC9U},
    PairDigest{"cp950", {0xA4, 0xC5}, {0x40, 0xFE}, 5338, 0xADBB7309E1C0FAC9U},
    PairDigest{"big5hkscs", {0xA4, 0xC5}, {0x40, 0xFE}, 5338, 0xADBB7309E1C0FAC9U},
    PairDigest{"gb18030", {0xB0, 0xF7}, {0x40, 0xFE}, 13675, 0xC5172BBA610BDA4CU},
    PairDigest{"euckr", {0xB0, 0xFE}, {0xA1, 0xFE}, 7238, 0xB45E0BF59CB6E6BBU},
    PairDigest{"johab", {0xE0, 0xF9}, {0x31, 0xFE}, 4888, 0xFCEDD08E6FB894F9U},
    PairDigest{"jisx0208", {0x21, 0x7E}, {0x21, 0x7E}, 6879, 0xAB4999241605A6F7U},
    PairDigest{"jisx0212", {0x30, 0x7E}, {0x21, 0x7E}, 5801, 0x1C92F52F8D56C214U},
    PairDigest{"gb231280", {0x21, 0x7E}, {0x21, 0x7E}, 7445, 0x4B26B7BE84C37E50U},
    PairDigest{"ksc5601", {0x30, 0x7E}, {0x21, 0x7E}, 7238, 0xB45E0BF59CB6E6BBU},
};

bool isPrivateUse(std::string_view utf8) {
  return utf8 >= "\xEE\x80\x80" && utf8 <= "\xEF\xA3\xBF";
}

TEST(MultiByteTables, AreThePublishedOnes) {
  for (const auto& [charset, leads, trails, characters, digest] : kPairDigests) {
    const auto converter = findConverter(charset);
    ASSERT_NE(converter, nullptr) << charset;
    std::string all;
    int found = 0;
    for (unsigned lead = leads.first; lead <= leads.last; ++lead) {
      for (unsigned trail = trails.first; trail <= trails.last; ++trail) {
        const std::array pair{static_cast<char>(lead), static_cast<char>(trail)};
        const auto invalidBefore = converter->invalidCount();
        std::string text;
        converter->convert({pair.data(), pair.size()}, text);
        converter->finish(text);
        const auto starts =
            std::ranges::count_if(text, [](unsigned char c) { return (c & 0xC0) != 0x80; });
        if (converter->invalidCount() != invalidBefore || starts != 1 || isPrivateUse(text))
          continue;
        all += text;
        ++found;
      }
    }
    EXPECT_EQ(found, characters) << charset;
    EXPECT_EQ(digestOf(all), digest) << charset;
  }
}

}  // namespace
}  // namespace sourcetype::testing
