#pragma once

#include <cstddef>
#include <string>
#include <vector>

#include "tests/run/world.h"

namespace worlds {

/// What came of the companion's buttons on a scene's machine.
struct ByHand {
  std::size_t queued = 0;  ///< runs that were put into the queue
  bool stopped = false;    ///< the companion was ended at the machine's Stop
  /// What it did that it may not: as violations() of a run.
  std::vector<std::string> broken;
};

/// The player opens the companion beside the launcher, puts every run of its second page that
/// can be queued into the queue, and sends the queue when `sends`. Calls are counted from 0, so
/// the machine's Stop ends the companion too. Held against it: only a run that it calls never
/// sent or refused can be queued; no file changes or goes but the queue's entries, of which one
/// goes only when the server has taken it; its own notes only grow; launcher.log stays.
[[nodiscard]] ByHand queueByHand(Scene& scene, bool sends);

}  // namespace worlds
