#pragma once

#include <string>
#include <string_view>
#include <vector>

#include "check/finding.h"

namespace launcher::check {

/// One file of the queue.
struct QueuedFile {
  std::string name;
  bool sendable = true;  ///< its text is one that can be sent
};

/// The rows of the stage "queue". `archived`: how many receipts are kept.
[[nodiscard]] Findings queueRows(const std::vector<QueuedFile>& queue, std::size_t archived,
                                 Language language);

/// "2025-03-01 21:45:02" from a name such as p_20250301_214502.json or
/// receipt_20250301_214502.json; empty when the name has no such stamp.
[[nodiscard]] std::string stampOf(std::string_view fileName);

}  // namespace launcher::check
