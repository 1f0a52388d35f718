#pragma once

#include <cstddef>
#include <string>
#include <vector>

#include "tests/run/world.h"

namespace worlds {

/// What came of many runs of one world.
struct FaultReport {
  std::size_t runs = 0;
  /// The invariants that were broken, each with what was done to bring it about; at most
  /// kMostReported.
  std::vector<std::string> broken;
};

inline constexpr std::size_t kMostReported = 20;

/// Each call of the world's run fails in each way, one in each run; with a `stride` only
/// every such case.
[[nodiscard]] FaultReport playEveryFault(const World& world, std::size_t stride = 1);

/// Two calls fail in one run: every pair when `most` is 0, else so many of them, spread
/// evenly over all pairs.
[[nodiscard]] FaultReport playPairs(const World& world, std::size_t most);

}  // namespace worlds
