#pragma once

#include <string>

namespace launcher {

/// Steam's install folder in UTF-8, from the current user's registry value
/// SteamPath, with backslashes; a trailing one is kept if it is there. Empty
/// when Steam is not installed or the value does not fit 260 UTF-16 units.
[[nodiscard]] std::string readSteamRoot();

}  // namespace launcher
