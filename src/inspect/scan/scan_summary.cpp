#include "inspect/scan/scan_summary.h"

#include <fmt/core.h>

#include <nlohmann/json.hpp>
#include <tuple>

#include "inspect/scan/row_formats.h"
#include "timestamp/instant_text.h"

namespace sourcetype {
namespace {

constexpr std::string_view kUnrecognised = "(not recognised)";

// The file's line in the table of sourcetypes. Names that the tool would make up count together.
std::string countedAs(const ScanRow& row) {
  if (!row.isRecognised()) return std::string(kUnrecognised);
  if (row.stage == Stage::TooSmall) return "(too small)";
  if (row.stage == Stage::Invalid) return row.error.empty() ? "(no text)" : "(unreadable)";
  return row.sourcetype;
}

bool isEarlier(const Timestamp& a, const Timestamp& b) {
  return std::tie(a.seconds, a.nanoseconds) < std::tie(b.seconds, b.nanoseconds);
}

void widen(std::optional<Timestamp>& first, std::optional<Timestamp>& last,
           const std::optional<Timestamp>& instant) {
  if (!instant) return;
  if (!first || isEarlier(*instant, *first)) first = instant;
  if (!last || isEarlier(*last, *instant)) last = instant;
}

Json instantJson(const std::optional<Timestamp>& instant) {
  return instant ? Json(instantText(instant->seconds, instant->nanoseconds)) : Json();
}

std::string filesText(std::size_t count) {
  return count == 1 ? "1 file" : fmt::format("{} files", count);
}

}  // namespace

void ScanSummary::add(const ScanRow& row) {
  const std::string type = countedAs(row);
  Counts& counts = types_[type];
  ++files_;
  ++counts.files;
  counts.events += row.events.value_or(0);
  widen(counts.first, counts.last, row.first);
  widen(counts.first, counts.last, row.last);
  if (!row.error.empty()) ++errors_;
  // A few lines, or none, say nothing about the log.
  if (row.stage != Stage::TooSmall && row.stage != Stage::Invalid) rotations_.add(row.file, type);
  if (row.isRecognised()) return;
  ++unrecognised_;
  if (row.fingerprint) {
    groups_.add(row.file, row.sourcetype, *row.fingerprint);
  } else {
    groups_.addUngrouped();
  }
}

std::string ScanSummary::toText(const Output& out) const {
  std::string text = typesText(out) + groupsText(out) + rotationsText(out);
  if (isInterrupted_) {
    text += "\n" + out.paint(Style::Bad, "Interrupted after " + filesText(files_)) + "\n";
  }
  return text;
}

std::string ScanSummary::typesText(const Output& out) const {
  std::size_t width = kUnrecognised.size();
  for (const auto& [type, counts] : types_) width = std::max(width, harmless(type).size());
  constexpr std::size_t kCountWidth = 9;
  std::string text =
      "\n" +
      out.paint(Style::Heading, padded("SOURCETYPE", width) + padded("FILES", kCountWidth) +
                                    padded("EVENTS", kCountWidth) +
                                    padded("EARLIEST", kInstantWidth) + "LATEST") +
      "\n";
  for (const auto& [type, counts] : types_) {
    std::string line =
        padded(harmless(type), width) + padded(std::to_string(counts.files), kCountWidth) +
        padded(std::to_string(counts.events), kCountWidth) +
        padded(shortInstant(counts.first), kInstantWidth) + shortInstant(counts.last);
    line.erase(line.find_last_not_of(' ') + 1);
    text += line + "\n";
  }
  return text;
}

std::string ScanSummary::groupsText(const Output& out) const {
  if (unrecognised_ == 0) return {};
  constexpr std::size_t kMaxShown = 20;
  const auto groups = groups_.bySize();
  std::string text =
      "\n" +
      out.paint(Style::Heading,
                fmt::format("NOT RECOGNISED: {}, those alike together", filesText(unrecognised_))) +
      "\n";
  for (std::size_t i = 0; i < std::min(groups.size(), kMaxShown); ++i) {
    const auto& group = *groups[i];
    text +=
        fmt::format("{}, new sourcetype {}\n", filesText(group.count), harmless(group.sourcetype));
    for (const auto& file : group.files) text += "  " + harmless(file) + "\n";
    if (group.count > group.files.size()) {
      text += fmt::format("  and {} more\n", group.count - group.files.size());
    }
  }
  if (groups.size() > kMaxShown) {
    text += fmt::format("and {} more groups\n", groups.size() - kMaxShown);
  }
  if (groups_.ungrouped() > 0) {
    text += fmt::format("and {} in no group\n", filesText(groups_.ungrouped()));
  }
  return text;
}

std::string ScanSummary::rotationsText(const Output& out) const {
  if (rotations_.count() == 0) return {};
  std::string text = "\n" + out.paint(Style::Heading, "ROTATIONS THAT DISAGREE") + "\n";
  for (const auto& log : rotations_.disagreeing()) {
    text += harmless(log.name) + "\n";
    for (const auto& [type, file] : log.firstFiles) {
      text += "  " + harmless(type) + ": " + harmless(file) + "\n";
    }
  }
  if (rotations_.count() > rotations_.disagreeing().size()) {
    text += fmt::format("and {} more\n", rotations_.count() - rotations_.disagreeing().size());
  }
  return text;
}

std::vector<Json> ScanSummary::toJson() const {
  std::vector<Json> objects;
  for (const auto* group : groups_.bySize()) {
    objects.push_back(
        {{"group", group->sourcetype}, {"count", group->count}, {"files", group->files}});
  }
  for (const auto& log : rotations_.disagreeing()) {
    Json types = Json::object();
    for (const auto& [type, file] : log.firstFiles) types[type] = file;
    objects.push_back({{"rotations", log.name}, {"sourcetypes", types}});
  }
  Json types = Json::array();
  for (const auto& [type, counts] : types_) {
    types.push_back({{"sourcetype", type},
                     {"files", counts.files},
                     {"events", counts.events},
                     {"first", instantJson(counts.first)},
                     {"last", instantJson(counts.last)}});
  }
  objects.push_back({{"summary", types},
                     {"files", files_},
                     {"unrecognised", unrecognised_},
                     {"errors", errors_},
                     {"interrupted", isInterrupted_}});
  return objects;
}

}  // namespace sourcetype
