#pragma once

#include <string>
#include <vector>

#include "rehearsal/package/finding.h"

namespace rehearsal {

/// Whether the mod's files would overwrite files of the game: the launcher copies the mod folder
/// over the game's Win64 folder. `names` are its files relative to it, with backslashes.
/// Programs and Steam's libraries fail; a library beside them that UE4SS does not bring is a
/// warning.
Findings checkModNames(const std::vector<std::string>& names);

}  // namespace rehearsal
