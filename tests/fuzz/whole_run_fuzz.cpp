// Whole runs: a world, what its programs and servers say, faults and stops, all from the
// input. Parts of the input, each up to a NUL:
//
//     choices (worlds::anyWorld, worlds::playAny) NUL settings NUL library file NUL accounts
//     NUL result of the game NUL reply NUL timer's time NUL timer's phase
//
// An empty part leaves what the world has. The invariants are those of tests/run/invariants.h.

#include <algorithm>
#include <optional>
#include <string>

#include "tests/fuzz/fuzz_target.h"
#include "tests/run/chance.h"
#include "tests/run/world.h"

namespace {

/// Steps that a world takes whatever is in it, with all its starts; for each call of the seam,
/// of which a wait is hundreds; and for each byte of the input, which a start reads and
/// writes several times over. Ten minutes of fuzzing met three quarters of the sum at most.
constexpr std::uint64_t kStepsOfAWorld = 1500000;
constexpr std::uint64_t kStepsOfACall = 500;
constexpr std::uint64_t kStepsOfAByte = 400;

std::optional<std::string> takeText(std::string_view& input) {
  const std::string_view part = fuzzing::takePart(input);
  if (part.empty()) return std::nullopt;
  return std::string(part);
}

/// Settings of any kind; a byte that ends a text for the C library would hide the world's.
std::string settingsOf(std::string text) {
  std::erase(text, '\x1A');
  return text.empty() ? text : text + "\r\n";
}

worlds::World worldOf(worlds::Choices& choices, std::string_view texts) {
  worlds::World world = worlds::anyWorld(choices);
  world.iniHead = settingsOf(takeText(texts).value_or(""));
  world.libraries = takeText(texts);
  world.users = takeText(texts);
  world.result = takeText(texts);
  world.reply = takeText(texts);
  world.timerReply = takeText(texts);
  world.timerPhase = takeText(texts);
  return world;
}

}  // namespace

KOV_FUZZ_TARGET(wholeRun) {
  std::string_view texts = input;
  worlds::Choices choices(fuzzing::takePart(texts));
  const worlds::World world = worldOf(choices, texts);
  const std::uint64_t before = steps::taken();
  std::size_t calls = 0;
  const std::vector<std::string> broken = worlds::playAny(world, choices, &calls);
  for (const std::string& line : broken) std::fprintf(stderr, "%s\n", line.c_str());
  check(broken.empty());
  check(steps::taken() - before <=
        kStepsOfAWorld + kStepsOfACall * calls + kStepsOfAByte * input.size());
}
