// For valgrind, which takes the wide reads of PCRE2's machine code for faults: replaces the
// library's function and answers as on a processor without machine code, so that expressions are
// interpreted.
#include <cstdint>

extern "C" int pcre2_jit_compile_8(void* /*code*/, std::uint32_t /*options*/);  // NOLINT: its name

extern "C" int pcre2_jit_compile_8(void* /*code*/, std::uint32_t /*options*/) {  // NOLINT
  constexpr int kBadOption = -45;  // PCRE2_ERROR_JIT_BADOPTION
  return kBadOption;
}
