// The flow of one file: from the lookup of its configuration to the result.
#pragma once

#include <filesystem>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "classifier/classifier_context.h"
#include "classifier/flow_observer.h"
#include "classifier/header_detector.h"
#include "classifier/header_linker.h"
#include "classifier/properties.h"
#include "classifier/rules.h"
#include "classifier/sample.h"
#include "classifier/type_request.h"
#include "conf/conf_store.h"
#include "conf/properties_map.h"

namespace sourcetype {

enum class InvalidCause { FailedStat, NotRegularFile, CannotRead, Binary };

// Has what all stages of one classification need.
class FileClassifier {
 public:
  // All three must outlive the object.
  FileClassifier(ClassifierContext& context, PropertiesMap& result, const TypeRequest& request);

  // Fills the result. Throws nothing: an exception of a lower layer ends its stage and is logged.
  void classify();

 private:
  enum class Learning { No, WhileFewModels, Yes };

  // The stages, in this order. A later one runs also when an earlier one has thrown.
  void findType();
  static HeaderTest headerTestOf(const PropertiesMap& settings);
  void detectHeaderIfAsked();
  void keepWhatIsNew();

  template <class Stage>
  void run(Stage stage);
  void lookUpConfiguredProps();
  std::string usableSourcetype(const PropertiesMap& properties,
                               std::string_view key = key::kSourcetype) const;
  bool isSettledUnread() const;
  std::optional<InvalidCause> examinePath() const;
  bool areLinesNeeded() const;
  bool takeSample(Keep keep);
  void judgeLines();
  bool isBinarySample() const;
  std::optional<std::string> findRule(RuleTiming timing);
  void finishWith(std::string_view sourcetype, Stage stage);
  void finishWithRule(std::string_view sourcetype);
  void finishTooSmall();
  bool matchModels();
  bool isLearned();
  void createSourcetype();
  bool addUnderFreeName();
  void learnNewSourcetype();
  void proposeEventBreaking(const std::string& sourcetype);
  void proposeTimestampSettings(const std::string& sourcetype);
  void markInvalid(InvalidCause cause);

  ClassifierContext& context_;
  ConfStore& store_;
  PropertiesMap& result_;
  const TypeRequest& request_;
  const std::string fileName_;

  std::string sourcetype_;     // empty until it is known
  PropertiesMap sampleProps_;  // "CHARSET", if it is configured
  bool learningAllowed_;
  bool headerWanted_ = false;
  HeaderTest headerTest_ = HeaderTest::Delimiters;  // when headerWanted_ decides
  bool noBinaryCheck_ = false;
  std::optional<Sample> sample_;
  MatchBudget budget_{kMaxFileCost};            // for stanza patterns and rules
  std::optional<NewSourcetype> newSourcetype_;  // until its stanza is written
  bool madeSourcetype_ = false;
  Stage stage_ = Stage::Unrecognised;
  bool singleLine_ = true;     // each line of the sample is an event
  bool modelMatched_ = false;  // the sourcetype is that of a learned model
  Learning learning_ = Learning::No;
};

// Adds the settings of a sourcetype's stanza to a result. Sets "sourcetype" and, unless it is
// there, "is_valid": "False" for a result with an "invalid_cause".
void getSourcetypeSettings(ClassifierContext& context, PropertiesMap& result,
                           std::string_view sourcetype);

// The names of the stanzas for a file: its source stanza and, unless it is empty, its sourcetype's.
std::vector<std::string> sourceStanzas(const std::filesystem::path& path,
                                       std::string_view sourcetype = {});

}  // namespace sourcetype
