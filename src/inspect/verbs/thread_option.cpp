#include "inspect/verbs/thread_option.h"

#include <CLI/CLI.hpp>
#include <algorithm>
#include <thread>

namespace sourcetype {
namespace {

constexpr std::size_t kMaxThreads = 256;

}  // namespace

void addThreadOption(CLI::App& verb, std::size_t& threads) {
  threads = std::clamp<std::size_t>(std::thread::hardware_concurrency(), 1, kMaxThreads);
  verb.add_option("-j", threads, "Files examined at once; as many as cores if not given")
      ->check(CLI::Range(std::size_t{1}, kMaxThreads))
      ->option_text("N");
}

}  // namespace sourcetype
