#pragma once

#include <string>

namespace launcher::check {

/// What one question to LiveSplit's server came to.
struct TimerReply {
  bool silent = false;  ///< no answer and no refusal within the limit
  std::string text;     ///< the launcher's own reading of the answer; empty: none
};

/// livesplitCommand() on a thread of its own, waited for so long. The launcher itself waits
/// without a limit: a thread that is left waiting ends with the connection or this program.
[[nodiscard]] TimerReply askTimer(const std::string& command, unsigned limitMs);

/// File name of the program that listens on LiveSplit's port of this machine; empty when
/// nobody does or Windows does not say.
[[nodiscard]] std::string timerPortHolder();

}  // namespace launcher::check
