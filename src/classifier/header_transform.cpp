#include "classifier/header_transform.h"

#include <algorithm>

#include "classifier/header_fields.h"
#include "classifier/properties.h"
#include "classifier/type_name.h"
#include "util/logging.h"
#include "util/text.h"

namespace sourcetype {
namespace {

constexpr LogCategory kFlowLog{"FileClassifier"};

constexpr std::string_view kTransformBase = "AutoHeader";
constexpr std::string_view kLinkSeparator = ",";

using Names = std::vector<std::string>;

Names splitLinks(std::string_view value) {
  Names names;
  for (const auto link : split(value, kLinkSeparator)) {
    if (const auto name = trimBlanks(link); !name.empty()) names.emplace_back(name);
  }
  return names;
}

// A link reads back as the name that it was made of. "[name" is what a power failure left of a
// stanza that was being appended.
bool canBeLinked(std::string_view stanza) {
  if (stanza.starts_with('[')) return false;
  const Names names = splitLinks(stanza);
  return names.size() == 1 && names.front() == stanza;
}

// "csv-2" after "csv", and "csv-2-1", made from a numbered one.
bool isNumbered(std::string_view name, std::string_view base) {
  if (!name.starts_with(base)) return false;
  const std::string_view number = name.substr(base.size());
  return number.size() > 1 && number.front() == '-' &&
         number.find_first_not_of("-0123456789") == std::string_view::npos;
}

class HeaderLinker {
 public:
  HeaderLinker(std::string_view fileName, const PropertiesMap& transform, PropertiesMap& result,
               ConfStore& store, const NewSourcetype* made)
      : fileName_(fileName),
        transform_(transform),
        result_(result),
        store_(store),
        made_(made),
        current_(result.get(key::kSourcetype)) {}

  // Decides again when another process has changed meanwhile what the decision rested on. False
  // when a write failed.
  bool run() {
    while (true) {
      const auto outcome = tryToLink();
      if (outcome != WriteOutcome::Overtaken) return outcome == WriteOutcome::Written;
      store_.reload(store_.getProps());
      store_.reload(store_.getTransforms());
      if (made_ != nullptr) {
        current_ = makeUniqueTypeName(fileName_, store_);
      } else {
        takeSettings(current_);
      }
    }
  }

