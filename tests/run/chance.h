#pragma once

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include "tests/run/world.h"

namespace worlds {

/// Choices from a seed, the same on every machine, or from given bytes, 0 after their end.
class Choices {
 public:
  explicit Choices(std::uint64_t seed) : state_(seed), random_(true) {}
  explicit Choices(std::string_view bytes) : bytes_(bytes) {}

  /// A number below `limit`, which is at most 65536.
  [[nodiscard]] unsigned below(unsigned limit);
  /// True once in `times`; never when the bytes have ended.
  [[nodiscard]] bool once(unsigned times) { return below(times) == times - 1; }

 private:
  std::uint64_t state_ = 0;
  bool random_ = false;
  std::string_view bytes_;
};

/// Any world.
[[nodiscard]] World anyWorld(Choices& choices);

/// Starts the launcher in a world, with faults and stops, up to three times, with another
/// server, another result of the game and perhaps --upload from start to start. Returns the
/// invariants that were broken, each with the start in which it was. `calls`, when there is
/// one, takes how many calls of the seam all starts made.
[[nodiscard]] std::vector<std::string> playAny(const World& world, Choices& choices,
                                               std::size_t* calls = nullptr);

/// The same from a seed alone.
[[nodiscard]] std::vector<std::string> playSeed(std::uint64_t seed);

}  // namespace worlds
