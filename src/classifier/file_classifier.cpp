#include "classifier/file_classifier.h"

#include <chrono>

#include "classifier/binary_test.h"
#include "classifier/flow_log.h"
#include "classifier/line_break_learner.h"
#include "classifier/models/distance_limits.h"
#include "classifier/properties.h"
#include "classifier/single_line_check.h"
#include "classifier/timestamp_learner.h"
#include "classifier/type_name.h"
#include "conf/message_catalog.h"
#include "conf/stanza_kinds.h"
#include "timestamp/timestamp_parser.h"
#include "util/format.h"
#include "util/text.h"

namespace sourcetype {
namespace {

// A sourcetype that rules or header lines recognise needs few models to be told from others.
constexpr std::size_t kMaxRuleModels = 3;

// Matches any line with a time of day, which is not necessarily the start of an event.
constexpr std::string_view kTimeOfDayExpression = R"(\d+:\d+:\d+)";

constexpr std::string_view causeText(InvalidCause cause) {
  switch (cause) {
    case InvalidCause::FailedStat:
      return "failed_stat";
    case InvalidCause::NotRegularFile:
      return "not_regular_file";
    case InvalidCause::CannotRead:
      return "cannot_read";
    case InvalidCause::Binary:
      return "binary";
  }
  return {};
}

}  // namespace

FileClassifier::FileClassifier(ClassifierContext& context, PropertiesMap& result,
                               const TypeRequest& request)
    : context_(context),
      store_(context.store()),
      result_(result),
      request_(request),
      fileName_(pathToText(request.path)),
      learningAllowed_(request.learningAllowed) {}

void FileClassifier::classify() {
  const std::size_t modelsBefore = context_.models().addedModels();
  run(&FileClassifier::findType);
  if (!request_.isTrial) {
    run(&FileClassifier::detectHeaderIfAsked);
    run(&FileClassifier::keepWhatIsNew);
  }
  if (request_.observer != nullptr) request_.observer->ended(stage_);
  if (madeSourcetype_ || context_.models().addedModels() > modelsBefore) {
    adjustMaxDist(store_);
  }
}

// Settles the sourcetype and fills the result. Every return below is a way to end.
void FileClassifier::findType() {
  logDebug(kFlowLog, "Finding type for file: %s", fileName_);
  lookUpConfiguredProps();
  if (isSettledUnread()) return finishWith(sourcetype_, Stage::Configured);
  if (const auto cause = examinePath()) return markInvalid(*cause);
  if (!takeSample(areLinesNeeded() ? Keep::Lines : Keep::CountsOnly)) {
    return markInvalid(InvalidCause::CannotRead);
  }
  if (isBinarySample() && !noBinaryCheck_) return markInvalid(InvalidCause::Binary);
  if (!sourcetype_.empty()) return finishWith(sourcetype_, Stage::Configured);
  judgeLines();
  if (sample_->lineCount() < kMinModelLines) return finishTooSmall();
  if (const auto found = findRule(RuleTiming::BeforeModels)) return finishWithRule(*found);
  if (matchModels() || !learningAllowed_) return;
  if (const auto found = findRule(RuleTiming::AfterModels)) {
    return finishWith(*found, Stage::DelayedRule);
  }
  createSourcetype();
}

// What is in the result when a stage throws remains there.
template <class Stage>
void FileClassifier::run(Stage stage) {
  try {
    (this->*stage)();
  } catch (const std::exception& error) {
    logMessage(LogLevel::Error, kFlowLog, "FILE_CLASSIFIER_ERROR_GETTING_TYPE__%s", fileName_);
    logDebug(kFlowLog, "%s", error.what());
  }
}

// A "sourcetype" or "given_type" of the input overrides a configured sourcetype, but a configured
// "preprocess" overrides both.
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

  if (request_.observer != nullptr) request_.observer->configured(props, sourcetype_);

  if (const auto charset = props.tryGet(key::kCharset)) {
    sampleProps_.set(key::kCharset, *charset);
    result_.set(key::kCharset, *charset);
  }
  if (learningAllowed_) learningAllowed_ = props.getBool(key::kLearnSourcetype, true);
  headerWanted_ = props.getBool(key::kCheckForHeader, false);
  headerTest_ = headerTestOf(props);
  if (const auto noBinaryCheck = props.tryGetBool(key::kNoBinaryCheck)) {
    noBinaryCheck_ = *noBinaryCheck;
    result_.set(key::kNoBinaryCheck, lowerFlagText(noBinaryCheck_));
  }
}

// The sourcetype in these properties. Empty for a sourcetype that cannot be stored, which would
// also break the lines of the output.
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

