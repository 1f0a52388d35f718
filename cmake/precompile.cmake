# kov_precompile: most of the time to compile tests and stage is for reading the standard
# library's, GoogleTest's and Windows' headers, so that a target reads them once. What ships is
# compiled without: a file that misses an include fails there.
# So are the optimised native builds (scripts/soak, scripts/bench): with headers read in this way
# GCC warns of the library's own code there.
function(kov_precompile target)
  if(NOT KOV_PRECOMPILE OR NOT CMAKE_CXX_COMPILER_ID STREQUAL "GNU" OR
     NOT (MINGW OR KOV_SANITIZE))
    return()
  endif()
  cmake_parse_arguments(PARSE_ARGV 1 kov "" "REUSE_FROM" "")
  if(kov_REUSE_FROM)
    target_precompile_headers(${target} REUSE_FROM ${kov_REUSE_FROM})
    return()
  endif()
  target_precompile_headers(${target} PRIVATE
    ${kov_UNPARSED_ARGUMENTS}
    <algorithm> <functional> <map> <optional> <string> <string_view> <vector>)
endfunction()
