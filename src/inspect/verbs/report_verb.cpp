#include "inspect/verbs/report_verb.h"

#include <fmt/core.h>

#include <chrono>
#include <filesystem>
#include <memory>
#include <nlohmann/json.hpp>
#include <string>
#include <system_error>
#include <vector>

#include "inspect/check/findings.h"
#include "inspect/check/tree_check.h"
#include "inspect/evaluate/evaluation_run.h"
#include "inspect/report/heat_map.h"
#include "inspect/report/log_details.h"
#include "inspect/report/report_page.h"
#include "inspect/report/script_text.h"
#include "inspect/scan/progress.h"
#include "inspect/scan/row_queue.h"
#include "inspect/scan/scan_summary.h"
#include "inspect/scan/scan_workers.h"
#include "inspect/session.h"
#include "inspect/verb.h"
#include "inspect/verbs/thread_option.h"
#include "platform/file_system.h"
#include "platform/file_writing.h"
#include "platform/interrupt.h"
#include "platform/path_form.h"
#include "platform/terminal.h"
#include "timestamp/instant_text.h"

namespace sourcetype {
namespace {

using std::filesystem::path;

struct ReportOptions {
  std::vector<std::string> paths;
  std::string output;
  std::size_t threads = 1;
  std::vector<std::string> evaluated;
};

// Throws InspectError if `name` is not a regular file or its directory does not exist. This is
// known before the scan, which may take hours.
path checkedTarget(const std::string& name) {
  path target = pathFromText(name);
  if (fileKind(target) == FileKind::Other) throw InspectError(name + " is not a regular file");
  if (!isDirectory(directoryOf(target))) {
    throw InspectError("there is no directory " + pathToText(directoryOf(target)));
  }
  return target;
}

// Adds the rows to the page as soon as they are ready. Returns early after Ctrl-C.
void addRows(RowQueue& rows, Progress& progress, ReportPage& page, ScanSummary& summary) {
  constexpr std::chrono::milliseconds kMaxWait{50};
  ScanRow row;
  while (!interrupted()) {
    const auto next = rows.next(kMaxWait, row);
    if (next == RowQueue::Next::End) return;
    if (next == RowQueue::Next::Row) {
      page.add(row);
      summary.add(row);
    }
    progress.show(rows.itemsDone());
  }
  summary.setInterrupted();
  page.setInterrupted();
}

void scanInto(ReportPage& page, Session& session, const std::vector<path>& roots,
              std::size_t threads) {
  const path home = session.home();
  const auto examine = [&home](const ClassifiedFile& file) {
    return scriptText(describeLog(home, file));
  };
  ScanSummary summary;
  RowQueue rows;
  const ScanWorkers workers(session.etc(), roots, threads, rows, examine);
  Progress progress(!session.out().isQuiet() && isTerminal(StandardStream::Error), roots);
  addRows(rows, progress, page, summary);
  page.setSummary(summary.toJson());
  if (summary.hasFindings()) session.raise(Status::Found);
  if (summary.hasErrors() || interrupted()) session.raise(Status::Failed);
}

void addFindings(ReportPage& page, Session& session) {
  Findings findings;
  checkTree(session.etc(), findings, [&](const std::string& problem) { session.fail(problem); });
  page.setFindings(findings.sorted());
}

std::string now() {
  const auto seconds = std::chrono::system_clock::now().time_since_epoch();
  return instantText(std::chrono::floor<std::chrono::seconds>(seconds).count(), 0);
}

void writePage(const path& target, const std::string& html) {
  try {
    replaceFile(target, html);
  } catch (const std::system_error& error) {
    throw InspectError(error.what());
  }
}

void report(Session& session, const ReportOptions& options) {
  const path target = checkedTarget(options.output);
  ReportPage page({.created = now(), .home = pathToText(session.home()), .paths = options.paths});
  const auto roots = session.existingPaths(options.paths);
  if (!options.evaluated.empty()) {
    page.setHeatMap(heatMap(evaluateInputs(session, options.evaluated, {.withLimits = false})));
  }
  const InterruptGuard interrupt;
  scanInto(page, session, roots, options.threads);
  addFindings(page, session);
  writePage(target, page.html());
  if (session.out().isQuiet()) return;
  if (session.out().isJson()) {
    Output::printJson({{"report", options.output}, {"files", page.fileCount()}});
  } else {
    Output::print(fmt::format("{}: {} files\n", harmless(options.output), page.fileCount()));
  }
}

}  // namespace

void addReportVerb(CLI::App& app, Session& session) {
  Verb verb(app, "report", "A page for a browser of the files below paths");
  const auto options = std::make_shared<ReportOptions>();
  verb.addWords("PATH", options->paths,
                "Files and directories, or - for paths on standard input, one a line",
                Verb::Presence::Required);
  verb.addOption("-o", options->output, "FILE.html",
                 "The page to write; an existing file is replaced", Verb::Presence::Required);
  verb.addRepeated("--evaluate", options->evaluated, "INPUT",
                   "Add the confusion table of this input of the verb evaluate; may be repeated");
  addThreadOption(verb, options->threads);
  verb.onUse([&session, options] { report(session, *options); });
}

}  // namespace sourcetype
