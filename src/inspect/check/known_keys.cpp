#include "inspect/check/known_keys.h"

#include <algorithm>
#include <array>
#include <cstddef>
#include <span>
#include <vector>

#include "classifier/models/model.h"
#include "classifier/properties.h"
#include "conf/stanza_kinds.h"
#include "inspect/near_names.h"
#include "util/text.h"

namespace sourcetype {
namespace {

struct KnownKey {
  std::string_view name;
  ValueKind kind;
};

constexpr std::array kPropsKeys{
    KnownKey{key::kSourcetype, ValueKind::Sourcetype},
    KnownKey{"priority", ValueKind::Number},
    KnownKey{key::kCharset, ValueKind::Charset},
    KnownKey{key::kNoBinaryCheck, ValueKind::Flag},
    KnownKey{key::kLearnSourcetype, ValueKind::Flag},
    KnownKey{key::kLearnModel, ValueKind::Flag},
    KnownKey{key::kCheckForHeader, ValueKind::Flag},
    KnownKey{key::kStrictHeaderCheck, ValueKind::Flag},
    KnownKey{key::kPrefixSourcetype, ValueKind::Flag},
    KnownKey{key::kShouldLinemerge, ValueKind::Flag},
    KnownKey{key::kIsValid, ValueKind::Flag},
    KnownKey{key::kBreakOnlyBefore, ValueKind::Expression},
    KnownKey{key::kTimePrefix, ValueKind::Expression},
    KnownKey{key::kTimeFormat, ValueKind::TimeFormat},
    KnownKey{"TZ", ValueKind::Zone},
    KnownKey{key::kMaxTimestampLookahead, ValueKind::Number},
    KnownKey{"MAX_DAYS_AGO", ValueKind::Number},
    KnownKey{"MAX_DAYS_HENCE", ValueKind::Number},
    KnownKey{"MAX_DIFF_SECS_AGO", ValueKind::Number},
    KnownKey{"MAX_DIFF_SECS_HENCE", ValueKind::Number},
    KnownKey{key::kKvMode, ValueKind::Text},
    KnownKey{kMaxDistKey, ValueKind::Number},
};

constexpr std::array kTransformKeys{
    KnownKey{key::kDelims, ValueKind::Text},
    KnownKey{key::kFields, ValueKind::Text},
};

// In any case of the letters.
constexpr std::array kClassifierKeys{
    KnownKey{"ignored_model_keywords", ValueKind::Keywords},
    KnownKey{"ignored_filename_keywords", ValueKind::Keywords},
    KnownKey{"_raw", ValueKind::Text},
};

constexpr std::string_view kClassifierConf = "source-classifier";

std::span<const KnownKey> keysOf(std::string_view conf) {
  if (conf == "props") return kPropsKeys;
  if (conf == "transforms") return kTransformKeys;
  if (conf == kClassifierConf) return kClassifierKeys;
  return {};
}

// A short name with two other letters is another name.
std::size_t maxTypos(std::string_view name) {
  constexpr std::size_t kMinForOne = 4;
  constexpr std::size_t kMinForTwo = 8;
  return name.size() < kMinForOne ? 0 : name.size() < kMinForTwo ? 1 : 2;
}

}  // namespace

std::optional<ValueKind> kindOfKey(std::string_view conf, std::string_view key) {
  if (conf == "props" && key.starts_with(key::kReportPrefix)) return ValueKind::Links;
  const auto isKey = [&](const KnownKey& known) {
    return conf == kClassifierConf ? equalsIgnoringCase(known.name, key) : known.name == key;
  };
  const auto keys = keysOf(conf);
  const auto found = std::ranges::find_if(keys, isKey);
  if (found == keys.end()) return std::nullopt;
  return found->kind;
}

std::optional<std::string> meantKey(std::string_view conf, std::string_view key) {
  std::vector<std::string> names;
  for (const auto& known : keysOf(conf)) names.emplace_back(known.name);
  if (conf == "props") {
    if (const auto dash = key.find('-'); dash != std::string_view::npos) {
      const std::string report(key::kReportPrefix);
      const auto prefix = key.substr(0, dash + 1);
      if (!nearestName(prefix, std::span(&report, 1), 1)) return std::nullopt;
      return report + std::string(key.substr(dash + 1));
    }
  }
  return nearestName(key, names, maxTypos(key));
}

std::optional<std::string> meantStanzaKind(std::string_view stanza) {
  const std::vector<std::string> kinds{std::string(kSourceKind), std::string(kHostKind),
                                       std::string(kRuleKind), std::string(kDelayedRuleKind),
                                       std::string(kEventtypeKind)};
  const auto isKnown = [&](const std::string& kind) { return stanza.starts_with(kind); };
  if (std::ranges::any_of(kinds, isKnown)) return std::nullopt;
  const auto colon = stanza.find(':');
  if (colon == std::string_view::npos) return std::nullopt;
  const auto word = stanza.substr(0, colon);
  // A single colon may be part of the name of a sourcetype.
  const bool isPair = stanza.substr(colon).starts_with(kKindSeparator);
  std::vector<std::string> words;
  words.reserve(kinds.size());
  for (const auto& kind : kinds) words.push_back(kind.substr(0, kind.find(kKindSeparator)));
  const auto meant = nearestName(word, words, isPair ? maxTypos(word) : 0);
  if (!meant) return std::nullopt;
  return *meant + std::string(kKindSeparator);
}

std::optional<std::string> meantRuleKey(std::string_view key) {
  const std::vector<std::string> names{std::string(key::kSourcetype), "MORE_THAN", "LESS_THAN"};
  if (auto name = nearestName(key, names, 2)) return name;
  // Without the percentage, and then without the text that tells tests apart.
  key = key.substr(0, key.rfind('_'));
  while (!key.empty() && isAsciiDigit(key.back())) key.remove_suffix(1);
  return nearestName(key, names, 2);
}

}  // namespace sourcetype
