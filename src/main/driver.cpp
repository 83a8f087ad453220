#include "main/driver.h"

#include <array>
#include <cstdio>
#include <ctime>
#include <iostream>
#include <string>
#include <string_view>

#include "classifier/file_classifier_manager.h"
#include "classifier/properties.h"
#include "main/usage.h"
#include "platform/file_system.h"
#include "platform/path_form.h"
#include "util/print.h"

namespace sourcetype {
namespace {

using std::filesystem::path;

constexpr std::uint64_t kQuickLookLines = 1000;
constexpr const char* kTrainingFile = "./training.conf";

void printProperties(const path& file, const PropertiesMap& properties) {
  printText("PROPERTIES OF {}\n{}", pathToText(file), properties.toString());
}

void printTypeOf(FileClassifierManager& manager, const TypeRequest& request) {
  PropertiesMap result;
  manager.findTypeForFile(result, request);
  printProperties(request.path, result);
}

void learn(FileClassifierManager& manager, const Argument& file, const Argument& sourcetype) {
  manager.learnFile(file.path, sourcetype.text);
  printText("Training on {} of type {}\n", pathToText(file.path), sourcetype.text);
}

// --- Developer modes ---

void printSettings(FileClassifierManager& manager, std::string_view sourcetype) {
  PropertiesMap settings;
  manager.getSourcetypeSettings(settings, sourcetype);
  printText("{}", settings.toString());
}

// Classifies the files named on standard input without learning.
void classifyManyFiles(FileClassifierManager& manager) {
  std::array<char, 1024> buffer;  // a longer line is read in pieces, each as a name
  while (std::fgets(buffer.data(), static_cast<int>(buffer.size()), stdin) != nullptr) {
    std::string_view name = buffer.data();
    if (name.ends_with('\n')) name.remove_suffix(1);
    printText("FILENAME: {}\n", name);
    PropertiesMap result;
    manager.findTypeForFile(
        result,
        {.path = pathFromText(name), .learningAllowed = false, .maxLines = kQuickLookLines});
    auto verdict = result.tryGet(key::kSourcetype).value_or("unknown");
    if (auto cause = result.tryGet(key::kInvalidCause)) verdict = *cause;
    printText("Classified\t{}\t{}\n", name, verdict);
  }
}

// Classifies one file over and over, so that the memory of the process can be watched.
void loopForLeaks(ConfStore& store, const path& file) {
  constexpr long kIterations = 100'000'000;
  FileClassifierManager manager(store);
  for (long i = 0; i < kIterations; ++i) {
    PropertiesMap result;
    manager.findTypeForFile(result, {.path = file, .learningAllowed = false});
    if (i % 100 == 0) printText("count {} -- {}\n", i, result.get(key::kSourcetype));
  }
}

// Times the classification of the files of one directory.
void measureSpeed(ConfStore& store) {
  FileClassifierManager manager(store);
  const path directory = path("..") / "src" / "scripts" / "logs" / "toosmall";
  std::error_code error;
  const auto names = listDirectory(directory, error);
  if (error) {
    std::cerr << "opendir: " << error.message() << '\n';
    return;
  }
  const std::time_t start = std::time(nullptr);
  unsigned count = 0;
  for (const auto& name : names) {
    if (pathToText(name).starts_with('\\')) continue;
    const path file = directory / name;
    PropertiesMap result;
    manager.findTypeForFile(result, {.path = file, .learningAllowed = false});
    printText("FILE {} \t\t\t\t {}\n", pathToText(file), result.get(key::kSourcetype));
    ++count;
  }
  printText("TIME = {} NUM OF FILES = {}\n", std::time(nullptr) - start, count);
}

void trainFromWorkingDirectory(ConfStore& store) {
  FileClassifierManager manager(store);
  manager.trainFromConf(kTrainingFile);
}

// --- Test mode ---

int testWithOptions(FileClassifierManager& manager, std::span<const Argument> arguments) {
  constexpr std::string_view kFileOption = "--file=";
  PropertiesMap properties;
  path file;
  for (const auto& argument : arguments.subspan(2)) {
    const std::string_view option = argument.text;
    const auto equals = option.find('=');
    if (!option.starts_with("--") || equals == std::string_view::npos) {
      printText("Unrecognized option; {}\n", option);
      return printUsage(arguments.front().text);
    }
    if (option.starts_with(kFileOption)) {
      file = argument.path.native().substr(kFileOption.size());
      continue;
    }
    const auto name = option.substr(2, equals - 2);
    const auto value = option.substr(equals + 1);
    properties.set(name, value);
    printText("adding input option: {}={}\n", name, value);
  }
  if (file.empty()) {
    printText("Missing required option {}\n", kFileOption);
    return printUsage(arguments.front().text);
  }
  manager.findTypeForFile(properties, {.path = file});
  printProperties(file, properties);
  return 0;
}

void runWithOneArgument(ConfStore& store, FileClassifierManager& manager, const Argument& word) {
  if (word.text == "speed") {
    measureSpeed(store);
  } else if (word.text == "train") {
    trainFromWorkingDirectory(store);
  } else if (word.text == "manyfiles") {
    classifyManyFiles(manager);
  } else {
    printTypeOf(manager, {.path = word.path});
  }
}

void runWithMoreArguments(ConfStore& store, FileClassifierManager& manager,
                          std::span<const Argument> words) {
  const std::string_view mode = words[0].text;
  if (mode == "settings") {
    printSettings(manager, words[1].text);
  } else if (mode == "leaks") {
    loopForLeaks(store, words[1].path);
  } else if (words.size() == 2) {
    learn(manager, words[0], words[1]);
  } else if (mode == "text") {
    printTypeOf(manager, {.path = words[1].path, .sampleText = words[2].text});
  }
}

int runMode(ConfStore& store, std::span<const Argument> arguments) {
  FileClassifierManager manager(store);
  const auto words = arguments.subspan(std::min<std::size_t>(1, arguments.size()));
  if (words.empty()) {
    printUsage(arguments.empty() ? std::string_view("sourcetype") : arguments.front().text);
  } else if (words.size() == 1) {
    runWithOneArgument(store, manager, words.front());
  } else if (words.front().text == "--test") {
    return testWithOptions(manager, arguments);
  } else {
    runWithMoreArguments(store, manager, words);
  }
  return 0;
}

}  // namespace

int runDriver(ConfStore& store, std::span<const Argument> arguments) {
  const int status = runMode(store, arguments);
  return store.hasGivenUp() ? kRunFailed : status;
}

}  // namespace sourcetype
