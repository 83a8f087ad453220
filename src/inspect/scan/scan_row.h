// What a scan says of one file.
#pragma once

#include <cstdint>
#include <optional>
#include <string>

#include "classifier/flow_observer.h"
#include "classifier/models/fingerprint.h"
#include "timestamp/timestamp.h"

namespace sourcetype {

struct ScanRow {
  std::string file;        // a member of an archive is "archive!member"
  std::string sourcetype;  // "unknown" for a file that cannot be read, or is no text
  Stage stage = Stage::Invalid;
  std::optional<double> margin;          // from 0 to 100
  std::optional<std::uint64_t> events;   // in the sample
  std::optional<Timestamp> first, last;  // of the sample's events, in the order of the file
  std::optional<std::uint64_t> bytes;    // of the sample, before conversion
  bool isCut = false;                    // the file has more than the sample
  std::string error;                     // why the file, or the rest of it, could not be read
  std::string details = {};              // what the examiner of the scan returned
  std::optional<Fingerprint> fingerprint = {};  // of a file that was not recognised

  // True also for a file that is invalid or too small to be recognised.
  bool isRecognised() const {
    return stage != Stage::NewSourcetype && stage != Stage::Unrecognised;
  }
};

}  // namespace sourcetype
