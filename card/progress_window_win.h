#pragma once

#include <string>

namespace launcher::card {

/// Shows the progress card and returns when it is closed: shortly after the
/// file at `statePath` names an outcome, or when nothing happens for too long.
/// Without a path there is nothing to show.
void showProgress(const std::u16string& statePath);

}  // namespace launcher::card
