// The effective settings of stanzas: merged over the layers, completed by pattern stanzas and
// "default".
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

// Lookups in one configuration. ConfStore, which offers each of them, says what they return.
class ConfLookup {
 public:
  ConfLookup(ConfIndex& index, PathForm pathForm) : index_(index), pathForm_(pathForm) {}

  void addExactStanza(PropertiesMap& out, std::string_view stanza);
  // The settings of the stanza of exactly that name, and of "default".
  PropertiesMap settingsWithDefaults(std::string_view stanza);

  using StanzaVisitor =
      std::function<void(std::string_view name, std::span<const ConfFile::Setting> settings)>;
  void visitStanzas(const StanzaVisitor& visit);

  void addSettings(PropertiesMap& out, std::span<const std::string> names, MatchBudget& budget);
  void addSettings(PropertiesMap& out, std::span<const std::string> names,
                   PatternMatching matching);

 private:
  struct Candidate;

  // `budget`: for the pattern stanzas; null when these do not count.
  void addCandidates(PropertiesMap& out, std::span<const std::string> names, MatchBudget* budget);
  std::vector<Candidate> candidates(const std::string& name, MatchBudget* budget);
  std::vector<const StanzaPattern*> matchingPatterns(const std::string& name, MatchBudget& budget);
  std::int64_t priority(std::string_view stanza, std::int64_t fallback);
  const std::vector<const StanzaPattern*>& patterns();

  ConfIndex& index_;
  PathForm pathForm_;

  // Gathered at the first lookup that needs them.
  std::vector<const StanzaPattern*> patterns_;
  std::uint64_t patternVersion_ = 0;  // of the index when they were

  // For the life of the object: each name is converted, and compiled, at most once.
  std::unordered_map<std::string, StanzaPattern> patternCache_;
  std::unordered_set<const StanzaPattern*> reportedPatterns_;  // invalid or costly ones
};

}  // namespace sourcetype
