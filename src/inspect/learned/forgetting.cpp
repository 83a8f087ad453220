#include "inspect/learned/forgetting.h"

#include <algorithm>
#include <map>
#include <set>
#include <string_view>
#include <system_error>

#include "classifier/header_transform.h"
#include "classifier/properties.h"
#include "platform/path_form.h"

namespace sourcetype {
namespace {

// For each transform, the stanzas of props.conf that link it.
std::map<std::string, std::set<std::string>> linkers(ConfStore& store) {
  std::map<std::string, std::set<std::string>> linkers;
  store.visitStanzas(store.getProps(), [&](std::string_view stanza, auto settings) {
    for (const auto& setting : settings) {
      if (!setting.key().starts_with(key::kReportPrefix)) continue;
      for (const auto& transform : splitLinks(setting.value())) linkers[transform].emplace(stanza);
    }
  });
  return linkers;
}

}  // namespace

ForgettingPlan planForgetting(const std::vector<std::string>& names, const LearnedTypes& learned,
                              ConfStore& store) {
  ForgettingPlan plan;
  const std::set<std::string> chosen(names.begin(), names.end());
  std::set<std::string> transforms;
  for (const auto& name : chosen) {
    const auto& type = learned.types().at(name);
    for (const auto& model : type.models) plan.models.push_back(model.stanza);
    if (type.hasStanza) (type.isProposed ? plan.props : plan.kept).push_back(name);
    transforms.insert(type.transforms.begin(), type.transforms.end());
  }
  const auto linking = linkers(store);
  for (const auto& transform : transforms) {
    const auto found = linking.find(transform);
    const bool isShared = found != linking.end() && !std::ranges::includes(chosen, found->second);
    if (!isShared) plan.transforms.push_back(transform);
  }
  return plan;
}

void forget(const ForgettingPlan& plan, ConfStore& store) {
  Conf& models = store.getConf("sourcetypes");
  const ConfStore::StanzaNames names(plan.models.begin(), plan.models.end());
  if (const auto dropped = store.dropLearnedStanzas(models, names, {}); dropped.error) {
    throw std::system_error(dropped.error,
                            "cannot change " + pathToText(store.learnedFile(models)));
  }
  // The stanzas with the links go last: by the links, the next run finds what this one may leave.
  for (const auto& stanza : plan.transforms) store.removeStanza(store.getTransforms(), stanza);
  for (const auto& stanza : plan.props) store.removeStanza(store.getProps(), stanza);
}

}  // namespace sourcetype
