#pragma once

#include <string>
#include <string_view>

namespace launcher {

/// LiveSplit's trimmed reply to one command, such as "getcurrenttimerphase", over a
/// connection of its own. Empty when the server cannot be reached or says nothing.
[[nodiscard]] std::string livesplitCommand(std::string_view command);

/// The run's time: of LiveSplit's final, last split and current time, asked in this
/// order on one connection, the first that is a time above zero. True with `seconds`
/// set; false, with `seconds` untouched, when there is none.
[[nodiscard]] bool livesplitReadTime(double& seconds);

}  // namespace launcher
