#include "classifier/header_linker.h"

#include <algorithm>
#include <span>
#include <string>
#include <vector>

#include "classifier/flow_log.h"
#include "classifier/header_transform.h"
#include "classifier/properties.h"
#include "classifier/type_name.h"
#include "conf/stanza_kinds.h"
#include "util/logging.h"

namespace sourcetype {
namespace {

constexpr std::string_view kTransformBase = "AutoHeader";

// Returns true for "csv-2" with the base "csv", and for "csv-2-1", which was made from "csv-2".
bool isNumbered(std::string_view name, std::string_view base) {
  if (!name.starts_with(base)) return false;
  const std::string_view number = name.substr(base.size());
  return number.size() > 1 && number.front() == '-' &&
         number.find_first_not_of("-0123456789") == std::string_view::npos;
}

class HeaderLinker {
 public:
  HeaderLinker(std::string_view fileName, const PropertiesMap& transform, PropertiesMap& result,
               ConfStore& store, const NewSourcetype* newSourcetype)
      : fileName_(fileName),
        transform_(transform),
        result_(result),
        store_(store),
        newSourcetype_(newSourcetype),
        current_(result.get(key::kSourcetype)) {}

  // Returns false when a write failed. Starts again when another process has changed the stanzas
  // that the decision depended on.
  bool run() {
    while (true) {
      const auto outcome = tryToLink();
      if (outcome != WriteOutcome::Overtaken) return outcome == WriteOutcome::Written;
      store_.reload(store_.getProps());
      store_.reload(store_.getTransforms());
      if (newSourcetype_ != nullptr) {
        current_ = makeUniqueTypeName(fileName_, store_);
      } else {
        loadSettings(current_);
      }
    }
  }

 private:
  // Returns Written also when nothing had to be written.
  WriteOutcome tryToLink() {
    const bool isShared = current_ == kTooSmallSourcetype;  // the sourcetype of all small files
    if (current_.empty() || (isSpecialStanza(current_) && !isShared)) return WriteOutcome::Written;
    const TransformNames identical = findIdenticalTransforms(transform_, store_);
    if (useLinked(current_, identical)) return WriteOutcome::Written;
    const PropertiesMap own =
        newSourcetype_ != nullptr ? newSourcetype_->settings : settingsOf(current_);
    const bool needsOwn = isShared || hasColumns(own, store_);
    if (newSourcetype_ != nullptr || needsOwn) {
      for (const auto& relative : relatives()) {
        if (useLinked(relative, identical)) return WriteOutcome::Written;
      }
    }
    std::string stanza;
    if (identical.empty()) {
      if (const auto outcome = saveTransform(stanza); outcome != WriteOutcome::Written) {
        return outcome;
      }
    } else {
      stanza = identical.front();
      logReuse(stanza);
    }
    if (newSourcetype_ != nullptr) return linkProposed(stanza);
    return needsOwn ? linkSeparate(own, stanza) : linkCurrent(own, stanza);
  }

  // Returns the settings of the sourcetype's stanza itself, without those of "default".
  PropertiesMap settingsOf(const std::string& sourcetype) {
    PropertiesMap settings;
    store_.getExactStanza(store_.getProps(), settings, sourcetype);
    return settings;
  }

  // Returns the sourcetypes that files with the same columns may have got before. When the current
  // sourcetype is the file's type name with a number, these are the type name and all its numbered
  // names; otherwise the numbered names of the current sourcetype.
  std::vector<std::string> relatives() {
    const std::string typeName = makeTypeName(fileName_, store_.pathForm());
    if (!isNumbered(current_, typeName)) return numberedNames(current_);
    std::vector<std::string> names = numberedNames(typeName);
    if (!isSpecialStanza(typeName)) names.insert(names.begin(), typeName);
    return names;
  }

  std::vector<std::string> numberedNames(const std::string& base) {
    std::vector<std::string> names = store_.stanzaNames(store_.getProps(), base + "-");
    std::erase_if(names, [&](const auto& name) { return !isNumbered(name, base); });
    return names;
  }

  // When the sourcetype links one of these transforms, changes the result to it and returns true.
  bool useLinked(const std::string& sourcetype, const TransformNames& identical) {
    if (identical.empty()) return false;
    const TransformNames linked = linkedTransforms(settingsOf(sourcetype), store_);
    const auto stanza = std::ranges::find_first_of(identical, linked);
    if (stanza == identical.end()) return false;
    logReuse(*stanza);
    logInfo(kFlowLog,
            R"(AutoHeader: skipped saving. found exact transforms.conf entry, stanza_name="%s" )"
            R"(linked in props="%s", filename="%s")",
            *stanza, sourcetype, fileName_);
    if (sourcetype != current_) changeSourcetype(sourcetype);
    return true;
  }

