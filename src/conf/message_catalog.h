// The texts of the messages that administrators see. They are in literals.conf, so that their
// wording can be changed without a new program. The sources use the code of a message:
//
//   messageCatalog(store);  // once, at the start: loads the texts
//   logMessage(LogLevel::Error, kLog, "FILE_CLASSIFIER_CANNOT_OPEN__%s", path);
//
// After "__", the code lists the arguments in their order. The text of this message is the key
// CANNOT_OPEN__S of the stanza [FILE_CLASSIFIER].
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
  // Sets the text of `key` in `stanza`.
  void add(std::string_view stanza, std::string_view key, std::string_view text);

  bool empty() const { return texts_.empty(); }

  // The text of a code; upper and lower case are the same. Never fails: a code without a text gets
  // a text made from the code, whose conversions print the arguments. The reference is valid as
  // long as the catalog; add() may change the text.
  const std::string& lookup(std::string_view code);

 private:
  std::map<std::string, std::string, std::less<>> texts_;
};

// Adds the texts of the configuration "literals" of all layers. Logs a warning if the catalog is
// still empty then.
void loadMessages(MessageCatalog& catalog, ConfStore& store);

// The catalog of the process: global, because any function may log a message. It is empty until it
// is loaded, and lives until exit.
MessageCatalog& messageCatalog();

// The same catalog. The first call loads it from the configuration "literals"; several threads may
// call it. lookup() has no lock.
MessageCatalog& messageCatalog(ConfStore& store);

// As MessageCatalog::lookup(), in the catalog of the process.
const std::string& lookupMessage(std::string_view code);

// Logs the text of `code` with `args`, the arguments of the code in their order. Newlines of the
// text are kept; control characters in arguments are escaped, see formatText().
template <class... Args>
void logMessage(LogLevel level, const LogCategory& category, std::string_view code,
                const Args&... args) {
  if (!category.isEnabled(level)) return;
  logAt(level, category, lookupMessage(code), args...);
}

}  // namespace sourcetype
