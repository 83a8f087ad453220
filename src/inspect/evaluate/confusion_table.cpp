#include "inspect/evaluate/confusion_table.h"

#include <algorithm>
#include <functional>
#include <set>

namespace sourcetype {

void ConfusionTable::add(const std::string& actual, const std::string& answered) {
  ++counts_[actual][answered];
}

std::vector<std::string> ConfusionTable::actual() const {
  std::vector<std::string> names;
  for (const auto& [name, row] : counts_) names.push_back(name);
  return names;
}

std::vector<std::string> ConfusionTable::answered() const {
  std::set<std::string> names;
  for (const auto& [actual, row] : counts_) {
    for (const auto& [name, count] : row) names.insert(name);
  }
  return {names.begin(), names.end()};
}

std::size_t ConfusionTable::count(const std::string& actual, const std::string& answered) const {
  const auto row = counts_.find(actual);
  if (row == counts_.end()) return 0;
  const auto cell = row->second.find(answered);
  return cell == row->second.end() ? 0 : cell->second;
}

std::size_t ConfusionTable::filesOf(const std::string& actual) const {
  std::size_t files = 0;
  for (const auto& name : answered()) files += count(actual, name);
  return files;
}

std::vector<ConfusedPair> ConfusionTable::confusedPairs() const {
  std::vector<ConfusedPair> pairs;
  for (const auto& [actual, row] : counts_) {
    for (const auto& [answered, files] : row) {
      const std::size_t reverse = count(answered, actual);
      const bool isListed = reverse > 0 && answered < actual;  // by the row of the other one
      if (answered.empty() || answered == actual || isListed) continue;
      pairs.push_back(
          {.first = actual, .second = answered, .firstAsSecond = files, .secondAsFirst = reverse});
    }
  }
  std::ranges::stable_sort(pairs, std::ranges::greater(), &ConfusedPair::total);
  return pairs;
}

}  // namespace sourcetype
