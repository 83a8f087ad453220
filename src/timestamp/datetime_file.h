// Reads datetime.xml. The comment at the start of that file describes its format.
//
//   const TimestampFormats formats = readDatetimeFile(root / "datetime.xml");
#pragma once

#include <filesystem>

#include "timestamp/timestamp_formats.h"

namespace sourcetype {

// Never throws for a fault of the file. A faulty entry is logged with file and line, and skipped; a
// faulty expression is logged when it is first tried. A file that cannot be read is logged, and the
// result finds no timestamps.
TimestampFormats readDatetimeFile(const std::filesystem::path& file);

}  // namespace sourcetype
