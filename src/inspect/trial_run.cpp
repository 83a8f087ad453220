#include "inspect/trial_run.h"

#include "inspect/preview/log_text.h"
#include "inspect/session.h"
#include "platform/file_system.h"
#include "platform/path_form.h"

namespace sourcetype {
TrialRun::TrialRun(const std::filesystem::path& etc, const MemoryStorage::Changes& edits)
    : store_(etc, edits_) {
  for (const auto& [file, content] : edits) {
    if (content) {
      edits_.replace(file, *content, {});
    } else {
      edits_.remove(file);
    }
  }
}

InputWord resolveInput(const std::string& word) {
  if (word == "-") return {.path = "-", .text = readStandardInput().bytes};
  auto path = pathFromText(word);
  const InputFile file(path);
  if (file.error()) throw InspectError(word + ": " + file.error().message());
  return {.path = std::move(path), .text = {}};
}

}  // namespace sourcetype
