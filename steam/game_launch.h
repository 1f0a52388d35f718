#pragma once

#include "core/settings.h"

namespace launcher {

/// Replaces launch.state in the data folder, from which other programs follow the
/// run, by one word: "launching", "playing", "uploading" or "done". A file that
/// cannot be opened is skipped silently.
void writeLaunchState(const Settings& settings, const char* word);

/// Starts the game through Steam, or directly when Steam's program is missing or does
/// not bring the game up within 30 s, and waits for its end without a limit. A game
/// that already runs is adopted. True when a game process was found, opened and has
/// ended; false when none appeared (at most 30 s after Steam, then 120 s) or it could
/// not be opened.
[[nodiscard]] bool launchAndWait(const Settings& settings);

}  // namespace launcher
