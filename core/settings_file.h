#pragma once

#include <string>

#include "core/settings.h"

namespace launcher {

/// Reads launcher.ini at `path` (ANSI) and remembers the path for
/// settingsFilePath(). A file that cannot be opened gives the all-empty record.
[[nodiscard]] Settings loadSettings(const std::string& path);

/// The path given to the last loadSettings(), or empty before the first.
[[nodiscard]] const std::string& settingsFilePath();

}  // namespace launcher
