#include "timestamp/xml_libraries.h"

#include <libxml/parser.h>
#include <libxml/parserInternals.h>
#include <libxml/uri.h>
#include <libxml/xmlIO.h>
#include <libxml/xmlerror.h>
#include <libxslt/xslt.h>
#include <libxslt/xsltutils.h>

#include <algorithm>
#include <array>
#include <cstdarg>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <memory>
#include <new>
#include <optional>
#include <string>
#include <string_view>
#include <utility>

#include "platform/file_system.h"
#include "platform/path_form.h"
#include "util/logging.h"

namespace sourcetype {
namespace {

namespace fs = std::filesystem;

constexpr LogCategory kXmlLog("XmlParser");

// 2.7.8. Older ones lack the structured errors and limits that are relied on.
constexpr long kOldestLibxml2 = 20708;

// Bytes of one piece of a message; the rest is cut.
constexpr std::size_t kMaxPiece = 1024;

// Bytes. A message that grows beyond is logged in parts.
constexpr std::size_t kMaxMessage = 8192;

// Bytes of a document or entity, as of datetime.xml.
constexpr std::size_t kMaxEntityBytes = std::size_t{1} << 20U;

// The libraries keep one set of handlers for the process and hand them no object of ours.
struct XmlLayer {
  bool initialised = false;
  fs::path root;        // canonical
  std::string message;  // pieces of a generic message whose line has not ended yet
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

// The file that a location names; nothing when it names something else, like a host.
std::optional<fs::path> localFile(std::string_view location) {
  constexpr std::string_view kScheme = "file:";
  if (!location.starts_with(kScheme)) {
    if (location.find("://") != std::string_view::npos) return std::nullopt;
    return pathFromText(location);
  }
  location.remove_prefix(kScheme.size());
  for (const std::string_view thisMachine : {"//localhost/", "///"}) {
    if (location.starts_with(thisMachine)) location.remove_prefix(thisMachine.size() - 1);
  }
  if (!location.starts_with('/') || location.starts_with("//")) return std::nullopt;
  // "/C:/x" names C:/x where a root can have a name.
  const auto withDrive = pathFromText(location.substr(1));
  return withDrive.has_root_name() ? withDrive : pathFromText(location);
}

std::string unescaped(const std::string& location) {
  const std::unique_ptr<char, decltype(xmlFree)> text(
      xmlURIUnescapeString(location.c_str(), 0, nullptr), xmlFree);
  return text == nullptr ? location : text.get();
}

// How people write the file of a message, which the libraries may have made a URI of.
std::string readableName(const std::string& location) {
  if (!location.starts_with("file:")) return location;
  auto file = localFile(unescaped(location));
  return file ? pathToText(file->make_preferred()) : location;
}

void logXmlError(const xmlError& error) {
  const auto level = error.level == XML_ERR_WARNING ? LogLevel::Warn : LogLevel::Error;
  const auto message = withoutLineEnd(orEmpty(error.message));
  if (error.file == nullptr) {
    logAt(level, kXmlLog, "line %d: %s", error.line, message);
  } else {
    logAt(level, kXmlLog, "%s:%d: %s", readableName(error.file), error.line, message);
  }
}

void logCollectedMessage() {
  const auto complete = std::exchange(xmlLayer().message, {});
  if (const auto text = withoutLineEnd(complete); !text.empty()) logError(kXmlLog, "%s", text);
}

// printf-style, and a message may come in pieces; a newline ends it. The formats are the
// libraries', and so is the way to pass arguments.
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

bool isBelow(const fs::path& root, const fs::path& file) {
  return !root.empty() && std::ranges::mismatch(root, file).in1 == root.end();
}

// The canonical path of the file at `location`, or why it must not be read.
struct Permission {
  fs::path file{};
  const char* refusal = nullptr;
};
Permission examineLocation(const std::string& location) {
  std::error_code error;
  fs::path file;
  // The libraries escape some locations and others not.
  for (const auto& spelling : {location, unescaped(location)}) {
    const auto named = localFile(spelling);
    if (!named) return {.refusal = "it is not a local file"};
    file = canonicalPath(*named, error);
    if (!error) break;
  }
  if (error) return {.refusal = "there is no such file"};
  if (!isBelow(xmlLayer().root, file)) return {.refusal = "it is outside the configuration"};
  if (fileKind(file) != FileKind::Regular) return {.refusal = "it is not a regular file"};
  return {.file = file};
}

xmlParserInputPtr openEntity(const char* url, const char* id, xmlParserCtxtPtr context) {
  const std::string location(orEmpty(url));
  const auto permission =
      location.empty() ? Permission{.refusal = "it names no file"} : examineLocation(location);
  if (permission.refusal != nullptr) {
    logError(kXmlLog, "Refused to read \"%s\" (%s): %s.", location, orEmpty(id),
             permission.refusal);
    return nullptr;
  }
  const FileBytes content = readFile(permission.file, kMaxEntityBytes);
  if (content.error) {
    logError(kXmlLog, "Cannot read %s: %m", pathToText(permission.file), content.error);
    return nullptr;
  }
  auto* buffer = xmlParserInputBufferCreateMem(content.bytes.get(), static_cast<int>(content.size),
                                               XML_CHAR_ENCODING_NONE);
  if (buffer == nullptr) return nullptr;
  auto* input = xmlNewIOInputStream(context, buffer, XML_CHAR_ENCODING_NONE);
  if (input == nullptr) {
    xmlFreeParserInputBuffer(buffer);
    return nullptr;
  }
  // What the file refers to in turn stands relative to this; freed with the input.
  input->filename = reinterpret_cast<char*>(xmlCanonicPath(reinterpret_cast<const xmlChar*>(url)));
  return input;
}

// The libraries go on with half a document when they get no memory. So the run ends as it does for
// everybody else.
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
  if (std::strtol(xmlParserVersion, nullptr, 10) >= kOldestLibxml2) return;
  logError(kXmlLog, "libxml2 %s is too old: version 2.7.8 (%d) or later is needed.",
           orEmpty(xmlParserVersion), kOldestLibxml2);
}

}  // namespace

void initXmlLibraries(const fs::path& configurationRoot) {
  auto& layer = xmlLayer();
  if (layer.initialised) return;
  std::error_code error;
  layer.root = canonicalPath(configurationRoot, error);
  if (error) {
    logError(kXmlLog, "%s: %m", pathToText(configurationRoot), error);
    layer.root.clear();  // nothing is below it
  }

  setUpMemory();
  xmlInitParser();
  // Generic: the parameter's constness differs between versions of the library.
  xmlSetStructuredErrorFunc(nullptr, [](void* /*context*/, auto* xmlError) {
    if (xmlError != nullptr) logXmlError(*xmlError);
  });
  xmlSetGenericErrorFunc(nullptr, collectMessage);
  xsltSetGenericErrorFunc(nullptr, collectMessage);
  xmlSetExternalEntityLoader(openEntity);
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
