// What sourcetype(1) has learned and proposed: models, the settings of new sourcetypes, and the
// columns of delimited files.
//
//   const LearnedTypes learned(store);
//   for (const auto& [name, type] : learned.types()) show(name, type.models);
#pragma once

#include <cstddef>
#include <filesystem>
#include <map>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "conf/conf_file.h"
#include "conf/conf_store.h"

namespace sourcetype {

struct LearnedModel {
  std::string stanza;
  std::string source;   // the log that was learned
  std::string time;     // "2026-01-02T03:04:05Z"; empty if the stanza's name has none
  std::string maxDist;  // empty if the stanza has none
  std::size_t words = 0;
};

struct LearnedType {
  std::vector<LearnedModel> models;     // in byte order of their stanzas
  bool hasStanza = false;               // in the props.conf of system/local
  bool isProposed = false;              // the program made that stanza, or added columns to it
  std::vector<std::string> transforms;  // of the columns, in the transforms.conf of system/local
};

// The time in the name of a model's stanza; empty if there is none.
std::string timeOfModel(std::string_view stanza);

// Reads the files when it is made. Throws std::system_error for one that cannot be read.
class LearnedTypes {
 public:
  using Types = std::map<std::string, LearnedType, std::less<>>;

  explicit LearnedTypes(ConfStore& store);

  // By name: the sourcetypes that have a model or a proposed stanza.
  const Types& types() const { return types_; }

  // The files of models, settings and columns.
  const ConfFile& models() const { return models_; }
  const ConfFile& props() const { return props_; }
  const ConfFile& transforms() const { return transforms_; }

 private:
  void readModels();
  void readProps();

  ConfFile models_;
  ConfFile props_;
  ConfFile transforms_;
  Types types_;
};

// The settings of a stanza of `file`; none if the file does not have it.
std::span<const ConfFile::Setting> settingsOf(const ConfFile& file, std::string_view stanza);

}  // namespace sourcetype
