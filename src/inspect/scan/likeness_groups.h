// Groups files that are like one another, by the distance that models have.
//
//   LikenessGroups groups;
//   groups.add(file, sourcetype, fingerprint);  // for each file that nothing recognised
//   for (const auto& group : groups.bySize()) show(*group);
#pragma once

#include <cstddef>
#include <deque>
#include <string>
#include <vector>

#include "classifier/models/fingerprint.h"
#include "classifier/models/model_index.h"

namespace sourcetype {

class LikenessGroups {
 public:
  // Groups that are kept; further files that are like none of them are only counted. The memory for
  // a group is about 20 kB.
  static constexpr std::size_t kMaxGroups = 1000;
  // Names of files that are kept of a group.
  static constexpr std::size_t kMaxNames = 10;

  struct Group {
    std::string sourcetype;  // that was proposed for the first file
    std::size_t count = 0;   // of files
    std::vector<std::string> files;
  };

  // Adds the file to the group of the closest first file, if that is as close as a learned model has
  // to be. Else it begins a group.
  void add(const std::string& file, const std::string& sourcetype, const Fingerprint& fingerprint);
  // Counts a file of which there is no fingerprint.
  void addUngrouped() { ++ungrouped_; }

  // The largest one first; groups of equal size in the order of their first files.
  std::vector<const Group*> bySize() const;
  // Files that are in no group.
  std::size_t ungrouped() const { return ungrouped_; }

 private:
  std::deque<Group> groups_;
  ModelIndex firstFiles_;  // under the numbers of the groups
  std::size_t ungrouped_ = 0;
};

}  // namespace sourcetype
