// Checks all files of a configuration tree, and how they work together: links, rules, and settings
// that a stronger layer hides.
#pragma once

#include <cstddef>
#include <filesystem>
#include <functional>
#include <string>

#include "inspect/check/findings.h"

namespace sourcetype {

// `root` is the tree, $TARNEL_HOME/etc. Calls `fail` with a message for each file that cannot be
// read, and goes on. Returns the number of files that were read.
std::size_t checkTree(const std::filesystem::path& root, Findings& findings,
                      const std::function<void(const std::string&)>& fail);

}  // namespace sourcetype
