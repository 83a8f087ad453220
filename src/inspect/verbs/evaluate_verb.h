// The verb "evaluate".
#pragma once

namespace CLI {
class App;
}

namespace sourcetype {

class Session;

void addEvaluateVerb(CLI::App& app, Session& session);

}  // namespace sourcetype
