#pragma once

#include <string>

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

/// `value` with the launcher's placeholders filled in for this player.
[[nodiscard]] std::string expandPath(const std::string& value, const std::string& programFolder);

/// The whole race run, stage after stage; the exit code.
[[nodiscard]] int runRace(Launch& launch);

}  // namespace launcher
