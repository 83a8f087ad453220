#include "timestamp/timestamp_formats.h"

#include <utility>

namespace sourcetype {

// There are thousands of looks, but few different lists of forms. A look starts with the empty list.
// Each form that is tried there moves the look to the list that is longer by this form.
TimestampFormats::TimestampFormats(TimestampEntries entries)
    : names_(std::move(entries.names)),
      zones_(std::move(entries.zones)),
      decoyWords_(std::move(entries.decoyWords)),
      timeKeys_(std::move(entries.timeKeys)) {
  for (auto& entry : entries.forms) {
    const bool isWhole = entry.form.kind == TimestampKind::Whole;
    addForm(entry.looks, isWhole ? wholeGroups_ : partGroups_);
    forms_.push_back(std::move(entry.form));
  }
}

// Adds the next form to the groups of its looks.
void TimestampFormats::addForm(const std::vector<PlaceLook>& looks, GroupIndices& groupOf) {
  const auto form = static_cast<std::uint16_t>(forms_.size());
  const std::size_t oldGroups = groups_.size();
  std::vector<std::uint16_t> longer(oldGroups, kNoGroup);  // by group: the one with this form added
  for (const PlaceLook look : looks) {
    std::uint16_t& group = groupOf[look.index()];
    if (group >= oldGroups) continue;  // two words name the look, such as "99*" and "99-"
    if (longer[group] == kNoGroup) {
      longer[group] = static_cast<std::uint16_t>(groups_.size());
      groups_.push_back(groups_[group]);
      groups_.back().push_back(form);
    }
    group = longer[group];
    looks_.set(look.index());
  }
}

}  // namespace sourcetype
