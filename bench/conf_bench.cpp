// How long configuration takes: reading ten thousand stanzas, and finding the settings of one
// source among ten thousand patterns.

#include <benchmark/benchmark.h>

#include "conf/conf_store.h"
#include "corpus.h"

namespace sourcetype::bench {
namespace {

constexpr std::size_t kStanzas = 10000;
constexpr const char* kSource = "source::/srv/data/app9998/today.log";

std::filesystem::path treeWith(const std::string& name, const std::string& props) {
  madeFile(name + "/system/local/props.conf", props);
  return workDirectory() / name;
}

void BM_ReadTenThousandStanzas(benchmark::State& state) {
  const std::string text = sourcetypeStanzas(kStanzas);
  const auto root = treeWith("read", text);
  for (auto _ : state) {
    ConfStore store(root);
    benchmark::DoNotOptimize(store.stanzaExists(store.getProps(), "type_1"));
  }
  state.SetBytesProcessed(state.iterations() * static_cast<std::int64_t>(text.size()));
}
BENCHMARK(BM_ReadTenThousandStanzas)->Unit(benchmark::kMillisecond);

void lookUp(ConfStore& store) {
  PropertiesMap settings;
  store.getStanzaSettings(store.getProps(), settings, kSource, PatternMatching::Yes);
  benchmark::DoNotOptimize(settings);
}

void BM_FirstLookupAmongTenThousandPatterns(benchmark::State& state) {
  const auto root = treeWith("patterns", patternStanzas(kStanzas));
  for (auto _ : state) {
    ConfStore store(root, kPosixPathForm);
    lookUp(store);
  }
}
BENCHMARK(BM_FirstLookupAmongTenThousandPatterns)->Unit(benchmark::kMillisecond);

void BM_RepeatedLookupAmongTenThousandPatterns(benchmark::State& state) {
  ConfStore store(treeWith("patterns", patternStanzas(kStanzas)), kPosixPathForm);
  lookUp(store);
  for (auto _ : state) lookUp(store);
}
BENCHMARK(BM_RepeatedLookupAmongTenThousandPatterns)->Unit(benchmark::kMillisecond);

}  // namespace
}  // namespace sourcetype::bench
