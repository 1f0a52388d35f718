#pragma once

#include <optional>
#include <string>
#include <string_view>

namespace launcher {

// JSON as one flat byte string: a key is the first occurrence of its literal text,
// wherever that stands (inside another string too), and its value is what follows.
// There are no escapes, no nesting and no decoding. Deliberately so: what the server
// gets depends on it, so a cleverer reading would change results.
//
//     {"status":"running","splits":[{"i":0,"map":"Level 0","t":12.5}],"total":12.5}

/// "Not found", for every position.
inline constexpr std::size_t npos = std::string_view::npos;

/// First occurrence of `needle` at or after `start`. An empty needle is found at
/// `start` itself, unless that lies beyond the end.
[[nodiscard]] std::size_t findText(std::string_view text, std::string_view needle,
                                   std::size_t start);

/// First occurrence of `byte` at or after `start`.
[[nodiscard]] std::size_t findChar(std::string_view text, char byte, std::size_t start);

/// First byte at or after `start` that belongs to `set`.
[[nodiscard]] std::size_t findFirstOf(std::string_view text, std::string_view set,
                                      std::size_t start);

/// The place of a value in a text: from `begin` up to, not including, `end`.
struct Span {
  std::size_t begin;
  std::size_t end;
};

/// The text at that place.
[[nodiscard]] std::string_view spanText(std::string_view text, const Span& span);

/// Place of the quoted value after a `pattern` that stands at `hit`, as
/// quotedValueAfter() finds it; nothing when `hit` is npos.
[[nodiscard]] std::optional<Span> quotedSpanAt(std::string_view text, std::size_t hit,
                                               std::string_view pattern);

/// Place of the raw value after a `pattern` that stands at `hit`, as rawValueAfter()
/// finds it; nothing when `hit` is npos.
[[nodiscard]] std::optional<Span> rawSpanAt(std::string_view text, std::size_t hit,
                                            std::string_view pattern);

/// The trimmed text between the first colon at or after `key` (a literal with its
/// quotes, such as "\"status\"") and the next "," or "}", or the end of the text.
/// Strings keep their quotes. "-" when the key or the colon is absent.
[[nodiscard]] std::string rawJsonField(std::string_view text, std::string_view key);

/// The text after `pattern` (which ends with the colon, such as "\"total\":") up to
/// the next "," or "}", blanks included; nothing when either is absent.
[[nodiscard]] std::optional<std::string> rawValueAfter(std::string_view text,
                                                       std::string_view pattern);

/// The text between two quotes after `pattern`. A pattern that ends with the colon
/// takes the next quoted run wherever it starts; one that ends with the opening quote
/// takes what follows it. Nothing when the pattern or a quote is absent.
[[nodiscard]] std::optional<std::string> quotedValueAfter(std::string_view text,
                                                          std::string_view pattern);

/// The text with that quoted value replaced; unchanged where there is none.
[[nodiscard]] std::string replaceQuotedValue(std::string_view text, std::string_view pattern,
                                             std::string_view value);

/// The text with what rawValueAfter() finds replaced; unchanged where there is none.
[[nodiscard]] std::string replaceRawValue(std::string_view text, std::string_view pattern,
                                          std::string_view value);

/// The number directly after the first `pattern`, as readDecimal() reads it
/// (leading blanks skipped, 0 when it is none); `absent` without the pattern.
[[nodiscard]] double numberAfter(const std::string& text, std::string_view pattern,
                                 double absent);

/// As numberAfter, but from `start` on.
[[nodiscard]] double numberAfterFrom(const std::string& text, std::string_view pattern,
                                     std::size_t start, double absent);

/// The integer directly after the first `pattern`, as readInteger reads it; `absent` without
/// the pattern.
[[nodiscard]] int integerAfter(const std::string& text, std::string_view pattern, int absent);

}  // namespace launcher
