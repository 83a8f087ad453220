// learned [list | show NAME | forget NAME... | restore]: what was learned, and taking it back.
#pragma once

namespace CLI {
class App;
}

namespace sourcetype {

class Session;

void addLearnedVerb(CLI::App& app, Session& session);

}  // namespace sourcetype
