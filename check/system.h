#pragma once

#include <cstdint>
#include <optional>
#include <string>

namespace launcher::check {

// What only the companion asks of Windows.

/// Windows' ANSI code page: 936, 1252, 65001.
[[nodiscard]] unsigned ansiCodePage();

/// Windows' other code page, that of consoles.
[[nodiscard]] unsigned oemCodePage();

/// "10.0.19045", as Windows says of itself.
[[nodiscard]] std::string windowsVersion();

/// Windows' interface language, such as "zh-CN".
[[nodiscard]] std::string interfaceLanguageName();

/// True when Windows' interface language is Chinese, of any kind.
[[nodiscard]] bool interfaceIsChinese();

/// A path in the ANSI code page; nothing when it lacks one of the characters.
[[nodiscard]] std::optional<std::string> toAnsi(const std::wstring& text);

/// An environment variable in UTF-8; empty when it is not set.
[[nodiscard]] std::string environmentValue(const wchar_t* name);

/// The folder for temporary files, with its backslash.
[[nodiscard]] std::wstring temporaryFolder();

/// True when the file is marked as downloaded ("mark of the web").
[[nodiscard]] bool isMarkedAsDownloaded(const std::wstring& file);

/// Takes that mark off. False when it is still there.
[[nodiscard]] bool removeDownloadMark(const std::wstring& file);

/// True when `path` (ANSI) names a folder.
[[nodiscard]] bool isFolder(const std::string& path);

/// True when the folder could be created; it is removed again at once.
[[nodiscard]] bool canCreateFolder(const std::string& path);

/// True when a file of the companion's own could be written into the folder and read back; it
/// is removed again.
[[nodiscard]] bool canWriteInto(const std::string& folder);

/// Free bytes for this user where the folder lies; nothing when Windows does not say.
[[nodiscard]] std::optional<std::uint64_t> freeBytes(const std::string& folder);

/// The last `bytes` bytes of a file; nothing when it cannot be opened.
[[nodiscard]] std::optional<std::string> readFileEnd(const std::string& path, std::size_t bytes);

/// Replaces a file in one step, by way of a new one beside it: it is never half-written. False,
/// with the file untouched, when Windows refuses for a second or another program has it open for
/// longer than that.
[[nodiscard]] bool replaceFile(const std::string& path, const std::string& bytes);

/// Writes a new file; false when one of that name exists or it cannot be written whole.
[[nodiscard]] bool writeNewFile(const std::string& path, const std::string& bytes);

/// Writes a file whole, over an existing one; false when not every byte was written.
[[nodiscard]] bool writeFileWhole(const std::wstring& path, const std::string& bytes);

/// The whole path of a file named on the command line.
[[nodiscard]] std::wstring wholePath(const std::wstring& path);

/// Seconds since 1970 by this machine's clock.
[[nodiscard]] std::int64_t secondsNow();

/// Writes to standard output when it leads somewhere, else to the console that started this
/// program, if one did. A program with windows has no console of its own.
void writeOutput(const std::string& text);

}  // namespace launcher::check
