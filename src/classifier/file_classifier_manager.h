// The one object through which sourcetypes are found and learned.
#pragma once

#include <cstdint>
#include <filesystem>
#include <optional>
#include <string>
#include <string_view>

#include "classifier/classifier_settings.h"
#include "classifier/expression_check.h"
#include "classifier/models/model_retraining.h"
#include "classifier/models/model_store.h"
#include "classifier/rules.h"
#include "conf/conf_store.h"
#include "conf/properties_map.h"
#include "timestamp/timestamp_formats.h"

namespace sourcetype {

// The line limit of everything but quick looks; the bytes read are at most kBytesPerLine times
// that.
inline constexpr std::uint64_t kDefaultMaxLines = 20000;

enum class InvalidCause { FailedStat, NotRegularFile, CannotRead, Binary };

// What is asked about one file.
struct TypeRequest {
  std::filesystem::path path;
  bool learningAllowed = true;  // may create a sourcetype, learn it and look for a header line
  std::optional<std::string> sampleText = {};  // stands for the file, which is then not read
  std::uint64_t maxLines = kDefaultMaxLines;
};

// Owns what lives for the run. Per-file problems are never thrown: they are in the result and in
// the log. Keeps no state between files but what it wrote.
class FileClassifierManager {
 public:
  // `store` must outlive the manager. Nothing is read until a file needs it.
  explicit FileClassifierManager(ConfStore& store);

  // Finds the sourcetype of a file. `result` may hold input: "sourcetype" or "given_type" settles
  // the sourcetype. On return it holds "sourcetype", "is_valid", "invalid_cause" for an invalid
  // file, and the settings of the sourcetype; keys that were there before keep their values.
  void findTypeForFile(PropertiesMap& result, const TypeRequest& request);

  // Learns the text of a file under a sourcetype's name, as one file of `retraining` if there is
  // one. A file that cannot be read is logged, and so is a sourcetype that could not be stored,
  // under which nothing is learned.
  void learnFile(const std::filesystem::path& path, std::string_view sourcetype,
                 ModelRetraining* retraining = nullptr, std::uint64_t maxLines = kDefaultMaxLines);

  // Learns the files of a training file in the place of all that was learned before: each stanza is
  // a sourcetype, the value of each key that does not begin with "_" one of its files. The old
  // models are set aside when the new ones are stored. Where a listed file is there but cannot be
  // read, or a model cannot be stored, only those go whose file was learned again. A training file
  // that is there but cannot be read changes nothing; a missing one, which is logged, lists
  // nothing.
  void trainFromConf(const std::filesystem::path& trainingFile);

  // Adds the settings of a sourcetype's stanza; sets "sourcetype" and, unless it is there,
  // "is_valid": "False" for a result with an "invalid_cause".
  void getSourcetypeSettings(PropertiesMap& result, std::string_view sourcetype);

  // Makes `result` that of an invalid file, and logs it.
  static void markInvalid(PropertiesMap& result, const std::filesystem::path& path,
                          InvalidCause cause);

  ConfStore& store() { return store_; }
  Rules& rules() { return rules_; }
  ModelStore& models() { return models_; }
  // Read when they are first asked for.
  const TimestampFormats& timestampFormats();

 private:
  ConfStore& store_;
  ClassifierSettings settings_;
  Rules rules_;
  ExpressionCheck expressionCheck_;
  ModelStore models_;
  std::optional<TimestampFormats> timestampFormats_;
};

// The list of stanzas for a file: its source stanza and, unless it is empty, its sourcetype's.
std::vector<std::string> sourceStanzas(const std::filesystem::path& path,
                                       std::string_view sourcetype = {});

}  // namespace sourcetype
