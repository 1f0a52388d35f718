#pragma once

#include "check/finding.h"

namespace launcher::check {

/// Shows the window and returns when the player has closed it.
void showWindow(Language language);

}  // namespace launcher::check
