// Reading datetime.xml. The document is taken as a tree and every entry judged by itself.

#include "timestamp/timestamp_formats.h"

#include <libxml/parser.h>
#include <libxml/tree.h>
#include <libxml/uri.h>

#include <algorithm>
#include <atomic>
#include <map>
#include <memory>
#include <mutex>
#include <optional>
#include <stdexcept>
#include <utility>

#include "platform/file_system.h"
#include "platform/path_form.h"
#include "timestamp/begin_pattern.h"
#include "util/logging.h"
#include "util/text.h"

namespace sourcetype {
namespace {

constexpr LogCategory kLog("TimestampFormats");

// Bytes of the file. Ours has some 25,000.
constexpr std::size_t kMaxFileBytes = std::size_t{1} << 20U;
// Bytes of an expression once its parts are put in. Parts may hold parts, so that their size could
// double with every line of the file.
constexpr std::size_t kMaxExpressionBytes = 8192;
// Forms in all; each costs some kilobytes of machine code.
constexpr std::size_t kMaxForms = 500;
// Numbers and names that are matched caselessly are spelled so in the expressions themselves.
constexpr auto kExpressionOptions = Regex::kNoOptions;

// What is wrong with an entry, as a sentence.
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

// An attribute's text; a reference to an entity in it ends it, as there are no entities.
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
  constexpr std::string_view kSpaces = " \t\r\n";
  std::vector<std::string> result;
  for (;;) {
    const auto start = text.find_first_not_of(kSpaces);
    if (start == std::string_view::npos) return result;
    text.remove_prefix(start);
    const auto length = std::min(text.find_first_of(kSpaces), text.size());
    result.emplace_back(text.substr(0, length));
    text.remove_prefix(length);
  }
}

std::string withoutLineBreaks(std::string_view text) {
  std::string result;
  while (!text.empty()) {
    const auto line = text.substr(0, text.find('\n'));
    text.remove_prefix(std::min(line.size() + 1, text.size()));
    auto trimmed = line;
    while (!trimmed.empty() && isAsciiSpace(trimmed.front())) trimmed.remove_prefix(1);
    while (!trimmed.empty() && isAsciiSpace(trimmed.back())) trimmed.remove_suffix(1);
    result += trimmed;
  }
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

constexpr std::array<std::pair<std::string_view, StampKind>, kStampKinds> kKinds{{
    {"whole", StampKind::Whole},
    {"epoch", StampKind::Epoch},
    {"date", StampKind::Date},
    {"time", StampKind::Time},
}};
constexpr std::array<std::pair<std::string_view, WordSide>, 2> kSides{{
    {"before", WordSide::Before},
    {"after", WordSide::After},
}};

std::vector<FieldGroup> fieldGroups(const Regex& expression) {
  std::vector<FieldGroup> groups;
  for (const auto& [name, number] : expression.groupNumbers()) {
    if (name.starts_with("same_")) continue;
    const auto field = stampFieldNamed(name);
    if (!field) throw FaultyEntry("has a group " + inQuotes(name) + ", which is no field");
    groups.push_back({.group = static_cast<std::uint16_t>(number), .field = *field});
  }
  std::ranges::sort(groups, {}, &FieldGroup::group);
  return groups;
}

}  // namespace

struct LazyStampExpression::State {
  std::string source;
  std::string origin;
  std::once_flag compiling;
  std::atomic<bool> isCompiled = false;
  std::optional<StampExpression> compiled;

  void compile() {
    try {
      Regex regex("\\A(?:" + source + ")", kExpressionOptions, Regex::Compile::ToMachineCode);
      auto groups = fieldGroups(regex);
      compiled = StampExpression{.regex = std::move(regex), .groups = std::move(groups)};
    } catch (const std::runtime_error& error) {
      logError(kLog, "%s %s.", origin, error.what());
    }
    isCompiled.store(true, std::memory_order_release);
  }
};

LazyStampExpression::LazyStampExpression(std::string source, std::string origin)
    : state_(std::make_unique<State>()) {
  state_->source = std::move(source);
  state_->origin = std::move(origin);
}
LazyStampExpression::LazyStampExpression(LazyStampExpression&&) noexcept = default;
LazyStampExpression& LazyStampExpression::operator=(LazyStampExpression&&) noexcept = default;
LazyStampExpression::~LazyStampExpression() = default;

const StampExpression* LazyStampExpression::get() const {
  State& state = *state_;
  if (!state.isCompiled.load(std::memory_order_acquire)) {
    std::call_once(state.compiling, &State::compile, &state);
  }
  return state.compiled ? &*state.compiled : nullptr;
}

class FormatsReader {
 public:
  FormatsReader(std::string file, TimestampFormats& formats)
      : file_(std::move(file)), formats_(formats), looks_(PlaceLook::kCount) {}

  void read(std::string_view text) {
    const XmlParser parser(xmlNewParserCtxt());
    if (parser == nullptr) throw std::bad_alloc();
    // Entities are not put in, nothing is fetched, and what is wrong is told below.
    const xmlDoc* document =
        xmlCtxtReadMemory(parser.get(), text.data(), static_cast<int>(text.size()), nullptr,
                          nullptr, XML_PARSE_NONET | XML_PARSE_NOERROR | XML_PARSE_NOWARNING);
    parser->myDoc = const_cast<xmlDoc*>(document);
    if (document == nullptr) {
      const auto& error = parser->lastError;
      auto message = withoutLineBreaks(error.message == nullptr ? "no XML" : error.message);
      return report(error.line, "is not used: " + message);
    }
    const xmlNode* root = xmlDocGetRootElement(document);
    if (document->intSubset != nullptr) return report(1, "is not used: it has a document type");
    if (root == nullptr || view(root->name) != "datetime") {
      return report(1, "is not used: it holds no <datetime>");
    }
    for (const xmlNode* node = root->children; node != nullptr; node = node->next) {
      if (node->type == XML_ELEMENT_NODE) readEntry(*node);
    }
    groupForms();
  }