// The file need not be opened if its sourcetype is known and its bytes need no examination.
bool FileClassifier::isSettledUnread() const {
  return !sourcetype_.empty() && noBinaryCheck_ && sampleProps_.get(key::kCharset) != "auto";
}

// If the sourcetype is known, only the question whether the file is text remains.
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
  if (request_.observer != nullptr) request_.observer->sampled(*sample_);
  return true;
}

void FileClassifier::judgeLines() {
  singleLine_ = isSingleLineSample(*sample_);
  if (request_.observer != nullptr) request_.observer->judgedLines(singleLine_);
}

bool FileClassifier::isBinarySample() const {
  const auto invalid = sample_->invalidCount();
  const auto total = sample_->bytesRead();
  logDebug(kFlowLog,
           R"(filename="%s" invalidCharCount="%lu" TotalCharCount="%llu" PercentInvalid="%Lf")",
           fileName_, invalid, total, invalidPercentage(invalid, total));
  return isBinary(invalid, total);
}

void FileClassifier::finishWith(std::string_view sourcetype, Stage stage) {
  stage_ = stage;
  getSourcetypeSettings(context_, result_, sourcetype);
}

std::optional<std::string> FileClassifier::findRule(RuleTiming timing) {
  if (!testedLines_) testedLines_ = Rules::testedLines(*sample_);
  return context_.rules().findRuleSourcetype(*testedLines_, timing, budget_, request_.observer);
}

void FileClassifier::finishWithRule(std::string_view sourcetype) {
  finishWith(sourcetype, Stage::Rule);
  learning_ = Learning::WhileFewModels;
}

bool FileClassifier::matchModels() {
  const auto found = context_.models().matchModels(fileName_, *sample_, request_.observer);
  if (found) finishWith(*found, Stage::Model);
  modelMatched_ = found.has_value();
  return modelMatched_;
}

// A small file gets a sourcetype for small files, since its few lines show little of its format.
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
    const auto outcome = request_.isTrial
                             ? WriteOutcome::Failed
                             : store_.addStanza(store_.getProps(), sourcetype, settings, false);
    madeSourcetype_ = outcome == WriteOutcome::Written;
    // If another process has added the stanza meanwhile, its settings apply.
    if (outcome != WriteOutcome::Overtaken) result_ = settings;
  }
  finishWith(sourcetype, Stage::TooSmall);
}

