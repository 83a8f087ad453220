// How learning and recognising scale with the number of models: loading beside counting the lines
// of the same file, matching one segment, adding one more model.

#include <benchmark/benchmark.h>

#include <algorithm>
#include <cmath>
#include <cstdlib>
#include <fstream>
#include <random>
#include <set>

#include "classifier/classifier_settings.h"
#include "classifier/models/fingerprint.h"
#include "classifier/models/model.h"
#include "classifier/models/model_index.h"
#include "classifier/models/model_store.h"
#include "conf/logical_lines.h"
#include "corpus.h"

namespace sourcetype::bench {
namespace {

constexpr std::size_t kWordsPerModel = 200;
constexpr std::size_t kShapesPerModel = 100;

// Made-up models: words and shapes are drawn so that the n-th is some n times rarer than the first,
// as in real text.
class ModelMaker {
 public:
  ModelMaker() {
    while (words_.size() < 40000) words_.insert(text("abcdefghijklmnopqrstuvwxyz", 3, 12));
    while (shapes_.size() < 20000) shapes_.insert(text("_,;-#%/.:=?'|(){}[]", 2, 10));
    wordList_.assign(words_.begin(), words_.end());
    shapeList_.assign(shapes_.begin(), shapes_.end());
    std::ranges::shuffle(wordList_, random_);
    std::ranges::shuffle(shapeList_, random_);
  }

  Fingerprint make() {
    std::set<std::string> words;
    while (words.size() < kWordsPerModel) words.insert(wordList_[skewed(wordList_.size())]);
    Fingerprint model;
    for (const auto& word : words) {
      model.words.push_back({.text = word, .weight = 2.0F / kWordsPerModel * unit_(random_)});
    }
    while (model.shapes.size() < kShapesPerModel) {
      model.shapes.emplace(shapeList_[skewed(shapeList_.size())], 1 + random_() % 50);
    }
    return model;
  }

 private:
  std::string text(std::string_view alphabet, std::size_t least, std::size_t most) {
    std::string result(least + random_() % (most - least + 1), ' ');
    for (char& c : result) c = alphabet[random_() % alphabet.size()];
    return result;
  }

  std::size_t skewed(std::size_t count) {
    const auto rank = std::pow(static_cast<double>(count), static_cast<double>(unit_(random_)));
    return std::min(count - 1, static_cast<std::size_t>(rank) - 1);
  }

  std::mt19937 random_{1};
  std::uniform_real_distribution<float> unit_{0.0F, 1.0F};
  std::set<std::string> words_;
  std::set<std::string> shapes_;
  std::vector<std::string> wordList_;
  std::vector<std::string> shapeList_;
};

// A tree whose sourcetypes.conf holds `count` models; gives the file.
std::filesystem::path storedModels(std::int64_t count) {
  const auto file =
      workDirectory() / ("models" + std::to_string(count)) / "apps/learned/local/sourcetypes.conf";
  if (std::filesystem::exists(file)) return file;
  std::filesystem::create_directories(file.parent_path());
  std::ofstream out(file, std::ios::binary);
  ModelMaker maker;
  for (std::int64_t i = 0; i < count; ++i) {
    const auto number = std::to_string(i);
    out << renderHeader("/var/log/app" + number + ".log_2026-01-01T00:00:00Z_" + number) << "\n";
    const auto settings =
        saveModel(maker.make(), "/var/log/app" + number + ".log", "type_" + number, "100");
    for (const auto& [key, entry] : settings.entries()) {
      out << renderSetting(key, entry.value) << "\n";
    }
    out << "\n";
  }
  return file;
}

std::filesystem::path treeOf(const std::filesystem::path& learnedFile) {
  return learnedFile.parent_path().parent_path().parent_path().parent_path();
}

void BM_LoadModels(benchmark::State& state) {
  const auto file = storedModels(state.range(0));
  for (auto _ : state) {
    ConfStore store(treeOf(file));
    ClassifierSettings settings(store);
    ModelStore models(store, settings);
    benchmark::DoNotOptimize(models.countModels("type_1"));
  }
  state.SetBytesProcessed(state.iterations() *
                          static_cast<std::int64_t>(std::filesystem::file_size(file)));
}
BENCHMARK(BM_LoadModels)->RangeMultiplier(10)->Range(10, 10000)->Unit(benchmark::kMillisecond);

void BM_CountLinesOfModels(benchmark::State& state) {
  const std::string command =
      "grep -c = " + storedModels(state.range(0)).string() + " | cat >/dev/null";
  for (auto _ : state) {
    if (std::system(command.c_str()) != 0) state.SkipWithError("grep failed");
  }
}
BENCHMARK(BM_CountLinesOfModels)->Arg(10000)->Unit(benchmark::kMillisecond)->UseRealTime();

void BM_MatchSegment(benchmark::State& state) {
  ModelMaker maker;
  ModelIndex index;
  for (std::int64_t i = 0; i < state.range(0); ++i) {
    const Fingerprint made = maker.make();
    const std::string sourcetype = "type_" + std::to_string(i);
    TextKeeper keeper;
    index.add(viewOf(made, sourcetype, keeper));
  }
  const Fingerprint file = maker.make();
  for (auto _ : state) benchmark::DoNotOptimize(index.findClosestModel(file));
}
BENCHMARK(BM_MatchSegment)->RangeMultiplier(10)->Range(10, 10000)->Unit(benchmark::kMicrosecond);

void BM_Fingerprint(benchmark::State& state) {
  const Sample sample = readSampleText(shortLineLog(1000), {}, "bench");
  std::size_t bytes = 0;
  for (std::size_t i = 0; i < sample.lineCount(); ++i) bytes += sample.line(i).size();
  for (auto _ : state) benchmark::DoNotOptimize(buildModel(sample, 0, 999, {"ignored"}));
  state.SetBytesProcessed(state.iterations() * static_cast<std::int64_t>(bytes));
}
BENCHMARK(BM_Fingerprint)->Unit(benchmark::kMicrosecond);

// Each iteration adds a model to a file of so many; the file is synced every time.
void BM_SaveOneMore(benchmark::State& state) {
  const auto file = storedModels(state.range(0));
  const auto copy = workDirectory() / ("saving" + std::to_string(state.range(0)));
  std::filesystem::remove_all(copy);
  std::filesystem::copy(treeOf(file), copy, std::filesystem::copy_options::recursive);
  ConfStore store(copy);
  Conf& conf = store.getConf("sourcetypes");
  ModelMaker maker;
  const PropertiesMap model = saveModel(maker.make(), "f", "t", "100");
  int number = 0;
  store.writeLearnedStanza(conf, "first", model);  // reads what the file holds
  for (auto _ : state) {
    if (!store.writeLearnedStanza(conf, "new_" + std::to_string(number++), model)) {
      state.SkipWithError("the write failed");
    }
  }
}
BENCHMARK(BM_SaveOneMore)->Arg(10)->Arg(10000)->Unit(benchmark::kMillisecond)->UseRealTime();

}  // namespace
}  // namespace sourcetype::bench
