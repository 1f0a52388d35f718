#pragma once

#include <string>
#include <vector>

#include "core/settings.h"
#include "steam/account.h"

namespace launcher {

/// Image name of the game's process and file name of its executable.
inline constexpr wchar_t kGameImageName[] = L"Backrooms-Win64-Shipping.exe";

/// Steam's library folders in UTF-8, the root first; empty for an empty root.
[[nodiscard]] std::vector<std::string> listSteamLibraries(const std::string& steamRoot);

/// Full path of the game's executable in the first library that holds it, or empty.
[[nodiscard]] std::string findGameExe(const std::string& steamRoot);

/// Replaces a `steam` that does not exist by the one of the registry. True when it did; the
/// new one is not tested.
[[nodiscard]] bool resolveSteam(Settings& settings);

/// What became of the search for the game.
enum class GameSearch { notNeeded, found, notFound };

/// Replaces a `game` that does not exist by the one of Steam's libraries, if there is one.
[[nodiscard]] GameSearch resolveGame(Settings& settings);

/// The text of Steam's loginusers.vdf, below Steam's usual folder when the registry names
/// none; empty when there is none.
[[nodiscard]] std::string readLoginUsers();

/// The Steam account used most recently on this machine; looked up afresh at each
/// call, below Steam's usual folder when the registry names none.
[[nodiscard]] SteamAccount detectSteamAccount();

/// The same look-up's display name, or empty.
[[nodiscard]] std::string detectSteamPersona();

/// Replaces `player` by that name. False, with the settings as they were, when there is none.
[[nodiscard]] bool resolvePlayer(Settings& settings);

}  // namespace launcher
