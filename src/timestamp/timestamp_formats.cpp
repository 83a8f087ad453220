#include "timestamp/timestamp_formats.h"

#include <map>
#include <utility>

namespace sourcetype {
namespace {

struct FormsOfLook {
  std::vector<std::uint16_t> whole;
  std::vector<std::uint16_t> part;
};

// By the index of the look, the indices of the forms that are tried there.
std::vector<FormsOfLook> formsByLook(const std::vector<TimestampEntries::Form>& forms) {
  std::vector<FormsOfLook> result(PlaceLook::kCount);
  for (std::size_t i = 0; i < forms.size(); ++i) {
    const auto index = static_cast<std::uint16_t>(i);
    for (const PlaceLook look : forms[i].looks) {
      auto& entry = result[look.index()];
      auto& list = forms[i].form.kind == TimestampKind::Whole ? entry.whole : entry.part;
      // A look may be named twice, by "99*" and "99-".
      if (list.empty() || list.back() != index) list.push_back(index);
    }
  }
  return result;
}

}  // namespace

TimestampFormats::TimestampFormats(TimestampEntries entries)
    : names_(std::move(entries.names)),
      zones_(std::move(entries.zones)),
      decoyWords_(std::move(entries.decoyWords)),
      timeKeys_(std::move(entries.timeKeys)) {
  const auto lists = formsByLook(entries.forms);
  for (auto& entry : entries.forms) forms_.push_back(std::move(entry.form));

  // There are thousands of looks, but few different lists of forms.
  std::map<std::vector<std::uint16_t>, std::uint16_t> known{{{}, 0}};
  const auto groupOf = [&](const std::vector<std::uint16_t>& list) {
    const auto next = static_cast<std::uint16_t>(groups_.size());
    const auto [entry, isNew] = known.emplace(list, next);
    if (isNew) groups_.push_back(list);
    return entry->second;
  };
  for (std::size_t i = 0; i < lists.size(); ++i) {
    wholeGroups_[i] = groupOf(lists[i].whole);
    partGroups_[i] = groupOf(lists[i].part);
    looks_.set(i, !lists[i].whole.empty() || !lists[i].part.empty());
  }
}

}  // namespace sourcetype
