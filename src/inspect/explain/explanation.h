// What the flow of one file saw, kept for the report of it.
#pragma once

#include <cstdint>
#include <filesystem>
#include <optional>
#include <string>
#include <vector>

#include "classifier/type_request.h"
#include "inspect/answer.h"
#include "inspect/changes.h"
#include "inspect/setting_sources.h"
#include "inspect/trial_run.h"

namespace sourcetype {

// Collects the evidence.
class Explanation : public Answer {
 public:
  struct SampleFacts {
    std::size_t lines = 0;
    std::uint64_t bytes = 0;
    double invalidPercent = 0;  // share of the bytes that could not be converted
    std::string mark;           // the charset of the byte-order mark; empty without one
  };

  const PropertiesMap& configuredSettings() const { return configured_; }
  const std::optional<SampleFacts>& sample() const { return sample_; }
  // Whether each line is an event; nothing if the flow ended before it asked.
  std::optional<bool> linesAreEvents() const { return linesAreEvents_; }
  // First the rule that decided, if one did; then at most five others that came near, the nearest
  // first.
  std::vector<RuleEvidence> nearRules() const;
  std::size_t triedRules() const { return triedRules_; }
  const std::vector<ModelEvidence>& models() const { return models_; }
  const std::vector<LineStartEvidence>& lineStarts() const { return lineStarts_; }
  const std::optional<TimestampEvidence>& timestamps() const { return timestamps_; }
  const std::optional<HeaderEvidence>& header() const { return header_; }

  bool wantsLosers() const override { return true; }
  void configured(const PropertiesMap& settings, std::string_view sourcetype) override;
  void sampled(const Sample& sample) override;
  void judgedLines(bool areEvents) override { linesAreEvents_ = areEvents; }
  void testedRule(const RuleEvidence& rule) override;
  void measuredModels(std::span<const ModelEvidence> models) override;
  void ratedLineStarts(std::span<const LineStartEvidence> candidates) override;
  void locatedTimestamps(const TimestampEvidence& evidence) override { timestamps_ = evidence; }
  void soughtHeader(const HeaderEvidence& evidence) override { header_ = evidence; }

 private:
  PropertiesMap configured_;
  std::optional<SampleFacts> sample_;
  std::optional<bool> linesAreEvents_;
  std::vector<RuleEvidence> rules_;
  std::size_t triedRules_ = 0;
  std::vector<ModelEvidence> models_;
  std::vector<LineStartEvidence> lineStarts_;
  std::optional<TimestampEvidence> timestamps_;
  std::optional<HeaderEvidence> header_;
};

// Where a model was learned.
struct ModelOrigin {
  std::string file;
  std::string day;  // "2026-11-22"; empty if its stanza does not tell
};

// All that is reported of a file. Refers to the evidence, which has to outlive it.
struct ExplainedFile {
  std::string file;
  std::string sourcetype;
  std::string invalidCause;  // empty for a valid file
  const Explanation& evidence;
  std::vector<ModelOrigin> origins;  // of evidence.models(), in their order
  std::vector<SourcedSetting> configured;
  std::vector<SourcedSetting> settings;
  std::vector<FileChange> changes;
  // For a file of too few lines: the rule that would decide with more lines like these.
  std::optional<RuleEvidence> withMoreLines;
};

// Runs the flow of the tool for a file, in memory. `word` is what the command line says. Throws
// InspectError if the file cannot be read.
ExplainedFile explainFile(const std::filesystem::path& etc, const std::string& word,
                          Explanation& evidence);
// The same after `run` has classified the file of `request` with `evidence` as its observer.
ExplainedFile explainResult(TrialRun& run, const std::string& name, const TypeRequest& request,
                            PropertiesMap result, const Explanation& evidence);

}  // namespace sourcetype
