#include "util/pcre_code.h"

#include <array>

namespace sourcetype::pcre {
namespace {

// Nested parentheses in a pattern. The compilers recurse on the machine stack for each.
constexpr std::uint32_t kMaxGroupNesting = 250;

// Created by the first compilation, and only read after that.
pcre2_compile_context* compileContext() {
  static const auto kContext = [] {
    auto made = owned(pcre2_compile_context_create(memoryContext()));
    pcre2_set_newline(made.get(), PCRE2_NEWLINE_ANY);
    pcre2_set_bsr(made.get(), PCRE2_BSR_UNICODE);
    pcre2_set_max_pattern_length(made.get(), kMaxPatternBytes);
    pcre2_set_parens_nest_limit(made.get(), kMaxGroupNesting);
    return made;
  }();
  return kContext.get();
}

}  // namespace

pcre2_general_context* memoryContext() {
  static pcre2_general_context* const kContext = pcre2_general_context_create(
      [](PCRE2_SIZE size, void*) { return ::operator new(size, std::nothrow); },
      [](void* memory, void*) { ::operator delete(memory); }, nullptr);
  return kContext;
}

std::string CompileError::text() const {
  std::array<PCRE2_UCHAR, 256> buffer{};
  pcre2_get_error_message(code, buffer.data(), buffer.size());
  return reinterpret_cast<const char*>(buffer.data());
}

CodePtr compile(std::string_view pattern, std::uint32_t options, CompileError& error) {
  return CodePtr(pcre2_compile(bytes(pattern), pattern.size(), options, &error.code, &error.offset,
                               compileContext()));
}

void compileToMachineCode(pcre2_code& code) {
  pcre2_jit_compile(&code, PCRE2_JIT_COMPLETE);
}

}  // namespace sourcetype::pcre