 private:
  // Written also where nothing had to be.
  WriteOutcome tryToLink() {
    const bool isShared = current_ == kTooSmallSourcetype;  // by all small files
    if (current_.empty() || (isSpecialStanza(current_) && !isShared)) return WriteOutcome::Written;
    const Names identical = findIdenticalTransforms();
    if (useLinked(current_, identical)) return WriteOutcome::Written;
    const PropertiesMap own = made_ != nullptr ? made_->settings : settingsOf(current_);
    const bool isTaken = isShared || hasColumns(own);
    if (made_ != nullptr || isTaken) {
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
    if (made_ != nullptr) return linkMade(stanza);
    return isTaken ? linkNew(own, stanza) : linkCurrent(own, stanza);
  }

  // The stanzas of transforms.conf that extract the same columns, whatever else they say.
  Names findIdenticalTransforms() {
    Names names;
    const auto has = [](std::span<const ConfFile::Setting> settings, const auto& wanted) {
      const auto found =
          std::ranges::lower_bound(settings, wanted.first, {}, &ConfFile::Setting::key);
      return found != settings.end() && found->key() == wanted.first &&
             found->value() == wanted.second.value;
    };
    store_.visitStanzas(store_.getTransforms(), [&](std::string_view name, auto settings) {
      const bool isIdentical = std::ranges::all_of(
          transform_.entries(), [&](const auto& wanted) { return has(settings, wanted); });
      if (isIdentical && name != kDefaultStanza && canBeLinked(name)) names.emplace_back(name);
    });
    return names;
  }

  // What the stanza itself says, without what it shares with others.
  PropertiesMap settingsOf(const std::string& sourcetype) {
    PropertiesMap settings;
    store_.getExactStanza(store_.getProps(), settings, sourcetype);
    return settings;
  }

  // The transforms that a sourcetype's settings name and that are there.
  Names linkedTransforms(const PropertiesMap& settings) {
    Names linked;
    for (const auto& [name, entry] : settings.entries()) {
      if (!name.starts_with(key::kReportPrefix)) continue;
      for (auto& stanza : splitLinks(entry.value)) {
        if (store_.stanzaExists(store_.getTransforms(), stanza))
          linked.push_back(std::move(stanza));
      }
    }
    return linked;
  }

  // Whether the sourcetype has columns already. A link to a transform that names none (an
  // expression of its own) is kept, and the new link is added to it.
  bool hasColumns(const PropertiesMap& settings) {
    return std::ranges::any_of(linkedTransforms(settings),
                               [&](const auto& stanza) { return namesColumns(stanza); });
  }

  // The sourcetypes that files such as this one may have got before for their columns: all of the
  // name that a made-up one is numbered after, or those made from the file's sourcetype.
  Names relatives() {
    const std::string typeName = makeTypeName(fileName_, store_.pathForm());
    if (!isNumbered(current_, typeName)) return numberedNames(current_);
    Names names = numberedNames(typeName);
    if (!isSpecialStanza(typeName)) names.insert(names.begin(), typeName);
    return names;
  }

  Names numberedNames(const std::string& base) {
    Names names = store_.stanzaNames(store_.getProps(), base + "-");
    std::erase_if(names, [&](const auto& name) { return !isNumbered(name, base); });
    return names;
  }

  // True, with the result as it should be, when the sourcetype links one of these transforms.
  bool useLinked(const std::string& sourcetype, const Names& identical) {
    if (identical.empty()) return false;
    const Names linked = linkedTransforms(settingsOf(sourcetype));
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

  // Writes the values that [default] has as well: they are what the stanza is found by.
  WriteOutcome saveTransform(std::string& stanza) {
    Conf& transforms = store_.getTransforms();
    stanza = makeNumberedName(std::string(kTransformBase), transforms, store_);
    return store_.addStanza(transforms, stanza, transform_, true);
  }

  // Writes the link into the stanza of the file's sourcetype, which still has to say `own`.
  WriteOutcome linkCurrent(const PropertiesMap& own, const std::string& stanza) {
    const auto outcome = store_.writeStanzaIf(store_.getProps(), current_, linkBeside(own, stanza),
                                              true, [&] { return settingsOf(current_) == own; });
    if (outcome == WriteOutcome::Written) takeSettings(current_);
    return outcome;
  }

  // Makes a sourcetype that says what the file's so far does, but links this transform.
  WriteOutcome linkNew(const PropertiesMap& own, const std::string& stanza) {
    const auto sourcetype = makeNumberedName(current_, store_.getProps(), store_);
    const auto outcome = addLinked(sourcetype, withoutColumns(own), stanza, true);
    if (outcome == WriteOutcome::Written) changeSourcetype(sourcetype);
    return outcome;
  }

  // Writes the sourcetype that was made for the file.
  WriteOutcome linkMade(const std::string& stanza) {
    const auto outcome = addLinked(current_, made_->settings, stanza, false);
    if (outcome == WriteOutcome::Written) {
      takeSettings(current_);
      result_.set(key::kSourcetype, current_);
    }
    return outcome;
  }

  // Adds a sourcetype with a link, unless another process has made one for these columns meanwhile.
  WriteOutcome addLinked(const std::string& sourcetype, PropertiesMap settings,
                         const std::string& stanza, bool overwriteAll) {
    const PropertiesMap link = linkBeside(settings, stanza);
    for (const auto& [name, entry] : link.entries()) settings.set(name, entry.value);
    const auto isFree = [&] {
      return !store_.stanzaExists(store_.getProps(), sourcetype) &&
             std::ranges::none_of(relatives(), [&](const auto& relative) {
               const Names linked = linkedTransforms(settingsOf(relative));
               return std::ranges::find(linked, stanza) != linked.end();
             });
    };
    return store_.writeStanzaIf(store_.getProps(), sourcetype, settings, overwriteAll, isFree);
  }

  // The settings that link a transform. What the key of the link names already stays.
  PropertiesMap linkBeside(const PropertiesMap& own, const std::string& stanza) {
    std::string links;
    for (const auto& link : splitLinks(own.get(key::kReportHeader))) {
      if (store_.stanzaExists(store_.getTransforms(), link)) links += link + ", ";
    }
    return {{key::kReportHeader, links + stanza}, {key::kKvMode, "none"}};
  }

  // All that a sourcetype says but for columns, which are other files'.
  PropertiesMap withoutColumns(PropertiesMap settings) {
    const PropertiesMap all = settings;
    for (const auto& [name, entry] : all.entries()) {
      if (!name.starts_with(key::kReportPrefix)) continue;
      const auto linked = splitLinks(entry.value);
      if (std::ranges::any_of(linked, [&](const auto& stanza) { return namesColumns(stanza); })) {
        settings.remove(name);
      }
    }
    return settings;
  }

  bool namesColumns(const std::string& stanza) {
    PropertiesMap settings;
    store_.getExactStanza(store_.getTransforms(), settings, stanza);
    return settings.tryGet(key::kFields).has_value();
  }

  void changeSourcetype(const std::string& sourcetype) {
    logInfo(kFlowLog, R"(AutoHeader: changing sourcetype from="%s" to="%s" for filename="%s")",
            current_, sourcetype, fileName_);
    if (made_ != nullptr) result_ = made_->input;
    takeSettings(sourcetype);
    result_.set(key::kSourcetype, sourcetype);
    result_.set(key::kIsValid, flagText(true));
  }

  // Puts the settings of a sourcetype in the place of those that came from configuration before.
  void takeSettings(const std::string& sourcetype) {
    Names configured;
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
  const NewSourcetype* made_;  // the sourcetype `current_`, when its stanza is not written yet
  std::string current_;        // the file's sourcetype so far
};

}  // namespace

std::string delimiterText(char delimiter) {
  return delimiter == '\t' ? R"(\t)" : std::string(1, delimiter);
}

PropertiesMap makeHeaderTransform(char delimiter, const std::vector<std::string>& names) {
  std::string fields;
  for (const auto& name : names) {
    if (!fields.empty()) fields += ", ";
    fields += inQuotes(name);
  }
  return {{key::kDelims, inQuotes(delimiterText(delimiter))}, {key::kFields, fields}};
}

bool applyHeaderTransform(std::string_view fileName, const PropertiesMap& transform,
                          PropertiesMap& result, ConfStore& store, const NewSourcetype* made) {
  return HeaderLinker(fileName, transform, result, store, made).run();
}

}  // namespace sourcetype
