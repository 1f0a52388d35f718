#pragma once

#include "card/wording.h"

namespace launcher::card {

/// Shows the result card and returns when it is closed: by Enter, Esc, its
/// button or, after `kResultShownMs`, by itself.
void showResult(const CardContent& content);

/// Milliseconds until the result card closes by itself.
inline constexpr unsigned kResultShownMs = 12000;

}  // namespace launcher::card
