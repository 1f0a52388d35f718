#pragma once

#include "card/palette.h"

namespace launcher::card {

/// The colours that this player's Windows asks for at the moment: a contrast
/// theme's own, else dark or light as the apps' mode is set. Windows without
/// that setting counts as dark, the card's own look.
[[nodiscard]] Palette readPalette(Kind kind);

}  // namespace launcher::card
