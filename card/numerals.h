#pragma once

#include <string_view>

#include "card/canvas.h"

namespace launcher::card {

/// The card's own numerals: digits of one width (so that times stand still),
/// drawn as strokes of even thickness. They look the same whatever fonts the
/// machine has. Besides digits there are ":", ".", "#", "-" and "+".

/// Whether every character of `text` has a numeral, and there is at least one.
[[nodiscard]] bool areNumerals(std::u16string_view text);

/// Width in pixels of a line of numerals of that height.
[[nodiscard]] float numeralsWidth(std::u16string_view text, float height);

/// Draws a line of numerals, its upper left corner at `corner`.
void drawNumerals(Canvas& canvas, std::u16string_view text, Point corner, float height,
                  Color color);

/// Width in pixels of a time: what follows its point is set smaller.
[[nodiscard]] float timeWidth(std::u16string_view time, float height);

/// Draws a time such as "12:34.56": the hundredths smaller, in `fraction`.
void drawTime(Canvas& canvas, std::u16string_view time, Point corner, float height, Color color,
              Color fraction);

}  // namespace launcher::card
