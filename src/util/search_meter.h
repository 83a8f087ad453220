// Measures what a search costs. Private to util/regex.cpp, which alone knows PCRE2 beside this.
//
// The library's own limit counts steps back, but no characters that a repeat such as "\w+" runs
// over. An expression that is compiled with PCRE2_AUTO_CALLOUT reports every item that the matcher
// comes to and the place in the subject, from which both can be counted.
#pragma once

#define PCRE2_CODE_UNIT_WIDTH 8
#include <pcre2.h>

#include <cstddef>
#include <cstdint>
#include <string_view>
#include <vector>

namespace sourcetype {

// What the items of one expression cost beyond what the matcher reports.
class ItemCosts {
 public:
  struct Item {
    std::uint32_t ahead = 0;   // characters that it may read and then fail without a report
    std::uint32_t back = 0;    // characters that it may step back likewise
    std::uint32_t factor = 1;  // what reading one character costs
  };

  ItemCosts() = default;
  // `code` was compiled from `source` with PCRE2_AUTO_CALLOUT.
  ItemCosts(const pcre2_code& code, std::string_view source);

  // The item at a byte of the source; null when its cost is nothing special, as that of most items.
  const Item* find(std::size_t position) const {
    return position < items_.size() ? &items_[position] : nullptr;
  }

 private:
  std::vector<Item> items_;  // by position; empty when no item has a special cost
};

// Counts for the searches that are made with a context while the meter lives.
class SearchMeter {
 public:
  // `limit`: steps after which the search ends with PCRE2_ERROR_MATCHLIMIT.
  SearchMeter(pcre2_match_context& context, const ItemCosts& costs, std::uint64_t limit);
  SearchMeter(const SearchMeter&) = delete;
  SearchMeter& operator=(const SearchMeter&) = delete;
  ~SearchMeter();

  // Adds what the search costs outside the items.
  void add(std::uint64_t steps) { spent_ += steps; }

  // Steps so far.
  std::uint64_t spent() const { return spent_; }

 private:
  int count(const pcre2_callout_block& item);

  pcre2_match_context& context_;
  const ItemCosts& costs_;
  std::uint64_t limit_;
  std::uint64_t spent_ = 0;
  std::size_t place_ = 0;     // in the subject, at the last report
  std::uint32_t factor_ = 1;  // of the item reported last
};

}  // namespace sourcetype
