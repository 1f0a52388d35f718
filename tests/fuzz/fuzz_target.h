#pragma once

// A fuzz target is a function from bytes to nothing that ends the program when one of its
// invariants does not hold:
//
//     KOV_FUZZ_TARGET(seed) {
//       const std::string seed = launcher::scanSeed(input);
//       check(seed.find_first_not_of("0123456789") == std::string::npos);
//     }
//
// Under the preset `fuzz` it is the entry of libFuzzer. In every other build it joins the
// program fuzz_replay, which plays the committed inputs of tests/data/fuzz/<name>/.

#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <string>
#include <string_view>
#include <vector>

namespace fuzzing {

using Target = void (*)(std::string_view input);

struct NamedTarget {
  const char* name;
  Target run;
};

/// Every target of the program, in no particular order.
std::vector<NamedTarget>& targets();

struct Registration {
  Registration(const char* name, Target run) { targets().push_back({name, run}); }
};

/// Ends the program, with the line, when an invariant does not hold.
inline void require(bool holds, const char* what, const char* file, int line) {
  if (holds) return;
  std::fprintf(stderr, "%s:%d: invariant broken: %s\n", file, line, what);
  std::abort();
}

/// Takes what stands before the first NUL as one text and goes on behind it: how a target
/// makes several texts of one input.
inline std::string_view takePart(std::string_view& input) {
  const std::size_t end = input.find('\0');
  const std::string_view part = input.substr(0, end);
  input.remove_prefix(end == std::string_view::npos ? input.size() : end + 1);
  return part;
}

inline std::size_t countOf(std::string_view text, std::string_view part) {
  std::size_t count = 0;
  for (std::size_t at = text.find(part); at != std::string_view::npos;
       at = text.find(part, at + part.size())) {
    ++count;
  }
  return count;
}

}  // namespace fuzzing

#define check(condition) ::fuzzing::require((condition), #condition, __FILE__, __LINE__)

#if defined(KOV_FUZZ)
#define KOV_FUZZ_TARGET(name)                                                        \
  static void name##Target(std::string_view input);                                  \
  extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) { \
    name##Target(std::string_view(reinterpret_cast<const char*>(data), size));       \
    return 0;                                                                        \
  }                                                                                  \
  static void name##Target(std::string_view input)
#else
#define KOV_FUZZ_TARGET(name)                                                          \
  static void name##Target(std::string_view input);                                    \
  static const ::fuzzing::Registration name##Registration(#name, name##Target);        \
  static void name##Target(std::string_view input)
#endif
