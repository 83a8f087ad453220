// Finds the timestamp of a line and says which instant it names.
#pragma once

#include <chrono>
#include <cstddef>
#include <cstdint>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "conf/properties_map.h"
#include "timestamp/date_reader.h"
#include "timestamp/timestamp.h"
#include "timestamp/timestamp_formats.h"
#include "util/match_budget.h"
#include "util/regex.h"

namespace sourcetype {

// Built for one file or call; remembers what the lines before said. Of the settings it knows
//   TIME_PREFIX              an expression: the search starts after its first match, and a line
//                            without a match has no timestamp
//   TIME_FORMAT              the only format to look for (timestamp/time_format.h)
//   MAX_TIMESTAMP_LOOKAHEAD  bytes that are searched, 200 when unset; a negative number and one
//                            above kMaxLookahead mean kMaxLookahead
//   TZ                       where stamps without a zone come from, an offset or a name; default
//   UTC MAX_DAYS_AGO, MAX_DAYS_HENCE            a stamp further from the reference is none
//   MAX_DIFF_SECS_AGO, MAX_DIFF_SECS_HENCE  a stamp further from the one before is none, unless it
//                                           has the form that was seen most often
// A TIME_PREFIX, TIME_FORMAT or TZ that cannot be used is logged once and ignored. One that costs
// too much on a line finds nothing there.
//
// Of several stamps in a line the choice is: date and time together, the first that stands by
// itself; a time with a date that stands apart; a whole Unix time; a date; a time; at last, date
// and time together inside a longer word, path or URL.
class TimestampParser {
 public:
  // Bytes of a line that are searched at most.
  static constexpr std::size_t kMaxLookahead = 10'000;

  // `formats` must outlive the object.
  TimestampParser(const TimestampFormats& formats, const PropertiesMap& settings,
                  const std::string& name, std::chrono::sys_seconds reference);

  // Nothing when the line has no timestamp.
  std::optional<Timestamp> parse(std::string_view line);

 private:
  using FormIndex = std::uint16_t;

  // The instant that fields name.
  struct Instant {
    std::chrono::sys_seconds time;
    std::int32_t nanoseconds = 0;
    std::optional<OrderEvidence> evidence;
  };
  // A piece of a line that has a form and names a possible instant.
  struct Piece {
    FormIndex form = 0;
    std::size_t start = 0;  // bytes from the line's start
    std::size_t end = 0;
    Instant instant;
  };
  // A piece that may have to be completed by another one.
  struct Part : Piece {
    StampFields fields;
  };
  // A line and the part of it that is searched.
  struct Search {
    std::string_view line;
    std::size_t begin;
    std::size_t end;

    std::string_view from(std::size_t offset) const { return line.substr(offset, end - offset); }
  };
  // What stands apart in a line.
  struct Parts {
    std::optional<Piece> epoch;
    std::vector<Part> dates;
    std::vector<Part> times;
  };

  bool match(const Regex& regex, std::string_view text);
  std::optional<Timestamp> parseFormat(const Search& search);
  std::optional<Timestamp> findStamp(const Search& search);
  std::optional<Timestamp> findApart(const Search& search);

  std::optional<Piece> wholeAt(const Search& search, const StampPlace& place);
  std::optional<Part> partAt(const Search& search, const StampPlace& place);
  std::optional<Piece> matched(const Search& search, FormIndex form, const StampPlace& place);
  bool mayStandAt(const Search& search, FormIndex form, std::size_t offset) const;
  bool isFree(const Search& search, const Piece& piece) const;
  bool isDecoy(const Search& search, const Piece& piece) const;
  bool belongTogether(const Search& search, const Piece& time, const Piece& date) const;
  bool standsAlone(const Piece& piece) const { return formats_.forms()[piece.form].standsAlone; }
  StampKind kindOf(const Piece& piece) const { return formats_.forms()[piece.form].kind; }

  std::optional<Instant> instantOf(const StampFields& fields) const;
  std::optional<Timestamp> taken(const Piece& piece, TimestampSpan date = {});
  std::optional<Timestamp> taken(const Part& time, const Part& date);
  std::optional<Timestamp> takenPair(const Search& search, const Parts& parts);
  bool isPlausible(FormIndex form, std::chrono::sys_seconds time);
  void countForm(FormIndex form);

  void readPrefix(const PropertiesMap& settings);
  void readFormat(const PropertiesMap& settings);
  void readZone(const PropertiesMap& settings, std::string_view name);

  const TimestampFormats& formats_;
  TimeLimits limits_;
  DateReader dates_;
  TimeZone zone_;
  std::size_t lookahead_;
  std::chrono::seconds mostAgo_;    // between a stamp and the one before
  std::chrono::seconds mostHence_;  // likewise
  std::optional<Regex> prefix_;
  std::optional<Regex> format_;
  MatchBudget budget_;  // of both
  std::vector<FieldGroup> formatGroups_;

  // What the lines before said.
  std::optional<std::chrono::sys_seconds> previous_;
  std::optional<FormIndex> lastForm_;     // tried first
  std::vector<std::uint32_t> timesSeen_;  // by form; TIME_FORMAT is the last
  std::uint32_t mostSeen_ = 0;

  // What is found in one line; members for their memory.
  MatchResult match_;
  StampFields fields_;  // of the form matched last
  std::vector<StampPlace> partPlaces_;
  bool countedRefusal_ = false;
  bool sawImpossibleDate_ = false;   // no time of day is taken without its date
  std::size_t impossibleUntil_ = 0;  // end of a whole stamp that cannot be; nor can its parts
};

}  // namespace sourcetype
