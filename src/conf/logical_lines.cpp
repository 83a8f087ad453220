#include "conf/logical_lines.h"

#include <algorithm>
#include <utility>

#include "platform/path_form.h"
#include "util/text.h"

namespace sourcetype {
namespace {

constexpr char kEscape = '\\';

constexpr bool isLineBlank(char c) {
  return c == ' ' || c == '\t' || c == '\r' || c == '\n';
}

// Without the line feed and the carriage return before it.
std::string_view withoutTerminator(std::string_view physical) {
  if (physical.ends_with('\n')) physical.remove_suffix(1);
  if (physical.ends_with('\r')) physical.remove_suffix(1);
  return physical;
}

std::string unescaped(std::string_view text) {
  std::string result;
  result.reserve(text.size());
  for (std::size_t i = 0; i < text.size(); ++i) {
    if (text[i] == kEscape && i + 1 < text.size()) ++i;
    result += text[i];
  }
  return result;
}

// The text with a backslash before each newline: the next line continues the line.
std::string withContinuations(std::string_view text) {
  std::string result;
  for (const char c : text) {
    if (c == '\n') result += kEscape;
    result += c;
  }
  return result;
}

}  // namespace

LogicalLineReader::LogicalLineReader(std::string_view bytes, std::filesystem::path path,
                                     TextKeeper& keeper, Report report)
    : rest_(bytes), path_(std::move(path)), keeper_(keeper), report_(report) {
  if (report == Report::Yes) reportLoneCarriageReturn();
}

void LogicalLineReader::report(std::string_view problem, std::string_view text) {
  if (report_ == Report::No || !records_[problem].admit()) return;
  logWarn(kIniFileLog, "%s, line %lu: %s: %s", pathToText(path_), lineCount_, problem, text);
}

void LogicalLineReader::reportOmittedRecords() {
  for (const auto& [problem, records] : std::exchange(records_, {})) {
    if (records.omitted() == 0) continue;
    logWarn(kIniFileLog, "%s: %s: %lu more lines like these.", pathToText(path_), problem,
            records.omitted());
  }
}

// Logs the first one only: a file with such line ends has one in each line.
void LogicalLineReader::reportLoneCarriageReturn() const {
  for (auto found = rest_.find('\r'); found != std::string_view::npos;
       found = rest_.find('\r', found + 1)) {
    const bool endsLine = found + 1 == rest_.size() || rest_[found + 1] == '\n';
    if (endsLine) continue;
    const auto line = 1 + std::ranges::count(rest_.substr(0, found), '\n');
    logWarn(
        kIniFileLog,
        "%s, line %lu: A carriage return without a line feed does not end a line. Save the file "
        "with line feeds.",
        pathToText(path_), line);
    return;
  }
}

std::string_view LogicalLineReader::takePhysicalLine() {
  const auto end = rest_.find('\n');
  const auto line = rest_.substr(0, end == std::string_view::npos ? end : end + 1);
  rest_.remove_prefix(line.size());
  ++lineCount_;
  return line;
}

std::string_view LogicalLineReader::takeContinued(std::string_view first, bool& unfinished) {
  std::string text(first);
  while (text.ends_with(kEscape) && !rest_.empty()) {
    text.back() = '\n';
    text += withoutTerminator(takePhysicalLine());
  }
  unfinished = text.ends_with(kEscape);
  return keeper_.keep(std::move(text));
}

bool LogicalLineReader::next(LogicalLine& line) {
  if (rest_.empty()) {
    reportOmittedRecords();
    return false;
  }
  const char* begin = rest_.data();
  std::string_view physical = takePhysicalLine();
  if (lineCount_ == 1 && physical.starts_with(kByteOrderMark)) {
    physical.remove_prefix(kByteOrderMark.size());
  }
  line = {};
  std::size_t first = 0;
  while (first < physical.size() && isLineBlank(physical[first])) ++first;
  if (first == physical.size()) {
    line.kind = LineKind::Blank;
  } else if (physical[first] == ';' || physical[first] == '#') {
    line.kind = LineKind::Comment;
  } else {
    line.text = withoutTerminator(physical);
    if (line.text.ends_with(kEscape)) line.text = takeContinued(line.text, line.unfinished);
    if (physical[first] == '[') {
      parseHeader(line);
    } else {
      parseSetting(line);
    }
  }
  line.raw = {begin, rest_.data()};
  return true;
}

void LogicalLineReader::parseHeader(LogicalLine& line) {
  const auto text = line.text;
  const auto end = text.rfind(']');
  if (end == std::string_view::npos) {
    report("Stanza header is missing terminator", text);
  }
  const auto begin = text.find('[') + 1;
  line.kind = LineKind::Header;
  line.name = text.substr(begin, end == std::string_view::npos ? end : end - begin);
}

// The position of the "=" after a key with escapes; at least the size of the text if there is none.
std::size_t LogicalLineReader::endOfEscapedKey(std::string_view text) {
  std::size_t i = 0;
  for (; i < text.size() && text[i] != '='; ++i) {
    if (text[i] == kEscape && ++i == text.size()) {
      report("Cannot end on an escape character", text);
    }
  }
  return i;
}

void LogicalLineReader::parseSetting(LogicalLine& line) {
  const auto text = line.text;
  const std::size_t equals = std::min(text.find('='), text.size());
  const bool escaped = text.substr(0, equals).find(kEscape) != std::string_view::npos;
  const std::size_t keyEnd = escaped ? endOfEscapedKey(text) : equals;
  line.kind = LineKind::Malformed;
  if (keyEnd >= text.size()) {
    if (path_.extension() != ".spec") report("Cannot parse into key-value pair", text);
    return;
  }
  const std::string plainKey = escaped ? unescaped(text.substr(0, keyEnd)) : std::string();
  const std::string_view key = trimBlanks(escaped ? plainKey : text.substr(0, keyEnd));
  const std::string_view value = trimBlanks(text.substr(keyEnd + 1));
  if (key.size() > kMaxKeyBytes) {
    report("Key is too long", key.substr(0, 100));
    return;
  }
  line.kind = LineKind::Setting;
  line.name = key;
  line.value = value;
  if (!escaped &&
      static_cast<std::size_t>(value.data() - key.data()) - key.size() <= kMaxGapBytes) {
    return;
  }
  const std::string_view kept = keeper_.keep(std::string(key).append(value));
  line.name = kept.substr(0, key.size());
  line.value = kept.substr(key.size());
}

std::string renderHeader(std::string_view name) {
  return "[" + withContinuations(name) + "]";
}

std::string renderSetting(std::string_view key, std::string_view value) {
  // Without an escape, these would end the key, begin an escape or be part of a line terminator.
  constexpr std::string_view kEscaped = "\\=\r";
  // As the first character, these would begin a comment or a header.
  constexpr std::string_view kEscapedAtFront = ";#[";
  const std::size_t front = key.find_first_not_of(" \t");
  std::string text;
  for (std::size_t i = 0; i < key.size(); ++i) {
    const bool isMisread = i == front && kEscapedAtFront.find(key[i]) != std::string_view::npos;
    if (isMisread || kEscaped.find(key[i]) != std::string_view::npos) text += kEscape;
    text += key[i];
  }
  text = withContinuations(text) + " = " + withContinuations(value);
  // A backslash at the end would continue the line, a carriage return would be part of the line
  // terminator. The blank prevents both, and reading trims it.
  if (text.ends_with(kEscape) || text.ends_with('\r')) text += ' ';
  return text;
}

}  // namespace sourcetype
