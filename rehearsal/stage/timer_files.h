#pragma once

#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "rehearsal/stage/timer_simulation.h"

/// LiveSplit's own files, as far as a race depends on them.
namespace stage {

/// LiveSplit's settings.cfg:
///
///     <Settings version="1.8.17">
///       <RecentSplits><SplitsFile gameName="">race.lss</SplitsFile></RecentSplits>
///       <RecentLayouts><LayoutPath>halvorn.lsl</LayoutPath></RecentLayouts>
///       <ServerPort>16834</ServerPort>
///       <ServerStartup>1</ServerStartup>
///     </Settings>
struct TimerSettings {
  std::vector<std::string> splits;   ///< oldest first; the last one is opened at the start
  std::vector<std::string> layouts;  ///< likewise
  std::string serverPort;            ///< "" when the file has none
  std::string serverStartup;         ///< "1": the server starts with LiveSplit
};

/// What LiveSplit takes from its settings.cfg. Nothing when it cannot use the file and falls
/// back to its defaults for everything: not well-formed, no <Settings>, no <RecentLayouts>.
std::optional<TimerSettings> readTimerSettings(std::string_view bytes);

/// A splits file (.lss).
struct TimerSplits {
  bool hasTimes = false;  ///< any time of an earlier run, of a comparison or of a best segment
  std::optional<Ticks> personalBest;  ///< its real time at the last segment
  Ticks startOffset = 0;              ///< what the timer shows before the start
};

/// What stands in a splits file; nothing when LiveSplit cannot read it: not well-formed, or
/// its root is no <Run>.
std::optional<TimerSplits> readTimerSplits(std::string_view bytes);

}  // namespace stage
