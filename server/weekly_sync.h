#pragma once

#include <string>

#include "core/settings.h"

namespace launcher {

/// Replaces the file at `path` by what `url` delivers, an empty body included.
/// False, with the file untouched, when the exchange fails or the file cannot be
/// opened.
[[nodiscard]] bool fetchToFile(const std::string& url, const std::string& path);

/// Refreshes the week's six files in the data folder from the race server and writes
/// the seed of week.json to rand_seed.txt. What cannot be fetched stays as it was.
/// Every reply replaces its file whole and unchecked, an error page too. Without a
/// server setting nothing is touched, the seed included.
void syncWeeklyData(const Settings& settings);

}  // namespace launcher
