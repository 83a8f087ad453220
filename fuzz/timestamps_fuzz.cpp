// The timestamps of lines, under any settings. Input: settings as keys and values in turn, an empty
// key, and the lines.
#include <chrono>

#include "conf/properties_map.h"
#include "support.h"
#include "timestamp/datetime_file.h"
#include "timestamp/instant_text.h"
#include "timestamp/timestamp_parser.h"
#include "timestamp/xml_libraries.h"

namespace sourcetype::fuzzing {
namespace {

constexpr std::chrono::sys_seconds kReference{std::chrono::seconds(1'718'452'800)};  // June 2024

const TimestampFormats& formats() {
  static const TimestampFormats kFormats =
      readDatetimeFile(tree().write("datetime.xml", repositoryFile("etc/datetime.xml")));
  return kFormats;
}

void checkSpan(const TimestampSpan& span, std::string_view line) {
  require(0 <= span.start && span.start < span.end &&
              span.end <= static_cast<std::ptrdiff_t>(line.size()),
          "a span lies in its line and is not empty");
}

void checkStamp(const Timestamp& stamp, std::string_view line, const PropertiesMap& settings) {
  checkSpan(stamp.main, line);
  const bool hasSecond = stamp.second != TimestampSpan{};
  if (hasSecond) {
    checkSpan(stamp.second, line);
    require(stamp.second.end <= stamp.main.start || stamp.main.end <= stamp.second.start,
            "date and time do not overlap");
  }
  require(0 <= stamp.nanoseconds && stamp.nanoseconds < 1'000'000'000,
          "nanoseconds are less than a second");
  using std::chrono::seconds;
  constexpr std::int64_t kMostDays = 1'000'000;
  const auto secondsOf = [&](std::string_view key, std::int64_t fallback) {
    return std::clamp<std::int64_t>(settings.getInt(key, fallback), 0, kMostDays) * 86400;
  };
  const auto reference = kReference.time_since_epoch().count();
  require(reference - secondsOf("MAX_DAYS_AGO", 36500) <= stamp.seconds &&
              stamp.seconds <= reference + secondsOf("MAX_DAYS_HENCE", 7),
          "an instant lies within its limits");
  const auto text = instantText(stamp.seconds, 0);
  const auto back = instantFromText(text);
  require(!back || back->time_since_epoch() == seconds(stamp.seconds), "an instant has a text");
  if (settings.tryGet("TIME_PREFIX")) return;
  const auto lookahead = settings.getInt("MAX_TIMESTAMP_LOOKAHEAD", 200);
  if (lookahead < 0) return;
  require(stamp.main.end <= lookahead && stamp.second.end <= lookahead,
          "nothing is taken from behind the lookahead");
}

}  // namespace

std::vector<std::string> seeds() {
  std::vector<std::string> inputs;
  std::string lines;
  const auto known = repositoryFile("tests/timestamp/lines.txt");
  for (const auto line : linesOf(known)) {
    if (line.starts_with('#') || line.starts_with("= ")) continue;
    std::string plain(line);
    for (const std::string_view mark : {"\xC2\xAB", "\xC2\xBB"}) {
      for (auto at = plain.find(mark); at != std::string_view::npos; at = plain.find(mark)) {
        plain.erase(at, mark.size());
      }
    }
    lines += plain + "\n";
    if (lines.size() < 700) continue;
    inputs.push_back(joined({"", lines}));
    lines.clear();
  }
  inputs.push_back(joined({"TIME_FORMAT", "%Y-%m-%dT%H:%M:%S.%3N%z", "TZ", "Europe/Berlin",
                           "TIME_PREFIX", "^\\w+ ", "", "a 2024-06-07T08:09:10.123+0200\n"}));
  inputs.push_back(joined({"TIME_FORMAT", "%a %b %_d %I:%M:%S %p %Z %y %j %s %%", "MAX_DAYS_AGO",
                           "9999999", "", "Mon Jun  3 01:02:03 PM UTC 24 155 1718000000 %\n"}));
  inputs.push_back(joined({"MAX_TIMESTAMP_LOOKAHEAD", "19", "MAX_DIFF_SECS_AGO", "1", "TZ", "+0530",
                           "", "2024-06-07 08:09:10 x\n2024-06-01 08:09:10 y\n"}));
  inputs.push_back(joined({"TIME_PREFIX", "(?<=x)|$", "MAX_DAYS_HENCE", "1000000",
                           "MAX_TIMESTAMP_LOOKAHEAD", "-1", "", "x 9999-12-31 23:59:60\n"}));
  return inputs;
}

void run(std::string_view input) {
  Parts parts(input);
  PropertiesMap settings;
  for (auto key = parts.next(); !key.empty(); key = parts.next()) settings.set(key, parts.next());
  TimestampParser parser(formats(), settings, "fuzz", kReference);
  TimestampParser second(formats(), settings, "fuzz", kReference);
  for (const auto line : linesOf(parts.rest())) {
    const auto stamp = parser.parse(line);
    if (stamp) checkStamp(*stamp, line, settings);
    const auto again = second.parse(std::string(line));
    require(stamp.has_value() == again.has_value() &&
                (!stamp || (stamp->seconds == again->seconds && stamp->main == again->main &&
                            stamp->second == again->second)),
            "the same lines have the same timestamps");
  }
}

}  // namespace sourcetype::fuzzing
