// check [FILE.conf...]: mistakes in the configuration, each with file and line.
#pragma once

namespace CLI {
class App;
}

namespace sourcetype {

class Session;

void addCheckVerb(CLI::App& app, Session& session);

}  // namespace sourcetype
