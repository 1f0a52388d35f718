#pragma once

#include "check/mod_rows.h"

namespace launcher::check {

/// The antivirus programs that Windows Security Center names. May take seconds. Does not
/// answer on Windows Server and below Wine, which have no such center.
[[nodiscard]] AntivirusFacts askSecurityCenter();

}  // namespace launcher::check
