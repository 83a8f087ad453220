#include "conf/properties_map.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <system_error>

#include "util/logging.h"
#include "util/text.h"

namespace sourcetype {
namespace {

constexpr LogCategory kMapLog("PropertiesMap");

std::optional<bool> parseBool(std::string_view text) {
  using Words = std::array<std::string_view, 4>;
  constexpr Words kTrue{"t", "true", "yes", "1"};
  constexpr Words kFalse{"f", "false", "no", "0"};
  const auto isText = [&](std::string_view word) { return equalsIgnoringCase(text, word); };
  if (std::ranges::any_of(kTrue, isText)) return true;
  if (std::ranges::any_of(kFalse, isText)) return false;
  return std::nullopt;
}

// Decimal digits, with a sign if the type has one. Blanks, tabs and line ends around them are
// allowed, other characters are not.
template <class Number>
std::optional<Number> parseNumber(std::string_view text) {
  text = trim(text, " \t\r\n");
  if (text.starts_with('+') && !text.starts_with("+-")) text.remove_prefix(1);
  Number number{};
  const char* const end = text.data() + text.size();
  const auto [parsedUpTo, error] = std::from_chars(text.data(), end, number);
  if (error != std::errc() || parsedUpTo != end) return std::nullopt;
  return number;
}

}  // namespace

PropertiesMap::PropertiesMap(
    std::initializer_list<std::pair<std::string_view, std::string_view>> settings) {
  for (const auto& [key, value] : settings) set(key, value);
}

const std::string& PropertiesMap::get(std::string_view key) const {
  static const std::string kEmpty;
  const auto found = entries_.find(key);
  return found == entries_.end() ? kEmpty : found->second.value;
}

std::optional<std::string> PropertiesMap::tryGet(std::string_view key) const {
  const std::string& value = get(key);
  if (value.empty()) return std::nullopt;
  return value;
}

std::string_view PropertiesMap::stanzaOf(std::string_view key) const {
  const auto found = entries_.find(key);
  return found == entries_.end() ? std::string_view() : found->second.stanza;
}

void PropertiesMap::set(std::string_view key, std::string_view value) {
  const auto found = entries_.lower_bound(key);
  if (found != entries_.end() && found->first == key) {
    found->second = {.value = std::string(value), .stanza = {}};
  } else {
    entries_.emplace_hint(found, key, Entry{.value = std::string(value), .stanza = {}});
  }
}

void PropertiesMap::insertIfAbsent(std::string_view key, std::string_view value,
                                   std::string_view stanza) {
  const auto found = entries_.lower_bound(key);
  if (found != entries_.end() && found->first == key) return;
  entries_.emplace_hint(found, key,
                        Entry{.value = std::string(value), .stanza = std::string(stanza)});
}

void PropertiesMap::remove(std::string_view key) {
  const auto found = entries_.find(key);
  if (found != entries_.end()) entries_.erase(found);
}

void PropertiesMap::removeByValue(std::string_view value) {
  std::erase_if(entries_, [&](const auto& entry) { return entry.second.value == value; });
}

std::int64_t PropertiesMap::getInt(std::string_view key, std::int64_t fallback) const {
  return parseNumber<std::int64_t>(get(key)).value_or(fallback);
}

std::uint64_t PropertiesMap::getUnsigned(std::string_view key, std::uint64_t fallback) const {
  return parseNumber<std::uint64_t>(get(key)).value_or(fallback);
}

bool PropertiesMap::getBool(std::string_view key, bool fallback) const {
  return parseBool(get(key)).value_or(fallback);
}

std::optional<bool> PropertiesMap::tryGetBool(std::string_view key) const {
  const std::string& value = get(key);
  if (value.empty()) return std::nullopt;
  const auto parsed = parseBool(value);
  if (!parsed) {
    logWarn(kMapLog, R"(Cannot convert string "%s" into %s for "%s")", value, "boolean", key);
  }
  return parsed;
}

std::string PropertiesMap::toString() const {
  std::string text = "PropertiesMap: {\n";
  for (const auto& [key, entry] : entries_) text += "\t" + key + " -> " + entry.value + "\n";
  return text + "}\n";
}

PropertiesMap PropertiesMap::diff(const PropertiesMap& desired, const PropertiesMap& existing) {
  PropertiesMap result;
  for (const auto& [key, entry] : desired.entries_) {
    // get() returns an empty value for a missing key.
    if (entry.value != existing.get(key)) result.set(key, entry.value);
  }
  return result;
}

bool operator==(const PropertiesMap& left, const PropertiesMap& right) {
  return std::ranges::equal(left.entries_, right.entries_, [](const auto& a, const auto& b) {
    return a.first == b.first && a.second.value == b.second.value;
  });
}

}  // namespace sourcetype
