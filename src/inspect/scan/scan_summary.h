// What a scan says after its rows: the files of each sourcetype, the files that were not
// recognised, and rotations that disagree.
#pragma once

#include <cstddef>
#include <cstdint>
#include <map>
#include <optional>
#include <string>
#include <vector>

#include "inspect/output.h"
#include "inspect/scan/likeness_groups.h"
#include "inspect/scan/rotations.h"
#include "inspect/scan/scan_row.h"

namespace sourcetype {

// Its memory does not grow with the number of files.
class ScanSummary {
 public:
  // In the order of the files.
  void add(const ScanRow& row);
  void setInterrupted() { isInterrupted_ = true; }

  bool hasErrors() const { return errors_ > 0; }
  // Files that were not recognised, or rotations that disagree.
  bool hasFindings() const { return unrecognised_ > 0 || rotations_.count() > 0; }

  std::string toText(const Output& out) const;
  // One object for each group, one for each log whose rotations disagree, and {"summary": {...}}.
  std::vector<Json> toJson() const;

 private:
  struct Counts {
    std::size_t files = 0;
    std::uint64_t events = 0;
    std::optional<Timestamp> first, last;  // the earliest and the latest
  };

  std::string typesText(const Output& out) const;
  std::string groupsText(const Output& out) const;
  std::string rotationsText(const Output& out) const;

  std::map<std::string, Counts> types_;
  LikenessGroups groups_;
  Rotations rotations_;
  std::size_t files_ = 0;
  std::size_t unrecognised_ = 0;
  std::size_t errors_ = 0;
  bool isInterrupted_ = false;
};

}  // namespace sourcetype
