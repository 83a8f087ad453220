// explain FILE…: what the flow saw, and what decided the sourcetype.
#pragma once

namespace CLI {
class App;
}

namespace sourcetype {

class Session;

void addExplainVerb(CLI::App& app, Session& session);

}  // namespace sourcetype
