// A preview as text for a terminal.
#pragma once

#include <cstddef>
#include <string>

#include "inspect/output.h"
#include "inspect/preview/preview.h"
#include "inspect/preview/preview_summary.h"

namespace sourcetype {

// The sourcetype and the settings that make the preview.
std::string headText(const Preview& preview, const std::string& file, const Output& out);

// A line with the number, place and time of the event, and its text, indented. Timestamps are in
// Style::Mark, or between ">>" and "<<" without colours. Of an event, at most 50 lines are shown,
// and of a line at most 2,000 bytes.
std::string eventText(const PreviewEvent& event, std::size_t number, const Output& out);

std::string summaryText(const Preview& preview, const PreviewSummary& summary, const Output& out);

}  // namespace sourcetype
