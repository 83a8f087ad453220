// Reads datetime.xml. The comment at the start of that file describes its format.
//
//   const TimestampFormats formats = readDatetimeFile(root / "datetime.xml");
#pragma once

#include <filesystem>

#include "timestamp/timestamp_formats.h"

namespace sourcetype {

// Never throws for the file's sake: a faulty entry is logged with file and line and left out (a
// faulty expression when it is first tried), a missing or unreadable file is logged and gives
// formats that find nothing.
TimestampFormats readDatetimeFile(const std::filesystem::path& file);

}  // namespace sourcetype
