#include "timestamp/timestamp_form.h"

#include <algorithm>
#include <atomic>
#include <mutex>
#include <optional>
#include <stdexcept>
#include <utility>

#include "timestamp/timestamp_log.h"
#include "util/logging.h"
#include "util/text.h"

namespace sourcetype {
namespace {

// Expressions that ignore case say so themselves.
constexpr auto kExpressionOptions = Regex::kNoOptions;

std::vector<FieldGroup> fieldGroups(const Regex& expression) {
  std::vector<FieldGroup> groups;
  for (const auto& [name, number] : expression.groupNumbers()) {
    if (name.starts_with("same_")) continue;
    const auto field = timestampFieldNamed(name);
    if (!field) {
      throw std::runtime_error("has a group " + inQuotes(name) + ", which is no field");
    }
    groups.push_back({.group = static_cast<std::uint16_t>(number), .field = *field});
  }
  std::ranges::sort(groups, {}, &FieldGroup::group);
  return groups;
}

}  // namespace

struct LazyTimestampExpression::State {
  std::string source;
  std::string origin;
  std::once_flag compiling;
  std::atomic<bool> isCompiled = false;
  std::optional<TimestampExpression> compiled;

  void compile() {
    try {
      Regex regex("\\A(?:" + source + ")", kExpressionOptions, Regex::Compile::ToMachineCode);
      auto groups = fieldGroups(regex);
      compiled = TimestampExpression{.regex = std::move(regex), .groups = std::move(groups)};
    } catch (const std::runtime_error& error) {
      logError(kFormatsLog, "%s %s.", origin, error.what());
    }
    isCompiled.store(true, std::memory_order_release);
  }
};

LazyTimestampExpression::LazyTimestampExpression(std::string source, std::string origin)
    : state_(std::make_unique<State>()) {
  state_->source = std::move(source);
  state_->origin = std::move(origin);
}
LazyTimestampExpression::LazyTimestampExpression(LazyTimestampExpression&&) noexcept = default;
LazyTimestampExpression& LazyTimestampExpression::operator=(LazyTimestampExpression&&) noexcept =
    default;
LazyTimestampExpression::~LazyTimestampExpression() = default;

const TimestampExpression* LazyTimestampExpression::get() const {
  State& state = *state_;
  if (!state.isCompiled.load(std::memory_order_acquire)) {
    std::call_once(state.compiling, &State::compile, &state);
  }
  return state.compiled ? &*state.compiled : nullptr;
}

}  // namespace sourcetype
