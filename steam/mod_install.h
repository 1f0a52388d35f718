#pragma once

#include <string>
#include <vector>

#include "core/settings.h"

namespace launcher {

/// Copies every file below `source` to the same place below `target` unless a file
/// of the same size is there already: size alone decides, never time or content.
/// Nothing is deleted. One log line for each folder level that copied something,
/// deeper levels first; copies that fail are silent.
void copyTree(const std::string& source, const std::string& target);

/// The rows of kRequiredModFiles that a folder lacks, in their order.
[[nodiscard]] std::vector<const char*> missingModFiles(const std::string& folder);

/// Copies the mod package into the game's executable folder and checks the four
/// required files; tells the player when one is missing. Skipped silently when the
/// settings name no package or no game.
void installMod(const Settings& settings);

}  // namespace launcher
