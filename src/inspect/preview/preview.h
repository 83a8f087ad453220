// A log as the server would see it: its events and their times.
//
//   MemoryStorage edits;
//   ConfStore store(etc, edits);
//   const auto formats = readDatetimeFile(etc / "datetime.xml");
//   const Preview preview = previewLog(store, formats, {.path = path});
//   for (const auto& event : preview.events) show(event);
#pragma once

#include <chrono>
#include <cstddef>
#include <filesystem>
#include <optional>
#include <span>
#include <string>
#include <vector>

#include "conf/conf_store.h"
#include "conf/properties_map.h"
#include "inspect/preview/log_text.h"
#include "inspect/preview/preview_event.h"
#include "timestamp/timestamp_formats.h"

namespace sourcetype {

// The events of lines by these settings. Adds to `problems` why a setting was not used for all
// lines. `reference` is the present, for the limits of times and for dates without a year.
std::vector<PreviewEvent> previewEvents(std::span<const LogLine> lines,
                                        const PropertiesMap& settings,
                                        const TimestampFormats& formats, const std::string& name,
                                        std::chrono::sys_seconds reference,
                                        std::vector<std::string>& problems);

struct PreviewRequest {
  std::filesystem::path path;
  std::string sourcetype = {};              // empty: the one that the classifier finds
  PropertiesMap tried = {};                 // settings that replace those of the sourcetype
  std::optional<PropertiesMap> found = {};  // what the classifier found; it is not asked again
  std::optional<LogBytes> bytes = {};  // of the log, if it is no file; `path` is then only a name
};

struct Preview {
  std::string sourcetype;  // empty if nothing recognises the log
  PropertiesMap settings;
  std::vector<PreviewEvent> events;
  std::size_t lines = 0;        // that were read, without empty ones
  std::size_t cutLines = 0;     // lines that are longer than TRUNCATE
  std::size_t unreadLines = 0;  // lines after those that were read
  bool isWhole = true;          // false: more lines than `unreadLines` are unread
  bool isBinary = false;        // then there are no events
  std::vector<std::string> problems;
};

// Classifies the log in `store`, unless the request has the result or names the sourcetype; so the
// edits of the store must not go to the disk. Throws InspectError if the log cannot be read.
Preview previewLog(ConfStore& store, const TimestampFormats& formats,
                   const PreviewRequest& request);

}  // namespace sourcetype
