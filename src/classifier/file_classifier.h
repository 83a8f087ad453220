// The road of one file from first lookup to settled result.
#pragma once

#include <optional>
#include <string>
#include <string_view>

#include "classifier/file_classifier_manager.h"
#include "classifier/rules.h"
#include "classifier/sampling/sample.h"

namespace sourcetype {

// Holds what the whole road needs, for one call. Lower layers may throw through it.
class FileClassifier {
 public:
  // All three must outlive the object.
  FileClassifier(FileClassifierManager& manager, PropertiesMap& result, const TypeRequest& request);

  // Fills the result up to the sourcetype's settings.
  void runFlow();

  // True when the file got a sourcetype that did not exist before.
  bool madeSourcetype() const { return madeSourcetype_; }

  // Looks for a header line where configuration asks for it. Never throws.
  void detectHeaderIfAsked();

 private:
  void lookUpConfiguredProps();
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
  void createSourcetype();
  bool addUnderFreeName(std::string& sourcetype);
  void proposeEventBreaking(const std::string& sourcetype);
  void proposeTimestampSettings(const std::string& sourcetype);
  void markInvalid(InvalidCause cause);

  FileClassifierManager& manager_;
  ConfStore& store_;
  PropertiesMap& result_;
  const TypeRequest& request_;
  const std::string fileName_;

  std::string sourcetype_;   // empty until something settles it
  PropertiesMap fileProps_;  // what configuration says of the file and its sourcetype
  bool learningAllowed_;
  bool headerWanted_ = false;
  bool noBinaryCheck_ = false;
  std::optional<Sample> sample_;
  MatchBudget ruleBudget_{kMaxRuleCost};
  bool madeSourcetype_ = false;
  bool singleLine_ = true;  // each line of the sample is an event
};

}  // namespace sourcetype
