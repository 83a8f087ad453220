#include "classifier/tables/fields_directive.h"

#include <algorithm>

#include "classifier/tables/table_dialect.h"
#include "util/text.h"

namespace sourcetype {
namespace {

constexpr std::string_view kFieldDelimiters = "\t, ;|";

std::vector<std::string> splitFields(std::string_view names) {
  std::vector<std::string> result;
  for (const auto name : split(names, names.find(',') == std::string_view::npos ? " \t" : ",")) {
    if (const auto text = trim(name, " \t\r\""); !text.empty()) result.emplace_back(text);
  }
  return result;
}

std::optional<FieldsDirective> readDirective(std::string_view line) {
  for (const std::string_view key : {"#fields:", "#fields\t"}) {
    if (!equalsIgnoringCase(line.substr(0, key.size()), key)) continue;
    FieldsDirective directive{.line = std::string(line),
                              .names = splitFields(line.substr(key.size()))};
    if (directive.names.size() > 1) return directive;
  }
  return std::nullopt;
}

void findDelimiter(FieldsDirective& directive, std::string_view text) {
  for (const char delimiter : kFieldDelimiters) {
    std::size_t lines = 0;
    std::size_t fitting = 0;
    for (const auto& record : parseRecords(text, {delimiter, '"'})) {
      if (isComment(record.text)) continue;
      ++lines;
      if (record.cells.size() == directive.names.size()) ++fitting;
    }
    const double share = lines == 0 ? 0 : static_cast<double>(fitting) / static_cast<double>(lines);
    if (share <= directive.share) continue;
    directive.delimiter = delimiter;
    directive.share = share;
    directive.lines = lines;
  }
}

}  // namespace

std::optional<FieldsDirective> findFieldsDirective(std::string_view text) {
  constexpr std::size_t kMaxDirectives = 20;
  constexpr double kMinShare = 0.5;
  std::string_view rest = text;
  for (std::size_t i = 0; i < kMaxDirectives && rest.starts_with('#'); ++i) {
    const std::size_t end = std::min(rest.find('\n'), rest.size());
    if (auto directive = readDirective(rest.substr(0, end))) {
      findDelimiter(*directive, text);
      if (directive->share < kMinShare) return std::nullopt;
      return directive;
    }
    rest.remove_prefix(std::min(end + 1, rest.size()));
  }
  return std::nullopt;
}

}  // namespace sourcetype
