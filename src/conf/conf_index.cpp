#include "conf/conf_index.h"

#include <algorithm>
#include <utility>

#include "conf/layers.h"
#include "conf/logical_lines.h"
#include "conf/stanza_pattern.h"
#include "conf/store_log.h"
#include "platform/path_form.h"
#include "util/logging.h"

namespace sourcetype {
namespace {

std::string_view nameOf(const ConfIndex::Occurrence& occurrence) {
  return occurrence.stanza->name;
}

}  // namespace

ConfIndex::Occurrences ConfIndex::all() {
  load();
  return stanzas_;
}

ConfIndex::Occurrences ConfIndex::find(std::string_view stanza) {
  load();
  return {std::ranges::lower_bound(stanzas_, stanza, {}, nameOf),
          std::ranges::upper_bound(stanzas_, stanza, {}, nameOf)};
}

ConfIndex::Occurrences ConfIndex::findPrefix(std::string_view prefix) {
  load();
  const auto hasPrefix = [&](const auto& found) { return nameOf(found).starts_with(prefix); };
  const auto first = std::ranges::lower_bound(stanzas_, prefix, {}, nameOf);
  return {first, std::partition_point(first, stanzas_.end(), hasPrefix)};
}

void ConfIndex::forget() {
  isLoaded_ = false;
  stanzas_.clear();
  layers_.clear();
}

void ConfIndex::load() {
  if (isLoaded_) return;
  layers_.clear();
  for (const auto& directory : layerDirectories(root_)) {
    auto& layer = layers_.emplace_back();
    layer.path = directory / fileName_;
    readFile(layer, Report::Yes);
  }
  indexStanzas();
  isLoaded_ = true;
}

void ConfIndex::readFile(Layer& layer, Report report) {
  layer.identity = storage_.identity(layer.path);
  layer.added.clear();
  layer.file.reset();  // before the read: two versions of a large file may not fit into memory
  FileBytes bytes = storage_.read(layer.path);
  const auto error = layer.error = bytes.error;
  if (!error) {
    layer.file = std::make_unique<ConfFile>(layer.path, std::move(bytes), report);
  } else if (isEncodingError(error)) {
    if (report == Report::No) return;
    logError(kStoreLog, "Cannot use %s: %m", pathToText(layer.path), error);
  } else if (!isMissingFile(error)) {
    logWarn(kStoreLog, "Failed to open: %s: %m", pathToText(layer.path), error);
  }
}

void ConfIndex::indexStanzas() {
  stanzas_.clear();
  ++patternVersion_;
  const auto add = [&](const ConfFile& file) {
    for (const auto& stanza : file.stanzas()) stanzas_.push_back({&stanza, &file});
  };
  for (const auto& layer : layers_) {
    if (layer.file != nullptr) add(*layer.file);
    for (const auto& added : layer.added) add(*added);
  }
  std::ranges::stable_sort(stanzas_, {}, nameOf);
}

ConfIndex::Layer& ConfIndex::layerOf(const std::filesystem::path& path) {
  load();
  return *std::ranges::find(layers_, path, &Layer::path);
}

void ConfIndex::reread(Layer& layer) {
  readFile(layer, Report::No);
  indexStanzas();
}

void ConfIndex::refresh(Layer& layer) {
  const bool isKnown = !layer.error || isMissingFile(layer.error);
  if (!isKnown || storage_.identity(layer.path) != layer.identity) reread(layer);
}

void ConfIndex::setFile(Layer& layer, std::unique_ptr<ConfFile> file) {
  layer.identity = storage_.identity(layer.path);
  layer.added.clear();
  layer.file = std::move(file);
  layer.error = {};
  indexStanzas();
}

void ConfIndex::addStanza(Layer& strongest, std::unique_ptr<ConfFile> added) {
  const auto& stanza = added->stanzas().front();
  stanzas_.insert(std::ranges::lower_bound(stanzas_, stanza.name, {}, nameOf),
                  {&stanza, added.get()});
  if (isStanzaPattern(stanza.name)) ++patternVersion_;
  strongest.added.push_back(std::move(added));
}

}  // namespace sourcetype
