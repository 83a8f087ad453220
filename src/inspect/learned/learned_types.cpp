#include "inspect/learned/learned_types.h"

#include <algorithm>
#include <system_error>

#include "classifier/header_transform.h"
#include "classifier/models/model.h"
#include "classifier/properties.h"
#include "classifier/type_name.h"
#include "conf/stanza_kinds.h"
#include "platform/file_system.h"
#include "platform/path_form.h"
#include "util/text.h"

namespace sourcetype {
namespace {

ConfFile readFileOf(const std::filesystem::path& path) {
  FileBytes bytes = readConfFile(path);
  if (bytes.error && !isMissingFile(bytes.error)) {
    throw std::system_error(bytes.error, "cannot read " + pathToText(path));
  }
  return {path, std::move(bytes), Report::No};
}

// True for a stanza that the program wrote or added to. The program marks a new sourcetype as
// valid, adds columns for a file with a header, and names a small file's stanza "<name>-too_small".
bool isOfProgram(const ConfFile::Stanza& stanza) {
  return stanza.find(key::kIsValid) != nullptr || stanza.find(key::kReportHeader) != nullptr ||
         stanza.name.ends_with("-" + std::string(kTooSmallSourcetype));
}

LearnedModel modelOf(const ConfFile::Stanza& stanza) {
  LearnedModel model{.stanza = std::string(stanza.name),
                     .source = {},
                     .time = timeOfModel(stanza.name),
                     .maxDist = {}};
  for (const auto& setting : stanza.settings) {
    if (setting.key() == kSourceKey) {
      model.source = setting.value();
    } else if (setting.key() == kMaxDistKey) {
      model.maxDist = setting.value();
    } else if (!setting.key().starts_with('_') && !setting.key().starts_with(kShapePrefix)) {
      ++model.words;
    }
  }
  return model;
}

}  // namespace

std::string timeOfModel(std::string_view stanza) {
  constexpr std::string_view kForm = "dddd-dd-ddTdd:dd:ddZ";
  const auto end = stanza.rfind('_');  // before the number
  if (end == std::string_view::npos || end < kForm.size()) return {};
  const auto time = stanza.substr(end - kForm.size(), kForm.size());
  const bool isTime = std::ranges::equal(
      time, kForm, [](char c, char form) { return form == 'd' ? isAsciiDigit(c) : c == form; });
  return isTime ? std::string(time) : std::string();
}

LearnedTypes::LearnedTypes(ConfStore& store)
    : models_(readFileOf(store.learnedFile(store.getConf("sourcetypes")))),
      props_(readFileOf(store.localFile(store.getProps()))),
      transforms_(readFileOf(store.localFile(store.getTransforms()))) {
  readModels();
  readProps();
}

void LearnedTypes::readModels() {
  for (const auto& stanza : models_.stanzas()) {
    const auto* const sourcetype = stanza.find(kSourcetypeKey);
    if (sourcetype == nullptr || stanza.name == kDefaultStanza) continue;
    types_[std::string(sourcetype->value())].models.push_back(modelOf(stanza));
  }
}

void LearnedTypes::readProps() {
  for (const auto& stanza : props_.stanzas()) {
    if (isSpecialStanza(stanza.name)) continue;
    const bool isProposed = isOfProgram(stanza);
    const std::string name(stanza.name);
    if (!isProposed && !types_.contains(name)) continue;
    auto& type = types_[name];
    type.hasStanza = true;
    type.isProposed = isProposed;
    const auto* const columns = stanza.find(key::kReportHeader);
    if (columns == nullptr) continue;
    for (auto& transform : splitLinks(columns->value())) {
      if (transforms_.find(transform) != nullptr) type.transforms.push_back(std::move(transform));
    }
  }
}

std::span<const ConfFile::Setting> settingsOf(const ConfFile& file, std::string_view stanza) {
  const auto* const found = file.find(stanza);
  return found == nullptr ? std::span<const ConfFile::Setting>() : found->settings;
}

}  // namespace sourcetype
