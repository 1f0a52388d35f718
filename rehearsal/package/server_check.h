#pragma once

#include <string_view>

#include "rehearsal/package/finding.h"

namespace rehearsal {

/// Asks the race server for the six weekly files, as the launcher does before every run. An
/// address that cannot be reached from here is "unseen"; a server that answers has to answer
/// all six with status 200 (a board may still be empty), and the week's file with a seed.
Findings checkServer(std::string_view server);

}  // namespace rehearsal
