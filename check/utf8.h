#pragma once

#include <string>
#include <string_view>

namespace launcher::check {

/// True when the bytes are well-formed UTF-8 (plain ASCII is).
[[nodiscard]] bool isUtf8(std::string_view bytes);

/// True when every byte is below 0x80.
[[nodiscard]] bool isAscii(std::string_view bytes);

/// True when both are the same but for the case of plain letters.
[[nodiscard]] bool isSameName(std::string_view one, std::string_view other);

/// Turns a text of the ANSI code page into UTF-8.
using TextConverter = std::string (*)(const std::string&);

/// Bytes of either kind as UTF-8: as they stand when they are UTF-8, else converted. Files
/// hold both: paths of launcher.ini in the ANSI code page, everything else in UTF-8.
[[nodiscard]] std::string readable(std::string_view bytes, TextConverter ansiToUtf8);

/// The same line by line, for a log that mixes both.
[[nodiscard]] std::string readableLines(std::string_view bytes, TextConverter ansiToUtf8);

}  // namespace launcher::check
