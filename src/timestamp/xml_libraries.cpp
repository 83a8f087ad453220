#include "timestamp/xml_libraries.h"

#include <libxml/parser.h>
#include <libxml/xmlerror.h>
#include <libxslt/xslt.h>
#include <libxslt/xsltutils.h>

#include <array>
#include <cstdarg>
#include <cstddef>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <new>
#include <string>
#include <string_view>
#include <utility>

#include "util/logging.h"

namespace sourcetype {
namespace {

constexpr LogCategory kXmlLog("XmlParser");

// 2.7.8. Older versions lack the structured errors and the limits that this program needs.
constexpr long kMinLibxml2 = 20708;

// Bytes of one piece of a message. The rest of a longer piece is dropped.
constexpr std::size_t kMaxPiece = 1024;

// Bytes. A longer message is logged in parts.
constexpr std::size_t kMaxMessage = 8192;

// The libraries have one set of handlers for the process and pass them no object of this program.
struct XmlLayer {
  bool initialised = false;
  std::string message;  // the pieces of a generic message whose line is not complete
};
XmlLayer& xmlLayer() {
  static XmlLayer layer;
  return layer;
}

std::string_view withoutLineEnd(std::string_view text) {
  while (text.ends_with('\n') || text.ends_with('\r')) text.remove_suffix(1);
  return text;
}

std::string_view orEmpty(const char* text) {
  return text == nullptr ? "" : text;
}

void logXmlError(const xmlError& error) {
  const auto level = error.level == XML_ERR_WARNING ? LogLevel::Warn : LogLevel::Error;
  const auto message = withoutLineEnd(orEmpty(error.message));
  if (error.file == nullptr) {
    logAt(level, kXmlLog, "line %d: %s", error.line, message);
  } else {
    logAt(level, kXmlLog, "%s:%d: %s", error.file, error.line, message);
  }
}

void logCollectedMessage() {
  const auto complete = std::exchange(xmlLayer().message, {});
  if (const auto text = withoutLineEnd(complete); !text.empty()) logError(kXmlLog, "%s", text);
}

// Takes one piece of a message, printf-style as the libraries require; a newline ends the message.
void collectMessage(void* /*context*/, const char* format, ...) {  // NOLINT(cert-dcl50-cpp)
  std::array<char, kMaxPiece> piece{};
  std::va_list arguments;  // NOLINT(cppcoreguidelines-pro-type-vararg): the libraries' interface
  va_start(arguments, format);
  static_cast<void>(std::vsnprintf(piece.data(), piece.size(), format, arguments));
  va_end(arguments);

  auto& message = xmlLayer().message;
  message += piece.data();
  if (message.ends_with('\n') || message.size() >= kMaxMessage) logCollectedMessage();
}

// Nothing that this program reads consists of several files. So every document, entity and DTD that
// XML names is refused: a configuration file cannot make the program read another file or ask a
// host.
xmlParserInputPtr refuseEntity(const char* url, const char* id, xmlParserCtxtPtr /*context*/) {
  logError(kXmlLog, "Refused to read \"%s\" (%s).", orEmpty(url), orEmpty(id));
  return nullptr;
}

// Without memory the libraries would go on with a part of the document. Calling the new-handler
// ends the run in the same way as in the rest of the program.
void* orEnd(void* memory) {
  if (const auto endRun = std::get_new_handler(); memory == nullptr && endRun != nullptr) endRun();
  return memory;
}

void setUpMemory() {
  xmlMemSetup(
      std::free, [](std::size_t size) { return orEnd(std::malloc(size)); },
      [](void* old, std::size_t size) { return orEnd(std::realloc(old, size)); },
      [](const char* text) {
        const auto size = std::strlen(text) + 1;
        auto* copy = orEnd(std::malloc(size));
        return static_cast<char*>(copy == nullptr ? copy : std::memcpy(copy, text, size));
      });
}

void checkVersion() {
  if (std::strtol(xmlParserVersion, nullptr, 10) >= kMinLibxml2) return;
  logError(kXmlLog, "libxml2 %s is too old: version 2.7.8 (%d) or later is needed.",
           orEmpty(xmlParserVersion), kMinLibxml2);
}

}  // namespace

void initXmlLibraries() {
  auto& layer = xmlLayer();
  if (layer.initialised) return;
  setUpMemory();
  xmlInitParser();
  // Generic: the parameter's constness differs between versions of the library.
  xmlSetStructuredErrorFunc(nullptr, [](void* /*context*/, auto* xmlError) {
    if (xmlError != nullptr) logXmlError(*xmlError);
  });
  xmlSetGenericErrorFunc(nullptr, collectMessage);
  xsltSetGenericErrorFunc(nullptr, collectMessage);
  xmlSetExternalEntityLoader(refuseEntity);
  checkVersion();
  xsltInit();
  layer.initialised = true;
}

void cleanupXmlLibraries() {
  auto& layer = xmlLayer();
  if (!layer.initialised) return;
  xsltCleanupGlobals();
  xmlCleanupParser();
  logCollectedMessage();
  layer = {};
}

}  // namespace sourcetype
