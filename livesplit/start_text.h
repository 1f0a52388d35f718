#pragma once

#include <optional>
#include <string>
#include <string_view>

namespace launcher {

/// LiveSplit's settings.cfg with every recent layout replaced by `layout`, or
/// nothing when there was nothing to change:
///
///     <RecentLayouts>
///       <LayoutPath>C:\older.lsl</LayoutPath>
///     </RecentLayouts>
///
/// No element is added. An element that is never closed ends the scan; what was
/// changed before it stays changed. The path goes in as it is, without XML escapes.
[[nodiscard]] std::optional<std::string> withLayoutPath(std::string_view config,
                                                        std::string_view layout);

/// LiveSplit's command line: its program and the splits file, each in double
/// quotes, one blank between them.
[[nodiscard]] std::wstring livesplitCommandLine(std::wstring_view program,
                                                std::wstring_view splits);

/// Text of the box that reminds the player to start LiveSplit's TCP server.
[[nodiscard]] std::wstring livesplitReminder();

}  // namespace launcher
