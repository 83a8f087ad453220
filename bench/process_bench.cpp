// Whole processes, start-up and all, beside tools that everybody knows, in wall-clock time.

#include <benchmark/benchmark.h>
#include <fcntl.h>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cstdlib>
#include <string>
#include <vector>

#include "corpus.h"

namespace sourcetype::bench {
namespace {

constexpr std::size_t kBytes = 20'000'000;

// Runs a command with its output thrown away.
bool run(const std::vector<std::string>& words) {
  std::vector<char*> arguments;
  for (const auto& word : words) arguments.push_back(const_cast<char*>(word.c_str()));
  arguments.push_back(nullptr);
  posix_spawn_file_actions_t actions;
  posix_spawn_file_actions_init(&actions);
  posix_spawn_file_actions_addopen(&actions, STDOUT_FILENO, "/dev/null", O_WRONLY, 0);
  posix_spawn_file_actions_addopen(&actions, STDERR_FILENO, "/dev/null", O_WRONLY, 0);
  pid_t child = 0;
  const int failed =
      posix_spawnp(&child, arguments[0], &actions, nullptr, arguments.data(), environ);
  posix_spawn_file_actions_destroy(&actions);
  int status = 0;
  return failed == 0 && waitpid(child, &status, 0) == child && WIFEXITED(status) &&
         WEXITSTATUS(status) == 0;
}

void measure(benchmark::State& state, const std::vector<std::string>& words) {
  for (auto _ : state) {
    if (!run(words)) state.SkipWithError("the command failed");
  }
}

// The tool on a file whose sourcetype is settled, with the bundled configuration.
std::vector<std::string> settled(const std::string& file) {
  static const bool kHomeIsSet = [] {
    const auto home = workDirectory() / "home";
    std::filesystem::create_directories(home);
    std::filesystem::copy(SOURCETYPE_ETC_DIR, home / "etc",
                          std::filesystem::copy_options::recursive);
    return setenv("TARNEL_HOME", home.c_str(), 1) == 0;
  }();
  if (!kHomeIsSet) return {};
  return {SOURCETYPE_EXECUTABLE, "--test", "--file=" + file, "--given_type=known"};
}

std::string asciiFile() {
  return madeFile("ascii.log", asciiLog(kBytes)).string();
}
std::string mixedFile() {
  return madeFile("mixed.log", mixedLog(kBytes)).string();
}
std::string shortFile(std::size_t lines) {
  return madeFile("lines" + std::to_string(lines) + ".log", shortLineLog(lines)).string();
}

// A command and, right after it, what it is compared with.
const bool kRegistered = [] {
  const auto add = [](const char* name, auto words) {
    benchmark::RegisterBenchmark(name,
                                 [words](benchmark::State& state) { measure(state, words()); })
        ->Unit(benchmark::kMillisecond)
        ->UseRealTime();
  };
  using Words = std::vector<std::string>;
  add("20 MB ASCII: sourcetype", [] { return settled(asciiFile()); });
  add("20 MB ASCII: wc -l", [] { return Words{"wc", "-l", asciiFile()}; });
  add("20 MB mixed: sourcetype", [] { return settled(mixedFile()); });
  add("20 MB mixed: iconv",
      [] { return Words{"iconv", "-f", "utf-8", "-t", "utf-8", mixedFile()}; });
  add("2000 lines: sourcetype", [] { return settled(shortFile(2000)); });
  add("2000 lines: file", [] { return Words{"file", shortFile(2000)}; });
  add("100 lines: sourcetype", [] { return settled(shortFile(100)); });
  add("100 lines: file", [] { return Words{"file", shortFile(100)}; });
  return true;
}();

}  // namespace
}  // namespace sourcetype::bench
