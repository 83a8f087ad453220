// The events of a sample: how many, and when the first and the last one happened.
#pragma once

#include <cstdint>
#include <optional>
#include <string>

#include "classifier/sample.h"
#include "conf/properties_map.h"
#include "timestamp/timestamp.h"
#include "timestamp/timestamp_formats.h"

namespace sourcetype {

struct SampleEvents {
  std::uint64_t count = 0;
  std::optional<Timestamp> first, last;
};

// By the settings of the sourcetype. Searches only the first 20 and the last 200 lines for
// instants: all lines would take longer than the classification. Without an instant in the first
// lines, `first` is the same as `last`. `name` is the file's, for the log.
SampleEvents examineEvents(const Sample& sample, const PropertiesMap& settings,
                           const TimestampFormats& formats, const std::string& name);

}  // namespace sourcetype
