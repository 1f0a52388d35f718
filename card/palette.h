#pragma once

#include <cstdint>

#include "card/wording.h"

namespace launcher::card {

struct Color {
  std::uint8_t red = 0;
  std::uint8_t green = 0;
  std::uint8_t blue = 0;
};

/// The colours of one card.
struct Palette {
  Color paper{};        ///< the card itself
  Color edge{};         ///< the line around it
  Color ink{};          ///< what matters
  Color softInk{};      ///< explanations
  Color faintInk{};     ///< labels and small print, still readable
  Color accent{};       ///< surfaces: signs, checkers, the button
  Color onAccent{};     ///< text on such a surface
  Color accentInk{};    ///< accented text on the card or a panel
  Color panel{};        ///< raised areas
  Color panelEdge{};    ///< the line around those
  Color rail{};         ///< the empty part of a bar
  bool isPlain = false;  ///< high contrast: no decoration
};

/// Windows' system colours, for players who chose a contrast theme.
struct SystemColors {
  Color window;
  Color windowText;
  Color highlight;
  Color highlightText;
};

/// The colours for a kind of card on a dark or a light desktop.
[[nodiscard]] Palette paletteFor(Kind kind, bool isDark);

/// The colours for a contrast theme: the system's alone.
[[nodiscard]] Palette contrastPalette(const SystemColors& system);

}  // namespace launcher::card
