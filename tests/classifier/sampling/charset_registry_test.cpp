#include "classifier/sampling/charset_registry.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <random>
#include <sstream>
#include <string>
#include <string_view>
#include <vector>

#include "support/converted.h"

namespace sourcetype::testing {
namespace {

constexpr std::string_view kNames =
    "850 862 866 ansix341968 ansix341986 arabic armscii8 ascii asmo708 big5 big5hkscs "
    "big5hkscs2001 bigfive c99 cesu8 chinese cn cnbig5 cngb cp1250 cp1251 cp1252 cp1253 cp1254 "
    "cp1255 cp1256 cp1257 cp1258 cp1361 cp367 cp819 cp850 cp862 cp866 cp874 cp932 cp936 cp949 "
    "cp950 csascii csbig5 cseuckr cseucpkdfmtjapanese cseuctw csgb2312 cshalfwidthkatakana "
    "cshproman8 csibm866 csiso14jisc6220ro csiso159jisx02121990 csiso57gb1988 csiso58gb231280 "
    "csiso87jisx0208 csisolatin1 csisolatin2 csisolatin3 csisolatin4 csisolatin5 csisolatin6 "
    "csisolatinarabic csisolatincyrillic csisolatingreek csisolatinhebrew cskoi8r csksc56011987 "
    "csmacintosh cspc850multilingual cspc862latinhebrew csshiftjis csucs4 csunicode csunicode11 "
    "csunicode11utf7 csviscii cyrillic ecma114 ecma118 elot928 euccn eucjp euckr euctw "
    "extendedunixcodepackedformatforjapanese gb18030 gb198880 gb2312 gb231280 gbk "
    "georgianacademy georgianps greek greek8 hebrew hproman8 hz hzgb2312 ibm367 ibm819 ibm850 "
    "ibm862 ibm866 iso10646ucs2 iso10646ucs4 iso646cn iso646irv1991 iso646jp iso646us iso88591 "
    "iso885910 iso8859101992 iso885911 iso885911987 iso885913 iso885914 iso8859141998 iso885915 "
    "iso8859151998 iso885916 iso8859162001 iso88592 iso885921987 iso88593 iso885931988 iso88594 "
    "iso885941988 iso88595 iso885951988 iso88596 iso885961987 iso88597 iso885971987 iso885972003 "
    "iso88598 iso885981988 iso88599 iso885991989 isoceltic isoir100 isoir101 isoir109 isoir110 "
    "isoir126 isoir127 isoir138 isoir14 isoir144 isoir148 isoir149 isoir157 isoir159 isoir166 "
    "isoir179 isoir199 isoir203 isoir226 isoir57 isoir58 isoir6 isoir87 java jis0208 "
    "jisc62201969ro jisc62261983 jisx0201 jisx02011976 jisx0208 jisx02081983 jisx02081990 "
    "jisx0212 jisx02121990 jisx021219900 johab jp koi8r koi8t koi8u korean ksc5601 ksc56011987 "
    "ksc56011989 l1 l10 l2 l3 l4 l5 l6 l7 l8 latin1 latin10 latin2 latin3 latin4 latin5 latin6 "
    "latin7 latin8 latin9 mac macarabic maccentraleurope maccroatian maccyrillic macgreek "
    "machebrew maciceland macintosh macroman macromania macthai macturkish macukraine ms936 "
    "msansi msarab mscyrl msee msgreek mshebr mskanji msturk nextstep r8 roman8 shiftjis sjis "
    "tis620 tis6200 tis62025291 tis62025330 tis62025331 ucs2 ucs2be ucs2internal ucs2le "
    "ucs2swapped ucs4 ucs4be ucs4internal ucs4le ucs4swapped uhc unicode11 unicode11utf7 "
    "unicodebig unicodelittle us usascii utf16 utf16be utf16le utf32 utf32be utf32le utf7 utf8 "
    "utfebcdic viscii viscii111 winbaltrim windows1250 windows1251 windows1252 windows1253 "
    "windows1254 windows1255 windows1256 windows1257 windows1258 windows874 windows936 x0201 "
    "x0208 x0212";
std::vector<std::string> allNames() {
  std::istringstream in{std::string(kNames)};
  return {std::istream_iterator<std::string>(in), {}};
}

// Bytes with runs of everything: any value, high ones as in CJK text, ASCII with escapes, and NUL.
std::string randomBytes(std::minstd_rand& random, std::size_t size) {
  constexpr std::string_view kSyntax = "+-~{}\\uUd8D9c0E\n";
  std::string bytes;
  while (bytes.size() < size) {
    const auto value = static_cast<unsigned>(random() >> 8);
    const unsigned kind = value / 0x10000 % 4;
    bytes += static_cast<char>(kind == 0   ? value
                               : kind == 1 ? 0x80 | value
                               : kind == 2 ? static_cast<unsigned>(kSyntax[value % kSyntax.size()])
                                           : 0x21 + value % 94);
  }
  return bytes;
}

TEST(EveryCharset, MakesCleanTextOfRandomBytesHoweverTheyAreCut) {
  for (const std::string& name : allNames()) {
    SCOPED_TRACE(name);
    std::minstd_rand random(20231121);
    for (std::size_t round = 0; round < 8; ++round) {
      const std::string bytes = randomBytes(random, 700);
      const Converted whole = convertAll(name, bytes);
      EXPECT_EQ(convertInPieces(name, bytes, 0, 1), whole);
      EXPECT_EQ(convertInPieces(name, bytes, 1 + round, 7), whole);
      EXPECT_EQ(convertAll("utf-8", whole.text), (Converted{whole.text, 0}));
      std::size_t escapes = 0;
      for (auto at = whole.text.find("\\x"); at != std::string::npos;
           at = whole.text.find("\\x", at + 1)) {
        ++escapes;
      }
      EXPECT_GE(escapes, whole.invalid);
    }
  }
}

TEST(EveryCharsetBasedOnAscii, KeepsTheLineBehindDamage) {
  int based = 0;
  for (const std::string& name : allNames()) {
    if (convertAll(name, "\nEND\n").text != "\nEND\n") continue;
    ++based;
    std::minstd_rand random(1);
    for (int round = 0; round < 100; ++round) {
      const std::string text = convertAll(name, randomBytes(random, 20) + "\n\nEND\n").text;
      EXPECT_TRUE(text.ends_with("\nEND\n")) << name << ": " << text;
    }
  }
  EXPECT_GT(based, 200);
}

TEST(CharsetRegistry, HasTheNamesAndNoOthers) {
  EXPECT_EQ(allNames().size(), 275U);
  for (const std::string name : {"", "utf", "utf88", "zzz", "0", "latin11", "Ünicode"}) {
    EXPECT_EQ(findConverter(name), nullptr) << name;
  }
}

TEST(CharsetRegistry, TakesANameInAnySpelling) {
  EXPECT_EQ(normaliseCharsetName("ISO_8859-1:1987"), "iso885911987");
  EXPECT_EQ(normaliseCharsetName("\xC3\x84 Utf-16LE\n"), "utf16le");
  for (const char* name : {"UTF-8", "utf_8", " Utf8 ", "ISO_8859-1", "Shift_JIS"}) {
    EXPECT_NE(findConverter(name), nullptr) << name;
  }
}

}  // namespace
}  // namespace sourcetype::testing
