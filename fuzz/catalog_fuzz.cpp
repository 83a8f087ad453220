// Message texts and the classifier's own settings. Input: literals.conf of the local layer and the
// defaults, source-classifier.conf of both, a message code and an argument.
#include <algorithm>
#include <map>
#include <set>
#include <utility>

#include "classifier/classifier_settings.h"
#include "conf/message_catalog.h"
#include "stanzas.h"
#include "support.h"

namespace sourcetype::fuzzing {
namespace {

constexpr LogCategory kLog{"Fuzz"};

bool isLogged(std::string_view start) {
  const auto text = records().str();
  return std::ranges::any_of(linesOf(text),
                             [&](std::string_view record) { return record.starts_with(start); });
}

std::string inCase(std::string_view text, char first, char last, int shift) {
  std::string result(text);
  for (char& c : result) {
    if (first <= c && c <= last) c = static_cast<char>(c + shift);
  }
  return result;
}
std::string upper(std::string_view text) {
  return inCase(text, 'a', 'z', 'A' - 'a');
}
std::string lower(std::string_view text) {
  return inCase(text, 'A', 'Z', 'a' - 'A');
}

// By the catalog key; stanzas and keys in byte order, of which the last counts.
std::map<std::string, std::string> textsOf(const Stanzas& literals) {
  std::map<std::string, std::string> texts;
  for (const auto& [stanza, settings] : literals) {
    for (const auto& [key, entry] : settings.entries()) texts[stanza + "_" + key] = entry.value;
  }
  return texts;
}

std::string expectedText(const std::map<std::string, std::string>& texts, const std::string& code) {
  std::string key = upper(code);
  std::erase(key, '%');
  if (const auto known = texts.find(key); known != texts.end()) return known->second;
  std::string text = "String not found in literals.conf: " + code;
  if (const auto at = text.find("__"); at != std::string_view::npos)
    text.replace(at, 1, " Arguments: ");
  return text;
}

void checkMessages(const std::string& code, std::string_view argument) {
  const auto texts = textsOf(stanzasOf("literals"));
  ConfStore store(tree().root());
  records().str({});
  MessageCatalog catalog;
  loadMessages(catalog, store);
  require(catalog.empty() == texts.empty(), "every text is in the catalog");
  require(catalog.empty() == isLogged("WARN MessageCatalog There are no message texts"),
          "an empty catalog is told");
  const auto expected = expectedText(texts, code);
  require(catalog.lookup(code) == expected, "a code has its text");
  require(catalog.lookup(upper(code)) == expected, "a code has one text in any case");
  for (const auto& [key, text] : texts) {
    const bool canBeAsked = key == upper(key) && key.find('%') == std::string_view::npos;
    require(!canBeAsked || catalog.lookup(lower(key)) == text, "a text is found by its key");
  }

  records().str({});
  messageCatalog() = catalog;
  logMessage(LogLevel::Warn, kLog, code, argument, 7);
  const auto record = records().str();
  require(record.starts_with("WARN Fuzz ") && record.ends_with('\n') &&
              std::ranges::count(record, '\n') == std::ranges::count(expected, '\n') + 1,
          "a message is one record, with the lines of its text and none of its argument");
}

void addWords(const std::string& list, std::set<std::string>& words) {
  std::string word;
  for (const char c : list + ",") {
    if (c != ' ' && c != ',') {
      word += c;
    } else if (!word.empty()) {
      words.insert(std::exchange(word, {}));
    }
  }
}

void checkSettings() {
  std::set<std::string> ofNames;
  std::set<std::string> ofModels;
  bool areAllKnown = true;
  for (const auto& [stanza, settings] : stanzasOf("source-classifier")) {
    for (const auto& [key, entry] : settings.entries()) {
      if (lower(key) == "ignored_filename_keywords") {
        addWords(entry.value, ofNames);
      } else if (lower(key) == "ignored_model_keywords") {
        addWords(entry.value, ofModels);
      } else {
        areAllKnown = areAllKnown && lower(key) == "_raw";
      }
    }
  }
  messageCatalog() = {};
  records().str({});
  ConfStore store(tree().root());
  ClassifierSettings settings(store);
  require(std::ranges::equal(settings.ignoredFilenameKeywords(), ofNames),
          "words of file names are all in the set");
  require(std::ranges::equal(settings.ignoredModelKeywords(), ofModels),
          "words of models are all in the set");
  require(areAllKnown != isLogged("WARN FileClassifier String not found in literals.conf: "
                                  "FILE_CLASSIFIER_UNKNOWN_SETTING Arguments: "),
          "an unknown setting is told");
}

}  // namespace

std::vector<std::string> seeds() {
  const auto shipped = [](const std::string& name) {
    return repositoryFile("etc/apps/bundled-base/default/" + name).substr(0, 1500);
  };
  return {
      joined({"", shipped("literals.conf"), "", "", "FILE_CLASSIFIER_CANNOT_OPEN__%s", "a\nb"}),
      joined({"[A]\nB__S_LU = %2$s %%\\\n%*d %n %s\n", "[A]\nB__S_LU = x\n[A_B]\n_S_LU = y\n",
              "[x]\nIgnored_Model_Keywords = a,b c, a\n", shipped("source-classifier.conf"),
              "a_b__%s_%lu", "x"}),
      joined({"", "", "_raw = 1\nignored_filename_keywords = ,\n", "other = 1", "A%__%__s", ""})};
}

void run(std::string_view input) {
  Parts parts(input);
  tree().clear();
  for (const auto* file :
       {"system/local/literals.conf", "system/default/literals.conf",
        "system/local/source-classifier.conf", "system/default/source-classifier.conf"}) {
    tree().write(file, parts.next());
  }
  const std::string code(parts.next());
  checkMessages(code, parts.next());
  checkSettings();
}

}  // namespace sourcetype::fuzzing
