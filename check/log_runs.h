#pragma once

#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace launcher::check {

/// What one start of the launcher wrote into launcher.log, as far as runs go. File names are
/// without their folder.
struct LogRun {
  bool uploadOnly = false;       ///< started with --upload
  bool reachedGame = false;      ///< "stage: launching game"
  bool gameClosed = false;       ///< "stage: game closed ..."; the archive copy comes next
  bool reachedUpload = false;    ///< "stage: uploading", or --upload
  bool complete = false;         ///< it came to its end
  bool noServer = false;         ///< "no server configured, upload skipped"
  bool unreachable = false;      ///< "upload failed (server unreachable) ..."
  std::string archive;           ///< "receipt archived:"
  std::string pending;           ///< "pending saved:"
  std::string skipReason;        ///< why the run was not submitted, as it was reported
  std::string submittedTotal;    ///< seconds that replaced the receipt's
  std::string reply;             ///< "upload response:", its first line
  bool answered = false;         ///< there was such a line
  std::optional<bool> accepted;  ///< the launcher's own verdict
  int flushed = 0;               ///< "pending flushed:"
};

/// A whole log.
struct LogRuns {
  std::vector<LogRun> runs;
  bool isWhole = true;  ///< its last line is complete
};

/// Reads it: lines end in LF, with or without CR. What stands before the first start, unknown
/// lines and an incomplete last line are passed over. Linear in its size, whatever it holds.
[[nodiscard]] LogRuns readLogRuns(std::string_view log);

/// Where the last `count` starts of a log begin; 0 when there are fewer.
[[nodiscard]] std::size_t lastRunsBegin(std::string_view log, int count);

/// The first line of every start, up to its build label.
inline constexpr std::string_view kStartOfRun = "=== KOV launcher start";

}  // namespace launcher::check
