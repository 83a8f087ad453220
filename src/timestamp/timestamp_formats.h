// What datetime.xml says of timestamps, compiled. The file's own comment describes its format.
#pragma once

#include <array>
#include <cstdint>
#include <filesystem>
#include <memory>
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

enum class WordSide : std::uint8_t { Before, After };

// Immutable. Finds nothing when it was made without load().
class TimestampFormats {
 public:
  using WordSet = std::unordered_set<std::string>;  // in lower case

  // Never throws for the file's sake: a faulty entry is logged with file and line and left out (a
  // faulty expression when it is first tried), a missing or unreadable file is logged and gives
  // formats that find nothing.
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
  friend class FormatsReader;
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
