// Which sourcetypes were answered for the files of each sourcetype.
#pragma once

#include <cstddef>
#include <map>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace sourcetype {

// Two sourcetypes, where files of at least one of them were recognised as the other.
struct ConfusedPair {
  std::string first;
  std::string second;
  std::size_t firstAsSecond = 0;
  std::size_t secondAsFirst = 0;

  std::size_t total() const { return firstAsSecond + secondAsFirst; }
};

class ConfusionTable {
 public:
  // An empty answer is a file that was not recognised.
  void add(const std::string& actual, const std::string& answered);

  // The sourcetypes that the files have, and those that were answered, in ascending byte order. An
  // empty name, if there is one, is the first answer.
  std::vector<std::string> actual() const;
  std::vector<std::string> answered() const;

  std::size_t count(const std::string& actual, const std::string& answered) const;
  std::size_t filesOf(const std::string& actual) const;

  // The pairs with the most files first. A file that was not recognised belongs to no pair.
  std::vector<ConfusedPair> confusedPairs() const;

 private:
  std::map<std::string, std::map<std::string, std::size_t>> counts_;
};

}  // namespace sourcetype
