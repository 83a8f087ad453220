// The parser visits each place of a line where a timestamp may begin and tries the forms that can
// begin there. The first whole timestamp that is no part of something longer ends the search; in
// most lines that takes one expression. If there is none, the parser tries the same places for
// dates, times and Unix times.

#include "timestamp/timestamp_parser.h"
#include "timestamp/timestamp_log.h"

#include <algorithm>

#include "timestamp/surroundings.h"
#include "util/logging.h"
#include "util/text.h"

namespace sourcetype {
namespace {

using std::chrono::days;
using std::chrono::sys_seconds;

// Steps for the searches of TIME_PREFIX and TIME_FORMAT. Useful expressions need a few steps for a
// byte. Each line adds more than that, so that they never run out of steps.
constexpr std::uint64_t kStartingBudget = 200'000'000;
constexpr std::uint64_t kCostPerLine = 10'000;
constexpr std::uint64_t kCostPerByte = 64;

// Dates, and times, of a line that are kept for pairs. More would make a line that has nothing else
// expensive.
constexpr std::size_t kMaxParts = 8;

TimestampSpan span(std::size_t start, std::size_t end) {
  return {.start = static_cast<std::ptrdiff_t>(start), .end = static_cast<std::ptrdiff_t>(end)};
}

// True for a key of a time, and for one that ends with such a key ("eventTime", "start_ts").
bool isTimeKey(std::string_view key, const TimestampFormats::WordSet& timeKeys) {
  if (timeKeys.contains(toAsciiLower(key))) return true;
  for (std::size_t i = key.size(); i-- > 0;) {
    if (!isAsciiLetter(key[i])) return timeKeys.contains(toAsciiLower(key.substr(i + 1)));
    if (isAsciiUpper(key[i]) && timeKeys.contains(toAsciiLower(key.substr(i)))) return true;
  }
  return false;
}

}  // namespace

TimestampParser::TimestampParser(const TimestampFormats& formats, const PropertiesMap& settings,
                                 const std::string& name, sys_seconds reference)
    : formats_(formats),
      settings_(readTimestampSettings(settings, formats.zones(), name, reference)),
      dates_(settings_.limits),
      budget_(kStartingBudget),
      history_(formats.forms().size() + 1, settings_.maxAgo, settings_.maxHence) {}

std::optional<Timestamp> TimestampParser::parse(std::string_view line) {
  Search search{.line = line, .begin = 0, .end = 0};
  if (settings_.prefix) {
    if (!match(*settings_.prefix, line)) return std::nullopt;
    search.begin = match_.end(0);
  }
  search.end = search.begin + std::min(settings_.lookahead, line.size() - search.begin);
  history_.beginLine();
  sawImpossibleDate_ = false;
  impossibleUntil_ = 0;
  return settings_.format ? parseFormat(search) : findTimestamp(search);
}

// Matches an expression from configuration; the result is in match_.
bool TimestampParser::match(const Regex& regex, std::string_view text) {
  if (budget_.isSpent()) return false;
  budget_.add(kCostPerLine + kCostPerByte * text.size());
  const bool found = regex.tryMatch(text, match_, budget_) == Regex::Answer::Match;
  if (budget_.isSpent()) {
    logWarn(kParserLog, "The expression %s costs too much; it is not tried on more lines.",
            regex.pattern());
  }
  return found;
}

std::optional<Timestamp> TimestampParser::parseFormat(const Search& search) {
  const auto window = search.from(search.begin);
  if (!match(settings_.format->regex, window)) return std::nullopt;
  const auto end = readFields(match_, window, settings_.format->groups, formats_.names(),
                              formats_.zones(), fields_);
  if (!end || *end == match_.start(0)) return std::nullopt;  // a format of blanks matches anywhere
  const auto instant = instantOf(fields_);
  if (!instant) return std::nullopt;
  return accept(Piece{.form = static_cast<FormIndex>(formats_.forms().size()),
                      .start = search.begin + match_.start(0),
                      .end = search.begin + *end,
                      .instant = *instant});
}

std::optional<Timestamp> TimestampParser::findTimestamp(const Search& search) {
  TimestampPlaces places(search.line.substr(0, search.end), search.begin, formats_.names(),
                         formats_.looks());
  std::optional<Piece> insideWord;
  partPlaces_.clear();
  while (const auto place = places.next()) {
    if (const auto piece = wholeAt(search, *place)) {
      places.skipTo(piece->end);
      if (!isFree(search, *piece)) {
        if (!insideWord) insideWord = piece;
      } else if (auto timestamp = accept(*piece)) {
        return timestamp;
      }
    } else if (place->start >= impossibleUntil_ && !formats_.partForms(place->look).empty()) {
      partPlaces_.push_back(*place);
    }
  }
  if (auto timestamp = findApart(search)) return timestamp;
  return insideWord ? accept(*insideWord) : std::nullopt;
}

// The longest match of a whole form at a place.
std::optional<TimestampParser::Piece> TimestampParser::wholeAt(const Search& search,
                                                               const TimestampPlace& place) {
  const auto forms = formats_.wholeForms(place.look);
  if (forms.empty() || place.continuesNumber) return std::nullopt;
  if (forms.size() == 1) return matchForm(search, forms.front(), place);
  std::optional<Piece> best;
  const auto tryForm = [&](FormIndex form) {
    const auto piece = matchForm(search, form, place);
    if (piece && (!best || piece->end > best->end)) best = piece;
  };
  const auto last = history_.lastForm();
  const bool lastFits = last && std::ranges::find(forms, *last) != forms.end();
  if (lastFits) tryForm(*last);
  for (const FormIndex form : forms) {
    if (!lastFits || form != *last) tryForm(form);
  }
  return best;
}

std::optional<TimestampParser::Piece> TimestampParser::matchForm(const Search& search,
                                                                 FormIndex form,
                                                                 const TimestampPlace& place) {
  const TimestampForm& shape = formats_.forms()[form];
  const auto subject = search.from(place.offset);
  if (!mayStandAt(search, form, place.offset)) return std::nullopt;
  const TimestampExpression* expression = shape.expression.get();
  if (expression == nullptr || !expression->regex.match(subject, match_)) return std::nullopt;
  const auto length =
      readFields(match_, subject, expression->groups, formats_.names(), formats_.zones(), fields_);
  if (!length) return std::nullopt;
  const std::size_t end = place.offset + *length;
  // The lookahead may end within a fraction, but not within a number that is the timestamp.
  const std::size_t limit = shape.kind == TimestampKind::Whole ? search.end : search.line.size();
  if (end < limit && isAsciiDigit(search.line[end])) return std::nullopt;
  const auto instant = instantOf(fields_);
  if (!instant) {
    if (shape.kind == TimestampKind::Whole) impossibleUntil_ = std::max(impossibleUntil_, end);
    if (shape.standsAlone && shape.kind != TimestampKind::Epoch && fields_.hasDate())
      sawImpossibleDate_ = true;
    return std::nullopt;
  }
  const std::size_t start = shape.withLetter ? place.offset - 1 : place.start;
  return Piece{.form = form, .start = start, .end = end, .instant = *instant};
}

bool TimestampParser::mayStandAt(const Search& search, FormIndex form, std::size_t offset) const {
  const TimestampForm& shape = formats_.forms()[form];
  if (shape.onlyFirst && !isFirst(search.line, search.begin, offset)) return false;
  if (shape.afterLetters.empty()) return true;
  return offset > search.begin &&
         shape.afterLetters.find(search.line[offset - 1]) != std::string::npos &&
         beginsFreely(search.line, search.begin, offset - 1);
}

bool TimestampParser::isFree(const Search& search, const Piece& piece) const {
  const TimestampForm& shape = formats_.forms()[piece.form];
  if (shape.kind != TimestampKind::Whole && !endsFreely(search.line, piece.end)) return false;
  if (isContinuedByWord(search.line, piece.end)) return false;
  return !shape.afterLetters.empty() || beginsFreely(search.line, search.begin, piece.start);
}

// The longest date, time or Unix time at a place that is no part of something longer.
std::optional<TimestampParser::Part> TimestampParser::partAt(const Search& search,
                                                             const TimestampPlace& place) {
  std::optional<Part> best;
  if (!beginsFreely(search.line, search.begin, place.start)) return best;
  for (const FormIndex form : formats_.partForms(place.look)) {
    const auto piece = matchForm(search, form, place);
    if (!piece || (best && piece->end <= best->end)) continue;
    if (isFree(search, *piece) && !isDecoy(search, *piece)) best = Part{*piece, fields_};
  }
  return best;
}

bool TimestampParser::isDecoy(const Search& search, const Piece& piece) const {
  const TimestampKind kind = kindOf(piece);
  if (kind == TimestampKind::Epoch) {
    const auto key = keyBefore(search.line, search.begin, piece.start);
    if (!key.empty()) return !isTimeKey(key, formats_.timeKeys());
  }
  const auto before = wordBefore(search.line, search.begin, piece.start);
  const auto after = wordAfter(search.line, piece.end);
  return formats_.decoyWords(kind, WordSide::Before).contains(before) ||
         formats_.decoyWords(kind, WordSide::After).contains(after);
}

std::optional<Timestamp> TimestampParser::findApart(const Search& search) {
  Parts parts;
  std::size_t end = 0;
  for (const TimestampPlace& place : partPlaces_) {
    if (place.offset < end) continue;
    const auto part = partAt(search, place);
    if (!part) continue;
    end = part->end;
    const TimestampKind kind = kindOf(*part);
    if (kind == TimestampKind::Epoch) {
      if (!parts.epoch) parts.epoch = part;
    } else {
      auto& list = kind == TimestampKind::Date ? parts.dates : parts.times;
      if (list.size() < kMaxParts) list.push_back(*part);
    }
  }

  if (auto timestamp = acceptPair(search, parts)) return timestamp;
  if (parts.epoch) {
    if (auto timestamp = accept(*parts.epoch)) return timestamp;
  }
  if (sawImpossibleDate_) parts.times.clear();
  for (const auto* list : {&parts.dates, &parts.times}) {
    for (const Piece& piece : *list) {
      if (!standsAlone(piece)) continue;
      if (auto timestamp = accept(piece)) return timestamp;
    }
  }
  return std::nullopt;
}

// Accepts the first time of day that has a date, with the date closest to it.
std::optional<Timestamp> TimestampParser::acceptPair(const Search& search, const Parts& parts) {
  const auto gap = [](const Piece& time, const Piece& date) {
    return date.start < time.start ? time.start - date.end : date.start - time.end;
  };
  for (const Part& time : parts.times) {
    const Part* closest = nullptr;
    for (const Part& date : parts.dates) {
      if (!belongTogether(search, time, date)) continue;
      if (closest == nullptr || gap(time, date) < gap(time, *closest)) closest = &date;
    }
    if (closest == nullptr) continue;
    if (auto timestamp = accept(time, *closest)) return timestamp;
  }
  return std::nullopt;
}

// If one of them is vague (alone="no"), only the key of a field may be between them.
bool TimestampParser::belongTogether(const Search& search, const Piece& time,
                                     const Piece& date) const {
  if (standsAlone(time) && standsAlone(date)) return true;
  const Piece& left = date.start < time.start ? date : time;
  const Piece& right = date.start < time.start ? time : date;
  const auto key = keyBefore(search.line, left.end, right.start);
  const auto between = search.line.substr(left.end, right.start - left.end);
  const auto beforeKey = between.substr(
      0, key.empty() ? between.size() : static_cast<std::size_t>(key.data() - between.data()));
  return std::ranges::none_of(beforeKey,
                              [](char c) { return isAsciiLetter(c) || isAsciiDigit(c); });
}

std::optional<TimestampParser::Instant> TimestampParser::instantOf(
    const TimestampFields& fields) const {
  if (fields.epoch) {
    if (!settings_.limits.contain(*fields.epoch)) return std::nullopt;
    return Instant{
        .time = *fields.epoch, .nanoseconds = fields.nanoseconds, .evidence = std::nullopt};
  }
  const auto timeOfDay = fields.timeOfDay();
  if (!timeOfDay) return std::nullopt;
  const TimeInZone time{.timeOfDay = *timeOfDay,
                        .zone = fields.zone ? *fields.zone : settings_.zone};
  if (!fields.hasDate()) {
    const auto today = time.zone.toLocal(history_.previous().value_or(settings_.limits.reference));
    const auto instant = time.on(std::chrono::floor<days>(today));
    if (!settings_.limits.contain(instant)) return std::nullopt;
    return Instant{.time = instant,
                   .nanoseconds = fields.nanoseconds,
                   .utcOffset = time.zone.offsetAt(instant).count(),
                   .evidence = std::nullopt};
  }
  const auto date = dates_.read(fields, time);
  if (!date) return std::nullopt;
  return Instant{.time = date->time,
                 .nanoseconds = fields.nanoseconds,
                 .utcOffset = time.zone.offsetAt(date->time).count(),
                 .evidence = date->evidence};
}

// Accepts a time of day and its date as the line's timestamp.
std::optional<Timestamp> TimestampParser::accept(const Part& time, const Part& date) {
  TimestampFields fields = date.fields;
  for (const auto field : {TimestampField::Hour, TimestampField::Minute, TimestampField::Second,
                           TimestampField::Half}) {
    fields.set(field, time.fields.get(field));
  }
  fields.nanoseconds = time.fields.nanoseconds;
  fields.zone = time.fields.zone;
  const auto instant = instantOf(fields);
  if (!instant) return std::nullopt;
  return accept({.form = time.form, .start = time.start, .end = time.end, .instant = *instant},
                span(date.start, date.end));
}

// Accepts a piece as the line's timestamp. Nothing if it is too far from the previous timestamp.
std::optional<Timestamp> TimestampParser::accept(const Piece& piece, TimestampSpan date) {
  const Instant& instant = piece.instant;
  if (!history_.accept(piece.form, instant.time)) return std::nullopt;
  history_.add(piece.form, instant.time);
  if (instant.evidence) dates_.confirm(*instant.evidence);
  return Timestamp{.seconds = instant.time.time_since_epoch().count(),
                   .nanoseconds = instant.nanoseconds,
                   .utcOffset = instant.utcOffset,
                   .main = span(piece.start, piece.end),
                   .second = date};
}

}  // namespace sourcetype
