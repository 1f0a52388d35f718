#pragma once

#include <string_view>

#include "check/finding.h"
#include "check/utf8.h"

namespace launcher::check {

/// The rows of the stage "settings", from the bytes of launcher.ini. `exists` is false when
/// there is no such file. `codePage` is Windows' ANSI code page, in which the launcher reads
/// paths and the player's name.
[[nodiscard]] Findings settingsRows(std::string_view bytes, bool exists, unsigned codePage,
                                    TextConverter ansiToUtf8, Language language);

}  // namespace launcher::check
