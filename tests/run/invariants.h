#pragma once

#include <cstdint>
#include <map>
#include <string>
#include <vector>

#include "tests/run/log_grammar.h"
#include "tests/run/world.h"

namespace worlds {

// What every run keeps to, in every world, whatever fails and wherever it is stopped. Stated
// here once; the tests of faults and stops, the fuzz target and the soak all ask for it.
//
//  1. It ends. No call is made that would wait for ever, there are at most kMostCalls calls,
//     and the clock goes on by no more than the waits that the world prescribes: the probe of
//     the timer, Steam's 30 s and the game's 120 s, the game itself, Windows' time-out of each
//     request, the two cards.
//  2. Its log is one of those that docs/log-lines.md allows (log_grammar.h), whole unless the
//     run was stopped; the exit code is the one that belongs to it; the console shows every
//     line, and launcher.log every line whose writing did not fail, after what it held before.
//  3. A finished run is afterwards accepted, queued, archived or still in its receipt, byte
//     for byte, and the same holds for every finished run that was there before. The ways in
//     which docs/limits.md says that one can be lost are the exceptions, each by its name
//     (Loss); a run that was seen to be lost in any other way is a violation.
//  4. Nothing else is lost. A queue entry goes only when the server has taken it, a receipt
//     only then or when the game writes a new one. No archived copy, no file of the player's
//     and no file of a program changes or goes, but for those that the launcher is there to
//     write, and nothing new appears outside of the data folder and the mod's places.
//  5. A run sends each queue entry and its own result at most once, starts the game at most
//     once itself, and shows at most the boxes of its stages.

/// More calls than any run makes.
inline constexpr std::size_t kMostCalls = 5000;

/// One run of the launcher in a scene, and what lay there before it.
struct Play {
  int exitCode = -1;
  bool stopped = false;
  std::string hang;                           ///< what it waited for for ever; empty: nothing
  std::int64_t ms = 0;                        ///< how far the clock went on
  std::size_t firstRequest = 0;               ///< in the machine's list
  std::size_t firstStart = 0;
  std::size_t firstBox = 0;
  std::map<std::string, std::string> before;  ///< every file on C: before it, by its path
  std::string logBefore;
  LogReading log;
};

/// Runs the launcher in the scene, with the faults and the stop that its machine has been
/// given, and lets what it started come to its end.
[[nodiscard]] Play play(Scene& scene);
[[nodiscard]] Play play(Scene& scene, const std::string& argument);

/// The invariants that the run broke; empty when it kept to all.
[[nodiscard]] std::vector<std::string> violations(const Scene& scene, const Play& play);

/// True when a finished run is accepted, queued, archived or still in its receipt.
[[nodiscard]] bool isKept(const Scene& scene, const std::string& seed);

}  // namespace worlds
