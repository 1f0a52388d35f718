#pragma once

#include <string>

#include "core/platform.h"

namespace launcher {

/// File name of the archived copy of a receipt: receipt_20250301_214502.json.
[[nodiscard]] std::string archiveName(const LocalTime& time);

}  // namespace launcher
