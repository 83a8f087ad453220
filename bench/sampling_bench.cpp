// How fast a file is read, converted and cut into lines.

#include <benchmark/benchmark.h>

#include "classifier/sample.h"
#include "corpus.h"

namespace sourcetype::bench {
namespace {

constexpr std::size_t kBytes = 20'000'000;
constexpr std::uint64_t kMaxLines = 20000;

void sample(benchmark::State& state, const std::filesystem::path& file) {
  const PropertiesMap props{{"CHARSET", "auto"}};
  std::uint64_t bytes = 0;
  for (auto _ : state) {
    const auto taken = readSample(file, props, kMaxLines);
    bytes += taken->bytesRead();
  }
  state.SetBytesProcessed(static_cast<std::int64_t>(bytes));
}

void BM_SampleAscii(benchmark::State& state) {
  sample(state, madeFile("ascii.log", asciiLog(kBytes)));
}
BENCHMARK(BM_SampleAscii)->Unit(benchmark::kMillisecond);

void BM_SampleMixed(benchmark::State& state) {
  sample(state, madeFile("mixed.log", mixedLog(kBytes)));
}
BENCHMARK(BM_SampleMixed)->Unit(benchmark::kMillisecond);

}  // namespace
}  // namespace sourcetype::bench
