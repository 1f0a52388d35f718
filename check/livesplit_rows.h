#pragma once

#include <optional>
#include <string>
#include <string_view>

#include "check/finding.h"

namespace launcher::check {

/// What LiveSplit's settings.cfg says of its TCP server. Format: <ServerStartup>0</ServerStartup>,
/// from version 1.8.34 on.
enum class ServerStartup {
  noFile,     ///< a fresh LiveSplit
  noElement,  ///< an older LiveSplit, or one that was never closed
  off,        ///< 0
  tcp,        ///< 1
  webSocket,  ///< 2
  asBefore,   ///< 3
};

/// Reads it from the bytes of settings.cfg; nothing: there is no such file.
[[nodiscard]] ServerStartup serverStartup(const std::optional<std::string>& config);

/// The bytes of settings.cfg with ServerStartup 1; nothing without the element, or when it is 1.
/// Only what stands between the element's tags changes.
[[nodiscard]] std::optional<std::string> withServerStartup(std::string_view config);

/// What was found out about LiveSplit's files. Texts are UTF-8.
struct LivesplitFacts {
  bool isSet = true;           ///< launcher.ini names a LiveSplit
  std::string program = {};         ///< as a start would use it
  bool exists = true;
  bool isUsualPlace = false;   ///< it was found in a usual folder, not where the settings say
  bool hasSplitsSetting = true;
  std::string splits = {};
  bool splitsExist = true;
  bool hasLayout = true;       ///< halvorn.lsl beside it
  ServerStartup startup = ServerStartup::tcp;
  bool runs = false;
};

/// The rows of the stage "LiveSplit" that need no question.
[[nodiscard]] Findings livesplitRows(const LivesplitFacts& facts, Language language);

/// What LiveSplit's port said.
struct TimerFacts {
  bool isSet = true;
  bool willBeStarted = true;   ///< a start of the launcher opens LiveSplit when it does not run
  bool runs = false;           ///< a LiveSplit runs
  bool silent = false;         ///< connected, and no answer within the limit
  std::string phase = {};           ///< the answer to "getcurrenttimerphase"; empty: none
  bool silentOnSplit = false;  ///< no answer to "getlastsplittime" while nothing runs
  std::string holder = {};          ///< file name of the program that listens on the port, if known
  ServerStartup startup = ServerStartup::tcp;
};

/// True for one of LiveSplit's own words for a phase.
[[nodiscard]] bool isTimerPhase(std::string_view word);

/// The rows that answer Question::livesplit.
[[nodiscard]] Findings timerRows(const TimerFacts& facts, Language language);

}  // namespace launcher::check
