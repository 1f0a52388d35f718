#pragma once

#include <optional>
#include <string>
#include <string_view>

namespace launcher {

/// A whole file in binary mode; nothing when it cannot be opened for reading.
/// `path` is ANSI. A file of 2 GB or more reads as empty.
[[nodiscard]] std::optional<std::string> readFile(const std::string& path);

/// As readFile, but a missing file and an empty one both give an empty text.
[[nodiscard]] std::string readWholeFile(const std::string& path);

/// At most the first `bytes` bytes of a file; nothing when it cannot be opened.
[[nodiscard]] std::optional<std::string> readFileStart(const std::string& path, std::size_t bytes);

/// True when the file can be opened for reading; it is closed again at once.
[[nodiscard]] bool opensForReading(const std::string& path);

/// Replaces a file by `bytes` in binary mode. False when it cannot be opened for
/// writing, which most callers pass over in silence; whether every byte arrived on the
/// disk is not checked.
bool writeWholeFile(const std::string& path, std::string_view bytes);

}  // namespace launcher
