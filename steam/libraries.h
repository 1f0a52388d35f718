#pragma once

#include <string>
#include <string_view>
#include <vector>

namespace launcher {

/// Converts one library value to UTF-8; see libraryFolders().
using TextConverter = std::string (*)(const std::string&);

/// A path with every slash turned into a backslash.
[[nodiscard]] std::string withBackslashes(std::string_view path);

/// Steam's library folders: `steamRoot` first, then what the text of its
/// libraryfolders.vdf names, in the file's order, each once (byte for byte).
///
///     "1" { "path"  "D:\\SteamLibrary"  "label"  "games" }
///
/// Any token "path" marks the next token as a library, wherever it stands. Each
/// value is converted by `toUtf8` before its doubled backslashes are made single
/// ones: in some ANSI code pages a backslash can be the second byte of a
/// character. The form of before June 2021 ("1" "D:\\SteamLibrary") has no
/// "path" and names no library. An empty root makes an empty list.
[[nodiscard]] std::vector<std::string> libraryFolders(std::string_view steamRoot,
                                                      std::string_view libraryFile,
                                                      TextConverter toUtf8);

}  // namespace launcher
