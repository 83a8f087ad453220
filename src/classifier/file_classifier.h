// The road of one file from first lookup to settled result.
#pragma once

#include <optional>
#include <string>
#include <string_view>

#include "classifier/file_classifier_manager.h"
#include "classifier/header_linker.h"
#include "classifier/properties.h"
#include "classifier/rules.h"
#include "classifier/sample.h"

namespace sourcetype {

// Holds what the whole road needs, for one call. Lower layers may throw through it.
class FileClassifier {
 public:
  // All three must outlive the object.
  FileClassifier(FileClassifierManager& manager, PropertiesMap& result, const TypeRequest& request);

  // The three stages, in this order; the later ones are run also when an earlier one has thrown.

  // Fills the result up to the sourcetype's settings.
  void runFlow();
  // Looks for a header line where configuration asks for it.
  void detectHeaderIfAsked();
  // Writes a new sourcetype, and learns the file, under the sourcetype that the header left.
  void keepWhatIsNew();

  // True when the file may have got a sourcetype that did not exist before.
  bool madeSourcetype() const { return madeSourcetype_; }

 private:
  enum class Learning { No, WhileFewModels, Yes };

  void lookUpConfiguredProps();
  std::string usableSourcetype(const PropertiesMap& properties,
                               std::string_view key = key::kSourcetype) const;
  bool isSettledUnread() const;
  std::optional<InvalidCause> examinePath() const;
  bool areLinesNeeded() const;
  bool takeSample(Keep keep);
  bool isBinarySample() const;
  std::optional<std::string> findRule(RuleTiming timing);
  void finishWith(std::string_view sourcetype);
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

  FileClassifierManager& manager_;
  ConfStore& store_;
  PropertiesMap& result_;
  const TypeRequest& request_;
  const std::string fileName_;

  std::string sourcetype_;     // empty until something settles it
  PropertiesMap sampleProps_;  // how to read the file: "CHARSET" where configuration says it
  bool learningAllowed_;
  bool headerWanted_ = false;
  bool noBinaryCheck_ = false;
  std::optional<Sample> sample_;
  MatchBudget budget_{kMaxFileCost};            // of stanza patterns and rules
  std::optional<NewSourcetype> newSourcetype_;  // until its stanza is written
  bool madeSourcetype_ = false;
  bool singleLine_ = true;     // each line of the sample is an event
  bool modelMatched_ = false;  // a learned model gave the sourcetype
  Learning learning_ = Learning::No;
};

}  // namespace sourcetype
