// Compiles expressions with PCRE2, and owns the objects of that library. Private to regex.cpp,
// match_workspace and budgeted_search.
#pragma once

#define PCRE2_CODE_UNIT_WIDTH 8
#include <pcre2.h>

#include <cstddef>
#include <cstdint>
#include <memory>
#include <new>
#include <string>
#include <string_view>

namespace sourcetype::pcre {

struct PcreDeleter {
  void operator()(pcre2_code* code) const { pcre2_code_free(code); }
  void operator()(pcre2_compile_context* context) const { pcre2_compile_context_free(context); }
  void operator()(pcre2_match_context* context) const { pcre2_match_context_free(context); }
  void operator()(pcre2_match_data* data) const { pcre2_match_data_free(data); }
  void operator()(pcre2_jit_stack* stack) const { pcre2_jit_stack_free(stack); }
};
template <class T>
using PcrePtr = std::unique_ptr<T, PcreDeleter>;
using CodePtr = PcrePtr<pcre2_code>;

template <class T>
PcrePtr<T> owned(T* made) {
  if (made == nullptr) throw std::bad_alloc();
  return PcrePtr<T>(made);
}

// Allocates through operator new. When memory runs out, the run ends as usual; otherwise a good
// expression would count as one that does not compile.
pcre2_general_context* memoryContext();

inline PCRE2_SPTR bytes(std::string_view text) {
  return reinterpret_cast<PCRE2_SPTR>(text.data() == nullptr ? "" : text.data());
}

struct CompileError {
  int code = 0;
  std::size_t offset = 0;

  std::string text() const;
};

// Options of every expression. "\C" is refused because it could cut a character. The offset limit
// lets execute() limit where a match may start.
constexpr std::uint32_t kAlwaysOn =
    PCRE2_UTF | PCRE2_MATCH_INVALID_UTF | PCRE2_NEVER_BACKSLASH_C | PCRE2_USE_OFFSET_LIMIT;

// Bytes of a pattern. The library's own limit for compiled code is about as large.
constexpr std::size_t kMaxPatternBytes = std::size_t{64} * 1024;

// Null when the pattern does not compile.
CodePtr compile(std::string_view pattern, std::uint32_t options, CompileError& error);

// Does nothing if the library has no machine code for this processor or pattern; the interpreter
// then matches.
void compileToMachineCode(pcre2_code& code);

}  // namespace sourcetype::pcre
