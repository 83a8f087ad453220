// What a report shows of one log when its row is opened.
#pragma once

#include <filesystem>

#include "inspect/output.h"
#include "inspect/scan/file_scanner.h"

namespace sourcetype {

// Limits of the preview of one log, so that the page of 1,000 logs stays small.
inline constexpr std::size_t kMaxShownEvents = 50;
inline constexpr std::size_t kMaxShownBytes = 8000;       // of all events
inline constexpr std::size_t kMaxShownEventBytes = 2000;  // of one event

// {"explanation": as of the verb explain, "preview": {"events": [...], "summary": {...},
// "problems": [...]}, "times": {"start", "step", "counts"}, "lines": [...]}. The plots count all
// events that were read. The text of an event is {"pieces": [...]}: in turn a piece before a
// timestamp, and the timestamp; the last piece is the rest. A binary log has only "explanation". If
// the log can no longer be read, "problem" has the cause and the preview and plots are missing.
//
// `home` is the server's root.
Json describeLog(const std::filesystem::path& home, const ClassifiedFile& file);

}  // namespace sourcetype
