#pragma once

#include "core/settings.h"

namespace launcher {

/// Keeps a time-stamped copy of the receipt in the data folder's "receipts" and logs
/// a summary of it. The receipt itself stays. A missing one is logged.
void archiveReceipt(const Settings& settings);

}  // namespace launcher
