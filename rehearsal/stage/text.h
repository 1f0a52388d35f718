#pragma once

#include <filesystem>
#include <string>
#include <string_view>

namespace stage {

/// UTF-16 text of a UTF-8 text. Bytes that are no UTF-8 become U+FFFD.
std::wstring toWide(std::string_view utf8);

/// UTF-8 text of a UTF-16 text.
std::string toUtf8(std::wstring_view wide);

/// A path from UTF-8 text (std::filesystem would take it for ANSI on some compilers).
std::filesystem::path pathOf(std::string_view utf8);

/// The path as UTF-8 text with backslashes, as the launcher writes it.
std::string textOf(const std::filesystem::path& path);

/// The text as bytes of the system's ANSI code page (1252, 936, ...), which is how the
/// launcher reads library paths and the `player` setting. Characters that the code page
/// lacks become its replacement character.
std::string toAnsi(std::string_view utf8);

/// The system's ANSI code page, for example 1252 or 936.
unsigned ansiCodePage();

/// True when the bytes are well-formed UTF-8.
bool isUtf8(std::string_view bytes);

/// True when the bytes are printable ASCII, blanks included.
bool isPlainAscii(std::string_view bytes);

/// The text with every occurrence of `from` replaced by `to`.
std::string replaceAll(std::string text, std::string_view from, std::string_view to);

/// True when the whole text is like the pattern, in which "*" stands for any bytes.
bool isLike(std::string_view text, std::string_view pattern);

}  // namespace stage
