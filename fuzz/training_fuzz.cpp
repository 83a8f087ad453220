// "train": new models replace the old ones. Input: training.conf, the learned and the bundled
// sourcetypes.conf, and the texts of the files "1.log", "2.log" and so on, each repeated to a
// hundred lines. The directory "d" stands for a listed file that cannot be read.
//
// The list names files of the working directory only: one with a "/" in it is not tried.
#include <algorithm>
#include <set>

#include "classifier/file_classifier_manager.h"
#include "classifier/type_name.h"
#include "conf/ini_file.h"
#include "stanzas.h"
#include "support.h"

namespace sourcetype::fuzzing {
namespace {

constexpr std::size_t kMaxFiles = 4;
constexpr int kLines = 100;  // fewer are not learned
constexpr std::string_view kLearned = "apps/learned/local/sourcetypes.conf";

std::string longEnough(std::string_view text) {
  std::string content;
  for (int count = 0; !text.empty() && count < kLines; ++count) content.append(text) += '\n';
  return content;
}

Stanzas learnedIn(const std::string& file) {
  return stanzasIn(tree().read(file).value_or(""));
}

// The sourcetypes of a training file, with the files of each.
using List = std::map<std::string, std::set<std::string>>;

List listIn(std::string_view text) {
  List list;
  const auto file = IniFile::parse(text, "text", Report::No);
  for (const auto& [sourcetype, stanza] : file.stanzas()) {
    for (const auto& [key, setting] : stanza.settings) {
      if (!key.starts_with('_')) list[sourcetype].insert(setting.value);
    }
  }
  return list;
}

// What training does with the old models of files that it does not learn again.
enum class Old { Dropped, Kept, Either };

Old fateOf(const List& list) {
  auto fate = Old::Dropped;
  for (const auto& [sourcetype, files] : list) {
    if (!sourcetypeProblem(sourcetype).empty()) return Old::Kept;
    for (const auto& file : files) {
      std::error_code error;
      const auto type = std::filesystem::status(file, error).type();
      if (type == std::filesystem::file_type::directory) return Old::Kept;
      if (type == std::filesystem::file_type::none) fate = Old::Either;  // a name too long, say
    }
  }
  return fate;
}

void train() {
  ConfStore store(tree().root());
  FileClassifierManager(store).trainFromConf("training.conf");
}

// The texts of models, without the names of their stanzas.
std::multiset<std::string> textsOf(const Stanzas& models) {
  std::multiset<std::string> texts;
  for (const auto& [name, settings] : models) texts.insert(settings.toString());
  return texts;
}

std::set<std::string> checkNewModels(const Stanzas& before, const Stanzas& after,
                                     const List& list) {
  std::set<std::string> sources;
  for (const auto& [name, settings] : after) {
    if (before.contains(name)) continue;
    const auto listed = list.find(settings.get("_sourcetype"));
    require(listed != list.end() && listed->second.contains(settings.get("_source")),
            "a new model is of a listed file");
    sources.insert(settings.get("_source"));
  }
  return sources;
}

void checkOldModels(const Stanzas& before, const Stanzas& bundled, const Stanzas& after,
                    const std::set<std::string>& learnedAgain, Old fate) {
  const auto aside = learnedIn(std::string(kLearned) + ".old");
  for (const auto& [name, settings] : before) {
    const auto kept = after.find(name);
    const auto copied = aside.find(name);
    require((kept != after.end() && kept->second == settings) ||
                (copied != aside.end() && copied->second == settings),
            "no old model is lost");
    if (name == "default" || settings.entries().empty() || bundled.contains(name)) continue;
    const bool isReplaced = learnedAgain.contains(settings.get("_source"));
    if (isReplaced || fate == Old::Dropped) require(kept == after.end(), "old models go");
    if (!isReplaced && fate == Old::Kept) require(kept != after.end(), "others are kept");
  }
}

}  // namespace

std::vector<std::string> seeds() {
  const std::string list = "[one]\nf1 = 1.log\n_f = d\n[two]\nf1 = 2.log\nf2 = none\n";
  const std::string old =
      "[a]\n_source = 1.log\n_sourcetype = x\nword = 1\n[b]\n_source = b\n_sourcetype = y\n"
      "[c]\n_source = c\n_sourcetype = z\nword = 2\n";
  const std::string bundled = "[default]\nmaxDist = 5\n[b]\n_sourcetype = y\nz = 1\n";
  const std::string log = "2024-05-06 word [other]";
  return {joined({list, old, bundled, log, "x=1;y=2"}),
          joined({list + "f3 = d\n", old, bundled, log, log}),
          joined({"[x\x01]\nf = 1.log\n[default]\nf = 1.log\n", old, "", log}),
          joined({"f = 1.log", old + "[a]\nmore = 1\n[]\n[e]\n", "", log}),
          joined({"", old, "", log}),
          joined({list, "", "", log, "\xFF\xFE\x41"})};
}

void run(std::string_view input) {
  Parts parts(input);
  const auto training = parts.next();
  const auto learned = parts.next();
  const auto bundledText = parts.next();
  if (training.find('/') != std::string_view::npos) return;
  for (const auto text : {training, learned, bundledText}) {
    if (findEncodingError(text)) return;  // such a file is not read
  }
  records().str({});
  tree().clear();
  tree().write("system/default/sourcetypes.conf", bundledText);
  // The line ends keep an unfinished last line from continuing in what is appended.
  tree().write(kLearned, std::string(learned) + "\n\n");
  tree().write("work/training.conf", training);
  std::filesystem::create_directory(tree().root() / "work/d");
  std::size_t number = 0;
  for (const auto text : parts.all()) {
    if (++number > kMaxFiles) break;
    tree().write("work/" + std::to_string(number) + ".log", longEnough(text));
  }
  std::filesystem::current_path(tree().root() / "work");

  const List list = listIn(training);
  const auto before = learnedIn(std::string(kLearned));
  train();
  const auto after = learnedIn(std::string(kLearned));
  const auto sources = checkNewModels(before, after, list);
  checkOldModels(before, stanzasIn(bundledText), after, sources, fateOf(list));
  require(stanzasIn(*tree().read("system/default/sourcetypes.conf")) == stanzasIn(bundledText),
          "bundled models stay");

  train();
  require(textsOf(learnedIn(std::string(kLearned))) == textsOf(after),
          "trained again, the files have the same models");
}

}  // namespace sourcetype::fuzzing
