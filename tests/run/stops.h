#pragma once

#include <cstddef>
#include <string>
#include <vector>

#include "tests/run/world.h"

namespace worlds {

/// What the player does after the launcher was ended. Whatever had been started before goes
/// on meanwhile: a game that ran has ended and written its receipt.
enum class Next {
  nothingNew,  ///< starts it again; the server is up, the game closes without a receipt
  offline,     ///< the same, and the server cannot be reached
  anotherRun,  ///< starts it again and finishes another run
  upload,      ///< starts it with --upload
  queue,       ///< finishes another run, then puts into the queue with the companion whatever
               ///< was never sent, and sends the queue
};

inline constexpr Next kNexts[] = {Next::nothingNew, Next::offline, Next::anotherRun, Next::upload,
                                  Next::queue};
[[nodiscard]] const char* nameOf(Next next);

/// What became of the finished runs of a world, over many stops. A run counts for each stop
/// after which it had been finished.
struct StopReport {
  std::size_t stops = 0;
  std::size_t once = 0;    ///< taken by the server once
  std::size_t twice = 0;
  std::size_t more = 0;
  std::size_t kept = 0;    ///< not taken; in its receipt or queued
  std::size_t copied = 0;  ///< not taken; nothing left but the copy in data\receipts
  std::size_t lost = 0;    ///< overwritten by the game before there was a copy
  /// The stops after which a run was lost, and was taken more than once: "12 in copyFileOver".
  std::vector<std::string> lostAt;
  std::vector<std::string> repeatedAt;
  std::vector<std::string> broken;  ///< as in FaultReport
};

/// The world's run ends at each call, before it and, where that differs, in its middle; then
/// the player goes on. Every start keeps to the invariants, and the companion to its own
/// (companion.h): what was queued, or whole in data\receipts, when the run ended is delivered in
/// the end. With a `stride` only every such stop.
[[nodiscard]] StopReport playEveryStop(const World& world, Next next, std::size_t stride = 1);

/// The world's run ends before its submission, another run is finished, and the companion that
/// is to queue the first ends at each of its own calls. Then it is opened again, and the next
/// start sends the queue: what had a copy when the run ended is delivered in the end.
[[nodiscard]] StopReport playEveryStopOfTheCompanion(const World& world);

}  // namespace worlds
