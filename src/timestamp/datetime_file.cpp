// libxml2 reads the document into a tree. A faulty entry does not affect the others.
#include "timestamp/datetime_file.h"
#include "timestamp/timestamp_log.h"

#include <libxml/parser.h>
#include <libxml/tree.h>

#include <algorithm>
#include <array>
#include <functional>
#include <map>
#include <memory>
#include <new>
#include <optional>
#include <stdexcept>
#include <string>
#include <string_view>
#include <system_error>
#include <utility>
#include <vector>

#include "platform/file_system.h"
#include "platform/path_form.h"
#include "timestamp/begin_pattern.h"
#include "util/logging.h"
#include "util/text.h"

namespace sourcetype {
namespace {

// Bytes of the file. The one that ships has about 20,000.
constexpr std::size_t kMaxFileBytes = std::size_t{1} << 20U;
// Bytes of an expression with its parts inserted. Parts may contain parts, so that their size could
// double with every line of the file.
constexpr std::size_t kMaxExpressionBytes = 8192;
// Each form needs some kilobytes of machine code.
constexpr std::size_t kMaxForms = 500;

// The text continues a sentence that begins with the entry: "has no attribute ...".
class FaultyEntry : public std::runtime_error {
 public:
  using std::runtime_error::runtime_error;
};

std::string_view view(const xmlChar* text) {
  return text == nullptr ? std::string_view() : reinterpret_cast<const char*>(text);
}

struct XmlDeleter {
  void operator()(xmlParserCtxt* context) const {
    if (context->myDoc != nullptr) xmlFreeDoc(context->myDoc);
    xmlFreeParserCtxt(context);
  }
};
using XmlParser = std::unique_ptr<xmlParserCtxt, XmlDeleter>;

// The text of an attribute, up to a reference to an entity: entities are not allowed.
std::optional<std::string> attribute(const xmlNode& node, const char* name) {
  const xmlAttr* found = xmlHasProp(&node, reinterpret_cast<const xmlChar*>(name));
  if (found == nullptr) return std::nullopt;
  const xmlNode* text = found->children;
  return std::string(text == nullptr ? std::string_view() : view(text->content));
}

std::string required(const xmlNode& node, const char* name) {
  auto value = attribute(node, name);
  if (!value || value->empty()) throw FaultyEntry("has no attribute " + inQuotes(name));
  return *std::move(value);
}

std::string content(const xmlNode& node) {
  std::string text;
  for (const xmlNode* child = node.children; child != nullptr; child = child->next) {
    if (child->type == XML_COMMENT_NODE) continue;
    if (child->type != XML_TEXT_NODE && child->type != XML_CDATA_SECTION_NODE) {
      throw FaultyEntry("holds " + inQuotes(view(child->name)) + " where only text may be");
    }
    text += view(child->content);
  }
  return text;
}

std::vector<std::string> words(std::string_view text) {
  std::vector<std::string> result;
  for (const auto word : split(text, " \t\r\n")) {
    if (!word.empty()) result.emplace_back(word);
  }
  return result;
}

std::string withoutLineBreaks(std::string_view text) {
  std::string result;
  for (const auto line : split(text, "\n")) result += trim(line, " \t\n\v\f\r");
  return result;
}

bool isPartName(std::string_view name) {
  return !name.empty() && isAsciiLower(name.front()) && std::ranges::all_of(name, [](char c) {
    return isAsciiLower(c) || isAsciiDigit(c) || c == '-';
  });
}

template <class Value, std::size_t Count>
Value oneOf(const std::array<std::pair<std::string_view, Value>, Count>& choices,
            std::string_view name, std::string_view text) {
  const auto found = std::ranges::find(choices, text, &std::pair<std::string_view, Value>::first);
  if (found == choices.end()) {
    throw FaultyEntry("has the unknown " + std::string(name) + " " + inQuotes(text));
  }
  return found->second;
}

constexpr std::array<std::pair<std::string_view, TimestampKind>, kTimestampKinds> kKindNames{{
    {"whole", TimestampKind::Whole},
    {"epoch", TimestampKind::Epoch},
    {"date", TimestampKind::Date},
    {"time", TimestampKind::Time},
}};
constexpr std::array<std::pair<std::string_view, WordSide>, 2> kSides{{
    {"before", WordSide::Before},
    {"after", WordSide::After},
}};

class DatetimeReader {
 public:
  explicit DatetimeReader(std::string file) : file_(std::move(file)) {}

