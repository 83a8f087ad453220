# The headers that most sources include, read once for a target instead of once for each source. The
# lint preset does without them, so that clang-tidy finds a source whose own includes do not suffice.
# ccache would keep nothing of a source that is compiled with them, and GCC 12 gives false warnings of
# what it inlines from them, so optimised builds with GCC do without them too.
option(SOURCETYPE_PRECOMPILED_HEADERS "Precompile common headers, where ccache is not used" OFF)

# precompile_headers(TARGET [HEADER...]): the common headers of the standard library, and HEADER.
function(precompile_headers target)
  if(SOURCETYPE_PRECOMPILED_HEADERS AND NOT CCACHE)
    target_precompile_headers(${target} PRIVATE
      <algorithm> <array> <chrono> <filesystem> <functional> <map> <memory> <optional> <span>
      <string> <string_view> <utility> <vector> ${ARGN})
  endif()
endfunction()
