#pragma once

#include "core/settings.h"
#include "result/submission.h"

namespace launcher {

/// Judges the last run, submits it and takes the server's reply into `outcome`. True
/// only when the server accepted the run; its receipt and the mod's result file are
/// then deleted. A run that the check rejects is reported to the server, if there is
/// one, with the reason. A server that cannot be reached leaves `outcome` as it was.
[[nodiscard]] bool uploadRun(const Settings& settings, UploadOutcome& outcome);

}  // namespace launcher
