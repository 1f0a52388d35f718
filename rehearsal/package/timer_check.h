#pragma once

#include <string>
#include <string_view>

#include "rehearsal/package/finding.h"
#include "rehearsal/package/package.h"

namespace rehearsal {

/// What the package has for LiveSplit: the splits file, LiveSplit with its layout, and the
/// settings.cfg with which a player has nothing to set.
Findings checkTimer(const Package& package);

/// Whether a packaged settings.cfg opens the race's splits and layout and starts the server on
/// every player's machine:
///
///     <RecentSplits>   the last SplitsFile is `splits`, its path from LiveSplit's folder on
///                      ("race.lss"); "" when that cannot be known
///     <RecentLayouts>  the last LayoutPath is halvorn.lsl
///     <ServerPort>     16834
///     <ServerStartup>  1
///
/// and no path of the organiser's own machine stands anywhere in it. `name` is the file's.
Findings checkTimerSettings(std::string_view bytes, const std::string& splits,
                            const std::string& name);

}  // namespace rehearsal
