#pragma once

#include <string>

#include "core/settings.h"

namespace launcher {

/// Image name of LiveSplit's process.
inline constexpr wchar_t kLivesplitImageName[] = L"LiveSplit.exe";

/// Replaces a path that does not exist by the first usual place of LiveSplit that does. True
/// when it was replaced.
[[nodiscard]] bool resolveLivesplit(std::string& livesplit);

/// Makes LiveSplit load the race's layout, halvorn.lsl beside it, at its next start
/// by rewriting its settings.cfg. Nothing happens when that file is missing, empty
/// or right already.
void fixLivesplitLayout(const std::string& livesplit);

/// Fixes the layout and starts LiveSplit with the splits file unless it runs, so
/// that it loads while the rest goes on; silent when it cannot. A LiveSplit that is
/// not where the settings say may be found at a usual place, which then stays in
/// the settings. Does nothing when the settings name no LiveSplit.
void startLivesplitEarly(Settings& settings);

/// Starts LiveSplit with the splits file unless it runs already, and logs what came
/// of it. Does nothing without both paths in the settings.
void startLivesplit(Settings& settings);

/// Asks LiveSplit's server for its phase, up to 30 times half a second apart, and
/// reminds the player to start the server when it never answers. Does nothing when
/// the settings name no LiveSplit.
void probeLivesplit(const Settings& settings);

}  // namespace launcher
