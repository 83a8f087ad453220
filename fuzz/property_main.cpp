// main() of a fuzz target in a build without libFuzzer.
//
//   TARGET FILE-OR-DIRECTORY...                        runs each input once
//   TARGET --mutations COUNT DICTIONARY [DIRECTORY]    runs the seeds, the inputs in DIRECTORY and
//                                                      COUNT inputs made of them
//
// The mutations depend on nothing but the seeds, the inputs and the dictionary: each run is equal.
// The file "finding-TARGET" of the directory for temporary files contains the current input: it
// remains when an input ends the process, or takes too long.
#include <algorithm>
#include <cstdio>
#include <filesystem>
#include <random>
#include <string>
#include <string_view>
#include <vector>

#include "support.h"

extern "C" int LLVMFuzzerInitialize(int* count, char*** arguments);  // NOLINT: its own name

namespace sourcetype::fuzzing {
namespace {

constexpr std::string_view kMutationsOption = "--mutations";
constexpr std::size_t kMaxChanges = 4;    // of one mutation
constexpr std::size_t kMaxGrowth = 2048;  // bytes; long inputs only take time

// In byte order of their names.
std::vector<std::string> inputsIn(const std::filesystem::path& path) {
  if (!std::filesystem::is_directory(path)) return {bytesOf(path)};
  std::vector<std::filesystem::path> files;
  for (const auto& entry : std::filesystem::directory_iterator(path)) files.push_back(entry.path());
  std::ranges::sort(files);
  std::vector<std::string> inputs;
  for (const auto& file : files) inputs.push_back(bytesOf(file));
  return inputs;
}

// A word of a dictionary line: what is between its outer quotes, with \\, \" and \xNN.
std::string wordIn(std::string_view line) {
  const auto start = line.find('"') + 1;
  line = line.substr(start, line.rfind('"') - start);
  std::string word;
  for (; !line.empty(); line.remove_prefix(1)) {
    if (line.front() == '\\') {
      line.remove_prefix(1);
      if (line.front() == 'x') {
        word += static_cast<char>(std::stoi(std::string(line.substr(1, 2)), nullptr, 16));
        line.remove_prefix(2);
        continue;
      }
    }
    word += line.front();
  }
  return word;
}

std::vector<std::string> readDictionary(const std::filesystem::path& path) {
  std::vector<std::string> words;
  std::ifstream file(path, std::ios::binary);
  for (std::string line; std::getline(file, line);) {
    if (line.starts_with('"')) words.push_back(wordIn(line));
  }
  require(!words.empty(), "a dictionary has words");
  return words;
}

class Mutator {
 public:
  Mutator(std::vector<std::string> inputs, std::vector<std::string> words)
      : inputs_(std::move(inputs)), words_(std::move(words)) {}

  std::string next() {
    std::string input = choose(inputs_);
    const std::size_t end = input.size() + kMaxGrowth;
    for (std::size_t changes = below(kMaxChanges) + 1; changes > 0; --changes) change(input);
    if (input.size() > end) input.resize(end);
    return input;
  }

 private:
  // The standard distributions differ between libraries.
  std::size_t below(std::size_t end) { return random_() % end; }
  const std::string& choose(const std::vector<std::string>& texts) {
    return texts[below(texts.size())];
  }
  std::size_t place(std::string_view text) { return below(text.size() + 1); }

  void change(std::string& input) {
    const auto at = place(input);
    switch (below(7)) {
      case 0:
        if (at < input.size()) input[at] = static_cast<char>(input[at] ^ (1 << below(8)));
        return;
      case 1:
        if (at < input.size()) input[at] = static_cast<char>(below(256));
        return;
      case 2:
        input.erase(at, below(16) + 1);
        return;
      case 3:
        input.insert(at, choose(words_));
        return;
      case 4: {
        const auto& word = choose(words_);
        input.replace(at, word.size(), word);
        return;
      }
      case 5: {
        const auto& other = choose(inputs_);
        input.replace(at, std::string::npos, other, place(other), std::string::npos);
        return;
      }
      default:
        changePart(input);
    }
  }

  // Replaces one text of the input by one of another input.
  void changePart(std::string& input) {
    const std::string other = choose(inputs_);
    const auto texts = Parts(other).all();
    const std::string copy = input;
    const auto old = Parts(copy).all();
    if (texts.empty() || old.empty()) return;
    const auto replaced = old[below(old.size())];
    input.replace(static_cast<std::size_t>(replaced.data() - copy.data()), replaced.size(),
                  texts[below(texts.size())]);
  }

  std::vector<std::string> inputs_;
  std::vector<std::string> words_;
  std::mt19937 random_{5489U};
};

std::filesystem::path findingPath;

void runAndKeep(std::string_view input) {
  std::ofstream(findingPath, std::ios::binary) << input;
  run(input);
}

void runProperties(std::size_t count, const std::filesystem::path& dictionary,
                   const std::filesystem::path& directory) {
  auto inputs = seeds();
  if (!directory.empty()) std::ranges::move(inputsIn(directory), std::back_inserter(inputs));
  Mutator mutator(inputs, readDictionary(dictionary));
  for (const auto& input : inputs) runAndKeep(input);
  for (std::size_t i = 0; i < count; ++i) runAndKeep(mutator.next());
  static_cast<void>(std::fprintf(stderr, "%zu inputs\n", inputs.size() + count));
}

void runEach(const std::vector<std::string>& paths) {
  std::vector<std::string> inputs;
  for (const auto& path : paths) std::ranges::move(inputsIn(path), std::back_inserter(inputs));
  for (const auto& input : inputs) runAndKeep(input);
  static_cast<void>(std::fprintf(stderr, "%zu inputs\n", inputs.size()));
}

}  // namespace
}  // namespace sourcetype::fuzzing

int main(int count, char** arguments) {
  using namespace sourcetype::fuzzing;
  LLVMFuzzerInitialize(&count, &arguments);
  const std::vector<std::string> words(arguments + 1, arguments + count);
  findingPath = std::filesystem::temp_directory_path() /
                ("finding-" + std::filesystem::path(arguments[0]).stem().string());
  static_cast<void>(std::fprintf(stderr, "current input: %s\n", findingPath.string().c_str()));
  if (words.size() >= 3 && words[0] == kMutationsOption) {
    runProperties(std::stoul(words[1]), words[2], words.size() > 3 ? words[3] : "");
  } else {
    runEach(words);
  }
  std::filesystem::remove(findingPath);
}
