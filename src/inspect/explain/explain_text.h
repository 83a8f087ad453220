// An explanation as text for a person.
#pragma once

#include <filesystem>
#include <string>

#include "inspect/explain/explanation.h"

namespace sourcetype {

// `home` is the server's root: the files that would be written are named below it.
std::string explainAsText(const ExplainedFile& explained, const std::filesystem::path& home,
                          const Output& out);

}  // namespace sourcetype
