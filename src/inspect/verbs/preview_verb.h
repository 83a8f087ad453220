// preview FILE: the events of a log and their times, as the server would see them.
#pragma once

namespace CLI {
class App;
}

namespace sourcetype {

class Session;

void addPreviewVerb(CLI::App& app, Session& session);

}  // namespace sourcetype
