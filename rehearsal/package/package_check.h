#pragma once

#include "rehearsal/package/finding.h"
#include "rehearsal/package/package.h"

namespace rehearsal {

/// Every check of a package that needs no network: its settings (checkSettings), its programs
/// and their checksums, the places that the settings name, the mod's files (checkModNames),
/// LiveSplit with its files (checkTimer), and what is the organiser's own and players must not
/// get.
Findings checkPackage(const Package& package);

}  // namespace rehearsal
