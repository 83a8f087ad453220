#include "charset/charset_registry.h"

#include <algorithm>
#include <array>
#include <cstdint>
#include <functional>
#include <map>
#include <mutex>
#include <optional>
#include <utility>

#include "charset/byte_order.h"
#include "charset/byte_texts.h"
#include "charset/cesu8_converter.h"
#include "charset/double_byte_converter.h"
#include "charset/double_byte_table.h"
#include "charset/escape_converter.h"
#include "charset/hz_converter.h"
#include "charset/multibyte_converter.h"
#include "charset/table_converter.h"
#include "charset/utf16_converter.h"
#include "charset/utf32_converter.h"
#include "charset/utf7_converter.h"
#include "charset/utf8_converter.h"
#include "charset/utf_ebcdic_converter.h"
#include "util/text.h"

namespace sourcetype {
namespace {

enum class Family : std::uint8_t {
  Utf8,
  Utf16,  // in the byte order of the byte-order mark
  Utf16Be,
  Utf16Le,
  Utf32,  // in the byte order of the byte-order mark
  Utf32Be,
  Utf32Le,
  Utf7,
  UtfEbcdic,
  Cesu8,
  C99,
  Java,
  JisX0201,
  JisX0208,
  JisX0212,
  Gb2312,
  KsC5601,
  Hz,
  SingleByte,  // parameter: the name of the charset in iconv
  MultiByte,   // parameter: the name of the charset in iconv
  Vendor,      // parameter: the name of a table in vendor_tables.h
};

struct CharsetRow {
  std::string_view name;  // normalised
  Family family;
  std::string_view parameter = {};
};

// The names and aliases of the common iconv libraries:
// - "gb2312" is EUC-CN, but the names of the standards (GB_2312-80, KS_C_5601-1987, KOREAN,
//   JIS_X0208) mean the two-byte set by itself.
// - UTF-16 and UTF-32 without a byte order in the name have the order of their byte-order mark.
// - "internal" is little-endian on every machine, "swapped" is big-endian.
// - Big5 is the variant of Microsoft, as in glibc.
// The names in iconv are those that both glibc and GNU libiconv know.
constexpr std::array<CharsetRow, 275> kCharsets{{
    {"850", Family::SingleByte, "CP850"},
    {"862", Family::SingleByte, "CP862"},
    {"866", Family::SingleByte, "CP866"},
    {"ansix341968", Family::Utf8},
    {"ansix341986", Family::Utf8},
    {"arabic", Family::SingleByte, "ISO-8859-6"},
    {"armscii8", Family::SingleByte, "ARMSCII-8"},
    {"ascii", Family::Utf8},
    {"asmo708", Family::SingleByte, "ISO-8859-6"},
    {"big5", Family::MultiByte, "CP950"},
    {"big5hkscs", Family::MultiByte, "BIG5-HKSCS"},
    {"big5hkscs2001", Family::MultiByte, "BIG5-HKSCS"},
    {"bigfive", Family::MultiByte, "CP950"},
    {"c99", Family::C99},
    {"cesu8", Family::Cesu8},
    {"chinese", Family::Gb2312},
    {"cn", Family::SingleByte, "ISO646-CN"},
    {"cnbig5", Family::MultiByte, "CP950"},
    {"cngb", Family::MultiByte, "EUC-CN"},
    {"cp1250", Family::SingleByte, "CP1250"},
    {"cp1251", Family::SingleByte, "CP1251"},
    {"cp1252", Family::SingleByte, "CP1252"},
    {"cp1253", Family::SingleByte, "CP1253"},
    {"cp1254", Family::SingleByte, "CP1254"},
    {"cp1255", Family::SingleByte, "CP1255"},
    {"cp1256", Family::SingleByte, "CP1256"},
    {"cp1257", Family::SingleByte, "CP1257"},
    {"cp1258", Family::SingleByte, "CP1258"},
    {"cp1361", Family::MultiByte, "JOHAB"},
    {"cp367", Family::Utf8},
    {"cp819", Family::SingleByte, "ISO-8859-1"},
    {"cp850", Family::SingleByte, "CP850"},
    {"cp862", Family::SingleByte, "CP862"},
    {"cp866", Family::SingleByte, "CP866"},
    {"cp874", Family::SingleByte, "WINDOWS-874"},
    {"cp932", Family::MultiByte, "CP932"},
    {"cp936", Family::MultiByte, "CP936"},
    {"cp949", Family::MultiByte, "CP949"},
    {"cp950", Family::MultiByte, "CP950"},
    {"csascii", Family::Utf8},
    {"csbig5", Family::MultiByte, "CP950"},
    {"cseuckr", Family::MultiByte, "EUC-KR"},
    {"cseucpkdfmtjapanese", Family::MultiByte, "EUC-JP"},
    {"cseuctw", Family::MultiByte, "EUC-TW"},
    {"csgb2312", Family::MultiByte, "EUC-CN"},
    {"cshalfwidthkatakana", Family::JisX0201},
    {"cshproman8", Family::SingleByte, "HP-ROMAN8"},
    {"csibm866", Family::SingleByte, "CP866"},
    {"csiso14jisc6220ro", Family::SingleByte, "ISO646-JP"},
    {"csiso159jisx02121990", Family::JisX0212},
    {"csiso57gb1988", Family::SingleByte, "ISO646-CN"},
    {"csiso58gb231280", Family::Gb2312},
    {"csiso87jisx0208", Family::JisX0208},
    {"csisolatin1", Family::SingleByte, "ISO-8859-1"},
    {"csisolatin2", Family::SingleByte, "ISO-8859-2"},
    {"csisolatin3", Family::SingleByte, "ISO-8859-3"},
    {"csisolatin4", Family::SingleByte, "ISO-8859-4"},
    {"csisolatin5", Family::SingleByte, "ISO-8859-9"},
    {"csisolatin6", Family::SingleByte, "ISO-8859-10"},
    {"csisolatinarabic", Family::SingleByte, "ISO-8859-6"},
    {"csisolatincyrillic", Family::SingleByte, "ISO-8859-5"},
    {"csisolatingreek", Family::SingleByte, "ISO-8859-7"},
    {"csisolatinhebrew", Family::SingleByte, "ISO-8859-8"},
    {"cskoi8r", Family::SingleByte, "KOI8-R"},
    {"csksc56011987", Family::KsC5601},
    {"csmacintosh", Family::Vendor, "MacRoman"},
    {"cspc850multilingual", Family::SingleByte, "CP850"},
    {"cspc862latinhebrew", Family::SingleByte, "CP862"},
    {"csshiftjis", Family::MultiByte, "SHIFT_JIS"},
    {"csucs4", Family::Utf32},
    {"csunicode", Family::Utf16},
    {"csunicode11", Family::Utf16},
    {"csunicode11utf7", Family::Utf7},
    {"csviscii", Family::SingleByte, "VISCII"},
    {"cyrillic", Family::SingleByte, "ISO-8859-5"},
    {"ecma114", Family::SingleByte, "ISO-8859-6"},
    {"ecma118", Family::SingleByte, "ISO-8859-7"},
    {"elot928", Family::SingleByte, "ISO-8859-7"},
    {"euccn", Family::MultiByte, "EUC-CN"},
    {"eucjp", Family::MultiByte, "EUC-JP"},
    {"euckr", Family::MultiByte, "EUC-KR"},
    {"euctw", Family::MultiByte, "EUC-TW"},
    {"extendedunixcodepackedformatforjapanese", Family::MultiByte, "EUC-JP"},
    {"gb18030", Family::MultiByte, "GB18030"},
    {"gb198880", Family::SingleByte, "ISO646-CN"},
    {"gb2312", Family::MultiByte, "EUC-CN"},
    {"gb231280", Family::Gb2312},
    {"gbk", Family::MultiByte, "GBK"},
    {"georgianacademy", Family::SingleByte, "GEORGIAN-ACADEMY"},
    {"georgianps", Family::SingleByte, "GEORGIAN-PS"},
    {"greek", Family::SingleByte, "ISO-8859-7"},
    {"greek8", Family::SingleByte, "ISO-8859-7"},
    {"hebrew", Family::SingleByte, "ISO-8859-8"},
    {"hproman8", Family::SingleByte, "HP-ROMAN8"},
    {"hz", Family::Hz},
    {"hzgb2312", Family::Hz},
    {"ibm367", Family::Utf8},
    {"ibm819", Family::SingleByte, "ISO-8859-1"},
    {"ibm850", Family::SingleByte, "CP850"},
    {"ibm862", Family::SingleByte, "CP862"},
    {"ibm866", Family::SingleByte, "CP866"},
    {"iso10646ucs2", Family::Utf16},
    {"iso10646ucs4", Family::Utf32},
    {"iso646cn", Family::SingleByte, "ISO646-CN"},
    {"iso646irv1991", Family::Utf8},
    {"iso646jp", Family::SingleByte, "ISO646-JP"},
    {"iso646us", Family::Utf8},
    {"iso88591", Family::SingleByte, "ISO-8859-1"},
    {"iso885910", Family::SingleByte, "ISO-8859-10"},
    {"iso8859101992", Family::SingleByte, "ISO-8859-10"},
    {"iso885911", Family::SingleByte, "ISO-8859-11"},
    {"iso885911987", Family::SingleByte, "ISO-8859-1"},
    {"iso885913", Family::SingleByte, "ISO-8859-13"},
    {"iso885914", Family::SingleByte, "ISO-8859-14"},
    {"iso8859141998", Family::SingleByte, "ISO-8859-14"},
    {"iso885915", Family::SingleByte, "ISO-8859-15"},
    {"iso8859151998", Family::SingleByte, "ISO-8859-15"},
    {"iso885916", Family::SingleByte, "ISO-8859-16"},
    {"iso8859162001", Family::SingleByte, "ISO-8859-16"},
    {"iso88592", Family::SingleByte, "ISO-8859-2"},
    {"iso885921987", Family::SingleByte, "ISO-8859-2"},
    {"iso88593", Family::SingleByte, "ISO-8859-3"},
    {"iso885931988", Family::SingleByte, "ISO-8859-3"},
    {"iso88594", Family::SingleByte, "ISO-8859-4"},
    {"iso885941988", Family::SingleByte, "ISO-8859-4"},
    {"iso88595", Family::SingleByte, "ISO-8859-5"},
    {"iso885951988", Family::SingleByte, "ISO-8859-5"},
    {"iso88596", Family::SingleByte, "ISO-8859-6"},
    {"iso885961987", Family::SingleByte, "ISO-8859-6"},
    {"iso88597", Family::SingleByte, "ISO-8859-7"},
    {"iso885971987", Family::SingleByte, "ISO-8859-7"},
    {"iso885972003", Family::SingleByte, "ISO-8859-7"},
    {"iso88598", Family::SingleByte, "ISO-8859-8"},
    {"iso885981988", Family::SingleByte, "ISO-8859-8"},
    {"iso88599", Family::SingleByte, "ISO-8859-9"},
    {"iso885991989", Family::SingleByte, "ISO-8859-9"},
    {"isoceltic", Family::SingleByte, "ISO-8859-14"},
    {"isoir100", Family::SingleByte, "ISO-8859-1"},
    {"isoir101", Family::SingleByte, "ISO-8859-2"},
    {"isoir109", Family::SingleByte, "ISO-8859-3"},
    {"isoir110", Family::SingleByte, "ISO-8859-4"},
    {"isoir126", Family::SingleByte, "ISO-8859-7"},
    {"isoir127", Family::SingleByte, "ISO-8859-6"},
    {"isoir138", Family::SingleByte, "ISO-8859-8"},
    {"isoir14", Family::SingleByte, "ISO646-JP"},
    {"isoir144", Family::SingleByte, "ISO-8859-5"},
    {"isoir148", Family::SingleByte, "ISO-8859-9"},
    {"isoir149", Family::KsC5601},
    {"isoir157", Family::SingleByte, "ISO-8859-10"},
    {"isoir159", Family::JisX0212},
    {"isoir166", Family::SingleByte, "TIS-620"},
    {"isoir179", Family::SingleByte, "ISO-8859-13"},
    {"isoir199", Family::SingleByte, "ISO-8859-14"},
    {"isoir203", Family::SingleByte, "ISO-8859-15"},
    {"isoir226", Family::SingleByte, "ISO-8859-16"},
    {"isoir57", Family::SingleByte, "ISO646-CN"},
    {"isoir58", Family::Gb2312},
    {"isoir6", Family::Utf8},
    {"isoir87", Family::JisX0208},
    {"java", Family::Java},
    {"jis0208", Family::JisX0208},
    {"jisc62201969ro", Family::SingleByte, "ISO646-JP"},
    {"jisc62261983", Family::JisX0208},
    {"jisx0201", Family::JisX0201},
    {"jisx02011976", Family::JisX0201},
    {"jisx0208", Family::JisX0208},
    {"jisx02081983", Family::JisX0208},
    {"jisx02081990", Family::JisX0208},
    {"jisx0212", Family::JisX0212},
    {"jisx02121990", Family::JisX0212},
    {"jisx021219900", Family::JisX0212},
    {"johab", Family::MultiByte, "JOHAB"},
    {"jp", Family::SingleByte, "ISO646-JP"},
    {"koi8r", Family::SingleByte, "KOI8-R"},
    {"koi8t", Family::SingleByte, "KOI8-T"},
    {"koi8u", Family::SingleByte, "KOI8-U"},
    {"korean", Family::KsC5601},
    {"ksc5601", Family::KsC5601},
    {"ksc56011987", Family::KsC5601},
    {"ksc56011989", Family::KsC5601},
    {"l1", Family::SingleByte, "ISO-8859-1"},
    {"l10", Family::SingleByte, "ISO-8859-16"},
    {"l2", Family::SingleByte, "ISO-8859-2"},
    {"l3", Family::SingleByte, "ISO-8859-3"},
    {"l4", Family::SingleByte, "ISO-8859-4"},
    {"l5", Family::SingleByte, "ISO-8859-9"},
    {"l6", Family::SingleByte, "ISO-8859-10"},
    {"l7", Family::SingleByte, "ISO-8859-13"},
    {"l8", Family::SingleByte, "ISO-8859-14"},
    {"latin1", Family::SingleByte, "ISO-8859-1"},
    {"latin10", Family::SingleByte, "ISO-8859-16"},
    {"latin2", Family::SingleByte, "ISO-8859-2"},
    {"latin3", Family::SingleByte, "ISO-8859-3"},
    {"latin4", Family::SingleByte, "ISO-8859-4"},
    {"latin5", Family::SingleByte, "ISO-8859-9"},
    {"latin6", Family::SingleByte, "ISO-8859-10"},
    {"latin7", Family::SingleByte, "ISO-8859-13"},
    {"latin8", Family::SingleByte, "ISO-8859-14"},
    {"latin9", Family::SingleByte, "ISO-8859-15"},
    {"mac", Family::Vendor, "MacRoman"},
    {"macarabic", Family::Vendor, "MacArabic"},
    {"maccentraleurope", Family::Vendor, "MacCentralEurRoman"},
    {"maccroatian", Family::Vendor, "MacCroatian"},
    {"maccyrillic", Family::Vendor, "MacCyrillic"},
    {"macgreek", Family::Vendor, "MacGreek"},
    {"machebrew", Family::Vendor, "MacHebrew"},
    {"maciceland", Family::Vendor, "MacIcelandic"},
    {"macintosh", Family::Vendor, "MacRoman"},
    {"macroman", Family::Vendor, "MacRoman"},
    {"macromania", Family::Vendor, "MacRomanian"},
    {"macthai", Family::Vendor, "MacThai"},
    {"macturkish", Family::Vendor, "MacTurkish"},
    {"macukraine", Family::Vendor, "MacUkrainian"},
    {"ms936", Family::MultiByte, "CP936"},
    {"msansi", Family::SingleByte, "CP1252"},
    {"msarab", Family::SingleByte, "CP1256"},
    {"mscyrl", Family::SingleByte, "CP1251"},
    {"msee", Family::SingleByte, "CP1250"},
    {"msgreek", Family::SingleByte, "CP1253"},
    {"mshebr", Family::SingleByte, "CP1255"},
    {"mskanji", Family::MultiByte, "SHIFT_JIS"},
    {"msturk", Family::SingleByte, "CP1254"},
    {"nextstep", Family::Vendor, "nextstep"},
    {"r8", Family::SingleByte, "HP-ROMAN8"},
    {"roman8", Family::SingleByte, "HP-ROMAN8"},
    {"shiftjis", Family::MultiByte, "SHIFT_JIS"},
    {"sjis", Family::MultiByte, "SHIFT_JIS"},
    {"tis620", Family::SingleByte, "TIS-620"},
    {"tis6200", Family::SingleByte, "TIS-620"},
    {"tis62025291", Family::SingleByte, "TIS-620"},
    {"tis62025330", Family::SingleByte, "TIS-620"},
    {"tis62025331", Family::SingleByte, "TIS-620"},
    {"ucs2", Family::Utf16},
    {"ucs2be", Family::Utf16Be},
    {"ucs2internal", Family::Utf16Le},
    {"ucs2le", Family::Utf16Le},
    {"ucs2swapped", Family::Utf16Be},
    {"ucs4", Family::Utf32},
    {"ucs4be", Family::Utf32Be},
    {"ucs4internal", Family::Utf32Le},
    {"ucs4le", Family::Utf32Le},
    {"ucs4swapped", Family::Utf32Be},
    {"uhc", Family::MultiByte, "CP949"},
    {"unicode11", Family::Utf16},
    {"unicode11utf7", Family::Utf7},
    {"unicodebig", Family::Utf16Be},
    {"unicodelittle", Family::Utf16Le},
    {"us", Family::Utf8},
    {"usascii", Family::Utf8},
    {"utf16", Family::Utf16},
    {"utf16be", Family::Utf16Be},
    {"utf16le", Family::Utf16Le},
    {"utf32", Family::Utf32},
    {"utf32be", Family::Utf32Be},
    {"utf32le", Family::Utf32Le},
    {"utf7", Family::Utf7},
    {"utf8", Family::Utf8},
    {"utfebcdic", Family::UtfEbcdic},
    {"viscii", Family::SingleByte, "VISCII"},
    {"viscii111", Family::SingleByte, "VISCII"},
    {"winbaltrim", Family::SingleByte, "CP1257"},
    {"windows1250", Family::SingleByte, "CP1250"},
    {"windows1251", Family::SingleByte, "CP1251"},
    {"windows1252", Family::SingleByte, "CP1252"},
    {"windows1253", Family::SingleByte, "CP1253"},
    {"windows1254", Family::SingleByte, "CP1254"},
    {"windows1255", Family::SingleByte, "CP1255"},
    {"windows1256", Family::SingleByte, "CP1256"},
    {"windows1257", Family::SingleByte, "CP1257"},
    {"windows1258", Family::SingleByte, "CP1258"},
    {"windows874", Family::SingleByte, "WINDOWS-874"},
    {"windows936", Family::MultiByte, "CP936"},
    {"x0201", Family::JisX0201},
    {"x0208", Family::JisX0208},
    {"x0212", Family::JisX0212},
}};

// std::string_view compares bytes as unsigned values.
static_assert(std::ranges::adjacent_find(kCharsets, std::ranges::greater_equal{},
                                         &CharsetRow::name) == kCharsets.end(),
              "searched by halves");

// The table that `make` returns; null if it returns nothing. The first call with a name makes the
// table, and the process keeps it: a run may read thousands of files in the same charset.
template <class Table, class Make>
std::shared_ptr<const Table> sharedTable(const std::string& name, const Make& make) {
  static std::mutex mutex;
  static std::map<std::string, std::shared_ptr<const Table>> tables;
  const std::scoped_lock lock(mutex);
  const auto [known, isNew] = tables.try_emplace(name);
  if (isNew) {
    if (auto made = make()) known->second = std::make_shared<const Table>(*std::move(made));
  }
  return known->second;
}

template <class Converter, class Table>
std::unique_ptr<CharsetConverter> makeWith(std::shared_ptr<const Table> table) {
  if (!table) return nullptr;
  return std::make_unique<Converter>(std::move(table));
}

template <class Make>
std::unique_ptr<CharsetConverter> makeTableConverter(std::string_view name, const Make& make) {
  return makeWith<TableConverter>(sharedTable<ByteTexts>(std::string(name), make));
}

// A converter for the set that an EUC charset has after `prefix`.
template <class Converter>
std::unique_ptr<CharsetConverter> makeFromEuc(const std::string& euc,
                                              std::string_view prefix = {}) {
  return makeWith<Converter>(sharedTable<DoubleByteTable>(
      euc + std::string(prefix), [&] { return DoubleByteTable::fromEuc(euc, prefix); }));
}

std::unique_ptr<CharsetConverter> makeConverter(const CharsetRow& row) {
  switch (row.family) {
    case Family::Utf8:
      return std::make_unique<Utf8Converter>();
    case Family::Utf16:
      return std::make_unique<Utf16Converter>(std::nullopt);
    case Family::Utf16Be:
      return std::make_unique<Utf16Converter>(ByteOrder::Big);
    case Family::Utf16Le:
      return std::make_unique<Utf16Converter>(ByteOrder::Little);
    case Family::Utf32:
      return std::make_unique<Utf32Converter>(std::nullopt);
    case Family::Utf32Be:
      return std::make_unique<Utf32Converter>(ByteOrder::Big);
    case Family::Utf32Le:
      return std::make_unique<Utf32Converter>(ByteOrder::Little);
    case Family::Utf7:
      return std::make_unique<Utf7Converter>();
    case Family::UtfEbcdic:
      return std::make_unique<UtfEbcdicConverter>();
    case Family::Cesu8:
      return std::make_unique<Cesu8Converter>();
    case Family::C99:
      return std::make_unique<EscapeConverter>(EscapeSyntax::C99);
    case Family::Java:
      return std::make_unique<EscapeConverter>(EscapeSyntax::Java);
    case Family::JisX0201:
      return makeTableConverter("JIS X 0201", [] { return std::optional(jisX0201Texts()); });
    case Family::JisX0208:
      return makeFromEuc<DoubleByteConverter>("EUC-JP");
    case Family::JisX0212:
      return makeFromEuc<DoubleByteConverter>("EUC-JP", "\x8F");
    case Family::Gb2312:
      return makeFromEuc<DoubleByteConverter>("EUC-CN");
    case Family::KsC5601:
      return makeFromEuc<DoubleByteConverter>("EUC-KR");
    case Family::Hz:
      return makeFromEuc<HzConverter>("EUC-CN");
    case Family::SingleByte:
      return makeTableConverter(row.parameter,
                                [&] { return askIconv(std::string(row.parameter)); });
    case Family::MultiByte:
      return MultiByteConverter::create(row.parameter);
    case Family::Vendor:
      return makeTableConverter(row.parameter, [&] { return findVendorTexts(row.parameter); });
  }
  return nullptr;
}

}  // namespace

std::string normaliseCharsetName(std::string_view name) {
  std::string normalised;
  for (const char c : name) {
    if (isAsciiLetter(c) || isAsciiDigit(c)) normalised += toAsciiLower(c);
  }
  return normalised;
}

std::unique_ptr<CharsetConverter> findConverter(std::string_view charsetName) {
  const std::string name = normaliseCharsetName(charsetName);
  const auto* const row = std::ranges::lower_bound(kCharsets, name, {}, &CharsetRow::name);
  if (row == kCharsets.end() || row->name != name) return nullptr;
  return makeConverter(*row);
}

}  // namespace sourcetype
