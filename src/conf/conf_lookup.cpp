#include "conf/conf_lookup.h"

#include <algorithm>
#include <optional>
#include <tuple>

#include "conf/stanza_kinds.h"
#include "util/logging.h"
#include "util/record_limit.h"
#include "util/utf8.h"

namespace sourcetype {
namespace {

constexpr LogCategory kLookupLog{"PropertiesMapConfig"};

constexpr std::int64_t kExactPriority = 100;
constexpr std::int64_t kPatternPriority = 0;

// Steps that one lookup may spend on patterns: half of the budget of a file. The other half is for
// the second lookup, which matches the same name again, and for the rules.
constexpr std::uint64_t kMaxLookupCost = kMaxFileCost / 2;

std::string joinNames(std::span<const std::string> names) {
  std::string result;
  for (const auto& name : names) result += name + "|";
  if (!result.empty()) result.pop_back();
  return result;
}

}  // namespace

// A stanza that applies to a name.
struct ConfLookup::Candidate {
  std::int64_t priority;
  bool isPattern;
  std::string_view stanza;
};

void ConfLookup::addExactStanza(PropertiesMap& out, std::string_view stanza) {
  for (const auto& [found, file] : index_.find(stanza)) {
    for (const auto& setting : found->settings) {
      out.insertIfAbsent(setting.key(), setting.value(), stanza);
    }
  }
}

PropertiesMap ConfLookup::settingsWithDefaults(std::string_view stanza) {
  PropertiesMap settings;
  addExactStanza(settings, stanza);
  addExactStanza(settings, kDefaultStanza);
  return settings;
}

void ConfLookup::visitStanzas(const StanzaVisitor& visit, std::string_view prefix) {
  const auto stanzas = index_.findPrefix(prefix);
  std::vector<ConfFile::Setting> merged;
  for (auto first = stanzas.begin(); first != stanzas.end();) {
    const auto name = first->stanza->name;
    const auto last = std::find_if(first, stanzas.end(),
                                   [&](const auto& found) { return found.stanza->name != name; });
    if (last - first == 1) {
      visit(name, first->stanza->settings);
    } else {
      merged.clear();
      for (auto layer = first; layer != last; ++layer) {
        merged.insert(merged.end(), layer->stanza->settings.begin(), layer->stanza->settings.end());
      }
      // The sort is stable: among equal keys, the setting of the strongest layer is the first.
      std::ranges::stable_sort(merged, {}, &ConfFile::Setting::key);
      const auto isSameKey = [](const auto& a, const auto& b) { return a.key() == b.key(); };
      merged.erase(std::unique(merged.begin(), merged.end(), isSameKey), merged.end());
      visit(name, merged);
    }
    first = last;
  }
}

void ConfLookup::addSettings(PropertiesMap& out, std::span<const std::string> names,
                             PatternMatching matching) {
  MatchBudget budget(kMaxLookupCost);
  addCandidates(out, names, matching == PatternMatching::Yes ? &budget : nullptr);
}

void ConfLookup::addSettings(PropertiesMap& out, std::span<const std::string> names,
                             MatchBudget& budget) {
  const std::uint64_t allowed = std::min(budget.left(), kMaxLookupCost);
  MatchBudget share(allowed);
  addCandidates(out, names, &share);
  budget.spend(allowed - share.left());
}

std::vector<std::string> ConfLookup::applyingStanzas(std::span<const std::string> names,
                                                     PatternMatching matching) {
  MatchBudget budget(kMaxLookupCost);
  std::vector<std::string> stanzas;
  for (const auto& name : names) {
    for (const auto& found : candidates(name, matching == PatternMatching::Yes ? &budget : nullptr))
      stanzas.emplace_back(found.stanza);
  }
  stanzas.emplace_back(kDefaultStanza);
  return stanzas;
}

void ConfLookup::addCandidates(PropertiesMap& out, std::span<const std::string> names,
                               MatchBudget* budget) {
  if (budget != nullptr && kLookupLog.isEnabled(LogLevel::Debug)) {
    logDebug(kLookupLog, "Performing pattern matching for: %s", joinNames(names));
  }
  for (const auto& name : names) {
    for (const auto& [priority, isPattern, stanza] : candidates(name, budget)) {
      if (isPattern && kLookupLog.isEnabled(LogLevel::Debug)) {
        logDebug(kLookupLog, "Pattern '%s' matches with %s", stanza,
                 priority == 0 ? "lowest priority" : "priority " + std::to_string(priority));
      }
      addExactStanza(out, stanza);
    }
  }
  addExactStanza(out, kDefaultStanza);
}

std::vector<ConfLookup::Candidate> ConfLookup::candidates(const std::string& name,
                                                          MatchBudget* budget) {
  std::vector<Candidate> found;
  const auto add = [&](std::string_view stanza, bool isPattern, std::int64_t defaultPriority) {
    found.push_back({priority(stanza, defaultPriority), isPattern, stanza});
  };
  if (const auto exact = index_.find(name); !exact.empty()) {
    add(exact.front().stanza->name, false, kExactPriority);
  }
  if (budget != nullptr) {
    for (const auto* pattern : matchingPatterns(name, *budget)) {
      add(pattern->name(), true, kPatternPriority);
    }
  }
  std::ranges::sort(found, [](const Candidate& a, const Candidate& b) {
    return std::tie(b.priority, a.stanza) < std::tie(a.priority, b.stanza);
  });
  return found;
}

std::int64_t ConfLookup::priority(std::string_view stanza, std::int64_t fallback) {
  constexpr std::string_view kPriority = "priority";
  for (const auto& [found, file] : index_.find(stanza)) {
    if (const auto* setting = found->find(kPriority)) {
      return PropertiesMap{{kPriority, setting->value()}}.getInt(kPriority, fallback);
    }
  }
  return fallback;
}

// Logs a pattern that does not compile or costs too much, once a run.
std::vector<const StanzaPattern*> ConfLookup::matchingPatterns(const std::string& name,
                                                               MatchBudget& budget) {
  // An expression never matches an invalid UTF-8 byte, but the name of a file may contain any byte.
  const std::string matchable = withInvalidUtf8Replaced(name);
  std::vector<const StanzaPattern*> matching;
  RecordLimit invalid;
  RecordLimit costly;
  const auto isNew = [&](const StanzaPattern* pattern) {
    return reportedPatterns_.insert(pattern).second;
  };
  for (const auto* pattern : patterns()) {
    const auto answer = pattern->match(matchable, budget);
    if (budget.isSpent()) {
      if (isNew(pattern)) {
        logWarn(kLookupLog,
                "The stanza patterns cost too much: [%s] and those after it do not apply to %s.",
                pattern->name(), name);
      }
      break;
    }
    if (answer == StanzaPattern::Answer::Match) {
      matching.push_back(pattern);
    } else if (answer == StanzaPattern::Answer::Invalid) {
      if (isNew(pattern) && invalid.admit()) pattern->logError();
    } else if (answer == StanzaPattern::Answer::TooCostly) {
      if (!isNew(pattern) || !costly.admit()) continue;
      logWarn(kLookupLog, "The stanza pattern [%s] costs too much and does not apply to %s.",
              pattern->name(), name);
    }
  }
  if (invalid.omitted() > 0) {
    logWarn(kLookupLog, "%lu more stanza patterns do not compile.", invalid.omitted());
  }
  if (costly.omitted() > 0) {
    logWarn(kLookupLog, "%lu more stanza patterns cost too much.", costly.omitted());
  }
  return matching;
}

const std::vector<const StanzaPattern*>& ConfLookup::patterns() {
  const auto stanzas = index_.all();
  if (patternVersion_ != index_.patternVersion()) {
    patternVersion_ = index_.patternVersion();
    patterns_.clear();
    std::optional<std::string_view> previous;
    for (const auto& [stanza, file] : stanzas) {
      if (stanza->name == previous) continue;
      previous = stanza->name;
      if (!isStanzaPattern(stanza->name)) continue;
      patterns_.push_back(
          &patternCache_.try_emplace(std::string(stanza->name), stanza->name, pathForm_)
               .first->second);
    }
  }
  return patterns_;
}

}  // namespace sourcetype
