// What a run learns of the files it is given: rule-matched learning and learnFile(). Input:
// props.conf, sourcetypes.conf, a sourcetype, and the texts of files, each of which comes a hundred
// lines long.
#include <algorithm>
#include <set>

#include "classifier/file_classifier.h"
#include "classifier/file_classifier_manager.h"
#include "classifier/type_name.h"
#include "stanzas.h"
#include "support.h"
#include "timestamp/xml_libraries.h"

namespace sourcetype::fuzzing {
namespace {

constexpr std::size_t kMaxFiles = 5;
constexpr std::size_t kMaxRuleModels = 3;
constexpr std::size_t kLines = 100;  // fewer are not learned

std::string longEnough(std::string_view text) {
  const auto lines = linesOf(text).size();
  std::string content;
  for (std::size_t count = 0; lines > 0 && count < kLines; count += lines) {
    content.append(text) += '\n';
  }
  return content;
}

std::size_t modelsOf(std::string_view sourcetype, const Stanzas& models) {
  return static_cast<std::size_t>(std::ranges::count_if(
      models, [&](const auto& stanza) { return stanza.second.get("_sourcetype") == sourcetype; }));
}

std::set<std::string> sourcetypesOfRules(const Stanzas& props) {
  std::set<std::string> names;
  for (const auto& [name, settings] : props) {
    if (name.starts_with("rule::")) names.insert(settings.get("sourcetype"));
  }
  return names;
}

std::string classify(FileClassifierManager& manager, const std::filesystem::path& path) {
  PropertiesMap result;
  manager.findTypeForFile(result, {.path = path});
  return result.get("sourcetype");
}

// The names of the files contain no name of a type, so new sourcetypes for them begin with
// "generic".
void checkRules(const std::vector<std::filesystem::path>& files) {
  const auto before = stanzasOf("sourcetypes");
  const auto props = stanzasOf("props");
  ConfStore store(tree().root());
  FileClassifierManager manager(store);
  for (const auto& file : files) classify(manager, file);
  const auto after = stanzasOf("sourcetypes");
  require(addedStanzas(before, after, {}).size() <= files.size(), "a file has one model here");
  for (const auto& name : sourcetypesOfRules(props)) {
    if (name.starts_with("generic")) continue;
    const auto most = std::max(modelsOf(name, before), kMaxRuleModels);
    require(modelsOf(name, after) <= most, "three models of a rule's sourcetype are enough");
  }
}

void checkLearning(const std::filesystem::path& file, const std::string& sourcetype) {
  const auto before = stanzasOf("sourcetypes");
  const auto props = stanzasOf("props");
  {
    ConfStore store(tree().root());
    FileClassifierManager(store).learnFile(file, sourcetype);
  }
  const auto after = stanzasOf("sourcetypes");
  require(stanzasOf("props") == props, "learning under a name makes no settings");
  const auto added = addedStanzas(before, after, {});
  require(added.size() <= 1, "a file has one model here");
  for (const auto& name : added) {
    const auto& model = after.at(name);
    require(model.get("_sourcetype") == sourcetype && model.get("_source") == file.string(),
            "a model says what it is of");
    require(std::to_string(model.entries().size() - 2) == model.get("_size"),
            "a model says how many settings it has, but for its limit");
  }
  if (!sourcetypeProblem(sourcetype).empty()) {
    require(added.empty(), "under a name that cannot be stored nothing is learned");
    return;
  }
  ConfStore store(tree().root());
  ClassifierSettings settings(store);
  PropertiesMap charset;
  store.getStanzaSettings(store.getProps(), charset, sourceStanzas(file), PatternMatching::Yes);
  std::error_code error;
  const auto sample = readSample(file, charset, kDefaultMaxLines, Keep::Lines, error);
  require(sample.has_value(), "a file can be read");
  if (sample->lineCount() < kLines) return;
  const auto closest = ModelStore(store, settings).findClosest(*sample);
  require(closest && closest->distance <= kAcceptDistance, "a learned file is recognised");
}

}  // namespace

std::vector<std::string> seeds() {
  const std::string rule = "[rule::r]\nsourcetype = ruled\nMORE_THAN_10 = ^a\n";
  return {joined({rule, "", "mine", "alpha one two three four\na [five] six",
                  "all: seven=eight; nine\na", "axe <ten/> eleven twelve\na {13}",
                  "ant (fourteen) | fifteen\na,b,c", "arm 16:17:18 sixteen - seventeen\na!"}),
          joined({rule + "[default]\nLEARN_MODEL = false\n", "", "", "a b", "c d"}),
          joined({"[delayedrule::d]\nsourcetype = late\nLESS_THAN_90 = x\n",
                  "[m]\n_sourcetype = m\n_size = 1\nalpha = 0.5\n~ = 100\n", "late", "alpha beta"}),
          joined({rule + "[ruled]\nCHECK_FOR_HEADER = true\nCHARSET = auto\n",
                  "[default]\nmaxDist = 1\n", "x\xC2\x80", "a,b\na1,2", "\xFF\xFE\x41"})};
}

void run(std::string_view input) {
  static const XmlLibraries kLibraries;
  records().str({});
  tree().clear();
  Parts parts(input);
  const auto props = parts.next();
  const auto models = parts.next();
  if (findEncodingError(props) || findEncodingError(models)) return;  // nothing is written to these
  tree().write("system/local/props.conf", props);
  // The line ends keep an unfinished last line from continuing in what is appended.
  tree().write("apps/learned/local/sourcetypes.conf", std::string(models) + "\n\n");
  const std::string sourcetype(parts.next());
  std::vector<std::filesystem::path> files;
  for (const auto text : parts.all()) {
    if (files.size() == kMaxFiles) break;
    const auto name = "logs/" + std::to_string(files.size() + 1) + ".log";
    files.push_back(tree().write(name, longEnough(text)));
  }
  checkRules(files);
  if (!files.empty()) checkLearning(files.front(), sourcetype);
}

}  // namespace sourcetype::fuzzing
