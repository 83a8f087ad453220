// PropertiesMap: settings, as the configuration and the classifier exchange them.
#pragma once

#include <cstdint>
#include <functional>
#include <initializer_list>
#include <map>
#include <optional>
#include <string>
#include <string_view>
#include <utility>

namespace sourcetype {

// A map from key to value, both byte strings, in ascending byte order of the keys. get() and
// tryGet() return the same for a missing key and for an empty value.
class PropertiesMap {
 public:
  // A value, and the stanza that a lookup found it in (empty after set()).
  struct Entry {
    std::string value;
    std::string stanza;
  };
  using Entries = std::map<std::string, Entry, std::less<>>;

  PropertiesMap() = default;
  PropertiesMap(std::initializer_list<std::pair<std::string_view, std::string_view>> settings);

  // The value; empty when the key is missing. Valid until the key is set or removed.
  const std::string& get(std::string_view key) const;

  // The value; nothing when the key is missing or its value is empty.
  std::optional<std::string> tryGet(std::string_view key) const;

  // The stanza that a lookup found the value in; empty when the key is missing, and after set().
  std::string_view stanzaOf(std::string_view key) const;

  void set(std::string_view key, std::string_view value);

  // Adds a setting of the stanza `stanza`, unless the map has the key, even with an empty value.
  void insertIfAbsent(std::string_view key, std::string_view value, std::string_view stanza);

  void remove(std::string_view key);

  // Removes every entry whose value equals `value`.
  void removeByValue(std::string_view value);

  // The value as a decimal number; `fallback` when it is missing, not a number or out of range.
  std::int64_t getInt(std::string_view key, std::int64_t fallback) const;
  std::uint64_t getUnsigned(std::string_view key, std::uint64_t fallback) const;

  // The value as a boolean ("t", "true", "yes", "1"; "f", "false", "no", "0"; in upper or lower
  // case); `fallback` when it is missing or another text.
  bool getBool(std::string_view key, bool fallback) const;

  // The same with nothing as the fallback. A value that is not a boolean is logged at WARN.
  std::optional<bool> tryGetBool(std::string_view key) const;

  // True when the map has the key, even with an empty value.
  bool contains(std::string_view key) const { return entries_.contains(key); }

  // In ascending byte order of the keys.
  const Entries& entries() const { return entries_; }

  // "PropertiesMap: {\n", a line "\t<key> -> <value>\n" for each entry, "}\n". Nothing is escaped.
  std::string toString() const;

  // The settings to write so that `existing` becomes `desired`: each key of `desired` that has
  // another value in `existing`. A key that `existing` does not have counts as empty there.
  static PropertiesMap diff(const PropertiesMap& desired, const PropertiesMap& existing);

  // True for equal keys and values; the stanzas are not compared.
  friend bool operator==(const PropertiesMap& left, const PropertiesMap& right);

 private:
  Entries entries_;
};

}  // namespace sourcetype
