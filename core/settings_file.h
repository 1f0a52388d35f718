#pragma once

#include <string>

#include "core/settings.h"

namespace launcher {

/// Reads launcher.ini at `path` (ANSI), which the record then names. A file that cannot be
/// opened yields the otherwise empty record.
[[nodiscard]] Settings loadSettings(const std::string& path);

/// The player's name in UTF-8 as the race server gets it: "anonymous" when the
/// settings have none; the Steam persona unchanged; a name from launcher.ini
/// converted from the ANSI code page.
[[nodiscard]] std::string playerName(const Settings& settings);

}  // namespace launcher
