#include "inspect/verbs/scan_verb.h"

#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <memory>
#include <nlohmann/json.hpp>
#include <string>
#include <vector>

#include "inspect/scan/progress.h"
#include "inspect/scan/row_formats.h"
#include "inspect/scan/row_queue.h"
#include "inspect/scan/scan_summary.h"
#include "inspect/scan/scan_workers.h"
#include "inspect/session.h"
#include "inspect/verb.h"
#include "inspect/verbs/thread_option.h"
#include "platform/interrupt.h"
#include "platform/terminal.h"

namespace sourcetype {
namespace {

using std::filesystem::path;

struct ScanOptions {
  std::vector<std::string> paths;
  bool csv = false;
  std::size_t threads = 1;
};

// Prints rows in one of three forms.
class RowPrinter {
 public:
  RowPrinter(const Output& out, bool csv)
      : out_(out),
        csv_(csv),
        isOutputTerminal_(isTerminal(StandardStream::Output)),
        // Programs that read the table get all columns.
        table_(out, isOutputTerminal_ ? terminalWidth() : ~0U) {}

  bool isOutputTerminal() const { return isOutputTerminal_; }

  void printHead() const {
    if (csv_) {
      Output::print(csvHead());
    } else if (!out_.isJson()) {
      Output::print(table_.head());
    }
  }
  void print(const ScanRow& row) const {
    if (csv_) {
      Output::print(isOutputTerminal_ ? harmlessCsv(row) : toCsv(row));
    } else if (out_.isJson()) {
      Output::printJson(toJson(row));
    } else {
      Output::print(table_.line(row));
    }
  }
  void print(const ScanSummary& summary) const {
    if (csv_ || out_.isQuiet()) return;
    if (out_.isJson()) {
      for (const auto& object : summary.toJson()) Output::printJson(object);
    } else {
      Output::print(summary.toText(out_));
    }
  }

 private:
  static std::string harmlessCsv(ScanRow row) {
    row.file = harmless(row.file);
    row.sourcetype = harmless(row.sourcetype);
    row.error = harmless(row.error);
    return toCsv(row);
  }

  const Output& out_;
  bool csv_;
  bool isOutputTerminal_;
  RowTable table_;
};

// Prints the rows as soon as they are ready. Returns early after Ctrl-C.
void printRows(RowQueue& rows, const RowPrinter& printer, Progress& progress,
               ScanSummary& summary) {
  constexpr std::chrono::milliseconds kMaxWait{50};
  ScanRow row;
  while (!interrupted()) {
    const auto next = rows.next(kMaxWait, row);
    if (next == RowQueue::Next::End) return;
    if (next == RowQueue::Next::Row) {
      if (printer.isOutputTerminal()) progress.clear();
      printer.print(row);
      summary.add(row);
    }
    progress.show(rows.itemsDone());
  }
  summary.setInterrupted();
}

Status statusOf(const ScanSummary& summary) {
  if (summary.hasErrors()) return Status::Failed;
  return summary.hasFindings() ? Status::Found : Status::Fine;
}

void scan(Session& session, const ScanOptions& options) {
  const Output& out = session.out();
  if (options.csv && out.isJson()) throw InspectError("--csv and --json exclude each other");
  const path etc = session.etc();
  const auto roots = session.existingPaths(options.paths);
  const RowPrinter printer(out, options.csv);
  ScanSummary summary;
  const InterruptGuard interrupt;
  RowQueue rows;
  const ScanWorkers workers(etc, roots, options.threads, rows);
  {
    Progress progress(!out.isQuiet() && isTerminal(StandardStream::Error), roots);
    printer.printHead();
    printRows(rows, printer, progress, summary);
  }
  printer.print(summary);
  session.raise(statusOf(summary));
  if (!interrupted()) return;
  // A thread may need seconds for its file. It only reads, so it can be ended at any time.
  static_cast<void>(std::fflush(stdout));
  std::_Exit(static_cast<int>(Status::Failed));
}

}  // namespace

void addScanVerb(CLI::App& app, Session& session) {
  Verb verb(app, "scan",
            "The sourcetype of each file below paths, and a summary; reads archives too");
  const auto options = std::make_shared<ScanOptions>();
  verb.addWords("PATH", options->paths,
                "Files and directories, or - for paths on standard input, one a line",
                Verb::Presence::Required);
  verb.addFlag("--csv", options->csv, "Print CSV");
  addThreadOption(verb, options->threads);
  verb.onUse([&session, options] { scan(session, *options); });
}

}  // namespace sourcetype
