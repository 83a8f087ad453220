// An explanation as JSON. docs/man/sourcetype-inspect.1.md has the names.
#pragma once

#include <filesystem>

#include "inspect/explain/explanation.h"

namespace sourcetype {

// `home` is the server's root: the files of "would_write" are named below it.
Json explainAsJson(const ExplainedFile& explained, const std::filesystem::path& home);

}  // namespace sourcetype
