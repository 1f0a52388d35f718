#pragma once

#include <cstddef>
#include <string>
#include <string_view>
#include <vector>

namespace launcher::card {

/// Widths of text in one font, in pixels.
class TextMeasure {
 public:
  virtual ~TextMeasure() = default;
  [[nodiscard]] virtual int width(std::u16string_view text) const = 0;
};

/// Breaks `text` into at most `maxLines` lines of at most `maxWidth` pixels.
/// Breaks at blanks and beside Chinese characters, anywhere in a word that is
/// wider than a line, never inside a surrogate pair and never before closing
/// punctuation. What does not fit is replaced by an ellipsis. No text makes no
/// line; a line always holds at least one character, however narrow it is.
[[nodiscard]] std::vector<std::u16string> breakLines(std::u16string_view text, int maxWidth,
                                                     std::size_t maxLines,
                                                     const TextMeasure& measure);

/// `text` in one line of at most `maxWidth` pixels, with an ellipsis if cut.
[[nodiscard]] std::u16string fitLine(std::u16string_view text, int maxWidth,
                                     const TextMeasure& measure);

}  // namespace launcher::card
