// Keys and texts of the classifier's input and result that users see.
#pragma once

#include <string_view>

namespace sourcetype {

// Flags are written in two ways: "True" in results and event breaking, "true" in NO_BINARY_CHECK.
constexpr std::string_view flagText(bool value) {
  return value ? "True" : "False";
}
constexpr std::string_view lowerFlagText(bool value) {
  return value ? "true" : "false";
}

namespace key {

inline constexpr std::string_view kSourcetype = "sourcetype";
inline constexpr std::string_view kGivenType = "given_type";
inline constexpr std::string_view kIsValid = "is_valid";
inline constexpr std::string_view kInvalidCause = "invalid_cause";

inline constexpr std::string_view kCharset = "CHARSET";
inline constexpr std::string_view kLearnSourcetype = "LEARN_SOURCETYPE";
inline constexpr std::string_view kLearnModel = "LEARN_MODEL";
inline constexpr std::string_view kCheckForHeader = "CHECK_FOR_HEADER";
inline constexpr std::string_view kStrictHeaderCheck = "STRICT_HEADER_CHECK";
inline constexpr std::string_view kNoBinaryCheck = "NO_BINARY_CHECK";
inline constexpr std::string_view kPrefixSourcetype = "PREFIX_SOURCETYPE";
inline constexpr std::string_view kShouldLinemerge = "SHOULD_LINEMERGE";
inline constexpr std::string_view kBreakOnlyBefore = "BREAK_ONLY_BEFORE";
inline constexpr std::string_view kTimePrefix = "TIME_PREFIX";
inline constexpr std::string_view kTimeFormat = "TIME_FORMAT";
inline constexpr std::string_view kMaxTimestampLookahead = "MAX_TIMESTAMP_LOOKAHEAD";

// Field extraction: "REPORT-<any>" of a sourcetype lists transforms, separated by commas.
inline constexpr std::string_view kReportPrefix = "REPORT-";
inline constexpr std::string_view kReportHeader = "REPORT-AutoHeader";
inline constexpr std::string_view kKvMode = "KV_MODE";
inline constexpr std::string_view kDelims = "DELIMS";
inline constexpr std::string_view kFields = "FIELDS";

}  // namespace key

// Sourcetypes with a special meaning.
inline constexpr std::string_view kUnknownSourcetype = "unknown";
inline constexpr std::string_view kPreprocessSourcetype = "preprocess";

}  // namespace sourcetype
