#include "inspect/verbs/thread_option.h"

#include <algorithm>
#include <thread>

namespace sourcetype {
namespace {

constexpr std::size_t kMaxThreads = 256;

}  // namespace

void addThreadOption(Verb& verb, std::size_t& threads) {
  threads = std::clamp<std::size_t>(std::thread::hardware_concurrency(), 1, kMaxThreads);
  verb.addNumber("-j", threads, {1, kMaxThreads}, "N",
                 "Files examined at once; as many as cores if not given");
}

}  // namespace sourcetype
