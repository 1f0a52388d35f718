#pragma once

#include <optional>
#include <string>

#include "core/platform.h"
#include "core/result_text.h"
#include "core/settings.h"

namespace launcher {

/// Starts the card that follows upload.state. Nothing, silently, when there is no
/// card program beside the launcher or it does not start. `programFolder` ends in a
/// backslash.
[[nodiscard]] std::optional<Process> startProgressCard(const Settings& settings,
                                                       const std::string& programFolder);

/// Shows the player what became of the run: on the result card, for at most 15 s, or
/// in a message box when there is none. With a card, and once for a data folder, the
/// player's profile page is opened before it when there is a login code.
void showResult(const Settings& settings, ResultKind kind, const UploadOutcome& outcome,
                const std::string& runText);

/// Opens the profile page, with the login code unless that is empty. Silent.
void openProfilePage(const std::string& token);

}  // namespace launcher
