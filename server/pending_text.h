#pragma once

#include <string>
#include <string_view>

#include "core/platform.h"

namespace launcher {

/// Path of a queue entry saved at `time`: \pending\p_YYYYMMDD_hhmmss.json below the
/// data folder, cut after 259 bytes. Two saves of one second get the same path.
[[nodiscard]] std::string pendingEntryPath(std::string_view dataFolder, const LocalTime& time);

/// True when an entry's text is one that can be sent: not empty, first byte "{".
[[nodiscard]] bool isSendable(std::string_view entry);

/// The body that resends a sendable entry: player and difficulty, unescaped, before
/// the entry's own members. When the entry holds "ending" in quotes anywhere, the
/// value of its first "status":" becomes ending.
[[nodiscard]] std::string pendingBody(std::string_view entry, std::string_view player,
                                      std::string_view difficulty);

}  // namespace launcher