  void logReuse(const std::string& stanza) {
    logInfo(kFlowLog,
            "AutoHeader: found identical transforms.conf stanza_name=%s, reusing it. "
            R"(filename="%s")",
            stanza, fileName_);
  }

  // Writes every value, also one that equals that of "default": findIdenticalTransforms() needs
  // all.
  WriteOutcome saveTransform(std::string& stanza) {
    Conf& transforms = store_.getTransforms();
    stanza = makeNumberedName(std::string(kTransformBase), transforms, store_);
    return store_.addStanza(transforms, stanza, transform_, true);
  }

  // Adds the link to the stanza of the file's sourcetype if it still has the settings `own`.
  WriteOutcome linkCurrent(const PropertiesMap& own, const std::string& stanza) {
    const auto outcome =
        store_.writeStanzaIf(store_.getProps(), current_, addedLink(own, stanza, store_), true,
                             [&] { return settingsOf(current_) == own; });
    if (outcome == WriteOutcome::Written) loadSettings(current_);
    return outcome;
  }

  // Makes a sourcetype with the settings of the current one, but with a link to this transform in
  // place of its columns.
  WriteOutcome linkSeparate(const PropertiesMap& own, const std::string& stanza) {
    const auto sourcetype = makeNumberedName(current_, store_.getProps(), store_);
    const auto outcome = addLinked(sourcetype, withoutColumns(own, store_), stanza, true);
    if (outcome == WriteOutcome::Written) changeSourcetype(sourcetype);
    return outcome;
  }

  // Writes the new sourcetype of the file, with the link.
  WriteOutcome linkProposed(const std::string& stanza) {
    const auto outcome = addLinked(current_, newSourcetype_->settings, stanza, false);
    if (outcome == WriteOutcome::Written) {
      loadSettings(current_);
      result_.set(key::kSourcetype, current_);
    }
    return outcome;
  }

  // Adds a sourcetype with a link, unless another process has added one for these columns.
  WriteOutcome addLinked(const std::string& sourcetype, PropertiesMap settings,
                         const std::string& stanza, bool overwriteAll) {
    const PropertiesMap link = addedLink(settings, stanza, store_);
    for (const auto& [name, entry] : link.entries()) settings.set(name, entry.value);
    const auto isFree = [&] {
      return !store_.stanzaExists(store_.getProps(), sourcetype) &&
             std::ranges::none_of(relatives(), [&](const auto& relative) {
               const TransformNames linked = linkedTransforms(settingsOf(relative), store_);
               return std::ranges::find(linked, stanza) != linked.end();
             });
    };
    return store_.writeStanzaIf(store_.getProps(), sourcetype, settings, overwriteAll, isFree);
  }

  void changeSourcetype(const std::string& sourcetype) {
    logInfo(kFlowLog, R"(AutoHeader: changing sourcetype from="%s" to="%s" for filename="%s")",
            current_, sourcetype, fileName_);
    if (newSourcetype_ != nullptr) result_ = newSourcetype_->input;
    loadSettings(sourcetype);
    result_.set(key::kSourcetype, sourcetype);
    result_.set(key::kIsValid, flagText(true));
  }

  // Replaces the settings in the result that came from configuration by those of a sourcetype.
  void loadSettings(const std::string& sourcetype) {
    std::vector<std::string> configured;
    for (const auto& [name, entry] : result_.entries()) {
      if (!entry.stanza.empty()) configured.push_back(name);
    }
    for (const auto& name : configured) result_.remove(name);
    store_.getStanzaSettings(store_.getProps(), result_, std::span(&sourcetype, 1),
                             PatternMatching::No);
  }

  std::string_view fileName_;
  const PropertiesMap& transform_;
  PropertiesMap& result_;
  ConfStore& store_;
  // Describes `current_` if its stanza is not written yet, else null.
  const NewSourcetype* newSourcetype_;
  std::string current_;  // the file's sourcetype before the link
};

}  // namespace

bool applyHeaderTransform(std::string_view fileName, const PropertiesMap& transform,
                          PropertiesMap& result, ConfStore& store,
                          const NewSourcetype* newSourcetype) {
  return HeaderLinker(fileName, transform, result, store, newSourcetype).run();
}

}  // namespace sourcetype
