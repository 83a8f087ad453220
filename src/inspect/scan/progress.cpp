#include "inspect/scan/progress.h"

#include <fmt/core.h>

#include <cstdio>

#include "inspect/scan/file_walk.h"
#include "platform/terminal.h"

namespace sourcetype {
namespace {

// Writes at the start of the line. Nothing can be told if standard error cannot be written to.
void overwriteLine(const std::string& text) {
  static_cast<void>(std::fputs(("\r" + text + "\r").c_str(), stderr));
  static_cast<void>(std::fflush(stderr));
}

}  // namespace

std::string progressText(std::size_t done, std::size_t total, std::chrono::seconds elapsed,
                         unsigned width) {
  std::string text = fmt::format("{} files", done);
  if (total > 0) {
    const auto left =
        done == 0 ? 0 : elapsed.count() * static_cast<long>(total - done) / static_cast<long>(done);
    const std::string share = fmt::format("{}/{}", done, total);
    text = fmt::format("{} files, {} %", share, 100 * done / total);
    if (done > 0) text += fmt::format(", {}:{:02} left", left / 60, left % 60);
    if (text.size() > width) text = fmt::format("{} {}:{:02}", share, left / 60, left % 60);
    if (text.size() > width) text = fmt::format("{} %", 100 * done / total);
  }
  return text.substr(0, width);
}

Progress::Progress(bool isShown, const std::vector<std::filesystem::path>& roots)
    : isShown_(isShown) {
  if (isShown_) counter_ = std::thread([this, roots] { count(roots); });
}

Progress::~Progress() {
  clear();
  isStopped_ = true;
  if (counter_.joinable()) counter_.join();
}

void Progress::count(const std::vector<std::filesystem::path>& roots) {
  std::size_t files = 0;
  for (FileWalk walk(roots); walk.next();) {
    ++files;
    if (isStopped_) return;
  }
  total_ = files;
}

void Progress::show(std::size_t done) {
  constexpr std::chrono::milliseconds kPause{100};
  const auto now = Clock::now();
  if (!isShown_ || now - lastShown_ < kPause) return;
  lastShown_ = now;
  const std::size_t total = total_;
  const auto text = progressText(done, total < done ? 0 : total,
                                 std::chrono::duration_cast<std::chrono::seconds>(now - start_),
                                 terminalWidth() - 1);  // the last column would begin a new line
  const std::size_t before = columns_;
  columns_ = text.size();
  overwriteLine(text + std::string(before > columns_ ? before - columns_ : 0, ' '));
}

void Progress::clear() {
  if (columns_ > 0) overwriteLine(std::string(columns_, ' '));
  columns_ = 0;
}

}  // namespace sourcetype
