#pragma once

#include <string>
#include <string_view>

namespace launcher {

/// LiveSplit's command line: its program and the splits file, each in double
/// quotes, one blank between them.
[[nodiscard]] std::wstring livesplitCommandLine(std::wstring_view program,
                                                std::wstring_view splits);

/// Text of the box that reminds the player to start LiveSplit's TCP server.
[[nodiscard]] std::wstring livesplitReminder();

}  // namespace launcher
