// One form of timestamp: an expression, and where in a line it is tried.
#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <string>
#include <vector>

#include "timestamp/timestamp_fields.h"
#include "util/regex.h"

namespace sourcetype {

// Whole: date and time of day. Epoch: a whole number since 1970. Date, Time: only one of the two.
enum class TimestampKind : std::uint8_t { Whole, Epoch, Date, Time };
constexpr std::size_t kTimestampKinds = 4;

// A form's expression. It matches at the start of the subject only.
struct TimestampExpression {
  Regex regex;
  std::vector<FieldGroup> groups;  // from left to right
};

// Compiles the expression at its first use: most files need two or three of all forms.
class LazyTimestampExpression {
 public:
  // `origin` is the place of the expression, for messages.
  LazyTimestampExpression(std::string source, std::string origin);
  LazyTimestampExpression(LazyTimestampExpression&&) noexcept;
  LazyTimestampExpression& operator=(LazyTimestampExpression&&) noexcept;
  LazyTimestampExpression(const LazyTimestampExpression&) = delete;
  LazyTimestampExpression& operator=(const LazyTimestampExpression&) = delete;
  ~LazyTimestampExpression();

  // Null if the expression is faulty, which is logged once. Several threads may call this.
  const TimestampExpression* get() const;

 private:
  struct State;
  std::unique_ptr<State> state_;
};

// One form of timestamp.
struct TimestampForm {
  std::string name;
  TimestampKind kind;
  LazyTimestampExpression expression;
  std::string afterLetters;  // unless empty, the byte before must be one of these
  bool withLetter = false;   // and belongs to the timestamp
  bool onlyFirst = false;    // only punctuation and blanks may be before it in the line
  bool standsAlone = true;   // false: it only completes another date or time of the line
};

}  // namespace sourcetype
