// PropertiesMap: the one container of settings between configuration and classifier.
#pragma once

#include <cstdint>
#include <map>
#include <optional>
#include <string>
#include <string_view>

namespace sourcetype {

// An ordered map from key to value, both byte strings, in ascending byte order of the keys. A key
// that is missing and one whose value is empty read the same.
class PropertiesMap {
 public:
  // A value and the stanza that a configuration lookup took it from (empty when set directly).
  struct Entry {
    std::string value;
    std::string stanza;
  };
  using Entries = std::map<std::string, Entry, std::less<>>;

  PropertiesMap() = default;
  PropertiesMap(std::initializer_list<std::pair<std::string_view, std::string_view>> settings);

  // The value, empty when the key is missing. Valid until the key is set or removed.
  const std::string& get(std::string_view key) const;

  // The value, nothing when the key is missing or its value empty.
  std::optional<std::string> tryGet(std::string_view key) const;

  // The stanza that the value came from; empty when the key is missing or was set directly.
  std::string_view stanzaOf(std::string_view key) const;

  void set(std::string_view key, std::string_view value);

  // Adds a setting of the stanza `stanza` unless the key is there already, whatever its value.
  void insertIfAbsent(std::string_view key, std::string_view value, std::string_view stanza);

  void remove(std::string_view key);

  // Removes every entry whose value equals `value`.
  void removeByValue(std::string_view value);

  // The value as a decimal number; `fallback` when it is missing, no number or out of range.
  std::int64_t getInt(std::string_view key, std::int64_t fallback) const;
  std::uint64_t getUnsigned(std::string_view key, std::uint64_t fallback) const;

  // The value as a boolean ("t", "true", "yes", "1"; "f", "false", "no", "0"; in any case);
  // `fallback` when it is missing or none of these.
  bool getBool(std::string_view key, bool fallback) const;

  // The same, nothing instead of a fallback; a value that is no boolean is logged at WARN.
  std::optional<bool> tryGetBool(std::string_view key) const;

  // True when the key is there, even with an empty value.
  bool contains(std::string_view key) const { return entries_.contains(key); }

  // In ascending byte order of the keys.
  const Entries& entries() const { return entries_; }

  // "PropertiesMap: {\n", a line "\t<key> -> <value>\n" an entry, "}\n". Nothing is escaped.
  std::string toString() const;

  // What has to be written so that `existing` becomes `desired`: every key of `desired` whose value
  // differs, and every one that `existing` lacks unless its value is empty.
  static PropertiesMap diff(const PropertiesMap& desired, const PropertiesMap& existing);

  // Same keys and values; the stanzas they came from do not count.
  friend bool operator==(const PropertiesMap& left, const PropertiesMap& right);

 private:
  Entries entries_;
};

}  // namespace sourcetype
