// The files of one configuration ("props") in all layers, and where each stanza occurs in them.
#pragma once

#include <cstdint>
#include <deque>
#include <filesystem>
#include <memory>
#include <span>
#include <string>
#include <string_view>
#include <system_error>
#include <utility>
#include <vector>

#include "conf/conf_file.h"
#include "conf/conf_storage.h"
#include "conf/logical_lines.h"
#include "platform/file_identity.h"

namespace sourcetype {

// Reads the files at the first access. Occurrences live until forget() or a change of a file.
class ConfIndex {
 public:
  // A stanza in one of the files.
  struct Occurrence {
    const ConfFile::Stanza* stanza;
    const ConfFile* file;
  };
  // In ascending byte order of the names. Occurrences of the same name: the strongest layer first.
  using Occurrences = std::span<const Occurrence>;

  // The configuration's file in one layer.
  struct Layer {
    std::filesystem::path path;                   // of the file
    std::unique_ptr<ConfFile> file;               // null when `error` is set
    std::deque<std::unique_ptr<ConfFile>> added;  // stanzas appended after the file was read
    std::error_code error;                        // why the file could not be read
    FileIdentity identity;                        // of the version in `file` and `added`
  };

  // `root` is the configuration tree, `fileName` the name of the file in each layer ("props.conf").
  ConfIndex(std::filesystem::path root, std::string fileName, ConfStorage& storage)
      : root_(std::move(root)), fileName_(std::move(fileName)), storage_(storage) {}

  Occurrences all();
  Occurrences find(std::string_view stanza);
  // All occurrences whose names begin with `prefix`.
  Occurrences findPrefix(std::string_view prefix);

  // A number that grows when the names of pattern stanzas may have changed; at least 1 once the
  // files were read.
  std::uint64_t patternVersion() const { return patternVersion_; }

  // Frees everything that was read. The next access reads the files again.
  void forget();

  // The functions below are for writers.

  // The layer whose file is `path`, in system/local or in the local layer of a listed app.
  Layer& layerOf(const std::filesystem::path& path);
  bool isStrongest(const Layer& layer) const { return &layer == &layers_.front(); }
  // Reads the file of a layer again.
  void reread(Layer& layer);
  // Reads the file again if another process has changed it, or if it could not be read before.
  void refresh(Layer& layer);
  // Records that `file` has replaced the file of the layer.
  void setFile(Layer& layer, std::unique_ptr<ConfFile> file);
  // Records that the stanza in `added` was appended to the file of the strongest layer, which did
  // not have a stanza of this name.
  void addStanza(Layer& strongest, std::unique_ptr<ConfFile> added);

 private:
  void load();
  void readFile(Layer& layer, Report report);
  void indexStanzas();

  std::filesystem::path root_;
  std::string fileName_;
  ConfStorage& storage_;
  bool isLoaded_ = false;
  std::vector<Layer> layers_;        // strongest first
  std::vector<Occurrence> stanzas_;  // ordered as Occurrences
  std::uint64_t patternVersion_ = 0;
};

}  // namespace sourcetype
