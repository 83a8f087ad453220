#include "conf/message_catalog.h"

#include "util/text.h"

namespace sourcetype {
namespace {

std::string lookupKey(std::string_view code) {
  std::string key = toAsciiUpper(code);
  std::erase(key, '%');
  return key;
}

// One of the two underscores before the arguments is kept.
std::string fallbackText(std::string_view code) {
  std::string text = "String not found in literals.conf: ";
  const auto separator = code.find("__");
  if (separator == std::string_view::npos) return text.append(code);
  text += code.substr(0, separator);
  text += " Arguments: ";
  text += code.substr(separator + 1);
  return text;
}

}  // namespace

void MessageCatalog::add(std::string_view stanza, std::string_view key, std::string_view text) {
  std::string name(stanza);
  name.append("_").append(key);
  texts_[name] = text;
}

const std::string& MessageCatalog::lookup(std::string_view code) {
  const std::string key = lookupKey(code);
  const auto known = texts_.find(key);
  return known != texts_.end() ? known->second
                               : texts_.emplace(key, fallbackText(code)).first->second;
}

MessageCatalog& messageCatalog() {
  static MessageCatalog catalog;
  return catalog;
}

const std::string& lookupMessage(std::string_view code) {
  return messageCatalog().lookup(code);
}

}  // namespace sourcetype
