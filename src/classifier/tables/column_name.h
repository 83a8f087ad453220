// Which texts are usual as names of columns.
#pragma once

#include <string_view>

namespace sourcetype {

// True when one of a few words is a word that columns are often named after: "unitPrice", "ORDER_ID".
bool hasColumnWord(std::string_view name);

// True for ASCII letters, digits, "_" and ".", not beginning with a digit.
bool isIdentifier(std::string_view name);

// True for a text that is a part of a message or of a program: a time of day, "key=value", an
// unpaired bracket, a very long text.
bool isMessagePart(std::string_view text);

}  // namespace sourcetype
