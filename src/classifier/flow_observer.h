// Tells an observer what the flow of one file has seen, and what decided. Programs that explain an
// answer derive from FlowObserver:
//
//   class Explanation : public FlowObserver { void ended(Stage stage) override; … };
//   Explanation explanation;
//   manager.findTypeForFile(result, {.path = path, .observer = &explanation});
//
// Without an observer nothing is collected.
#pragma once

#include <cstddef>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "conf/properties_map.h"

namespace sourcetype {

class Sample;

// What decided the sourcetype.
enum class Stage {
  Configured,     // the input, or configuration for the path
  Invalid,        // the file cannot be read, or is no text
  TooSmall,       // too few lines
  Rule,           // a rule that is tried before the models
  Model,          // the closest learned model
  DelayedRule,    // a rule that is tried after the models
  NewSourcetype,  // nothing: a new sourcetype is proposed
  Unrecognised,   // nothing, and learning is not allowed
};

// The name of a stage as programs print it: "configured", "too_small" and so on.
std::string_view stageName(Stage stage);

// A test of a rule, and what was counted for it.
struct TestEvidence {
  std::string key;  // "MORE_THAN_80"
  std::string expression;
  bool isMinimum = true;  // at least `needed` percent have to match; false: at most
  int needed = 0;         // percent
  double counted = 0;     // percent of the tested lines
  bool isCounted = true;  // false if the budget for evidence was spent before
  bool passes = false;
};

struct RuleEvidence {
  std::string stanza;
  std::string sourcetype;
  bool isDelayed = false;
  bool decided = false;   // this rule gave the sourcetype
  bool wasTried = false;  // before the flow had an answer
  std::vector<TestEvidence> tests;
};

// A learned model, and its distance from the file.
struct ModelEvidence {
  struct Word {
    std::string text;
    double weight = 0;  // its share of what the model and the file have in common, from 0 to 1
  };

  std::string stanza;
  std::string sourcetype;
  double distance = 0;
  double wordDistance = 0;     // the part of the distance that words make up
  double maxWordDistance = 0;  // the limit of the model on that part
  std::vector<Word> words;     // those that weigh most, the first most
  bool isAccepted = false;     // close enough to give the sourcetype
};

// An expression that was proposed for the first line of events.
struct LineStartEvidence {
  std::string expression;
  double count = 0;   // lines that it matches
  double spread = 0;  // standard deviation of the gaps between them
  double score = 0;
  bool isChosen = false;
};

// Where the timestamps of a new sourcetype were found.
struct TimestampEvidence {
  struct Prefix {
    std::string expression;  // for the text before the timestamp
    std::size_t lines = 0;
  };

  std::size_t lines = 0;  // that were examined
  std::size_t linesWithStamp = 0;
  double meanStart = 0;  // bytes from the start of the line; 0 without stamps
  double meanEnd = 0;
  std::vector<Prefix> prefixes;  // the most frequent first
};

// A delimiter that was tried for a header line.
struct DelimiterEvidence {
  char delimiter = ',';
  double score = 0;  // from 0 to 1
  bool isChosen = false;
};

struct HeaderEvidence {
  bool byNames = false;  // cells were compared; else delimiters were counted
  double threshold = 0;  // of the score, where delimiters were counted
  std::vector<DelimiterEvidence> delimiters;
  std::optional<std::string> line;  // the header line, if one was found
};

class FlowObserver {
 public:
  FlowObserver() = default;
  FlowObserver(const FlowObserver&) = delete;
  FlowObserver& operator=(const FlowObserver&) = delete;
  virtual ~FlowObserver() = default;

  // True if the observer is to be told all rules and models. False: only those that decide, which
  // costs little.
  virtual bool wantsLosers() const { return false; }

  // The settings of the stanzas that configuration applies to the path, and the sourcetype that is
  // known from them or from the input; empty if it is not known.
  virtual void configured(const PropertiesMap& /*settings*/, std::string_view /*sourcetype*/) {}
  virtual void sampled(const Sample& /*sample*/) {}
  // Whether each line of the sample is an event.
  virtual void judgedLines(bool /*areEvents*/) {}
  virtual void testedRule(const RuleEvidence& /*rule*/) {}
  // In ascending order of the distances.
  virtual void measuredModels(std::span<const ModelEvidence> /*models*/) {}
  virtual void ratedLineStarts(std::span<const LineStartEvidence> /*candidates*/) {}
  virtual void locatedTimestamps(const TimestampEvidence& /*evidence*/) {}
  virtual void soughtHeader(const HeaderEvidence& /*evidence*/) {}
  // The last call for a file.
  virtual void ended(Stage /*stage*/) {}
};

}  // namespace sourcetype
