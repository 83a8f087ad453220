#include "classifier/tables/column_profile.h"

#include <algorithm>
#include <cmath>
#include <functional>
#include <string>

#include "classifier/tables/column_name.h"
#include "util/text.h"

namespace sourcetype {
namespace {

std::size_t hashOf(std::string_view text) {
  return std::hash<std::string_view>{}(text);
}

bool hasDigit(std::string_view text) {
  return std::ranges::any_of(text, isAsciiDigit);
}

char formOf(char c) {
  const bool isBeyondAscii = static_cast<unsigned char>(c) >= 0x80;
  if (isAsciiUpper(c)) return 'A';
  if (isAsciiLower(c) || isBeyondAscii) return 'a';
  return isAsciiDigit(c) ? '0' : c;
}

// The form of a text: "Ab12-x" and "Zzz7-yy" have the form "Aa0-a". All codes of a column have one
// form; their names have another one.
std::string formOf(std::string_view text) {
  constexpr std::size_t kMaxForm = 24;
  std::string form;
  for (const char c : text) {
    if (form.ends_with(formOf(c))) continue;
    if (form.size() == kMaxForm) break;
    form += formOf(c);
  }
  return form;
}

double logLength(std::string_view text) {
  return std::log(static_cast<double>(text.size()) + 1);
}

// How far the length of the name is from those of the values, in standard deviations.
double lengthDistance(std::string_view name, const ColumnProfile& column) {
  constexpr double kMinDeviation = 0.15;  // of columns whose values have one length
  const auto n = static_cast<double>(column.filled);
  const double mean = column.logLengths / n;
  const double variance = std::max(0.0, column.squaredLogLengths / n - mean * mean);
  return std::abs(logLength(name) - mean) / std::max(kMinDeviation, std::sqrt(variance));
}

double rateLength(std::string_view name, const ColumnProfile& column) {
  constexpr std::size_t kMinCells = 4;  // fewer cells say little about lengths
  if (column.filled < kMinCells) return 0;
  const double distance = lengthDistance(name, column);
  if (distance > 4) return 1;
  if (distance > 2.5) return 0.5;
  return distance < 1 ? -0.15 : 0;
}

double rateForm(const std::string& form, const Tally& forms) {
  // Names are often single words, so that the form of a word says little.
  const bool isWord = form == "a" || form == "A" || form == "Aa";
  const double chance = forms.chanceOfNew();
  const double chanceForName = std::max(isWord ? 0.35 : 0.6, chance);
  return forms.contains(form) ? std::log((1 - chanceForName) / (1 - chance))
                              : std::log(chanceForName / chance);
}

// A value that the column does not have: the more often its values repeat, the more likely a name.
double rateNewValue(const Tally& values) {
  constexpr double kChanceForName = 0.9;
  return std::max(0.0, std::log(kChanceForName / values.chanceOfNew()));
}

// The terms are logarithms of ratios: how likely the observation is for a name, over how likely it
// is for one more value of the column.
double rateTextName(std::string_view name, const ColumnProfile& column) {
  constexpr double kIsValue = -3;
  constexpr double kMaxRate = 2;  // one column alone is no proof
  double rate = 0;
  if (hasColumnWord(name)) rate += 0.8;
  if (isIdentifier(name) && name.find('_') != std::string_view::npos) rate += 0.3;
  if (column.values.contains(name)) return rate + kIsValue;
  const auto n = static_cast<double>(column.filled);
  rate += n / (n + 2) * (rateNewValue(column.values) + rateForm(formOf(name), column.forms));
  rate += rateLength(name, column);
  if (column.withDigit == column.filled && !hasDigit(name)) rate += 0.5;
  return std::min(rate, kMaxRate);
}

}  // namespace

void Tally::add(std::string_view text) {
  const std::size_t count = ++counts_[hashOf(text)];
  if (count == 1) ++singles_;
  if (count == 2) --singles_;
  ++total_;
}

bool Tally::contains(std::string_view text) const {
  return counts_.contains(hashOf(text));
}

double Tally::chanceOfNew() const {
  return (static_cast<double>(singles_) + 1) / (static_cast<double>(total_) + 2);
}

double ColumnProfile::share(CellKind kind) const {
  if (filled == 0) return 0;
  return static_cast<double>(kinds[static_cast<std::size_t>(kind)]) / static_cast<double>(filled);
}

ColumnProfile describeColumn(std::size_t index, std::span<const TableRecord* const> rows) {
  ColumnProfile column;
  for (const TableRecord* row : rows) {
    if (index >= row->cells.size()) continue;
    const std::string_view cell = row->cells[index].text;
    const CellKind kind = cellKind(cell);
    ++column.kinds[static_cast<std::size_t>(kind)];
    if (kind == CellKind::Empty) continue;
    ++column.filled;
    if (hasDigit(cell)) ++column.withDigit;
    column.logLengths += logLength(cell);
    column.squaredLogLengths += logLength(cell) * logLength(cell);
    column.values.add(cell);
    column.forms.add(formOf(cell));
  }
  return column;
}

double rateName(std::string_view name, const ColumnProfile& column) {
  if (column.filled == 0 || cellKind(name) != CellKind::Text) return 0;
  const double texts = column.share(CellKind::Text);
  if (texts <= 0.2) return 2;
  if (texts <= 0.5) return 0.7;
  return rateTextName(name, column);
}

}  // namespace sourcetype
