#pragma once

#include "core/settings.h"

namespace launcher {

/// Refreshes the week's six files in the data folder from the race server and writes
/// the seed of week.json to rand_seed.txt. What cannot be fetched stays as it was.
/// Every reply replaces its file whole and unchecked, an error page too. Without a
/// server setting nothing is touched, the seed included.
void syncWeeklyData(const Settings& settings);

}  // namespace launcher
