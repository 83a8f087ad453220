#include "inspect/scan/row_formats.h"

#include <fmt/core.h>

#include <algorithm>
#include <cmath>
#include <nlohmann/json.hpp>

#include "timestamp/instant_text.h"
#include "util/text.h"

namespace sourcetype {
namespace {

constexpr std::size_t kTypeWidth = 24;
constexpr std::size_t kStageWidth = 14;
constexpr std::size_t kNumberWidth = 7;

// Terminals below these widths get no such columns.
constexpr unsigned kMinStageWidth = 60;
constexpr unsigned kMinInstantWidth = 110;

std::string fullInstant(const std::optional<Timestamp>& instant) {
  return instant ? instantText(instant->seconds, instant->nanoseconds) : "";
}

// One digit after the point is as exact as a margin is.
double toTenths(double margin) {
  return std::round(margin * 10) / 10;
}

std::string marginText(const std::optional<double>& margin) {
  return margin ? fmt::format("{:.1f}", *margin) : "";
}

std::string eventsText(const ScanRow& row) {
  if (!row.events) return "";
  return std::to_string(*row.events) + (row.isCut ? "+" : "");
}

std::string csvCell(std::string text) {
  if (!text.empty() && isOneOf(text.front(), "=+-@\t\r")) text.insert(0, 1, '\'');
  if (text.find_first_of(",\"\r\n") == std::string::npos) return text;
  for (auto at = text.find('"'); at != std::string::npos; at = text.find('"', at + 2)) {
    text.insert(at, 1, '"');
  }
  return inQuotes(text);
}

// Columns that a text takes, if each character takes one.
std::size_t columnsOf(std::string_view text) {
  return static_cast<std::size_t>(std::ranges::count_if(
      text, [](char byte) { return (static_cast<unsigned char>(byte) & 0xC0U) != 0x80U; }));
}

Style styleOf(const ScanRow& row) {
  if (!row.error.empty() || !row.isRecognised()) return Style::Bad;
  return row.stage == Stage::Invalid || row.stage == Stage::TooSmall ? Style::Dim : Style::Good;
}

}  // namespace

Json toJson(const ScanRow& row) {
  Json object{{"file", row.file},
              {"sourcetype", row.sourcetype},
              {"stage", stageName(row.stage)},
              {"margin", row.margin ? Json(toTenths(*row.margin)) : Json()},
              {"events", row.events ? Json(*row.events) : Json()},
              {"first", textOrNull(fullInstant(row.first))},
              {"last", textOrNull(fullInstant(row.last))}};
  if (row.isCut) object["truncated"] = true;
  if (!row.error.empty()) object["error"] = row.error;
  return object;
}

std::string csvHead() {
  return "file,sourcetype,stage,margin,events,first,last,truncated,error\r\n";
}

std::string toCsv(const ScanRow& row) {
  return fmt::format("{},{},{},{},{},{},{},{},{}\r\n", csvCell(row.file), csvCell(row.sourcetype),
                     stageName(row.stage), marginText(row.margin),
                     row.events ? std::to_string(*row.events) : "", fullInstant(row.first),
                     fullInstant(row.last), row.isCut ? "true" : "", csvCell(row.error));
}

RowTable::RowTable(const Output& out, unsigned width)
    : out_(out), hasStage_(width >= kMinStageWidth), hasInstants_(width >= kMinInstantWidth) {}

std::string RowTable::head() const {
  std::string line = padded("SOURCETYPE", kTypeWidth);
  if (hasStage_) {
    line += padded("STAGE", kStageWidth) + padded("MARGIN", kNumberWidth) +
            padded("EVENTS", kNumberWidth);
  }
  if (hasInstants_) line += padded("FIRST", kInstantWidth) + padded("LAST", kInstantWidth);
  return out_.paint(Style::Heading, line + "FILE") + "\n";
}

std::string RowTable::line(const ScanRow& row) const {
  std::string line = out_.paint(styleOf(row), padded(harmless(row.sourcetype), kTypeWidth));
  if (hasStage_) {
    line += padded(stageName(row.stage), kStageWidth) +
            padded(marginText(row.margin), kNumberWidth) + padded(eventsText(row), kNumberWidth);
  }
  if (hasInstants_) {
    line += padded(shortInstant(row.first), kInstantWidth) +
            padded(shortInstant(row.last), kInstantWidth);
  }
  line += harmless(row.file);
  if (!row.error.empty()) line += out_.paint(Style::Bad, ": " + harmless(row.error));
  return line + "\n";
}

std::string padded(std::string_view text, std::size_t width) {
  const std::size_t columns = columnsOf(text);
  return std::string(text).append(columns < width ? width - columns : 0, ' ') + " ";
}

std::string shortInstant(const std::optional<Timestamp>& instant) {
  return instant ? instantText(instant->seconds, 0) : "";
}

}  // namespace sourcetype