  // Logs faults and skips the faulty entries.
  TimestampEntries read(std::string_view text) {
    const XmlParser parser(xmlNewParserCtxt());
    if (parser == nullptr) throw std::bad_alloc();
    // Does not expand entities and fetches nothing. Errors are reported below.
    const xmlDoc* document =
        xmlCtxtReadMemory(parser.get(), text.data(), static_cast<int>(text.size()), nullptr,
                          nullptr, XML_PARSE_NONET | XML_PARSE_NOERROR | XML_PARSE_NOWARNING);
    parser->myDoc = const_cast<xmlDoc*>(document);
    if (document == nullptr) {
      const auto& error = parser->lastError;
      auto message = withoutLineBreaks(error.message == nullptr ? "no XML" : error.message);
      report(error.line, "is not used: " + message);
      return {};
    }
    const xmlNode* root = xmlDocGetRootElement(document);
    if (document->intSubset != nullptr) {
      report(1, "is not used: it has a document type");
      return {};
    }
    if (root == nullptr || view(root->name) != "datetime") {
      report(1, "is not used: it holds no <datetime>");
      return {};
    }
    for (const xmlNode* node = root->children; node != nullptr; node = node->next) {
      if (node->type == XML_ELEMENT_NODE) readEntry(*node);
    }
    return std::move(entries_);
  }

 private:
  void report(long line, std::string_view what) const {
    logError(kFormatsLog, "%s:%d: %s.", file_, line, what);
  }

  // File, line and name of an entry: the beginning of a message.
  std::string origin(const xmlNode& node) const {
    return file_ + ":" + std::to_string(xmlGetLineNo(&node)) + ": <" +
           std::string(view(node.name)) + ">";
  }

  void readEntry(const xmlNode& node) {
    const auto name = view(node.name);
    try {
      if (name == "month") {
        readMonth(node);
      } else if (name == "weekday") {
        readWeekday(node);
      } else if (name == "zone") {
        readZone(node);
      } else if (name == "part") {
        readPart(node);
      } else if (name == "stamp") {
        readForm(node);
      } else if (name == "words") {
        readWords(node);
      } else if (name == "keys") {
        for (const auto& word : words(content(node))) entries_.timeKeys.insert(toAsciiLower(word));
      } else {
        throw FaultyEntry("is unknown");
      }
    } catch (const FaultyEntry& fault) {
      logError(kFormatsLog, "%s %s.", origin(node), fault.what());
    }
  }

  void readMonth(const xmlNode& node) {
    const auto number = words(required(node, "number"));
    constexpr std::array<std::string_view, 12> kNumbers{"1", "2", "3", "4",  "5",  "6",
                                                        "7", "8", "9", "10", "11", "12"};
    const auto found = std::ranges::find(kNumbers, number.empty() ? "" : number.front());
    if (found == kNumbers.end()) throw FaultyEntry("has a number that is not 1 to 12");
    const int month = static_cast<int>(found - kNumbers.begin()) + 1;
    for (const auto& name : words(content(node))) {
      if (!entries_.names.addMonth(name, month)) refuseName(name);
    }
  }

  void readWeekday(const xmlNode& node) {
    for (const auto& name : words(content(node))) {
      if (!entries_.names.addWeekday(name)) refuseName(name);
    }
  }

  static void refuseName(std::string_view name) {
    throw FaultyEntry("has the name " + inQuotes(name) + ", which is too short or taken");
  }

  void readZone(const xmlNode& node) {
    const auto offset = parseOffset(required(node, "offset"));
    if (!offset) throw FaultyEntry("has an offset that is not +hh:mm or -hh:mm");
    std::optional<SummerTime> summer;
    if (const auto summerOffset = attribute(node, "summer")) {
      const auto parsed = parseOffset(*summerOffset);
      const auto begin = parseClockChange(required(node, "from"));
      const auto end = parseClockChange(required(node, "until"));
      if (!parsed || !begin || !end) throw FaultyEntry("has a rule of summer time that is none");
      summer = {.offset = *parsed, .begin = *begin, .end = *end};
    }
    for (const auto& name : words(required(node, "names"))) {
      entries_.zones.add(name, TimeZone(*offset, summer));
    }
  }

