#include "classifier/file_classifier.h"

#include <chrono>

#include "classifier/binary_test.h"
#include "classifier/header_detector.h"
#include "classifier/line_break_learner.h"
#include "classifier/properties.h"
#include "classifier/timestamp_learner.h"
#include "classifier/type_name.h"
#include "conf/message_catalog.h"
#include "conf/stanza_kinds.h"
#include "timestamp/timestamp_parser.h"
#include "util/format.h"
#include "util/text.h"

namespace sourcetype {
namespace {

constexpr LogCategory kFlowLog{"FileClassifier"};

// A sourcetype that rules or header lines decide on needs no more models to be told from others.
constexpr std::size_t kMaxRuleModels = 3;

// Says no more than that a line holds a time of day, which is no start of an event.
constexpr std::string_view kTimeOfDayExpression = R"(\d+:\d+:\d+)";

}  // namespace

FileClassifier::FileClassifier(FileClassifierManager& manager, PropertiesMap& result,
                               const TypeRequest& request)
    : manager_(manager),
      store_(manager.store()),
      result_(result),
      request_(request),
      fileName_(pathToText(request.path)),
      learningAllowed_(request.learningAllowed) {}

// Every return below is a way to end.
void FileClassifier::runFlow() {
  logDebug(kFlowLog, "Finding type for file: %s", fileName_);
  lookUpConfiguredProps();
  if (isSettledUnread()) return finishWith(sourcetype_);
  if (const auto cause = examinePath()) return markInvalid(*cause);
  if (!takeSample(areLinesNeeded() ? Keep::Lines : Keep::CountsOnly)) {
    return markInvalid(InvalidCause::CannotRead);
  }
  if (isBinarySample() && !noBinaryCheck_) return markInvalid(InvalidCause::Binary);
  if (!sourcetype_.empty()) return finishWith(sourcetype_);
  singleLine_ = isSingleLineSample(*sample_);
  if (sample_->lineCount() < kMinModelLines) return finishTooSmall();
  if (const auto found = findRule(RuleTiming::BeforeModels)) return finishWithRule(*found);
  if (matchModels() || !learningAllowed_) return;
  if (const auto found = findRule(RuleTiming::AfterModels)) return finishWith(*found);
  createSourcetype();
}

// The input's "sourcetype" or "given_type" wins over a configured sourcetype, but a configured
// "preprocess" wins over everything.
void FileClassifier::lookUpConfiguredProps() {
  sourcetype_ = usableSourcetype(result_);
  if (sourcetype_.empty()) {
    result_.remove(key::kSourcetype);
    sourcetype_ = usableSourcetype(result_, key::kGivenType);
  }

  PropertiesMap props;
  store_.getStanzaSettings(store_.getProps(), props, sourceStanzas(request_.path), budget_);
  const std::string configured = usableSourcetype(props);
  if (sourcetype_.empty() || equalsIgnoringCase(configured, kPreprocessSourcetype)) {
    sourcetype_ = configured;
  }
  if (!sourcetype_.empty()) {
    props = {};
    store_.getStanzaSettings(store_.getProps(), props, sourceStanzas(request_.path, sourcetype_),
                             budget_);
  }

  if (const auto charset = props.tryGet(key::kCharset)) {
    sampleProps_.set(key::kCharset, *charset);
    result_.set(key::kCharset, *charset);
  }
  if (learningAllowed_) learningAllowed_ = props.getBool(key::kLearnSourcetype, true);
  headerWanted_ = props.getBool(key::kCheckForHeader, false);
  if (const auto noBinaryCheck = props.tryGetBool(key::kNoBinaryCheck)) {
    noBinaryCheck_ = *noBinaryCheck;
    result_.set(key::kNoBinaryCheck, lowerFlagText(noBinaryCheck_));
  }
}

// The sourcetype that these properties give. One that could not be stored, which would also break
// the lines of the output, counts as none.
std::string FileClassifier::usableSourcetype(const PropertiesMap& properties,
                                             std::string_view key) const {
  std::string sourcetype = properties.get(key);
  if (sourcetype.empty()) return sourcetype;
  const auto problem = sourcetypeProblem(sourcetype);
  if (problem.empty()) return sourcetype;
  logWarn(kFlowLog, "Ignoring the sourcetype \"%s\" given to the file %s: %s.", sourcetype,
          fileName_, problem);
  return {};
}

// With the sourcetype known and nothing to find out about the bytes, the file need not be opened.
bool FileClassifier::isSettledUnread() const {
  return !sourcetype_.empty() && noBinaryCheck_ && sampleProps_.get(key::kCharset) != "auto";
}

// With the sourcetype known, no more is asked of the content than whether it is text.
bool FileClassifier::areLinesNeeded() const {
  return sourcetype_.empty() || result_.getBool(key::kCheckForHeader, headerWanted_);
}

std::optional<InvalidCause> FileClassifier::examinePath() const {
  if (request_.sampleText || !sourcetype_.empty()) return std::nullopt;
  switch (fileKind(request_.path)) {
    case FileKind::Regular:
      return std::nullopt;
    case FileKind::CannotExamine:
      return InvalidCause::FailedStat;
    case FileKind::Other:
      break;
  }
  return InvalidCause::NotRegularFile;
}

bool FileClassifier::takeSample(Keep keep) {
  sample_ = request_.sampleText ? readSampleText(*request_.sampleText, sampleProps_, fileName_)
                                : readSample(request_.path, sampleProps_, request_.maxLines, keep);
  if (!sample_) return false;
  if (const auto& charset = sample_->detectedCharset(); !charset.empty()) {
    result_.set(key::kCharset, charset);
  }
  return true;
}

bool FileClassifier::isBinarySample() const {
  const auto invalid = sample_->invalidCount();
  const auto total = sample_->bytesRead();
  logDebug(kFlowLog,
           R"(filename="%s" invalidCharCount="%lu" TotalCharCount="%llu" PercentInvalid="%Lf")",
           fileName_, invalid, total, invalidPercentage(invalid, total));
  return isBinary(invalid, total);
}

void FileClassifier::finishWith(std::string_view sourcetype) {
  manager_.getSourcetypeSettings(result_, sourcetype);
}

std::optional<std::string> FileClassifier::findRule(RuleTiming timing) {
  return manager_.rules().findRuleSourcetype(*sample_, timing, budget_);
}

void FileClassifier::finishWithRule(std::string_view sourcetype) {
  finishWith(sourcetype);
  learning_ = Learning::WhileFewModels;
}

bool FileClassifier::matchModels() {
  const auto found = manager_.models().matchModels(fileName_, *sample_);
  if (found) finishWith(*found);
  modelMatched_ = found.has_value();
  return modelMatched_;
}

// A small file gets a sourcetype of its own kind, which keeps it out of the ones that mean
// something.
void FileClassifier::finishTooSmall() {
  PropertiesMap smallProps;
  store_.getStanzaSettings(store_.getProps(), smallProps, kTooSmallSourcetype, PatternMatching::No);
  std::string sourcetype(kTooSmallSourcetype);
  if (smallProps.getBool(key::kPrefixSourcetype, true)) {
    sourcetype = makeTypeName(fileName_, store_.pathForm()) + "-" + sourcetype;
  }
  if (!store_.stanzaExists(store_.getProps(), sourcetype)) {
    PropertiesMap settings = result_;
    settings.set(key::kShouldLinemerge, flagText(!singleLine_));
    for (const auto& [key, entry] : smallProps.entries()) {
      settings.insertIfAbsent(key, entry.value, entry.stanza);
    }
    settings.remove(key::kSourcetype);
    const auto outcome = store_.addStanza(store_.getProps(), sourcetype, settings, false);
    madeSourcetype_ = outcome == WriteOutcome::Written;
    // Where another process has made it meanwhile, what that one wrote holds.
    if (outcome != WriteOutcome::Overtaken) result_ = settings;
  }
  finishWith(sourcetype);
}

// Nothing recognised the file: it becomes the first of a new sourcetype. Nothing is written before
// the header line was looked at, which may show that the file belongs to another one.
void FileClassifier::createSourcetype() {
  const PropertiesMap input = result_;
  const std::string sourcetype = makeUniqueTypeName(fileName_, store_);
  proposeEventBreaking(sourcetype);
  logMessage(LogLevel::Info, kFlowLog, "FILE_CLASSIFIER_NEW_KNOWN_TYPE__%s_%s", sourcetype,
             flagText(singleLine_));
  result_.set(key::kShouldLinemerge, flagText(!singleLine_));
  result_.set(key::kIsValid, flagText(true));
  proposeTimestampSettings(sourcetype);
  const PropertiesMap settings = result_;
  store_.getExactStanza(store_.getProps(), result_, kDefaultStanza);
  result_.set(key::kSourcetype, sourcetype);
  newSourcetype_ = {.settings = settings, .input = input};
  learning_ = Learning::Yes;
}

void FileClassifier::keepWhatIsNew() {
  if (newSourcetype_ && !addUnderFreeName()) return;  // no model without its stanza
  if (learning_ == Learning::Yes) return learnNewSourcetype();
  if (learning_ == Learning::No || !learningAllowed_ || !result_.getBool(key::kLearnModel, true)) {
    return;
  }
  manager_.models().trainModels(fileName_, *sample_, result_.get(key::kSourcetype), kMaxRuleModels);
}

// A stanza whose files cannot be recognised would get another one beside it at every run.
void FileClassifier::learnNewSourcetype() {
  ModelStore& models = manager_.models();
  const std::string sourcetype = result_.get(key::kSourcetype);
  const std::size_t failedBefore = models.failedModels();
  models.trainModels(fileName_, *sample_, sourcetype);
  if (models.failedModels() > failedBefore && models.countModels(sourcetype) == 0) {
    store_.takeBackStanza(store_.getProps(), sourcetype);
  }
}

// When another process has taken the name of the new sourcetype meanwhile, the next free one is as
// good. False when the stanza could not be written.
bool FileClassifier::addUnderFreeName() {
  while (true) {
    const auto outcome = store_.addStanza(store_.getProps(), result_.get(key::kSourcetype),
                                          newSourcetype_->settings, false);
    if (outcome != WriteOutcome::Overtaken) {
      madeSourcetype_ = outcome == WriteOutcome::Written;
      return madeSourcetype_;
    }
    result_.set(key::kSourcetype, makeUniqueTypeName(fileName_, store_));
  }
}

void FileClassifier::proposeEventBreaking(const std::string& sourcetype) {
  if (singleLine_) return;
  try {
    const auto expression = learnBreakOnlyBeforeRegex(*sample_);
    if (expression && *expression != kTimeOfDayExpression) {
      logMessage(LogLevel::Info, kFlowLog, "FILE_CLASSIFIER_FOUND_GOOD_REGEX__%s_%s_%s",
                 *expression, sourcetype, fileName_);
      result_.set(key::kBreakOnlyBefore, *expression);
    } else {
      logMessage(LogLevel::Info, kFlowLog, "FILE_CLASSIFIER_NO_GOOD_REGEX__%s", sourcetype);
    }
  } catch (const std::exception& error) {  // the sourcetype does without the expression
    logMessage(LogLevel::Error, kFlowLog, "FILE_CLASSIFIER_ERROR_GETTING_REGEX__%s", sourcetype);
    logDebug(kFlowLog, "%s", error.what());
  }
}

void FileClassifier::proposeTimestampSettings(const std::string& sourcetype) {
  std::optional<TimestampParser> parser;  // made for the first line, if any is looked at
  learnTimestampSettings(sourcetype, *sample_, result_, [&](std::string_view line) {
    if (!parser) {
      PropertiesMap settings;
      store_.getStanzaSettings(store_.getProps(), settings, std::span(&sourcetype, 1),
                               PatternMatching::No);
      const auto now = std::chrono::floor<std::chrono::seconds>(std::chrono::system_clock::now());
      parser.emplace(manager_.timestampFormats(), settings,
                     formatText("FileClassifier %s", sourcetype), now);
    }
    return parser->parse(line);
  });
}

void FileClassifier::markInvalid(InvalidCause cause) {
  FileClassifierManager::markInvalid(result_, request_.path, cause);
}

void FileClassifier::detectHeaderIfAsked() {
  if (!learningAllowed_ || !result_.getBool(key::kCheckForHeader, headerWanted_)) return;
  if (result_.contains(key::kInvalidCause)) return;  // such files have no header
  const bool hasLines = sample_ && sample_->lineCount() > 0;
  if (!hasLines && !takeSample(Keep::Lines)) return;
  const std::string before = result_.get(key::kSourcetype);
  const NewSourcetype* made = newSourcetype_ ? &*newSourcetype_ : nullptr;
  if (detectHeader(fileName_, *sample_, result_, store_, made)) {
    madeSourcetype_ = madeSourcetype_ || newSourcetype_;
    newSourcetype_.reset();
  }
  // Learned, the file is recognised as what it is found to be, also where no header is looked for.
  if (modelMatched_ && result_.get(key::kSourcetype) != before && !isLearned()) {
    learning_ = Learning::WhileFewModels;
  }
}

// Whether a model was learned from this very text: no further model could be closer to it.
bool FileClassifier::isLearned() {
  constexpr float kOwnDistance = 0.001F;  // stored weights are rounded
  const auto closest = manager_.models().findClosest(*sample_);
  return closest && closest->distance < kOwnDistance;
}

}  // namespace sourcetype
