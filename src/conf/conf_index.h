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
#include <vector>

#include "conf/conf_file.h"
#include "platform/file_system.h"

namespace sourcetype {

// Reads the files when they are first asked for. Whatever changes a file or forget() ends the life
// of occurrences.
class ConfIndex {
 public:
  // A stanza in one of the files.
  struct Occurrence {
    const ConfFile::Stanza* stanza;
    const ConfFile* file;
  };
  // In ascending byte order of the names; of one name, the strongest layer first.
  using Occurrences = std::span<const Occurrence>;

  // The configuration's file in one layer.
  struct Layer {
    std::filesystem::path path;                   // of the file
    std::unique_ptr<ConfFile> file;               // empty where there is none
    std::deque<std::unique_ptr<ConfFile>> added;  // what was appended since it was read
    std::error_code error;                        // why it has no file
    FileIdentity identity;                        // of what is known
  };

  // `root` is the configuration tree, `fileName` the name of its file in each layer.
  ConfIndex(std::filesystem::path root, std::string fileName)
      : root_(std::move(root)), fileName_(std::move(fileName)) {}

  Occurrences all();
  Occurrences find(std::string_view stanza);
  // Those whose names begin with `prefix`.
  Occurrences findPrefix(std::string_view prefix);

  // Another number whenever the names of pattern stanzas may have changed; never 0 after a read.
  std::uint64_t patternVersion() const { return patternVersion_; }

  // The next access reads the files again.
  void forget();

  // For writes. The layer that has the file `path`, which is one that a write may create.
  Layer& layerOf(const std::filesystem::path& path);
  bool isStrongest(const Layer& layer) const { return &layer == &layers_.front(); }
  // Reads the file of a layer again.
  void reread(Layer& layer);
  // The same if somebody else has written to it, or it could not be read.
  void refresh(Layer& layer);
  // The layer's file was replaced by `file`.
  void setFile(Layer& layer, std::unique_ptr<ConfFile> file);
  // `added`, a stanza, was appended to the file of the strongest layer, which did not have it.
  void addStanza(Layer& strongest, std::unique_ptr<ConfFile> added);

 private:
  void load();
  void indexStanzas();

  std::filesystem::path root_;
  std::string fileName_;
  bool isLoaded_ = false;
  std::vector<Layer> layers_;        // strongest first
  std::vector<Occurrence> stanzas_;  // ordered as Occurrences
  std::uint64_t patternVersion_ = 0;
};

}  // namespace sourcetype
