#include "inspect/check/tree_check.h"

#include <fmt/core.h>

#include <algorithm>
#include <deque>
#include <string_view>
#include <tuple>
#include <utility>
#include <vector>

#include "classifier/header_transform.h"
#include "classifier/properties.h"
#include "classifier/type_name.h"
#include "conf/conf_file.h"
#include "conf/conf_store.h"
#include "conf/layers.h"
#include "conf/memory_storage.h"
#include "inspect/check/conf_check.h"
#include "inspect/check/conf_text.h"
#include "inspect/check/known_keys.h"
#include "inspect/check/rule_check.h"
#include "platform/file_system.h"
#include "platform/path_form.h"
#include "timestamp/datetime_file.h"
#include "util/text.h"

namespace sourcetype {
namespace {

using Layers = std::deque<ConfText>;  // the files of one configuration, the strongest first

// A setting and the file that has it.
struct Set {
  const ConfText::Setting* setting;
  const ConfText* text;
  std::size_t layer;
};

bool isLocal(const ConfText& text) {
  return text.path().parent_path().filename() == "local";
}

bool isDefaultOfApp(const ConfText& text) {
  const auto directory = text.path().parent_path();
  const auto app = directory.parent_path();
  return directory.filename() == "default" && app.parent_path().filename() == "apps" &&
         !isBundledApp(app);
}

// Some settings are there to be hidden: defaults by settings of administrators, defaults of the
// system by those of apps, and defaults that come with the tool by all others. It is a surprise if
// one administrator's setting hides another, or if two apps disagree.
bool isSurprise(const ConfText& hidden, const ConfText& by) {
  return isLocal(hidden) || (isDefaultOfApp(hidden) && isDefaultOfApp(by));
}

void checkHidden(const Layers& layers, Findings& findings) {
  std::vector<Set> sets;
  for (std::size_t i = 0; i < layers.size(); ++i) {
    for (const auto& setting : layers[i].settings()) sets.push_back({&setting, &layers[i], i});
  }
  const auto keyOf = [](const Set& set) { return std::tie(set.setting->stanza, set.setting->key); };
  // Within a file the last setting counts, so it comes first.
  std::ranges::sort(sets, [&](const Set& a, const Set& b) {
    return std::tuple(keyOf(a), a.layer, b.setting->line) <
           std::tuple(keyOf(b), b.layer, a.setting->line);
  });
  const Set* effective = nullptr;
  for (const auto& set : sets) {
    if (effective == nullptr || keyOf(*effective) != keyOf(set)) {
      effective = &set;
    } else if (set.layer != effective->layer && set.setting->value != effective->setting->value &&
               isSurprise(*set.text, *effective->text)) {
      findings.warn(
          set.text->at(set.setting->line),
          fmt::format("{} of [{}] has no effect: {} sets {}", set.setting->key, set.setting->stanza,
                      placeText(effective->text->at(effective->setting->line)),
                      quoted(effective->setting->value)));
    }
  }
}

void checkLinks(const ConfText& text, const ConfText::Setting& setting, ConfStore& store,
                Findings& findings) {
  for (const auto& stanza : splitLinks(setting.value)) {
    if (store.stanzaExists(store.getTransforms(), stanza)) continue;
    findings.error(text.at(setting.line),
                   fmt::format("{}: transforms.conf has no stanza [{}]", setting.key, stanza));
  }
}

void checkSourcetype(const ConfText& text, const ConfText::Setting& setting, ConfStore& store,
                     Findings& findings) {
  if (!sourcetypeProblem(setting.value).empty()) return;  // was found already
  if (equalsIgnoringCase(setting.value, kPreprocessSourcetype)) return;
  if (store.stanzaExists(store.getProps(), setting.value)) return;
  findings.warn(text.at(setting.line),
                fmt::format("the sourcetype {} has no stanza in props.conf: only [default] has "
                            "settings for it",
                            quoted(setting.value)));
}

void checkProps(const Layers& layers, ConfStore& store, Findings& findings) {
  StanzaPlaces places;
  for (const auto& text : layers) {
    for (const auto& header : text.headers()) {
      places.try_emplace(std::string(header.stanza), text.at(header.line));
    }
    for (const auto& setting : text.settings()) {
      const auto kind = kindOfKey("props", setting.key);
      if (kind == ValueKind::Links) checkLinks(text, setting, store, findings);
      if (kind == ValueKind::Sourcetype) checkSourcetype(text, setting, store, findings);
    }
  }
  checkRules(store, places, findings);
}

}  // namespace

std::size_t checkTree(const std::filesystem::path& root, Findings& findings,
                      const std::function<void(const std::string&)>& fail) {
  MemoryStorage edits;
  ConfStore store(root, edits);
  const auto formats = readDatetimeFile(root / "datetime.xml");
  const auto directories = layerDirectories(root);
  std::size_t files = 0;
  for (const auto conf : kCheckedConfs) {
    Layers layers;
    for (const auto& directory : directories) {
      const auto path = directory / (std::string(conf) + ".conf");
      FileBytes bytes = readFile(path, ConfFile::kMaxBytes);
      if (bytes.error) {
        if (!isMissingFile(bytes.error)) fail(pathToText(path) + ": " + bytes.error.message());
        continue;
      }
      ++files;
      checkConf(layers.emplace_back(path, std::move(bytes), findings), conf, formats.zones(),
                findings);
      if (conf == "sourcetypes") layers.clear();  // may be large, and models are not compared
    }
    if (conf != "inputs") checkHidden(layers, findings);
    if (conf == "props") checkProps(layers, store, findings);
  }
  return files;
}

}  // namespace sourcetype
