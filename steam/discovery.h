#pragma once

#include <string>
#include <vector>

#include "steam/account.h"

namespace launcher {

/// Image name of the game's process and file name of its executable.
inline constexpr wchar_t kGameImageName[] = L"Backrooms-Win64-Shipping.exe";

/// Steam's library folders in UTF-8, the root first; empty for an empty root.
[[nodiscard]] std::vector<std::string> listSteamLibraries(const std::string& steamRoot);

/// Full path of the game's executable in the first library that holds it, or empty.
[[nodiscard]] std::string findGameExe(const std::string& steamRoot);

/// The Steam account used most recently on this machine; looked up afresh at each
/// call, below Steam's usual folder when the registry names none.
[[nodiscard]] SteamAccount detectSteamAccount();

/// The same look-up's display name, or empty.
[[nodiscard]] std::string detectSteamPersona();

}  // namespace launcher
