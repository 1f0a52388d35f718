#pragma once

#include "core/run_sequence.h"

namespace launcher {

/// --detect: prints the Steam persona; the settings are not read.
[[nodiscard]] int runDetect();

/// --profile: opens the player's profile page.
[[nodiscard]] int runProfile(const Launch& launch);

/// --upload: submits the last run again without playing. Nothing is queued, no state
/// file is written and no card is shown.
[[nodiscard]] int runUploadOnly(Launch& launch);

}  // namespace launcher
