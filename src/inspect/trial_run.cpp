#include "inspect/trial_run.h"

#include <array>
#include <cstdio>

#include "inspect/session.h"
#include "platform/file_system.h"
#include "platform/path_form.h"

namespace sourcetype {
namespace {

std::string readStandardInput() {
  constexpr std::size_t kMaxBytes = kDefaultMaxLines * kBytesPerLine;
  std::string text;
  std::array<char, 65536> buffer;
  while (text.size() < kMaxBytes) {
    const auto size = std::fread(buffer.data(), 1, buffer.size(), stdin);
    text.append(buffer.data(), size);
    if (size < buffer.size()) break;
  }
  if (std::ferror(stdin) != 0) throw InspectError("cannot read standard input");
  return text;
}

}  // namespace

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
  if (word == "-") return {.path = "-", .text = readStandardInput()};
  auto path = pathFromText(word);
  const InputFile file(path);
  if (file.error()) throw InspectError(word + ": " + file.error().message());
  return {.path = std::move(path), .text = {}};
}

}  // namespace sourcetype
