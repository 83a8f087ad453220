#include "inspect/session.h"

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

void Session::fail(const std::string& problem) {
  Output::complain(problem);
  raise(Status::Failed);
}

}  // namespace sourcetype
