// Log files whose sourcetypes somebody knows, as input of an evaluation.
//
// A word of the command line is a folder or a list. In a folder, the name of each sub-folder is a
// sourcetype, and all files below the sub-folder have it. A line of a list is a file, a tab and a
// sourcetype.
#pragma once

#include <span>
#include <string>
#include <vector>

namespace sourcetype {

struct LabelledFile {
  std::string file;  // as pathFromText() reads it
  std::string sourcetype;
};

struct LabelledFiles {
  std::vector<LabelledFile> files;    // ascending by sourcetype, then by file; no file twice
  std::vector<std::string> problems;  // what could not be used, for messages
};

// Reads folders and lists. The files themselves are not opened.
LabelledFiles readLabelledFiles(std::span<const std::string> words);

}  // namespace sourcetype
