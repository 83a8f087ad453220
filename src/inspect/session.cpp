#include "inspect/session.h"

#include <iostream>
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
    if (name != "-") {
      addExisting(name, paths);
      continue;
    }
    for (std::string line; std::getline(std::cin, line);) {
      if (!line.empty()) addExisting(line, paths);
    }
    if (std::cin.bad()) throw InspectError("cannot read standard input");
  }
  return paths;
}

void Session::addExisting(const std::string& name, std::vector<std::filesystem::path>& paths) {
  const bool hasNul = name.find('\0') != std::string::npos;  // the system would cut the name there
  auto candidate = pathFromText(name);
  if (!hasNul && entryKind(candidate) != EntryKind::CannotExamine) {
    paths.push_back(std::move(candidate));
  } else if (name.ends_with('\r')) {  // of a list with CRLF
    addExisting(name.substr(0, name.size() - 1), paths);
  } else {
    fail("there is no file or directory " + name);
  }
}

void Session::fail(const std::string& problem) {
  Output::complain(problem);
  raise(Status::Failed);
}

}  // namespace sourcetype
