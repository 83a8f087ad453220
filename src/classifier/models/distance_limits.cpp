#include "classifier/models/distance_limits.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <cstdint>
#include <string>
#include <string_view>

#include "classifier/models/model.h"
#include "classifier/models/model_log.h"
#include "conf/message_catalog.h"
#include "conf/properties_map.h"
#include "conf/stanza_kinds.h"

namespace sourcetype {
namespace {

bool isSourcetype(std::string_view stanza) {
  constexpr std::array kOtherKinds{kSourceKind, kRuleKind, kDelayedRuleKind, kEventtypeKind};
  return stanza != kDefaultStanza && std::ranges::none_of(kOtherKinds, [&](std::string_view kind) {
           return stanza.starts_with(kind);
         });
}

}  // namespace

void adjustMaxDist(ConfStore& store) {
  constexpr std::size_t kManySourcetypes = 3000;
  constexpr std::int64_t kMinLimit = 500;
  constexpr std::int64_t kUnsetLimit = 100;  // when props.conf has no "maxDist"
  Conf& props = store.getProps();
  const auto count = store.countStanzas(props, "", isSourcetype);
  if (count <= kManySourcetypes) return;
  const auto root = static_cast<std::int64_t>(std::sqrt(static_cast<double>(count)));
  const std::int64_t limit = std::max(2 * root + 100, kMinLimit);
  PropertiesMap defaults;
  store.getStanzaSettings(props, defaults, kDefaultStanza, PatternMatching::No);
  const std::int64_t current = defaults.getInt(kMaxDistKey, kUnsetLimit);
  if (limit == current) return;
  if (limit > current) {
    logMessage(LogLevel::Info, kModelLog, "FILE_CLASSIFIER_INCREASING_MAX_DIST__%lu", count);
  }
  store.writeStanza(props, kDefaultStanza, {{kMaxDistKey, std::to_string(limit)}}, false);
}

}  // namespace sourcetype
