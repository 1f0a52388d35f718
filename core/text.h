#pragma once

#include <string>
#include <string_view>
#include <vector>

namespace launcher {

/// The four bytes that count as blank around a value: blank, tab, carriage
/// return and line feed.
inline constexpr std::string_view kBlanks = " \t\r\n";

/// Copy without leading and trailing blanks, tabs, carriage returns and line
/// feeds. A text of only these becomes empty.
[[nodiscard]] std::string trimBlanks(std::string_view text);

/// Copy without those trailing bytes that belong to `set`; the front stays.
[[nodiscard]] std::string trimEnd(std::string_view text, std::string_view set);

/// A login code or difficulty word as it is read from a file: without trailing
/// line feeds, carriage returns and blanks. Tabs and leading blanks stay.
[[nodiscard]] std::string trimLineEnd(std::string_view text);

/// Copy with every `from` replaced by `to`, scanning from left to right; what
/// was inserted is never scanned again. An empty `from` changes nothing.
[[nodiscard]] std::string replaceAll(std::string_view text, std::string_view from,
                                     std::string_view to);

/// A server address without its trailing slashes, however many there are. An
/// address made of slashes alone becomes empty.
[[nodiscard]] std::string stripTrailingSlashes(std::string_view address);

/// Appends a number of 0 or more with at least `digits` digits, zeros in front: "05". `digits`
/// is 1 or more.
void appendPadded(std::string& text, long number, int digits);

/// `text` in double quotes, unchanged: nothing inside is escaped.
[[nodiscard]] std::string quoted(std::string_view text);

/// The pieces in which a C library line reader with a buffer of `bufferBytes`
/// hands out `text`: each ends after a line feed or after `bufferBytes` - 1
/// bytes, and is cut at its first NUL. The views point into `text`.
[[nodiscard]] std::vector<std::string_view> linePieces(std::string_view text,
                                                       std::size_t bufferBytes);

/// What a C library's text mode reads from these bytes of a file: a line feed
/// for each carriage return with line feed, and nothing from the first 0x1A on.
[[nodiscard]] std::string fromTextMode(std::string_view bytes);

/// The bytes that a C library's text mode writes for `text`: a carriage return
/// before every line feed, also before one that already has one.
[[nodiscard]] std::string toTextMode(std::string_view text);

}  // namespace launcher
