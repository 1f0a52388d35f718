#pragma once

#include <string>

#include "check/finding.h"
#include "check/machine.h"
#include "check/run_row.h"

namespace launcher::check {

// What the buttons do. Each does its one thing and says what came of it; nothing else on the
// machine changes. Read the Machine again afterwards.

/// What came of a button.
struct ActionResult {
  bool done = false;
  std::string text;  ///< one or two sentences for the player, UTF-8
};

/// Takes the mark "came from the internet" off the programs in this folder.
[[nodiscard]] ActionResult removeMarks(const Machine& machine, Language language);

/// Writes the game's path into the line game= of launcher.ini (added when there is none).
/// Only that line changes; every other byte stays. Refused, with the reason: a path that the
/// ANSI code page cannot hold, a file of another name, a file that cannot be written.
[[nodiscard]] ActionResult writeGame(const Machine& machine, const std::wstring& path,
                                     Language language);

/// Sets ServerStartup to 1 in LiveSplit's settings.cfg. Only that element changes, and a copy
/// of the file is kept beside it. Refused while LiveSplit runs.
[[nodiscard]] ActionResult startTimerServer(const Machine& machine, Language language);

/// Copies the run's file into the queue, under the launcher's naming, never over another file.
[[nodiscard]] ActionResult putIntoQueue(const Machine& machine, const RunRow& run,
                                        Language language);

/// Sends every queued run now. Slow: for the worker thread. The one operation that sends
/// anything.
[[nodiscard]] ActionResult resendQueue(const Machine& machine, Language language);

/// Writes the support text to a file. An existing one is replaced.
[[nodiscard]] ActionResult writeSupportFile(const std::wstring& path, const std::string& text,
                                            Language language);

}  // namespace launcher::check
