#pragma once

#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "check/run_row.h"

namespace launcher::check {

/// A result file as it lies on the disk.
struct KeptFile {
  std::string name;   ///< without its folder
  std::string path;   ///< ANSI
  std::string bytes;
};

/// Everything that says what became of runs.
struct RunFacts {
  std::vector<KeptFile> archived = {};     ///< data\receipts, by name
  std::vector<KeptFile> queued = {};       ///< data\pending
  std::optional<KeptFile> receipt = {};    ///< the receipt itself, if it is there
  std::string log = {};                    ///< launcher.log, or its end
  std::string launchState = {};            ///< the word in data\launch.state
  std::string notes = {};                  ///< the companion's own notes
  bool launcherRuns = false;               ///< a launcher runs at this moment
};

/// One row a run, newest first: from the archived receipts, the queue and the log.
///
/// Copies of equal content are one run. What nothing on this machine says is "unknown"; so is
/// the last run of a log that was cut, or that contradicts launch.state.
[[nodiscard]] RunRows runRows(const RunFacts& facts, Language language);

/// True when a result file is that of a finished run: it has an ending split as the launcher
/// judges it, or says itself that it is.
[[nodiscard]] bool isFinished(const std::string& bytes);

/// "12:34.56" or "1:02:03.50" of seconds as a receipt has them; empty for what is no time.
[[nodiscard]] std::string shownTime(const std::string& seconds);

// The companion's notes: what the log cannot say, because the launcher did not do it.

/// A line for a receipt that was put into the queue.
[[nodiscard]] std::string noteOfQueued(std::string_view receipt, std::string_view entry);

/// A line for a queue entry that the server accepted.
[[nodiscard]] std::string noteOfSent(std::string_view entry, std::string_view reply);

}  // namespace launcher::check
