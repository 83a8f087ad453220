#include "classifier/header_fields.h"

#include <algorithm>
#include <unordered_map>
#include <unordered_set>

#include "util/text.h"

namespace sourcetype {
namespace {

constexpr char kReplacement = '_';

// The characters that are removed at both ends of a name.
constexpr std::string_view kAround = "\"\r\n\t ";

std::string cleanName(std::string_view field) {
  const std::string_view text = trim(field, kAround);
  std::string name;
  for (std::size_t i = 0; i < text.size(); ++i) {
    const bool isQuote = text[i] == kFieldQuote;
    name += isQuote || isAsciiControl(text[i]) ? kReplacement : text[i];
    if (isQuote && text.substr(i + 1).starts_with(kFieldQuote)) ++i;
  }
  // Before the closing quote a backslash could be read as an escape of it.
  for (auto c = name.rbegin(); c != name.rend() && *c == '\\'; ++c) *c = kReplacement;
  return name;
}

// No number makes a name equal to one in the header: the next number is tried.
void makeUnique(std::vector<std::string>& names) {
  std::unordered_set<std::string> used(names.begin(), names.end());
  std::unordered_map<std::string, std::size_t> lastNumbers;  // by name without number
  for (auto& name : names) {
    std::size_t& number = lastNumbers[name];
    if (++number == 1) continue;
    std::string numbered = name + "_" + std::to_string(number);
    while (!used.insert(numbered).second) numbered = name + "_" + std::to_string(++number);
    name = std::move(numbered);
  }
}

}  // namespace

std::vector<std::string_view> splitFields(std::string_view line, char delimiter) {
  std::vector<std::string_view> fields;
  bool quoted = false;
  std::size_t begin = 0;
  for (std::size_t i = 0; i < line.size(); ++i) {
    if (line[i] == kFieldQuote) quoted = !quoted;
    if (line[i] != delimiter || quoted) continue;
    fields.push_back(line.substr(begin, i - begin));
    begin = i + 1;
  }
  fields.push_back(line.substr(begin));
  return fields;
}

std::vector<std::string> nameFields(const std::vector<std::string_view>& fields) {
  std::vector<std::string> names;
  names.reserve(fields.size());
  for (const auto field : fields) {
    std::string name = cleanName(field);
    if (name.empty()) name = "field_" + std::to_string(names.size() + 1);
    names.push_back(std::move(name));
  }
  makeUnique(names);
  return names;
}

}  // namespace sourcetype
