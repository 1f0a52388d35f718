#pragma once

#include <string_view>

#include "rehearsal/package/finding.h"

namespace rehearsal {

/// Asks the race server for the six weekly files, as the launcher does before every run, but
/// follows no redirect. An address that cannot be reached from here is "unseen"; a server that
/// answers has to answer all six with status 200 (a board may still be empty), and the week's
/// file with a seed. A redirect, and a certificate or encryption that Windows does not take,
/// fail at once: then nothing else is asked.
Findings checkServer(std::string_view server);

/// As checkServer, and then posts one trial submission of about 1 MB (trial.h), unless the
/// weekly files had shown already that none would arrive.
Findings checkServerWithTrial(std::string_view server);

}  // namespace rehearsal
