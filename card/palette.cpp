#include "card/palette.h"

namespace launcher::card {
namespace {

constexpr Color rgb(std::uint32_t value) {
  return {static_cast<std::uint8_t>(value >> 16), static_cast<std::uint8_t>(value >> 8),
          static_cast<std::uint8_t>(value)};
}

constexpr Palette kDark = {
    .paper = rgb(0x111316),
    .edge = rgb(0x2C3036),
    .ink = rgb(0xF6F4EC),
    .softInk = rgb(0xC3C5C7),
    .faintInk = rgb(0x92969B),
    .panel = rgb(0x1A1D21),
    .panelEdge = rgb(0x2B2F35),
    .rail = rgb(0x24282D),
};

constexpr Palette kLight = {
    .paper = rgb(0xFBFAF5),
    .edge = rgb(0xCFCDC3),
    .ink = rgb(0x15171A),
    .softInk = rgb(0x43474C),
    .faintInk = rgb(0x666A70),
    .panel = rgb(0xF1EFE6),
    .panelEdge = rgb(0xDEDBCF),
    .rail = rgb(0xE4E1D6),
};

}  // namespace

Palette paletteFor(Kind kind, bool isDark) {
  Palette palette = isDark ? kDark : kLight;
  palette.onAccent = rgb(0x15171A);
  switch (kind) {
    case Kind::ok:
    case Kind::progress:
      // The yellow of the rooms that the race runs through.
      palette.accent = rgb(isDark ? 0xF5D547 : 0xF2C91D);
      palette.accentInk = rgb(isDark ? 0xF5D547 : 0x7A5E00);
      break;
    case Kind::fail:
      palette.accent = rgb(0xFF8A5B);
      palette.accentInk = rgb(isDark ? 0xFF9D75 : 0xA83A0C);
      break;
    case Kind::none:
    case Kind::unknown:
      palette.accent = rgb(isDark ? 0x9DB2C9 : 0xA9BDD2);
      palette.accentInk = rgb(isDark ? 0xA9BDD2 : 0x3D556E);
      break;
  }
  return palette;
}

Palette contrastPalette(const SystemColors& system) {
  return {
      .paper = system.window,
      .edge = system.windowText,
      .ink = system.windowText,
      .softInk = system.windowText,
      .faintInk = system.windowText,
      .accent = system.highlight,
      .onAccent = system.highlightText,
      .accentInk = system.windowText,
      .panel = system.window,
      .panelEdge = system.windowText,
      .rail = system.window,
      .isPlain = true,
  };
}

}  // namespace launcher::card
