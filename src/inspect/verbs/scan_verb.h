// scan PATH...: a row for each file below paths, and a summary.
#pragma once

namespace CLI {
class App;
}

namespace sourcetype {

class Session;

void addScanVerb(CLI::App& app, Session& session);

}  // namespace sourcetype
