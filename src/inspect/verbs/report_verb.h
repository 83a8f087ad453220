// report PATH... -o FILE.html: a page for a browser of the files below paths.
#pragma once

namespace CLI {
class App;
}

namespace sourcetype {

class Session;

void addReportVerb(CLI::App& app, Session& session);

}  // namespace sourcetype