 private:
  void report(long line, std::string_view what) const {
    logError(kLog, "%s:%d: %s.", file_, line, what);
  }

  // Where an entry stands, as messages begin.
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
        readStamp(node);
      } else if (name == "words") {
        readWords(node);
      } else if (name == "keys") {
        for (const auto& word : words(content(node))) formats_.timeKeys_.insert(toAsciiLower(word));
      } else {
        throw FaultyEntry("is unknown");
      }
    } catch (const FaultyEntry& fault) {
      logError(kLog, "%s %s.", origin(node), fault.what());
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
      if (!formats_.names_.addMonth(name, month)) refuseName(name);
    }
  }

  void readWeekday(const xmlNode& node) {
    for (const auto& name : words(content(node))) {
      if (!formats_.names_.addWeekday(name)) refuseName(name);
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
      formats_.zones_.add(name, TimeZone(*offset, summer));
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

  // The expression with the parts it names put in. A part must stand above, so there is no circle.
  std::string expanded(std::string_view text) const {
    const std::string source = withoutLineBreaks(text);
    if (source.empty()) throw FaultyEntry("has no expression");
    std::string result;
    for (std::size_t i = 0; i < source.size();) {
      const auto end = source.find('}', i);
      // What follows a letter behind a backslash belongs to it: \x{fe}.
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

  void readStamp(const xmlNode& node) {
    if (formats_.forms_.size() >= kMaxForms) throw FaultyEntry("is one too many");
    const auto begins = words(required(node, "begins"));
    std::vector<PlaceLook> looks;
    for (const auto& word : begins) {
      const auto meant = looksOf(word);
      if (meant.empty()) {
        throw FaultyEntry("begins with " + inQuotes(word) + ", which means nothing");
      }
      looks.insert(looks.end(), meant.begin(), meant.end());
    }
    const auto place = attribute(node, "place").value_or("");
    const auto alone = attribute(node, "alone").value_or("");
    if (!place.empty() && place != "first") throw FaultyEntry("has an unknown place");
    if (!alone.empty() && alone != "no") throw FaultyEntry("has an unknown value of alone");
    auto expression = expanded(content(node));
    StampForm form{.name = required(node, "name"),
                   .kind = oneOf(kKinds, "kind", required(node, "kind")),
                   .expression = {std::move(expression), origin(node)},
                   .behindLetters = attribute(node, "after").value_or(""),
                   .onlyFirst = !place.empty(),
                   .standsAlone = alone.empty()};
    for (const PlaceLook look : looks) addTo(look, form.kind);
    formats_.forms_.push_back(std::move(form));
  }

  // A look may be named twice, by "99*" and "99-".
  void addTo(PlaceLook look, StampKind kind) {
    const auto index = static_cast<std::uint16_t>(formats_.forms_.size());
    auto& list = kind == StampKind::Whole ? looks_[look.index()].whole : looks_[look.index()].part;
    if (list.empty() || list.back() != index) list.push_back(index);
  }

  void readWords(const xmlNode& node) {
    const auto kind = oneOf(kKinds, "kind", required(node, "kind"));
    const auto side = oneOf(kSides, "side", required(node, "side"));
    auto& set =
        formats_.decoyWords_[static_cast<std::size_t>(kind)][static_cast<std::size_t>(side)];
    for (const auto& word : words(content(node))) set.insert(toAsciiLower(word));
  }

  // Most places share few lists of forms.
  void groupForms() {
    std::map<std::vector<std::uint16_t>, std::uint16_t> known{{{}, 0}};
    const auto groupOf = [&](const std::vector<std::uint16_t>& list) {
      const auto next = static_cast<std::uint16_t>(formats_.groups_.size());
      const auto [entry, isNew] = known.emplace(list, next);
      if (isNew) formats_.groups_.push_back(list);
      return entry->second;
    };
    for (std::size_t i = 0; i < looks_.size(); ++i) {
      formats_.wholeGroups_[i] = groupOf(looks_[i].whole);
      formats_.partGroups_[i] = groupOf(looks_[i].part);
      formats_.looks_.set(i, !looks_[i].whole.empty() || !looks_[i].part.empty());
    }
  }

  struct FormsOfLook {
    std::vector<std::uint16_t> whole;
    std::vector<std::uint16_t> part;
  };

  std::string file_;
  TimestampFormats& formats_;
  std::map<std::string, std::string, std::less<>> parts_;
  std::vector<FormsOfLook> looks_;
};

TimestampFormats TimestampFormats::load(const std::filesystem::path& file) {
  TimestampFormats formats;
  const auto name = pathToText(file);
  const FileBytes bytes = readFile(file, kMaxFileBytes);
  if (bytes.error == std::errc::file_too_large) {
    logError(kLog, "%s is longer than %u bytes; no timestamp will be found.", name, kMaxFileBytes);
  } else if (bytes.error) {
    logError(kLog, "Cannot read %s (%m); no timestamp will be found.", name, bytes.error);
  } else {
    FormatsReader(name, formats).read(bytes.view());
  }
  return formats;
}

}  // namespace sourcetype
