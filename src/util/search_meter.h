// Measures the steps of a search. Private to budgeted_search.cpp and regex.cpp.
//
// The limit of PCRE2 counts only steps back, not the characters that a repeat such as "\w+" reads.
// An expression that is compiled with PCRE2_AUTO_CALLOUT reports every item that the matcher tries
// and the position in the subject. The meter counts both from these reports.
#pragma once

#define PCRE2_CODE_UNIT_WIDTH 8
#include <pcre2.h>

#include <cstddef>
#include <cstdint>
#include <string_view>
#include <vector>

namespace sourcetype {

// The costs of items of one expression that the reports do not show.
class ItemCosts {
 public:
  struct Item {
    std::uint32_t ahead = 0;   // characters that it may read before it fails without a report
    std::uint32_t back = 0;    // characters that it may go back before it fails without a report
    std::uint32_t factor = 1;  // steps for reading one character
  };

  ItemCosts() = default;
  // `code` was compiled from `source` with PCRE2_AUTO_CALLOUT.
  ItemCosts(const pcre2_code& code, std::string_view source);

  // The item at a byte of the source. Null for an item without extra cost, as most are.
  const Item* find(std::size_t position) const {
    return position < items_.size() ? &items_[position] : nullptr;
  }

 private:
  std::vector<Item> items_;  // by position; empty when no item has extra costs
};

// Counts the steps of all searches that use `context` while the meter exists.
class SearchMeter {
 public:
  // `limit`: steps after which the search ends with PCRE2_ERROR_MATCHLIMIT.
  SearchMeter(pcre2_match_context& context, const ItemCosts& costs, std::uint64_t limit);
  SearchMeter(const SearchMeter&) = delete;
  SearchMeter& operator=(const SearchMeter&) = delete;
  ~SearchMeter();

  // Adds steps of the search that no item reports.
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
