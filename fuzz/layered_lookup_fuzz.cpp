// Lookups over all layers, by name and pattern. Input: a name, then props.conf of the local layer,
// of two apps and of the defaults.
#include <algorithm>
#include <array>
#include <charconv>
#include <set>
#include <tuple>

#include "conf/conf_store.h"
#include "conf/ini_file.h"
#include "conf/stanza_kinds.h"
#include "support.h"
#include "util/regex.h"

namespace sourcetype::fuzzing {
namespace {

// From the strongest layer on.
constexpr std::array kLayers{"system/local", "apps/a/local", "apps/b/default", "system/default"};

// One layer, from its lines; the last value of a key counts. A file in UTF-16 is left out.
std::map<std::string, PropertiesMap> readSlowly(std::string_view text) {
  std::map<std::string, PropertiesMap> stanzas;
  if (findEncodingError(text)) return stanzas;
  TextKeeper keeper;
  LogicalLineReader reader(text, "props.conf", keeper, Report::No);
  std::optional<std::string> current;
  for (LogicalLine line; reader.next(line);) {
    if (line.kind == LineKind::Header) {
      current = line.name;
      stanzas[*current];
    } else if (line.kind == LineKind::Setting) {
      if (!current) current = kDefaultStanza;
      stanzas[*current].set(line.name, line.value);
    }
  }
  return stanzas;
}

struct Candidate {
  std::int64_t priority;
  std::string name;
};

bool matchesPattern(const std::string& pattern, std::string_view name) {
  const auto expression = expandStanzaPattern(pattern);
  if (!expression) return false;
  try {
    return Regex(*expression).match(name, Regex::Mode::Whole);
  } catch (const RegexException&) {
    return false;
  }
}

}  // namespace

std::vector<std::string> seeds() {
  return {joined({"source::/var/log/a.log", "[source::/var/log/a.log]\nk=1\n",
                  "[source::.../a.*]\nk=2\nl=3\npriority=200\n", "[source::...]\nm=1\nl=4\n",
                  "[default]\nk=0\nn=5\n[source::/var/*/*.log]\npriority=-1\nn=6"}),
          joined({"a", "[a]\nk=1\n[a]\nk=2\nl\\==3", "[b]\n[a]\nx=\\\ny", "k=v", "[host::a]\nz=1"}),
          joined({"host::Web1", "[host::web*]\nk=1\n[host::WEB1]\nk=2", "",
                  "\xFF\xFE[default]\nk=3\n", ""})};
}

void run(std::string_view input) {
  Parts parts(input);
  const std::string name(parts.next());
  std::map<std::string, PropertiesMap> merged;
  tree().clear();
  for (const std::string layer : kLayers) {
    const auto text = parts.next();
    tree().write(layer + "/props.conf", text);
    for (const auto& [stanza, settings] : readSlowly(text)) {
      auto& target = merged[stanza];
      for (const auto& [key, entry] : settings.entries()) {
        target.insertIfAbsent(key, entry.value, stanza);
      }
    }
  }

  std::vector<Candidate> candidates;
  for (const auto& [stanza, settings] : merged) {
    if (stanza == name) {
      candidates.push_back({settings.getInt("priority", 100), stanza});
    }
    if (isCleanUtf8(name) && matchesPattern(stanza, name)) {
      candidates.push_back({settings.getInt("priority", 0), stanza});
    }
  }
  std::ranges::stable_sort(candidates, [](const auto& a, const auto& b) {
    return std::tie(b.priority, a.name) < std::tie(a.priority, b.name);
  });
  PropertiesMap expected;
  for (const auto& candidate : candidates) {
    for (const auto& [key, entry] : merged[candidate.name].entries()) {
      expected.insertIfAbsent(key, entry.value, candidate.name);
    }
  }
  if (merged.contains("default")) {
    for (const auto& [key, entry] : merged["default"].entries()) {
      expected.insertIfAbsent(key, entry.value, "default");
    }
  }

  ConfStore store(tree().root());
  Conf& props = store.getProps();
  PropertiesMap found;
  store.getStanzaSettings(props, found, std::span(&name, 1), PatternMatching::Yes);
  if (isCleanUtf8(name)) require(found == expected, "a lookup merges layers and patterns in order");

  const auto names = store.stanzaNames(props, "");
  require(std::ranges::equal(names, merged, {}, {}, [](const auto& entry) { return entry.first; }),
          "every stanza is known once");
  for (const auto& [stanza, settings] : merged) {
    PropertiesMap exact;
    store.getExactStanza(props, exact, stanza);
    require(exact == settings, "a stanza's settings are those of its strongest layers");
  }
}

}  // namespace sourcetype::fuzzing
