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
#include <functional>
#include <string>
#include <string_view>
#include <vector>

#include "tests/steps/steps.h"

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

/// Takes what stands before the first NUL as one text and goes on after it: how a target
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

/// What an operation may take: so many steps however short its input is, and so many more
/// for each byte of it.
inline constexpr std::uint64_t kStepsAtRest = 20000;
inline constexpr std::uint64_t kStepsPerByte = 100;
inline constexpr std::size_t kLargeInput = 64 << 10;

/// The input again and again until it is large; empty stays empty.
inline std::string repeated(std::string_view input) {
  std::string large;
  while (!input.empty() && large.size() < kLargeInput) large.append(input);
  return large;
}

/// Whether this input is also tried large: every committed one, and one in 32 of those that
/// the fuzzer makes.
inline bool isTriedLarge(std::string_view input) {
#if defined(KOV_FUZZ)
  return std::hash<std::string_view>{}(input) % 32 == 0;
#else
  return !input.empty();
#endif
}

template <class Work>
std::uint64_t stepsOf(std::string_view input, Work work) {
  const std::uint64_t before = steps::taken();
  work(input);
  return steps::taken() - before;
}

/// Requires that the steps of `work(input)` stay in proportion to the input's size: also
/// when the input is repeated until it is large, where a scan that starts again at every
/// hit shows. Holds without a count in builds that do not count (tests/steps/steps.h).
template <class Work>
void requireLinearTime(std::string_view input, Work work) {
  const auto bound = [](std::string_view text) {
    return kStepsAtRest + kStepsPerByte * text.size();
  };
  require(stepsOf(input, work) <= bound(input), "steps in proportion", __FILE__, __LINE__);
  if (!isTriedLarge(input)) return;
  const std::string large = repeated(input);
  require(stepsOf(large, work) <= bound(large), "steps in proportion", __FILE__, __LINE__);
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
