// The set-up of the XML libraries. Input: a document with what it refers to, a file "inside.xml" of
// the configuration, the name of a document to open, and pieces of messages. In all but the pieces,
// "ROOT" stands for the directory that the configuration is in.
//
// Beside the configuration stands a file that must not be read, and links lead to it.
#include <libxml/parser.h>
#include <libxml/tree.h>
#include <libxml/xmlerror.h>
#include <sys/stat.h>

#include <algorithm>
#include <memory>
#include <utility>

#include "support.h"
#include "timestamp/xml_libraries.h"

namespace sourcetype::fuzzing {
namespace {

using Document = std::unique_ptr<xmlDoc, decltype(&xmlFreeDoc)>;

constexpr std::string_view kSecret = "S3CR3T-0F-0THERS";
// Entities in entities: what a document may grow to takes no more time than this allows.
constexpr std::size_t kMaxReferences = 40;

std::string withRoot(std::string_view text) {
  constexpr std::string_view kName = "ROOT";
  const auto root = tree().root().string();
  std::string result(text);
  for (auto at = result.find(kName); at != result.npos; at = result.find(kName, at + root.size())) {
    result.replace(at, kName.size(), root);
  }
  return result;
}

void writeTree(std::string_view inside) {
  tree().clear();
  tree().write("etc/inside.xml", withRoot(inside));
  tree().write("outside.xml", "<!--" + std::string(kSecret) + "-->" + std::string(kSecret));
  tree().write("etc-not/outside.xml", kSecret);
  std::filesystem::create_symlink("../outside.xml", tree().root() / "etc/link.xml");
  std::filesystem::create_directory_symlink("../etc-not", tree().root() / "etc/directory");
  require(mkfifo((tree().root() / "etc/fifo").c_str(), S_IRUSR | S_IWUSR) == 0, "there is a FIFO");
}

void requireNoSecret(const Document& document) {
  if (document == nullptr) return;
  xmlChar* text = nullptr;
  int size = 0;
  xmlDocDumpMemory(document.get(), &text, &size);
  const std::unique_ptr<xmlChar, decltype(xmlFree)> owner(text, xmlFree);
  const std::string_view dump(reinterpret_cast<const char*>(text), static_cast<std::size_t>(size));
  require(dump.find(kSecret) == dump.npos, "what is outside the configuration is not read");
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
  const auto uri = "file://" + (tree().root() / "etc/document.xml").string();
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
  const auto entity = [](const std::string& id) {
    return "<!DOCTYPE d [<!ENTITY e SYSTEM \"" + id + "\">]><d>&e;</d>";
  };
  std::vector<std::string> inputs;
  for (const auto* id :
       {"inside.xml", "a%20b.xml", "../outside.xml", "%2e%2e/outside.xml", "link.xml", "fifo",
        "directory/outside.xml", "http://127.0.0.1:9/x", "file://host/x", "ROOT/outside.xml",
        "file:///localhost/../ROOT/etc/../outside.xml", "file:ROOT/etc/inside.xml"}) {
    inputs.push_back(joined({entity(id), "<i>inner</i>", id}));
  }
  inputs.push_back(
      joined({"<!DOCTYPE d SYSTEM 'inside.xml'><d>&e;&f;</d>",
              "<!ENTITY e 'x'><!ENTITY % p SYSTEM 'link.xml'>%p;<!ELEMENT d ANY>",
              "ROOT/etc/inside.xml", "one ", "record\n", "\r\n", "\x1B[0m%n", "left"}));
  inputs.push_back(joined({"<?xml version='1.0' encoding='UTF-16'?><a>\n<b></a>", "<a", "/dev/zero",
                           std::string(2000, 'x')}));
  return inputs;
}

void run(std::string_view input) {
  records().str({});
  Parts parts(input);
  const auto document = withRoot(parts.next());
  const auto inside = parts.next();
  const auto name = withRoot(parts.next());
  if (name.find('\0') != name.npos) return;
  writeTree(inside);
  const auto references = [](std::string_view text) { return std::ranges::count(text, ';'); };
  if (static_cast<std::size_t>(references(document) + references(inside)) > kMaxReferences) return;

  const auto pieces = parts.all();
  {
    const XmlLibraries libraries(tree().root() / "etc");
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
