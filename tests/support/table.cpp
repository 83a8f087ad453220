#include "support/table.h"

#include <gtest/gtest.h>

#include <fstream>
#include <string>

#include "support/temp_tree.h"

namespace sourcetype::testing {
namespace {

constexpr std::string_view kSeparator = " | ";
constexpr std::string_view kLetters = "nrts";
constexpr std::string_view kMeanings = "\n\r\t ";

std::string_view trimmed(std::string_view text) {
  const auto first = text.find_first_not_of(' ');
  if (first == text.npos) return {};
  return text.substr(first, text.find_last_not_of(' ') + 1 - first);
}

// `text` for each number of a range like "0-149", with the number for each "#".
std::string numbered(const std::string& text, const std::string& range) {
  std::string result;
  const int last = std::stoi(range.substr(range.find('-') + 1));
  for (int number = std::stoi(range); number <= last; ++number) {
    for (const char c : text) result += c == '#' ? std::to_string(number) : std::string(1, c);
  }
  return result;
}

std::vector<std::string> cellsOf(const std::string& line) {
  std::vector<std::string> cells;
  const std::string padded = line + " ";  // the last cell may be empty
  for (std::size_t start = 0; start < padded.size();) {
    const auto end = std::min(padded.find(kSeparator, start), padded.size());
    cells.push_back(unescaped(trimmed(std::string_view(padded).substr(start, end - start))));
    start = end + kSeparator.size() - (end < padded.size() ? 1 : 0);
  }
  return cells;
}

// Where the brace at `open` is closed, which may have others within.
std::size_t closingBrace(std::string_view cell, std::size_t open) {
  int depth = 0;
  for (std::size_t at = open; at < cell.size(); ++at) {
    depth += cell[at] == '{' ? 1 : cell[at] == '}' ? -1 : 0;
    if (depth == 0) return at;
  }
  return cell.size();
}

}  // namespace

std::string unescaped(std::string_view cell) {
  std::string text;
  for (std::size_t at = 0; at < cell.size(); ++at) {
    if (cell[at] != '\\' || at + 1 == cell.size()) {
      text += cell[at];
      continue;
    }
    const char letter = cell[++at];
    if (letter == 'e') continue;
    if (letter == 'x') {
      text += static_cast<char>(std::stoi(std::string(cell.substr(at + 1, 2)), nullptr, 16));
      at += 2;
    } else if (letter == '*' || letter == '#') {
      const auto open = cell.find('{', at);
      const auto close = closingBrace(cell, open);
      const auto inner = unescaped(cell.substr(open + 1, close - open - 1));
      const std::string count(cell.substr(at + 1, open - at - 1));
      text += letter == '*' ? repeated(inner, std::stoi(count)) : numbered(inner, count);
      at = close;
    } else {
      const auto known = kLetters.find(letter);
      text += known == kLetters.npos ? letter : kMeanings[known];
    }
  }
  return text;
}

PropertiesMap settingsFrom(std::string_view text) {
  PropertiesMap settings;
  while (!text.empty()) {
    const auto setting = text.substr(0, text.find("; "));
    settings.set(setting.substr(0, setting.find('=')), setting.substr(setting.find('=') + 1));
    text.remove_prefix(std::min(setting.size() + 2, text.size()));
  }
  return settings;
}

bool Row::flag(std::size_t index) const {
  const auto& text = cells_[index];
  EXPECT_TRUE(text == "yes" || text == "no") << text;
  return text == "yes";
}

void forEachRow(std::string_view file, std::size_t cells,
                const std::function<void(const Row&)>& test) {
  std::ifstream stream(std::string(SOURCETYPE_TESTS_DIR "/").append(file));
  int number = 0;
  int rows = 0;
  for (std::string line; std::getline(stream, line);) {
    ++number;
    if (line.empty() || line.starts_with('#')) continue;
    SCOPED_TRACE(std::string(file) + ":" + std::to_string(number) + ": " + line.substr(0, 200));
    auto row = cellsOf(line);
    ASSERT_EQ(row.size(), cells);
    test(Row(std::move(row)));
    ++rows;
  }
  EXPECT_GT(rows, 0) << file;
}

}  // namespace sourcetype::testing
