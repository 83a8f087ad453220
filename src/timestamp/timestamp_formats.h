// The forms of timestamp and the names and words that go with them, indexed for the search.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <span>
#include <string>
#include <unordered_set>
#include <vector>

#include "timestamp/calendar_names.h"
#include "timestamp/time_zones.h"
#include "timestamp/timestamp_form.h"
#include "timestamp/timestamp_place.h"

namespace sourcetype {

enum class WordSide : std::uint8_t { Before, After };

// The entries of a configuration, in its order.
struct TimestampEntries {
  using WordSet = std::unordered_set<std::string>;  // in lower case

  struct Form {
    TimestampForm form;
    std::vector<PlaceLook> looks;  // of the places where it is tried
  };

  WordSet& decoyWordsOf(TimestampKind kind, WordSide side) {
    return decoyWords[static_cast<std::size_t>(kind)][static_cast<std::size_t>(side)];
  }

  CalendarNames names;
  TimeZones zones;
  std::vector<Form> forms;
  std::array<std::array<WordSet, 2>, kTimestampKinds> decoyWords;
  WordSet timeKeys;
};

// Immutable. Without entries, no timestamp is found.
class TimestampFormats {
 public:
  using WordSet = TimestampEntries::WordSet;

  TimestampFormats() = default;
  explicit TimestampFormats(TimestampEntries entries);

  const std::vector<TimestampForm>& forms() const { return forms_; }

  // Indices of the forms to try at a place, in this order: the whole ones, and the others.
  std::span<const std::uint16_t> wholeForms(PlaceLook look) const {
    return groups_[wholeGroups_[look.index()]];
  }
  std::span<const std::uint16_t> partForms(PlaceLook look) const {
    return groups_[partGroups_[look.index()]];
  }
  // Looks that have at least one form.
  const LookSet& looks() const { return looks_; }

  const CalendarNames& names() const { return names_; }
  const TimeZones& zones() const { return zones_; }
  // A number of that kind next to one of these words is no timestamp.
  const WordSet& decoyWords(TimestampKind kind, WordSide side) const {
    return decoyWords_[static_cast<std::size_t>(kind)][static_cast<std::size_t>(side)];
  }
  // Keys of fields whose values are whole Unix times.
  const WordSet& timeKeys() const { return timeKeys_; }

 private:
  static constexpr std::uint16_t kNoGroup = 0;  // the empty list
  using GroupIndices = std::array<std::uint16_t, PlaceLook::kCount>;

  void addForm(const std::vector<PlaceLook>& looks, GroupIndices& groupOf);

  CalendarNames names_;
  TimeZones zones_;
  std::vector<TimestampForm> forms_;
  std::vector<std::vector<std::uint16_t>> groups_ = {{}};  // of forms that are tried together
  GroupIndices wholeGroups_{};
  GroupIndices partGroups_{};
  LookSet looks_;
  std::array<std::array<WordSet, 2>, kTimestampKinds> decoyWords_;
  WordSet timeKeys_;
};

}  // namespace sourcetype
