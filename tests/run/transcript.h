#pragma once

#include <string>

#include "tests/run/world.h"

namespace worlds {

/// All that a run left and did, as text: exit code, log, console, requests, programs, boxes,
/// addresses, the time it took, the files below the world's folder. One thing a line; bytes
/// beyond printable ASCII of texts that are no UTF-8 as \xNN.
[[nodiscard]] std::string transcriptOf(const Scene& scene, int exitCode, std::int64_t startedAt);

}  // namespace worlds
