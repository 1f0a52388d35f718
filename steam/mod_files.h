#pragma once

#include <string>
#include <string_view>

namespace launcher {

/// The four files without which a run cannot be timed, relative to the game's
/// executable folder, in the order in which they are checked.
inline constexpr const char* kRequiredModFiles[] = {
    "\\dwmapi.dll",
    "\\ue4ss\\UE4SS.dll",
    "\\ue4ss\\Mods\\KOVWeekly\\Scripts\\main.lua",
    "\\ue4ss\\Mods\\KOVWeekly\\enabled.txt",
};

/// Text of the box that tells the player which mod files are missing. `missing`
/// holds one relative path a line, each with its line feed.
[[nodiscard]] std::wstring incompleteModMessage(std::wstring_view missing,
                                                std::wstring_view gameFolder);

}  // namespace launcher
