// plan FILE [NAME]: what the tool would write for these words, as a unified diff.
#pragma once

namespace CLI {
class App;
}

namespace sourcetype {

class Session;

void addPlanVerb(CLI::App& app, Session& session);

}  // namespace sourcetype
