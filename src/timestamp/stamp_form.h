// One form of timestamp: an expression, and where in a line it is tried.
#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <string>
#include <vector>

#include "timestamp/stamp_fields.h"
#include "util/regex.h"

namespace sourcetype {

// Whole: date and time of day. Epoch: a whole number since 1970. Date, Time: one without the other.
enum class StampKind : std::uint8_t { Whole, Epoch, Date, Time };
constexpr std::size_t kStampKinds = 4;

// A form's expression, which matches at the subject's start alone.
struct StampExpression {
  Regex regex;
  std::vector<FieldGroup> groups;  // from left to right
};

// Compiles it when it is first tried: of all forms a file needs two or three.
class LazyStampExpression {
 public:
  // `origin` says in a message where the expression stands.
  LazyStampExpression(std::string source, std::string origin);
  LazyStampExpression(LazyStampExpression&&) noexcept;
  LazyStampExpression& operator=(LazyStampExpression&&) noexcept;
  LazyStampExpression(const LazyStampExpression&) = delete;
  LazyStampExpression& operator=(const LazyStampExpression&) = delete;
  ~LazyStampExpression();

  // Null when it is faulty, which is logged once. May be called from several threads.
  const StampExpression* get() const;

 private:
  struct State;
  std::unique_ptr<State> state_;
};

// One form of stamp.
struct StampForm {
  std::string name;
  StampKind kind;
  LazyStampExpression expression;
  std::string behindLetters;  // stands directly behind one of these, unless empty
  bool onlyFirst = false;     // nothing but punctuation may stand before it in the line
  bool standsAlone = true;    // otherwise it completes what stands apart from it
};

}  // namespace sourcetype
