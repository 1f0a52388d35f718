#pragma once

#include <string>

#include "core/settings.h"
#include "result/submission.h"

namespace launcher {

/// What the entry knows before it chooses a mode.
struct Launch {
  std::string programFolder;  ///< folder of the running program, with its backslash
  UploadOutcome outcome;      ///< holds the preloaded login code, if any
};

/// Exit codes of the launcher.
inline constexpr int kExitDone = 0;
inline constexpr int kExitCannotRun = 1;
inline constexpr int kExitUploadFailed = 2;

/// Path of launcher.ini.
[[nodiscard]] std::string settingsPath(const Launch& launch);

/// Fills in the placeholders of the paths that are expanded in `run`, for this player.
void expandPaths(Settings& settings, Expansion run, const Launch& launch);

/// The whole race run, stage after stage; the exit code.
[[nodiscard]] int runRace(Launch& launch);

}  // namespace launcher
