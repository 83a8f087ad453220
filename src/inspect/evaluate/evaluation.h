// Measures how well files are recognised: learns some of the files whose sourcetypes are known, in
// memory, and classifies the others.
//
//   const auto labelled = readLabelledFiles(words);
//   const Evaluation evaluation = evaluate(etc, labelled.files, {.folds = 5});
//   print(evaluation.counts.right, evaluation.table);
#pragma once

#include <cstddef>
#include <filesystem>
#include <functional>
#include <optional>
#include <span>
#include <string>
#include <vector>

#include "classifier/flow_observer.h"
#include "inspect/evaluate/confusion_table.h"
#include "inspect/evaluate/labelled_files.h"

namespace sourcetype {

inline constexpr std::size_t kMinFolds = 2;
inline constexpr std::size_t kMaxFolds = 1'000'000;  // more than the files of any list

struct EvaluationOptions {
  // The max number of groups that the files of a sourcetype are divided into. Each group is
  // classified after the others were learned.
  std::size_t folds = 5;
  bool withRules = true;     // false: only models decide
  bool withLearned = false;  // true: each fold begins with the learned models of the installation
  bool withLimits = true;    // also evaluates other limits, which takes most of the time
  // Called at the start of each step: "limit 40: fold 2 of 5". May be empty.
  std::function<void(const std::string& step)> onStep = {};
};

enum class Verdict {
  Right,
  Wrong,
  NotRecognised,
  Unusable,      // the file cannot be read, or is binary
  NotEvaluated,  // it is the only file of its sourcetype
};

struct EvaluatedFile {
  std::string file;
  std::string sourcetype;
  Verdict verdict = Verdict::NotEvaluated;
  std::string answer;               // empty unless the file is right or wrong
  std::optional<Stage> stage;       // nothing for a file that was not classified
  std::optional<double> margin;     // as Answer::margin()
  std::optional<std::size_t> fold;  // from 0
  std::string problem;              // why the file is unusable
};

struct VerdictCounts {
  std::size_t right = 0;
  std::size_t wrong = 0;
  std::size_t notRecognised = 0;

  std::size_t total() const { return right + wrong + notRecognised; }
};

// The verdicts with one "maxDist" in the stanza [default] of sourcetypes.conf.
struct LimitOutcome {
  std::optional<float> limit;  // nothing: no limit
  bool isConfigured = false;   // it is the one of the installation
  VerdictCounts counts;
};

struct Evaluation {
  std::vector<EvaluatedFile> files;  // in the order of the input
  std::size_t folds = 0;             // that were needed
  VerdictCounts counts;
  ConfusionTable table;
  std::vector<LimitOutcome> limits;  // in ascending order
};

// Writes nothing. Throws InspectError if no sourcetype has two files that can be read.
Evaluation evaluate(const std::filesystem::path& etc, std::span<const LabelledFile> files,
                    const EvaluationOptions& options);

}  // namespace sourcetype
