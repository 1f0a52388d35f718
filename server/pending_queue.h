#pragma once

#include "core/settings.h"

namespace launcher {

/// Keeps a copy of the run's result file (the mod's result file when it exists,
/// else the receipt) in the data folder's queue. Silent when it cannot.
void savePending(const Settings& settings);

/// Sends every queued result again and deletes those that the server accepts; the
/// others stay as they are for the next start. Silent without a queue or a server.
void flushPending(const Settings& settings);

}  // namespace launcher
