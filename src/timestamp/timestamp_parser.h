// Finds the timestamp of a line and says which instant it names.
//
//   const TimestampFormats formats = readDatetimeFile(root / "datetime.xml");
//   TimestampParser parser(formats, settings, path, now);  // one for each file
//   for (const auto line : lines) {
//     if (const auto timestamp = parser.parse(line)) use(timestamp->seconds, timestamp->main);
//   }
//
// timestamp_settings.h lists the settings that the parser knows.
#pragma once

#include <chrono>
#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "conf/properties_map.h"
#include "timestamp/date_reader.h"
#include "timestamp/timestamp.h"
#include "timestamp/timestamp_formats.h"
#include "timestamp/timestamp_history.h"
#include "timestamp/timestamp_place.h"
#include "timestamp/timestamp_settings.h"
#include "util/match_budget.h"
#include "util/regex.h"

namespace sourcetype {

// Parses the lines of one file in their order, because the lines before help to read the next one.
//
// Where a line has several timestamps, the choice is, in this order:
//   1. date and time together; of several, the first that is no part of a longer word, path or URL
//   2. a time, completed by a date elsewhere in the line
//   3. a whole Unix time
//   4. a date
//   5. a time
//   6. date and time together inside a longer word, path or URL
class TimestampParser {
 public:
  // `formats` must outlive the object. `name` is the name of the file, for the log. `reference` is
  // the present: dates without a year are close to it.
  TimestampParser(const TimestampFormats& formats, const PropertiesMap& settings,
                  const std::string& name, std::chrono::sys_seconds reference);

  // Nothing if the line has no timestamp.
  std::optional<Timestamp> parse(std::string_view line);

 private:
  using FormIndex = TimestampHistory::FormIndex;

  // The instant that fields name.
  struct Instant {
    std::chrono::sys_seconds time;
    std::int32_t nanoseconds = 0;
    std::int32_t utcOffset = 0;
    std::optional<OrderEvidence> evidence;
  };
  // A piece of a line that matches a form and names an instant within the limits.
  struct Piece {
    FormIndex form = 0;
    std::size_t start = 0;  // bytes from the line's start
    std::size_t end = 0;
    Instant instant;
  };
  // A piece that another one may complete: a date and a time.
  struct Part : Piece {
    TimestampFields fields;
  };
  // A line and the part of it that is searched.
  struct Search {
    std::string_view line;
    std::size_t begin;
    std::size_t end;

    std::string_view from(std::size_t offset) const { return line.substr(offset, end - offset); }
  };
  // The dates and times of a line that are not directly together.
  struct Parts {
    std::optional<Piece> epoch;
    std::vector<Part> dates;
    std::vector<Part> times;
  };

  bool match(const Regex& regex, std::string_view text);
  std::optional<Timestamp> parseFormat(const Search& search);
  std::optional<Timestamp> findTimestamp(const Search& search);
  std::optional<Timestamp> findApart(const Search& search);

  std::optional<Piece> wholeAt(const Search& search, const TimestampPlace& place);
  std::optional<Part> partAt(const Search& search, const TimestampPlace& place);
  std::optional<Piece> matchForm(const Search& search, FormIndex form, const TimestampPlace& place);
  bool mayStandAt(const Search& search, FormIndex form, std::size_t offset) const;
  bool isFree(const Search& search, const Piece& piece) const;
  bool isDecoy(const Search& search, const Piece& piece) const;
  bool belongTogether(const Search& search, const Piece& time, const Piece& date) const;
  bool standsAlone(const Piece& piece) const { return formats_.forms()[piece.form].standsAlone; }
  TimestampKind kindOf(const Piece& piece) const { return formats_.forms()[piece.form].kind; }

  std::optional<Instant> instantOf(const TimestampFields& fields) const;
  std::optional<Timestamp> accept(const Piece& piece, TimestampSpan date = {});
  std::optional<Timestamp> accept(const Part& time, const Part& date);
  std::optional<Timestamp> acceptPair(const Search& search, const Parts& parts);

  const TimestampFormats& formats_;
  TimestampSettings settings_;
  DateReader dates_;
  MatchBudget budget_;  // of TIME_PREFIX and TIME_FORMAT
  TimestampHistory history_;

  // Results for one line. They are members so that their memory is reused.
  MatchResult match_;
  TimestampFields fields_;  // of the form matched last
  std::vector<TimestampPlace> partPlaces_;
  bool sawImpossibleDate_ = false;   // then a time without a date is no timestamp
  std::size_t impossibleUntil_ = 0;  // end of a whole, impossible timestamp; its parts do not count
};

}  // namespace sourcetype
