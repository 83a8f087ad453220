// What finding timestamps costs: 1,000 lines of 200 bytes of several kinds, beside one search a
// line with a single expression for ISO stamps.

#include <benchmark/benchmark.h>

#include <fmt/format.h>

#include <functional>
#include <string>
#include <vector>

#include "timestamp/datetime_file.h"
#include "timestamp/timestamp_parser.h"

namespace sourcetype::bench {
namespace {

constexpr int kLines = 1000;
constexpr std::size_t kLineBytes = 200;

using Lines = std::vector<std::string>;

// What stands in front of a line's text, at the given minute and second.
using Stamp = std::function<std::string(int minute, int second)>;

Lines linesWith(const Stamp& stamp) {
  constexpr std::string_view kText =
      " INFO [worker-17] com.acme.store.Replica (Replica.java:214): block blk_7128370237 of "
      "67108864 "
      "bytes from 10.251.73.220:50010 to node-4.example.net in 12.5 ms, queue 3/16, id 9f4ef63a; ";
  Lines lines;
  for (int i = 0; i < kLines; ++i) {
    auto line = stamp(i / 60, i % 60);
    while (line.size() < kLineBytes) line += kText;
    lines.push_back(line.substr(0, kLineBytes));
  }
  return lines;
}

struct Kind {
  const char* name;
  Stamp stamp;
};
const std::vector<Kind>& kinds() {
  static const std::vector<Kind> kKinds{
      {"Iso", [](int m, int s) { return fmt::format("2024-05-06 10:{:02}:{:02},125", m, s); }},
      {"Syslog", [](int m, int s) { return fmt::format("May  6 10:{:02}:{:02} host", m, s); }},
      {"Access",
       [](int m, int s) {
         return fmt::format(R"(10.1.2.3 - - [06/May/2024:10:{:02}:{:02} +0200] "GET / HTTP/1.1")",
                            m, s);
       }},
      {"Compact", [](int m, int s) { return fmt::format("240506 10{:02}{:02} 148", m, s); }},
      {"Numeric", [](int m, int s) { return fmt::format("5/6/2024 10:{:02}:{:02} AM", m, s); }},
      {"Unix", [](int m, int s) { return fmt::format("{} tick", 1714979289 + m * 60 + s); }},
      {"IsoInMiddle",
       [](int m, int s) {
         return fmt::format("ERROR [pool-3-thread-9] 10.0.0.1:8080 2024-05-06T10:{:02}:{:02}.125Z",
                            m, s);
       }},
      {"None", [](int, int) { return std::string("worker started"); }},
  };
  return kKinds;
}

void BM_ParseTimestamps(benchmark::State& state, const Kind& kind) {
  static const auto kFormats = readDatetimeFile(SOURCETYPE_ETC_DIR "/datetime.xml");
  const Lines lines = linesWith(kind.stamp);
  const std::chrono::sys_seconds reference(std::chrono::sys_days(std::chrono::year(2024) / 6 / 15));
  for (auto _ : state) {
    TimestampParser parser(kFormats, {}, "bench", reference);
    for (const auto& line : lines) benchmark::DoNotOptimize(parser.parse(line));
  }
  state.SetItemsProcessed(state.iterations() * kLines);
}

void BM_SearchOneExpression(benchmark::State& state, const Kind& kind) {
  const Regex iso(R"(\d{4}-\d\d-\d\d[T ]\d\d:\d\d:\d\d(?:[.,]\d+)?(?:Z|[+-]\d\d:?\d\d)?)",
                  Regex::kNoOptions, Regex::Compile::ToMachineCode);
  const Lines lines = linesWith(kind.stamp);
  MatchResult match;
  for (auto _ : state) {
    for (const auto& line : lines) benchmark::DoNotOptimize(iso.match(line, match));
  }
  state.SetItemsProcessed(state.iterations() * kLines);
}

void BM_LoadTimestampFormats(benchmark::State& state) {
  for (auto _ : state) {
    benchmark::DoNotOptimize(readDatetimeFile(SOURCETYPE_ETC_DIR "/datetime.xml"));
  }
}
BENCHMARK(BM_LoadTimestampFormats)->Unit(benchmark::kMillisecond);

const bool kRegistered = [] {
  for (const Kind& kind : kinds()) {
    for (const auto& [name, run] :
         {std::pair("BM_ParseTimestamps/", &BM_ParseTimestamps),
          std::pair("BM_SearchOneExpression/", &BM_SearchOneExpression)}) {
      benchmark::RegisterBenchmark((std::string(name) + kind.name).c_str(),
                                   [run, &kind](benchmark::State& state) { run(state, kind); })
          ->Unit(benchmark::kMicrosecond);
    }
  }
  return true;
}();

}  // namespace
}  // namespace sourcetype::bench
