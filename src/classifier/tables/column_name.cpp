#include "classifier/tables/column_name.h"

#include <algorithm>
#include <array>
#include <string>
#include <vector>

#include "util/text.h"

namespace sourcetype {
namespace {

// In lower case and in the order of their bytes. Columns of published tables are named after them
// more often than values of such tables have them.
bool isColumnWord(std::string_view word) {
  static constexpr auto kWords = std::to_array<std::string_view>(
      {"account",     "action",      "active",    "address",     "adresse",     "age",
       "album",       "amount",      "annee",     "anno",        "answer",      "anzahl",
       "apellido",    "area",        "artist",    "author",      "average",     "balance",
       "betrag",      "bezeichnung", "book",      "brand",       "bytes",       "cantidad",
       "category",    "channel",     "cidade",    "city",        "ciudad",      "class",
       "clave",       "cle",         "client",    "close",       "code",        "codigo",
       "col",         "color",       "colour",    "column",      "comment",     "comments",
       "commune",     "company",     "cost",      "count",       "country",     "county",
       "currency",    "customer",    "data",      "date",        "datum",       "day",
       "departement", "department",  "desc",      "description", "destination", "device",
       "district",    "duration",    "email",     "employee",    "end",         "error",
       "estado",      "event",       "fecha",     "field",       "file",        "filename",
       "film",        "first",       "firstname", "gdp",         "gender",      "gene",
       "genre",       "grade",       "group",     "guid",        "header",      "height",
       "high",        "host",        "hostname",  "hour",        "id",          "index",
       "item",        "key",         "kind",      "label",       "land",        "lang",
       "language",    "last",        "lastname",  "lat",         "latitude",    "length",
       "level",       "libelle",     "lng",       "location",    "lon",         "long",
       "longitude",   "low",         "max",       "mean",        "median",      "message",
       "method",      "min",         "model",     "montant",     "month",       "movie",
       "municipio",   "nachname",    "name",      "no",          "nom",         "nombre",
       "nome",        "note",        "notes",     "number",      "open",        "order",
       "ort",         "owner",       "parent",    "path",        "pays",        "percent",
       "percentage",  "phone",       "pid",       "plz",         "population",  "port",
       "position",    "precio",      "prenom",    "price",       "priority",    "prix",
       "process",     "product",     "provincia", "publisher",   "quantity",    "quartier",
       "query",       "question",    "rank",      "rate",        "ratio",       "region",
       "request",     "response",    "result",    "role",        "school",      "score",
       "sensor",      "service",     "session",   "severity",    "sex",         "share",
       "size",        "source",      "species",   "stadt",       "start",       "state",
       "status",      "strasse",     "street",    "sum",         "surname",     "symbol",
       "tags",        "target",      "team",      "temperature", "text",        "ticker",
       "time",        "timestamp",   "tipo",      "title",       "total",       "track",
       "typ",         "type",        "unit",      "url",         "user",        "username",
       "uuid",        "valeur",      "valor",     "value",       "var",         "version",
       "ville",       "volume",      "vorname",   "weight",      "wert",        "year",
       "zeit",        "zip"});
  static_assert(std::ranges::is_sorted(kWords));
  return std::ranges::binary_search(kWords, word);
}

// The words of a name in lower case: "unitPrice", "UNIT_PRICE" and "unit price" have two.
std::vector<std::string> wordsOf(std::string_view name) {
  std::vector<std::string> words(1);
  bool afterLower = false;
  for (const char c : name) {
    const bool isLetter = isAsciiLetter(c);
    if (!isLetter || (afterLower && isAsciiUpper(c))) words.emplace_back();
    if (isLetter) words.back() += toAsciiLower(c);
    afterLower = isAsciiLower(c);
  }
  std::erase_if(words, [](const auto& word) { return word.empty(); });
  return words;
}

bool hasTimeOfDay(std::string_view text) {
  for (std::size_t at = text.find(':'); at != std::string_view::npos; at = text.find(':', at + 1)) {
    if (at == 0 || at + 2 >= text.size()) continue;
    if (isAsciiDigit(text[at - 1]) && isAsciiDigit(text[at + 1]) && isAsciiDigit(text[at + 2])) {
      return true;
    }
  }
  return false;
}

// True for "PIN: 593-762", but not for "Unnamed: 0", which a program writes for a missing name.
bool endsWithValue(std::string_view text) {
  constexpr std::size_t kMinValue = 4;
  const std::size_t colon = text.find(": ");
  if (colon == std::string_view::npos || text.size() - colon - 2 < kMinValue) return false;
  const std::string_view value = text.substr(colon + 2);
  return isAsciiDigit(value.front()) && std::ranges::none_of(value, isAsciiLetter);
}

// True for "2020-01-02 INFO".
bool startsWithDate(std::string_view text) {
  constexpr std::string_view kForm = "0000-00-00";
  if (text.size() <= kForm.size()) return false;
  for (std::size_t i = 0; i < kForm.size(); ++i) {
    const bool isDigit = isAsciiDigit(text[i]);
    if (kForm[i] == '0' ? !isDigit : !isOneOf(text[i], "-/.")) return false;
  }
  return true;
}

// True for "and dark.", but not for an abbreviation as in "Ref. No.".
bool endsSentence(std::string_view text) {
  constexpr std::size_t kMinWord = 4;
  if (!text.ends_with('.') && !text.ends_with('!')) return false;
  const std::size_t blank = text.rfind(' ');
  return blank != std::string_view::npos && text.size() - blank - 2 >= kMinWord;
}

}  // namespace

bool hasColumnWord(std::string_view name) {
  constexpr std::size_t kMaxLength = 60;
  constexpr std::size_t kMaxWords = 5;  // more words are a sentence
  if (name.size() > kMaxLength) return false;
  const auto words = wordsOf(name);
  return words.size() <= kMaxWords && std::ranges::any_of(words, isColumnWord);
}

bool isIdentifier(std::string_view name) {
  if (name.empty() || isAsciiDigit(name.front())) return false;
  return std::ranges::all_of(
      name, [](char c) { return isAsciiLetter(c) || isAsciiDigit(c) || isOneOf(c, "_."); });
}

bool isMessagePart(std::string_view text) {
  constexpr std::size_t kMaxName = 160;  // a question of a survey can be a name
  return text.size() > kMaxName || text.find_first_of("={}") != std::string_view::npos ||
         text.find("</") != std::string_view::npos || text.find("::") != std::string_view::npos ||
         hasTimeOfDay(text) || startsWithDate(text) || endsWithValue(text) || endsSentence(text) ||
         std::ranges::count(text, '[') != std::ranges::count(text, ']');
}

}  // namespace sourcetype
