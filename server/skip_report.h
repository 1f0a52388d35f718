#pragma once

#include "core/settings.h"

namespace launcher {

/// Tells the race server why a run was not submitted and logs that it did, whether
/// or not the report arrived. `reason` is plain text without quotes. Silent without
/// a server.
void skipReport(const Settings& settings, const char* reason);

}  // namespace launcher
