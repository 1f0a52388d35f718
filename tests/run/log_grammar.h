#pragma once

#include <string>
#include <vector>

namespace worlds {

/// What the lines of one run say of it.
struct LogReading {
  std::string problem;   ///< the first line that must not stand where it stands; empty: none
  int exitCode = -1;     ///< that goes with them
  bool whole = false;    ///< to the last line of the mode, and not one line more
  bool reachedGame = false;
  bool accepted = false;     ///< the answer accepts the run
  bool savedPending = false;
  bool queueWanted = false;  ///< "saving pending" was logged
};

/// Reads the log lines of one run as the rows of docs/log-lines.md allow them: which stage
/// follows which, which line excludes which, and how the run ends after each. A run that was
/// stopped has the beginning of such lines.
[[nodiscard]] LogReading readLog(const std::vector<std::string>& lines);

}  // namespace worlds
