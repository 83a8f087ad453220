// The texts of the messages that administrators see. They live in literals.conf, so that their
// wording can be changed without a new program; the code knows a message by its code only.
//
// A message code is "FILE_CLASSIFIER_CANNOT_OPEN__%s": after "__", the arguments in their order.
// Its text is the key CANNOT_OPEN__S of the stanza [FILE_CLASSIFIER].
#pragma once

#include <functional>
#include <map>
#include <string>
#include <string_view>

#include "util/logging.h"

namespace sourcetype {

class ConfStore;

class MessageCatalog {
 public:
  // Stores the text of `key` in `stanza`, in place of an earlier one.
  void add(std::string_view stanza, std::string_view key, std::string_view text);

  bool empty() const { return texts_.empty(); }

  // The text of a code, in any case of its letters. Never fails: a code without a text gets one
  // made of itself, whose conversions still print the arguments, and keeps it. The reference holds
  // as long as the catalog; add() may change what it says.
  const std::string& lookup(std::string_view code);

 private:
  std::map<std::string, std::string, std::less<>> texts_;
};

// Adds the texts of the configuration "literals" of all layers. Logs a warning when the catalog is
// empty then.
void loadMessages(MessageCatalog& catalog, ConfStore& store);

// The catalog of the process. It is global because a message may be logged at any depth. Empty
// until it was loaded; lives until exit.
MessageCatalog& messageCatalog();

// The same, loaded from the configuration "literals" at the first call. Calls from several threads
// load it once; lookups take no lock.
MessageCatalog& messageCatalog(ConfStore& store);

// The text of a code in the catalog of the process.
const std::string& lookupMessage(std::string_view code);

// Logs the text of `code`, filled with `args`, the code's arguments in their order. The text is
// shown as it stands in the catalog, newlines included; arguments are made harmless.
template <class... Args>
void logMessage(LogLevel level, const LogCategory& category, std::string_view code,
                const Args&... args) {
  if (!category.isEnabled(level)) return;
  logAt(level, category, lookupMessage(code), args...);
}

}  // namespace sourcetype
