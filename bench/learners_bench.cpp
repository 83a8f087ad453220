// What proposing settings costs: for a log as they are, and for the worst that fits into a sample.

#include <benchmark/benchmark.h>

#include <random>

#include "classifier/header_fields.h"
#include "classifier/line_break_learner.h"

namespace sourcetype::bench {
namespace {

constexpr int kLines = 20000;

Sample sampleOf(const std::string& text) {
  return readSampleText(text, {}, "text");
}

// Events of five lines, as of a program that reports what it works on.
std::string eventLog() {
  std::string text;
  for (int i = 0; i < kLines / 5; ++i) {
    const auto number = std::to_string(i);
    text += "Order #";
    text += number;
    text += " accepted (customer=";
    text += std::to_string(i * 7919 % 1000);
    text += ")\n  item 1: bolt x";
    text += std::to_string(i % 17);
    text += "\n  item 2: nut\nTotal: ";
    text += number;
    text += ".50 EUR\nstate -> shipped\n";
  }
  return text;
}

// Lines that begin with punctuation in an order that no other line has.
std::string shapelessLog() {
  std::minstd_rand random(1);
  std::string text;
  for (int i = 0; i < kLines; ++i) {
    for (int byte = 0; byte < 30; ++byte) text += static_cast<char>('!' + random() % 15);
    text += '\n';
  }
  return text;
}

void learn(benchmark::State& state, const std::string& text) {
  const Sample sample = sampleOf(text);
  for (auto _ : state) benchmark::DoNotOptimize(learnBreakOnlyBeforeRegex(sample));
}

void BM_LearnLineStarts(benchmark::State& state) {
  learn(state, eventLog());
}
BENCHMARK(BM_LearnLineStarts)->Unit(benchmark::kMillisecond);

void BM_LearnLineStartsAllDifferent(benchmark::State& state) {
  learn(state, shapelessLog());
}
BENCHMARK(BM_LearnLineStartsAllDifferent)->Unit(benchmark::kMillisecond);

void BM_LookForTimeOfDayInDigits(benchmark::State& state) {
  std::string text;
  for (int i = 0; i < 2000; ++i) text += std::string(9999, '1') + "\n";
  const Sample sample = sampleOf(text);
  for (auto _ : state) benchmark::DoNotOptimize(looksTimestamped(sample));
}
BENCHMARK(BM_LookForTimeOfDayInDigits)->Unit(benchmark::kMillisecond);

void BM_NameTenThousandFields(benchmark::State& state) {
  const std::string header(10000, ',');
  for (auto _ : state) benchmark::DoNotOptimize(nameFields(splitFields(header, ',')));
}
BENCHMARK(BM_NameTenThousandFields)->Unit(benchmark::kMillisecond);

}  // namespace
}  // namespace sourcetype::bench
