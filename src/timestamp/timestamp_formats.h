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
#include "timestamp/stamp_form.h"
#include "timestamp/stamp_place.h"
#include "timestamp/time_zones.h"

namespace sourcetype {

enum class WordSide : std::uint8_t { Before, After };

// What a configuration of timestamps says, in its order.
struct TimestampEntries {
  using WordSet = std::unordered_set<std::string>;  // in lower case

  struct Form {
    StampForm form;
    std::vector<PlaceLook> looks;  // of the places where it is tried
  };

  WordSet& decoyWordsOf(StampKind kind, WordSide side) {
    return decoyWords[static_cast<std::size_t>(kind)][static_cast<std::size_t>(side)];
  }

  CalendarNames names;
  TimeZones zones;
  std::vector<Form> forms;
  std::array<std::array<WordSet, 2>, kStampKinds> decoyWords;
  WordSet timeKeys;
};

// Immutable. Made without entries it finds nothing.
class TimestampFormats {
 public:
  using WordSet = TimestampEntries::WordSet;

  TimestampFormats() = default;
  explicit TimestampFormats(TimestampEntries entries);

  const std::vector<StampForm>& forms() const { return forms_; }

  // Indices of the forms to try at a place, in the order of trial: those of whole stamps, and the
  // others.
  std::span<const std::uint16_t> wholeForms(PlaceLook look) const {
    return groups_[wholeGroups_[look.index()]];
  }
  std::span<const std::uint16_t> partForms(PlaceLook look) const {
    return groups_[partGroups_[look.index()]];
  }
  // Looks with any form to try.
  const LookSet& looks() const { return looks_; }

  const CalendarNames& names() const { return names_; }
  const TimeZones& zones() const { return zones_; }
  // Words beside which a number of that kind is no stamp.
  const WordSet& decoyWords(StampKind kind, WordSide side) const {
    return decoyWords_[static_cast<std::size_t>(kind)][static_cast<std::size_t>(side)];
  }
  // Keys of fields that hold whole Unix times.
  const WordSet& timeKeys() const { return timeKeys_; }

 private:
  using GroupIndices = std::array<std::uint16_t, PlaceLook::kCount>;

  CalendarNames names_;
  TimeZones zones_;
  std::vector<StampForm> forms_;
  std::vector<std::vector<std::uint16_t>> groups_ = {{}};  // of forms that are tried together
  GroupIndices wholeGroups_{};
  GroupIndices partGroups_{};
  LookSet looks_;
  std::array<std::array<WordSet, 2>, kStampKinds> decoyWords_;
  WordSet timeKeys_;
};

}  // namespace sourcetype