  void readPart(const xmlNode& node) {
    const auto name = required(node, "name");
    if (!isPartName(name)) throw FaultyEntry("has the bad name " + inQuotes(name));
    auto expression = expanded(content(node));
    if (!parts_.emplace(name, std::move(expression)).second) {
      throw FaultyEntry("has the name " + inQuotes(name) + " of another one");
    }
  }

  // The expression with its parts inserted. A part must come before its use, so that there is no
  // circle.
  std::string expanded(std::string_view text) const {
    const std::string source = withoutLineBreaks(text);
    if (source.empty()) throw FaultyEntry("has no expression");
    std::string result;
    for (std::size_t i = 0; i < source.size();) {
      const auto end = source.find('}', i);
      // A brace after a backslash and a letter is part of an escape: \x{fe}.
      const bool mayBeReference =
          source[i] == '{' && end != std::string::npos && (i < 2 || source[i - 2] != '\\');
      const auto name =
          mayBeReference ? std::string_view(source).substr(i + 1, end - i - 1) : std::string_view();
      if (isPartName(name)) {
        const auto part = parts_.find(name);
        if (part == parts_.end()) {
          throw FaultyEntry("names the part " + inQuotes(name) + ", which does not stand above");
        }
        result += "(?:" + part->second + ")";
        i = end + 1;
      } else {
        result += source[i++];
      }
      if (result.size() > kMaxExpressionBytes) {
        throw FaultyEntry("is longer than " + std::to_string(kMaxExpressionBytes) + " bytes");
      }
    }
    return result;
  }

  void readForm(const xmlNode& node) {
    if (entries_.forms.size() >= kMaxForms) throw FaultyEntry("is one too many");
    const auto begins = words(required(node, "begins"));
    std::vector<PlaceLook> looks;
    for (const auto& word : begins) {
      const auto found = looksOf(word);
      if (found.empty()) {
        throw FaultyEntry("begins with " + inQuotes(word) + ", which means nothing");
      }
      looks.insert(looks.end(), found.begin(), found.end());
    }
    const auto with = attribute(node, "with").value_or("");
    const auto place = attribute(node, "place").value_or("");
    const auto alone = attribute(node, "alone").value_or("");
    if (!place.empty() && place != "first") throw FaultyEntry("has an unknown place");
    if (!alone.empty() && alone != "no") throw FaultyEntry("has an unknown value of alone");
    auto expression = expanded(content(node));
    TimestampForm form{.name = required(node, "name"),
                       .kind = oneOf(kKindNames, "kind", required(node, "kind")),
                       .expression = {std::move(expression), origin(node)},
                       .afterLetters = with.empty() ? attribute(node, "after").value_or("") : with,
                       .withLetter = !with.empty(),
                       .onlyFirst = !place.empty(),
                       .standsAlone = alone.empty()};
    entries_.forms.push_back({.form = std::move(form), .looks = std::move(looks)});
  }

  void readWords(const xmlNode& node) {
    const auto kind = oneOf(kKindNames, "kind", required(node, "kind"));
    const auto side = oneOf(kSides, "side", required(node, "side"));
    auto& set = entries_.decoyWordsOf(kind, side);
    for (const auto& word : words(content(node))) set.insert(toAsciiLower(word));
  }

  std::string file_;
  TimestampEntries entries_;
  std::map<std::string, std::string, std::less<>> parts_;
};

}  // namespace

TimestampFormats readDatetimeFile(const std::filesystem::path& file) {
  const auto name = pathToText(file);
  const FileBytes bytes = readFile(file, kMaxFileBytes);
  if (bytes.error == std::errc::file_too_large) {
    logError(kFormatsLog, "%s is longer than %u bytes; no timestamp will be found.", name,
             kMaxFileBytes);
    return {};
  }
  if (bytes.error) {
    logError(kFormatsLog, "Cannot read %s (%m); no timestamp will be found.", name, bytes.error);
    return {};
  }
  return TimestampFormats(DatetimeReader(name).read(bytes.view()));
}

}  // namespace sourcetype
