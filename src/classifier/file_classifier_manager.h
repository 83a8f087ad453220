// Finds and learns the sourcetypes of files:
//
//   ConfStore store("/opt/server/etc");
//   FileClassifierManager manager(store);
//   PropertiesMap result;
//   manager.findTypeForFile(result, {.path = "/var/log/messages"});
//   // result.get("sourcetype") is "syslog"
#pragma once

#include <cstdint>
#include <filesystem>
#include <string_view>

#include "classifier/classifier_context.h"
#include "classifier/type_request.h"
#include "conf/conf_store.h"
#include "conf/properties_map.h"

namespace sourcetype {

class ModelRetraining;

// Owns what serves the whole run. Problems of a file are never thrown: they are in the result and
// in the log.
class FileClassifierManager {
 public:
  // `store` must outlive the manager. Nothing is read until a file needs it.
  explicit FileClassifierManager(ConfStore& store) : context_(store) {}

  // Finds the sourcetype of a file. `result` may contain input: "sourcetype" or "given_type" is
  // then the answer. Adds "sourcetype", "is_valid", "invalid_cause" for an invalid file, and the
  // settings of the sourcetype; keys that were there before keep their values.
  void findTypeForFile(PropertiesMap& result, const TypeRequest& request);

  // Learns the content of a file under the name of a sourcetype, as one file of `retraining` if
  // that is not null. Logs a file that cannot be read, and a sourcetype that cannot be stored;
  // nothing is then learned.
  void learnFile(const std::filesystem::path& path, std::string_view sourcetype,
                 ModelRetraining* retraining = nullptr, std::uint64_t maxLines = kDefaultMaxLines);

  // Replaces all learned models by those of the files of a training file: each stanza is a
  // sourcetype, the value of each key that does not begin with "_" one of its files. The old models
  // are removed after the new ones are stored. If a listed file exists but cannot be read, or a
  // model cannot be stored, only the old models of files that were learned again are removed.
  // A training file that exists but cannot be read changes nothing; a missing one is logged and
  // lists no files.
  void trainFromConf(const std::filesystem::path& trainingFile);

  // Adds the settings of a sourcetype's stanza. Sets "sourcetype" and, unless it is there,
  // "is_valid": "False" for a result with an "invalid_cause".
  void getSourcetypeSettings(PropertiesMap& result, std::string_view sourcetype);

 private:
  ClassifierContext context_;
};

}  // namespace sourcetype
