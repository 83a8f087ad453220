// Whether the program can use a value.
#pragma once

#include <optional>
#include <string>
#include <string_view>

#include "inspect/check/known_keys.h"
#include "timestamp/time_zones.h"

namespace sourcetype {

// What is wrong with a value of this kind and what follows from that: "is neither true nor false;
// the default is used". Nothing for a value that can be used, and for an empty one: its key counts
// as not set. The program's own parsers decide.
std::optional<std::string> valueProblem(ValueKind kind, std::string_view value,
                                        const TimeZones& zones);

// Whether the program reads a value as a whole number, or as true or false.
bool readsAsNumber(std::string_view value);
bool readsAsFlag(std::string_view value);

// Why an expression does not compile; nothing if it does.
std::optional<std::string> expressionError(std::string_view expression);

// Whether the text of a message fits the arguments that its key lists.
bool fitsArguments(std::string_view key, std::string_view text);

}  // namespace sourcetype