// Proposes a new sourcetype for a file that nothing recognised. It is not written yet: the header
// line may show that the file belongs to an existing sourcetype.
void FileClassifier::createSourcetype() {
  stage_ = Stage::NewSourcetype;
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

void FileClassifier::proposeEventBreaking(const std::string& sourcetype) {
  if (singleLine_) return;
  try {
    const auto expression = learnBreakOnlyBeforeRegex(*sample_, request_.observer);
    if (expression && *expression != kTimeOfDayExpression) {
      logMessage(LogLevel::Info, kFlowLog, "FILE_CLASSIFIER_FOUND_GOOD_REGEX__%s_%s_%s",
                 *expression, sourcetype, fileName_);
      result_.set(key::kBreakOnlyBefore, *expression);
    } else {
      logMessage(LogLevel::Info, kFlowLog, "FILE_CLASSIFIER_NO_GOOD_REGEX__%s", sourcetype);
    }
  } catch (const std::exception& error) {  // the sourcetype gets no expression
    logMessage(LogLevel::Error, kFlowLog, "FILE_CLASSIFIER_ERROR_GETTING_REGEX__%s", sourcetype);
    logDebug(kFlowLog, "%s", error.what());
  }
}

void FileClassifier::proposeTimestampSettings(const std::string& sourcetype) {
  const auto now = std::chrono::floor<std::chrono::seconds>(std::chrono::system_clock::now());
  const auto find = [&](std::optional<TimestampParser>& parser, std::size_t lookahead,
                        std::string_view line) {
    if (!parser) {  // made for the first line, if any is looked at
      PropertiesMap settings;
      store_.getStanzaSettings(store_.getProps(), settings, std::span(&sourcetype, 1),
                               PatternMatching::No);
      if (!settings.tryGet(key::kMaxTimestampLookahead)) {
        settings.set(key::kMaxTimestampLookahead, std::to_string(lookahead));
      }
      parser.emplace(context_.timestampFormats(), settings,
                     formatText("FileClassifier %s", sourcetype), now);
    }
    return parser->parse(line);
  };
  std::optional<TimestampParser> nearParser;
  std::optional<TimestampParser> farParser;
  learnTimestampSettings(
      sourcetype, *sample_, result_,
      [&](std::string_view line) { return find(nearParser, kDefaultTimestampLookahead, line); },
      [&](std::string_view line) { return find(farParser, kFarTimestampLookahead, line); },
      request_.observer);
}

void FileClassifier::markInvalid(InvalidCause cause) {
  stage_ = Stage::Invalid;
  result_.set(key::kIsValid, flagText(false));
  result_.set(key::kSourcetype, kUnknownSourcetype);
  result_.set(key::kInvalidCause, causeText(cause));
  logMessage(LogLevel::Warn, kFlowLog, "FILE_CLASSIFIER_INVALID_FILE__%s_%s", fileName_,
             causeText(cause));
}

// STRICT_HEADER_CHECK counts only in the stanza that sets CHECK_FOR_HEADER. A stanza that sets
// CHECK_FOR_HEADER alone gets the plain test, even if a bundled stanza also matches the path.
HeaderTest FileClassifier::headerTestOf(const PropertiesMap& settings) {
  const bool isStrict =
      settings.getBool(key::kStrictHeaderCheck, false) &&
      settings.stanzaOf(key::kStrictHeaderCheck) == settings.stanzaOf(key::kCheckForHeader);
  return isStrict ? HeaderTest::Names : HeaderTest::Delimiters;
}

void FileClassifier::detectHeaderIfAsked() {
  if (!learningAllowed_ || !result_.getBool(key::kCheckForHeader, headerWanted_)) return;
  if (result_.contains(key::kInvalidCause)) return;  // such files have no header
  const bool hasLines = sample_ && sample_->lineCount() > 0;
  if (!hasLines && !takeSample(Keep::Lines)) return;
  const std::string before = result_.get(key::kSourcetype);
  const NewSourcetype* made = newSourcetype_ ? &*newSourcetype_ : nullptr;
  const bool isResultAsked = result_.getBool(key::kCheckForHeader, false);
  const HeaderTest test = isResultAsked ? headerTestOf(result_) : headerTest_;
  if (detectHeader(fileName_, *sample_, result_, store_, made, test, {}, request_.observer)) {
    madeSourcetype_ = madeSourcetype_ || newSourcetype_;
    newSourcetype_.reset();
  }
  // Learn the file, so that it is recognised also where configuration asks for no header.
  if (modelMatched_ && result_.get(key::kSourcetype) != before && !isLearned()) {
    learning_ = Learning::WhileFewModels;
  }
}

// Whether a model was learned from this very text. Then a further model would not be closer.
bool FileClassifier::isLearned() {
  constexpr float kOwnDistance = 0.001F;  // stored weights are rounded
  const auto closest = context_.models().findClosest(*sample_);
  return closest && closest->distance < kOwnDistance;
}

void FileClassifier::keepWhatIsNew() {
  if (newSourcetype_ && !addUnderFreeName()) return;  // no model without its stanza
  if (learning_ == Learning::Yes) return learnNewSourcetype();
  if (learning_ == Learning::No || !learningAllowed_ || !result_.getBool(key::kLearnModel, true)) {
    return;
  }
  context_.models().trainModels(fileName_, *sample_, result_.get(key::kSourcetype), kMaxRuleModels);
}

// Without a model the file would not be recognised, and every run would add one more stanza. So the
// stanza is removed if the model cannot be stored.
void FileClassifier::learnNewSourcetype() {
  ModelStore& models = context_.models();
  const std::string sourcetype = result_.get(key::kSourcetype);
  const std::size_t failedBefore = models.failedModels();
  models.trainModels(fileName_, *sample_, sourcetype);
  if (models.failedModels() > failedBefore && models.countModels(sourcetype) == 0) {
    store_.takeBackStanza(store_.getProps(), sourcetype);
  }
}

// Writes the stanza of the new sourcetype, under the next free name if another process has used its
// name meanwhile. Returns false if the stanza cannot be written.
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

void getSourcetypeSettings(ClassifierContext& context, PropertiesMap& result,
                           std::string_view sourcetype) {
  const std::string name(sourcetype);
  ConfStore& store = context.store();
  store.getStanzaSettings(store.getProps(), result, std::span(&name, 1), PatternMatching::No);
  context.expressionCheck().check(result);
  result.set(key::kSourcetype, sourcetype);
  if (!result.tryGet(key::kIsValid)) {
    result.set(key::kIsValid, flagText(!result.tryGet(key::kInvalidCause)));
  }
}

std::vector<std::string> sourceStanzas(const std::filesystem::path& path,
                                       std::string_view sourcetype) {
  std::vector<std::string> names{std::string(kSourceKind) + pathToText(path)};
  if (!sourcetype.empty()) names.emplace_back(sourcetype);
  return names;
}

}  // namespace sourcetype
