#pragma once

#include <string>

#include "core/settings.h"

namespace launcher {

/// Reads launcher.ini at `path` (ANSI), which the record then names. A file that cannot be
/// opened yields the otherwise empty record.
[[nodiscard]] Settings loadSettings(const std::string& path);

}  // namespace launcher
