#pragma once

#include "rehearsal/package/finding.h"
#include "rehearsal/package/package.h"

namespace rehearsal {

/// Every check of a package that needs no network: its settings (checkSettings), its programs
/// and their checksums, the places that the settings name, the four mod files, the splits
/// file, LiveSplit's layout, and files of the organiser's own that players must not get.
Findings checkPackage(const Package& package);

}  // namespace rehearsal
