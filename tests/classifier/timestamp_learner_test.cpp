#include "classifier/timestamp_learner.h"

#include <gtest/gtest.h>

#include "support/table.h"
#include "support/temp_tree.h"
#include "timestamp/timestamp_settings.h"

namespace sourcetype {
namespace {

TEST(TimePrefix, SkipsToTheLastAnchor) {
  testing::forEachRow("classifier/time_prefixes.txt", 2, [](const testing::Row& row) {
    EXPECT_EQ(makeTimePrefixRegex(row[0]), row[1]);
  });
}

// Finds "2026-01-02" as the first part and "[...]" as the second part of a timestamp.
std::optional<Timestamp> find(std::string_view line) {
  const auto at = line.find("2026-01-02");
  if (at == std::string_view::npos) return std::nullopt;
  const auto start = static_cast<std::ptrdiff_t>(at);
  Timestamp place{.main = {start, start + 10}, .second = {}};
  if (const auto open = line.find('['); open != std::string_view::npos) {
    place.second = {static_cast<std::ptrdiff_t>(open), static_cast<std::ptrdiff_t>(line.find(']'))};
  }
  if (line.ends_with("nowhere")) place.main = {};
  return place;
}

std::optional<Timestamp> findNear(std::string_view line) {
  return find(line.substr(0, kDefaultTimestampLookahead));
}

TEST(TimestampSettings, AreLearned) {
  testing::forEachRow("classifier/timestamp_settings.txt", 4, [](const testing::Row& row) {
    PropertiesMap settings = testing::settingsFrom(row[2]);
    learnTimestampSettings("t", readSampleText(row[1], {}, "text"), settings, findNear, find);
    EXPECT_EQ(settings, testing::settingsFrom(row[3])) << settings.toString();
  });
}

}  // namespace
}  // namespace sourcetype
