// The keys and the kinds of stanzas that the program knows.
#pragma once

#include <optional>
#include <string>
#include <string_view>

namespace sourcetype {

enum class ValueKind {
  Text,  // any
  Flag,
  Number,
  Limit,  // a number above 0, perhaps with decimals
  Expression,
  TimeFormat,
  Charset,
  Zone,
  Sourcetype,
  Links,  // to stanzas of transforms.conf
  Keywords,
};

// The kind of the values of a key of a configuration ("props"); nothing for a key that the program
// does not use. Keys of rules and words of models are not known here.
std::optional<ValueKind> kindOfKey(std::string_view conf, std::string_view key);

// The known key that somebody probably meant by an unknown one: it differs in case, or in one or
// two letters. Nothing for other keys, which the server that reads the same files may use.
std::optional<std::string> meantKey(std::string_view conf, std::string_view key);

// The prefix that somebody probably meant in the name of a stanza of props.conf: "source::" for
// "sources::x", "Source::x" or "source:x". Nothing if the prefix is known, or unlike every known
// one.
std::optional<std::string> meantStanzaKind(std::string_view stanza);

// "sourcetype", "MORE_THAN" or "LESS_THAN" for a key of a rule that is like one of these.
std::optional<std::string> meantRuleKey(std::string_view key);

}  // namespace sourcetype
