#pragma once

#include "card/canvas.h"
#include "card/card_layout.h"
#include "card/palette.h"

namespace launcher::card {

/// Paints a result card, all but the texts that need a font of the machine.
void paintResult(Canvas& canvas, const CardLayout& layout, const Palette& palette);

/// The same for the progress card, all but its bar.
void paintProgress(Canvas& canvas, const CardLayout& layout, const Palette& palette);

/// Paints the bar of the progress card. `phase` (0 to 1) is where on its way
/// the moving part is; below 0 the bar is full.
void paintProgressRail(Canvas& canvas, const CardLayout& layout, const Palette& palette,
                       float phase);

/// Paints the bar that runs empty; `left` is the share that remains (0 to 1).
void paintTimeRail(Canvas& canvas, const Box& rail, const Palette& palette, float left);

/// How a button looks at the moment.
struct ButtonLook {
  bool isMain = false;  ///< filled with the accent
  bool isHot = false;
  bool isDown = false;
  bool hasFocus = false;
};

/// Paints a button's surface.
void paintButton(Canvas& canvas, const Box& box, float scale, const Palette& palette,
                 const ButtonLook& look);

/// The colour for a button's text.
[[nodiscard]] Color buttonInk(const Palette& palette, const ButtonLook& look);

/// The colour of a piece's text.
[[nodiscard]] Color inkColor(const Palette& palette, Ink ink);

}  // namespace launcher::card
