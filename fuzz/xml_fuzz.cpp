// The set-up of the XML libraries. Input: a document, the name of a document to open, and pieces of
// messages. In all but the pieces, "ROOT" is replaced by a directory with the file "secret.xml",
// which must not be read.
#include <libxml/parser.h>
#include <libxml/tree.h>
#include <libxml/xmlerror.h>

#include <algorithm>
#include <memory>
#include <utility>

#include "support.h"
#include "timestamp/xml_libraries.h"

namespace sourcetype::fuzzing {
namespace {

using Document = std::unique_ptr<xmlDoc, decltype(&xmlFreeDoc)>;

// Limits the entities within entities, and so the time that one document may take.
constexpr std::size_t kMaxReferences = 40;
constexpr std::string_view kSecret = "S3CR3T-0F-0THERS";
std::string withRoot(std::string_view text) {
  constexpr std::string_view kName = "ROOT";
  const auto root = tree().root().string();
  std::string result(text);
  for (auto at = result.find(kName); at != std::string_view::npos;
       at = result.find(kName, at + root.size())) {
    result.replace(at, kName.size(), root);
  }
  return result;
}

void requireNoSecret(const Document& document) {
  if (document == nullptr) return;
  xmlChar* text = nullptr;
  int size = 0;
  xmlDocDumpMemory(document.get(), &text, &size);
  const std::unique_ptr<xmlChar, decltype(xmlFree)> owner(text, xmlFree);
  const std::string_view dump(reinterpret_cast<const char*>(text), static_cast<std::size_t>(size));
  require(dump.find(kSecret) == std::string_view::npos, "no file is read");
}

// Every line says where it comes from: no document forges a record.
void requireOwnRecords() {
  const auto text = records().str();
  for (const auto line : linesOf(text)) {
    require(line.starts_with("ERROR XmlParser ") || line.starts_with("WARN XmlParser "),
            "a record is one line");
  }
}

void checkDocuments(const std::string& document, const std::string& name) {
  const auto uri = "file://" + (tree().root() / "document.xml").string();
  requireNoSecret({xmlReadMemory(document.data(), static_cast<int>(document.size()), uri.c_str(),
                                 nullptr, XML_PARSE_NOENT | XML_PARSE_DTDLOAD),
                   xmlFreeDoc});
  requireOwnRecords();
  requireNoSecret({xmlReadFile(name.c_str(), nullptr, XML_PARSE_DTDVALID), xmlFreeDoc});
  requireOwnRecords();
}

std::string_view withoutLineEnd(std::string_view text) {
  return text.substr(0, text.find_last_not_of("\r\n") + 1);
}

// A message grows until a piece ends its line, or it is long enough; the clean-up ends the last.
std::vector<std::string> messagesOf(const std::vector<std::string_view>& pieces) {
  constexpr std::size_t kMaxPiece = 1023;
  constexpr std::size_t kMaxMessage = 8192;
  std::vector<std::string> messages;
  std::string message;
  for (const auto piece : pieces) {
    message += piece.substr(0, piece.find('\0')).substr(0, kMaxPiece);
    if (!message.ends_with('\n') && message.size() < kMaxMessage) continue;
    messages.push_back(std::exchange(message, {}));
  }
  messages.push_back(message);
  std::erase_if(messages, [](const auto& text) { return withoutLineEnd(text).empty(); });
  return messages;
}

}  // namespace

std::vector<std::string> seeds() {
  std::vector<std::string> inputs;
  for (const std::string id :
       {"secret.xml", "%73ecret.xml", "./a/../secret.xml", "http://127.0.0.1:9/x", "file://host/x",
        "ROOT/secret.xml", "file:///localhost/../ROOT/secret.xml", "file:ROOT/secret.xml"}) {
    inputs.push_back(joined({"<!DOCTYPE d [<!ENTITY e SYSTEM \"" + id + "\">]><d>&e;</d>", id}));
  }
  inputs.push_back(joined({"<!DOCTYPE d SYSTEM 'secret.xml'><d>&e;&f;</d>", "ROOT/secret.xml",
                           "one ", "record\n", "\r\n", "\x1B[0m%n", "left"}));
  inputs.push_back(joined({"<?xml version='1.0' encoding='UTF-16'?><a>\n<b></a>", "/dev/zero",
                           std::string(2000, 'x')}));
  return inputs;
}

void run(std::string_view input) {
  records().str({});
  Parts parts(input);
  const auto document = withRoot(parts.next());
  const auto name = withRoot(parts.next());
  if (name.find('\0') != std::string_view::npos) return;
  if (static_cast<std::size_t>(std::ranges::count(document, ';')) > kMaxReferences) return;
  tree().write("secret.xml", "<!--" + std::string(kSecret) + "-->");

  const auto pieces = parts.all();
  {
    const XmlLibraries libraries;
    checkDocuments(document, name);
    records().str({});
    for (const auto piece : pieces) {
      const std::string text(piece);
      xmlGenericError(xmlGenericErrorContext, "%s", text.c_str());
    }
  }
  const auto text = records().str();
  requireOwnRecords();
  require(linesOf(text).size() == messagesOf(pieces).size(), "every message is a record");
}

}  // namespace sourcetype::fuzzing
