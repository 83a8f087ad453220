// "TARGET FILE-OR-DIRECTORY...": runs each input once, in a build without libFuzzer. Expressions
// are interpreted: valgrind takes the wide reads of PCRE2's machine code for faults.
#include <cstdint>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>
#include <vector>

extern "C" int LLVMFuzzerInitialize(int* count, char*** arguments);  // NOLINT: its own name
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size);

// Replaces the library's function and answers as on a processor without machine code.
extern "C" int pcre2_jit_compile_8(void* /*code*/, std::uint32_t /*options*/) {  // NOLINT
  constexpr int kBadOption = -45;  // PCRE2_ERROR_JIT_BADOPTION
  return kBadOption;
}

namespace {

// All of them before the first run, as a target may change its directory.
std::vector<std::string> inputsIn(const std::filesystem::path& path) {
  std::vector<std::string> inputs;
  const auto add = [&](const std::filesystem::path& file) {
    std::ifstream stream(file, std::ios::binary);
    inputs.emplace_back(std::istreambuf_iterator<char>(stream), std::istreambuf_iterator<char>());
  };
  if (!std::filesystem::is_directory(path)) {
    add(path);
  } else {
    for (const auto& entry : std::filesystem::directory_iterator(path)) add(entry.path());
  }
  return inputs;
}

}  // namespace

int main(int count, char** arguments) {
  LLVMFuzzerInitialize(&count, &arguments);
  std::vector<std::string> inputs;
  for (int i = 1; i < count; ++i) {
    for (auto& input : inputsIn(arguments[i])) inputs.push_back(std::move(input));
  }
  for (const auto& input : inputs) {
    LLVMFuzzerTestOneInput(reinterpret_cast<const std::uint8_t*>(input.data()), input.size());
  }
  static_cast<void>(std::fprintf(stderr, "%zu inputs\n", inputs.size()));
}
