#include "inspect/session.h"

#include <utility>

#include "platform/environment.h"
#include "platform/file_system.h"
#include "platform/path_form.h"

namespace sourcetype {

Output& Session::out() {
  if (!out_) out_.emplace(options_.output);
  return *out_;
}

std::filesystem::path Session::home() const {
  auto home = options_.home.empty() ? environmentPath("TARNEL_HOME")
                                    : std::optional(pathFromText(options_.home));
  if (!home) throw InspectError("set TARNEL_HOME, or name the server's root with --home");
  if (!isDirectory(*home / "etc")) {
    throw InspectError("there is no directory " + pathToText(*home / "etc"));
  }
  return *home;
}

std::vector<std::filesystem::path> Session::existingPaths(const std::vector<std::string>& names) {
  std::vector<std::filesystem::path> paths;
  for (const auto& name : names) {
    auto candidate = pathFromText(name);
    if (entryKind(candidate) == EntryKind::CannotExamine) {
      fail("there is no file or directory " + name);
    } else {
      paths.push_back(std::move(candidate));
    }
  }
  return paths;
}

void Session::fail(const std::string& problem) {
  Output::complain(problem);
  raise(Status::Failed);
}

}  // namespace sourcetype
