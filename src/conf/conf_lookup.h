// The effective settings of a stanza: merged over the layers, with those of the pattern stanzas
// that match its name and those of "default".
#pragma once

#include <cstdint>
#include <functional>
#include <span>
#include <string>
#include <string_view>
#include <unordered_map>
#include <unordered_set>
#include <vector>

#include "conf/conf_file.h"
#include "conf/conf_index.h"
#include "conf/properties_map.h"
#include "conf/stanza_pattern.h"
#include "platform/path_form.h"
#include "util/match_budget.h"

namespace sourcetype {

enum class PatternMatching { No, Yes };

// Lookups in one configuration. ConfStore has a function for each and documents the results.
class ConfLookup {
 public:
  ConfLookup(ConfIndex& index, PathForm pathForm) : index_(index), pathForm_(pathForm) {}

  void addExactStanza(PropertiesMap& out, std::string_view stanza);
  // The settings of the stanza of exactly that name, and of "default".
  PropertiesMap settingsWithDefaults(std::string_view stanza);

  using StanzaVisitor =
      std::function<void(std::string_view name, std::span<const ConfFile::Setting> settings)>;
  void visitStanzas(const StanzaVisitor& visit, std::string_view prefix);

  void addSettings(PropertiesMap& out, std::span<const std::string> names, MatchBudget& budget);
  void addSettings(PropertiesMap& out, std::span<const std::string> names,
                   PatternMatching matching);
  std::vector<std::string> applyingStanzas(std::span<const std::string> names,
                                           PatternMatching matching);

 private:
  struct Candidate;

  // `budget` is for the pattern stanzas; null: these do not apply.
  void addCandidates(PropertiesMap& out, std::span<const std::string> names, MatchBudget* budget);
  std::vector<Candidate> candidates(const std::string& name, MatchBudget* budget);
  std::vector<const StanzaPattern*> matchingPatterns(const std::string& name, MatchBudget& budget);
  std::int64_t priority(std::string_view stanza, std::int64_t fallback);
  const std::vector<const StanzaPattern*>& patterns();

  ConfIndex& index_;
  PathForm pathForm_;

  std::vector<const StanzaPattern*> patterns_;  // those of the index at patternVersion_
  std::uint64_t patternVersion_ = 0;            // 0: not collected yet

  // By name, for the life of the object: a pattern is converted and compiled at most once.
  std::unordered_map<std::string, StanzaPattern> patternCache_;
  std::unordered_set<const StanzaPattern*> reportedPatterns_;  // invalid or over budget, and logged
};

}  // namespace sourcetype
