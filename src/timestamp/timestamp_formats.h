// What datetime.xml says of timestamps, compiled. The file's own comment describes its format.
#pragma once

#include <array>
#include <cstdint>
#include <filesystem>
#include <span>
#include <string>
#include <string_view>
#include <unordered_set>
#include <vector>

#include "timestamp/calendar_names.h"
#include "timestamp/stamp_fields.h"
#include "timestamp/stamp_place.h"
#include "timestamp/time_zones.h"
#include "util/regex.h"

namespace sourcetype {

// Whole: date and time of day. Epoch: a whole number since 1970. Date, Time: one without the other.
enum class StampKind : std::uint8_t { Whole, Epoch, Date, Time };
constexpr std::size_t kStampKinds = 4;

// One form of stamp.
struct StampForm {
  std::string name;
  StampKind kind;
  Regex expression;  // matches at the subject's start alone
  std::vector<FieldGroup> groups;
  std::string behindLetters;  // stands directly behind one of these, unless empty
  bool onlyFirst = false;     // nothing but punctuation may stand before it in the line
  bool standsAlone = true;    // otherwise it completes what stands apart from it
};

enum class WordSide : std::uint8_t { Before, After };

// Immutable. Finds nothing when it was made without load().
class TimestampFormats {
 public:
  using WordSet = std::unordered_set<std::string>;  // in lower case

  // Never throws for the file's sake: a faulty entry is logged with file and line and left out, a
  // missing or unreadable file is logged and gives formats that find nothing.
  static TimestampFormats load(const std::filesystem::path& file);

  const std::vector<StampForm>& forms() const { return forms_; }

  // Indices of the forms to try at a place, in the order of trial: those of whole stamps, and the
  // others.
  std::span<const std::uint16_t> wholeForms(PlaceLook look) const {
    return groups_[wholeGroups_[look.index()]];
  }
  std::span<const std::uint16_t> partForms(PlaceLook look) const {
    return groups_[partGroups_[look.index()]];
  }

  const CalendarNames& names() const { return names_; }
  const TimeZones& zones() const { return zones_; }
  // Words beside which a number of that kind is no stamp.
  const WordSet& decoyWords(StampKind kind, WordSide side) const {
    return decoyWords_[static_cast<std::size_t>(kind)][static_cast<std::size_t>(side)];
  }
  // Keys of fields that hold whole Unix times.
  const WordSet& timeKeys() const { return timeKeys_; }

 private:
  friend class FormatsReader;
  using GroupIndices = std::array<std::uint16_t, PlaceLook::kCount>;

  CalendarNames names_;
  TimeZones zones_;
  std::vector<StampForm> forms_;
  std::vector<std::vector<std::uint16_t>> groups_ = {{}};  // of forms that are tried together
  GroupIndices wholeGroups_{};
  GroupIndices partGroups_{};
  std::array<std::array<WordSet, 2>, kStampKinds> decoyWords_;
  WordSet timeKeys_;
};

}  // namespace sourcetype
