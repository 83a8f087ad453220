#include "util/search_meter.h"

#include <algorithm>
#include <charconv>
#include <limits>
#include <utility>

#include "util/text.h"

namespace sourcetype {
namespace {

// Steps for trying an item: about 10 ns, ten times as long as reading a character.
constexpr std::uint64_t kItemCost = 8;

// The matcher searches a class with many ranges beyond ASCII from its start for each character: one
// step for so many bytes of the class in the pattern.
constexpr std::size_t kClassBytesPerStep = 64;

constexpr std::uint32_t kUnknown = std::numeric_limits<std::uint32_t>::max();

// The number of times that an item such as "\d{4,6}" must match. It may have read that many
// characters when it fails.
std::uint32_t requiredRepeats(std::string_view item) {
  const auto brace = item.rfind('{');
  if (brace == std::string_view::npos) return 0;
  std::uint32_t number = 0;
  std::from_chars(item.data() + brace + 1, item.data() + item.size(), number);
  return number;
}

// "\1", "\g{1}", "\k<name>" and "(?P=name)" compare the subject with a text of any length.
bool isReference(std::string_view item) {
  if (item.starts_with("(?P=")) return true;
  if (item.size() < 2 || item[0] != '\\') return false;
  return item[1] == 'g' || item[1] == 'k' || (isAsciiDigit(item[1]) && item[1] != '0');
}

bool isLookbehind(std::string_view item) {
  return item.starts_with("(?<=") || item.starts_with("(?<!") || item.starts_with("(*");
}

ItemCosts::Item costOf(std::string_view item, std::uint32_t maxLookbehind) {
  ItemCosts::Item cost;
  cost.ahead = isReference(item) ? kUnknown : requiredRepeats(item);
  cost.back = isLookbehind(item) ? maxLookbehind : 0;
  if (item.starts_with('[')) {
    cost.factor += static_cast<std::uint32_t>(item.size() / kClassBytesPerStep);
  }
  return cost;
}

bool isSpecial(const ItemCosts::Item& cost) {
  constexpr std::uint32_t kFewCharacters = 16;
  return cost.ahead > kFewCharacters || cost.back > kFewCharacters || cost.factor > 1;
}

}  // namespace

ItemCosts::ItemCosts(const pcre2_code& code, std::string_view source) {
  struct Scan {
    std::string_view source;
    std::uint32_t maxLookbehind = 0;
    std::vector<Item> items = {};
  } scan{.source = source};
  pcre2_pattern_info(&code, PCRE2_INFO_MAXLOOKBEHIND, &scan.maxLookbehind);
  const auto visit = [](pcre2_callout_enumerate_block* item, void* data) {
    auto& found = *static_cast<Scan*>(data);
    if (item->pattern_position >= found.source.size()) return 0;
    const auto text = found.source.substr(item->pattern_position, item->next_item_length);
    const Item cost = costOf(text, found.maxLookbehind);
    if (!isSpecial(cost)) return 0;
    found.items.resize(std::max(found.items.size(), item->pattern_position + 1));
    found.items[item->pattern_position] = cost;
    return 0;
  };
  pcre2_callout_enumerate(&code, visit, &scan);
  items_ = std::move(scan.items);
}

SearchMeter::SearchMeter(pcre2_match_context& context, const ItemCosts& costs, std::uint64_t limit)
    : context_(context), costs_(costs), limit_(limit) {
  pcre2_set_callout(
      &context,
      [](pcre2_callout_block* item, void* meter) {
        return static_cast<SearchMeter*>(meter)->count(*item);
      },
      this);
}

// A pattern may contain callouts of its own. Without a meter they must reach no callback.
SearchMeter::~SearchMeter() {
  pcre2_set_callout(&context_, nullptr, nullptr);
}

int SearchMeter::count(const pcre2_callout_block& item) {
  const std::size_t place = item.current_position;
  const std::size_t moved = place > place_ ? place - place_ : place_ - place;
  spent_ += moved * factor_ + kItemCost;
  place_ = place;
  factor_ = 1;
  if (const auto* cost = costs_.find(item.pattern_position)) {
    spent_ += kItemCost * (cost->factor - 1);
    spent_ += std::min<std::size_t>(cost->ahead, item.subject_length - place) * cost->factor;
    spent_ += std::min<std::size_t>(cost->back, place);
    factor_ = cost->factor;
  }
  return spent_ > limit_ ? PCRE2_ERROR_MATCHLIMIT : 0;
}

}  // namespace sourcetype
