#include "inspect/scan/likeness_groups.h"

#include <algorithm>
#include <string_view>

#include "classifier/models/model.h"
#include "classifier/models/model_store.h"
#include "util/text_keeper.h"

namespace sourcetype {

void LikenessGroups::add(const std::string& file, const std::string& sourcetype,
                         const Fingerprint& fingerprint) {
  Group* group = nullptr;
  if (const auto closest = firstFiles_.findClosestModel(fingerprint);
      closest && closest->distance <= kAcceptDistance) {
    group = &groups_[std::stoul(std::string(closest->sourcetype))];
  } else if (groups_.size() < kMaxGroups) {
    const std::string number = std::to_string(groups_.size());
    TextKeeper keeper;
    ModelView model = viewOf(fingerprint, number, keeper);
    model.maxDistance = firstFiles_.limitFor(model);
    firstFiles_.add(model);
    group = &groups_.emplace_back();
    group->sourcetype = sourcetype;
  } else {
    return addUngrouped();
  }
  ++group->count;
  if (group->files.size() < kMaxNames) group->files.push_back(file);
}

std::vector<const LikenessGroups::Group*> LikenessGroups::bySize() const {
  std::vector<const Group*> groups;
  for (const auto& group : groups_) groups.push_back(&group);
  std::ranges::stable_sort(groups, std::greater(), [](const Group* group) { return group->count; });
  return groups;
}

}  // namespace sourcetype
