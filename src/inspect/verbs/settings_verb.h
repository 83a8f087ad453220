// settings NAME|FILE: the effective settings, each with the file and line that it comes from.
#pragma once

namespace CLI {
class App;
}

namespace sourcetype {

class Session;

void addSettingsVerb(CLI::App& app, Session& session);

}  // namespace sourcetype
