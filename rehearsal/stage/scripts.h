#pragma once

#include <cstddef>
#include <filesystem>
#include <map>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "rehearsal/stage/timer_server.h"
#include "rehearsal/stage/timer_simulation.h"

/// What the stand-in programs do. Each reads its script from the JSON file beside itself
/// (steam.exe: steam.json); a stand-in without a script does what the defaults here say and
/// writes no timeline. Stage writes the scripts from these records.
namespace stage {

/// steam.exe. Timeline: "steam start" (exact command line), "steam launch" (the game's path,
/// when the delay is over), "steam launch failed" (error code), "steam exit" (exit code).
struct SteamScript {
  bool startsGame = true;       ///< on "-applaunch"; false: the game never comes
  unsigned delayMs = 0;         ///< until the game starts; steam.exe itself returns at once
  std::filesystem::path game = {};   ///< what it starts; empty: nothing
  int exitCode = 0;
};

/// Backrooms-Win64-Shipping.exe. Timeline: "game start" (exact command line), "game restart",
/// "game write" (path), "game exit" (exit code).
struct GameScript {
  struct Write {
    std::filesystem::path path = {};
    std::string bytes = {};
  };
  /// Plays on until the launcher watches it ("playing" stands in the data folder's
  /// launch.state; 20 s at most), so that no run is over before the launcher has seen it.
  bool waitsForLauncher = false;
  /// Then this long before the files are written. The launcher looks twice a second.
  unsigned waitMs = 100;
  std::vector<Write> writes = {};     ///< receipt, the mod's result file, in this order
  std::vector<std::filesystem::path> deletes = {};  ///< files removed after that
  unsigned thenWaitMs = 0;       ///< after the files are written
  bool untilEnded = false;       ///< then stays until Stage::endGame() (at most 5 minutes)
  int exitCode = 0;
  /// The first process starts a second one and ends, as when Steam restarts a game that was
  /// started past it; the second plays the script.
  bool restartsItself = false;
  unsigned firstLivesMs = 300;   ///< life of the first process then
};

/// LiveSplit.exe. Timeline: "livesplit start" (exact command line), "livesplit splits" (the
/// file that it opened: the last one of its settings.cfg, whatever the command line says; or
/// "none"), "livesplit listening", "timer ..." as TimerServer writes, "livesplit exit". It ends
/// when Stage::endLiveSplit()
/// is called, and after `livesAtMostMs` in any case.
struct LiveSplitScript {
  bool listens = true;           ///< false: the server was never started
  unsigned delayMs = 0;          ///< until the server listens
  unsigned short port = kTimerPort;
  TimerGeneration generation = TimerGeneration::current;
  TimerManner manner = TimerManner::proper;
  /// Lines for commands on successive asks, the last one for every further time; a command
  /// without an entry here is answered by the state below.
  std::map<std::string, std::vector<std::string>> replies = {};
  std::string phase = "NotRunning";
  /// Seconds; nothing: the personal best of the splits, and in the phase Ended no time.
  std::optional<double> finalTime = {};
  std::optional<double> lastSplit = {};
  std::optional<double> currentTime = 0.0;
  unsigned livesAtMostMs = 300000;
};

/// kov_result.exe as a recorder. Timeline: "card start" (exact command line), with
/// "--mode progress --state FILE" then "card state" (content of the file at the start and at
/// each change until it is "done" or "fail"), "card exit".
struct CardScript {
  unsigned stayMs = 0;           ///< the result card stays open for this long
  unsigned progressStayMs = 0;   ///< the progress card, after "done" or "fail"
  unsigned progressLimitMs = 20000;  ///< it gives up following the file after this long
  int exitCode = 0;
  /// A program that is started with the same arguments and waited for: the card itself.
  std::filesystem::path shows = {};
};

/// The JSON texts of the scripts. `timeline` is the stage's timeline file.
std::string scriptText(const SteamScript& script, const std::filesystem::path& timeline);
/// `parts` are files that hold the bytes of `writes`, one for each, in the same order;
/// `launchState` is the data folder's launch.state.
std::string scriptText(const GameScript& script, const std::filesystem::path& timeline,
                       const std::vector<std::filesystem::path>& parts,
                       const std::filesystem::path& stopFile,
                       const std::filesystem::path& launchState);
std::string scriptText(const LiveSplitScript& script, const std::filesystem::path& timeline,
                       const std::filesystem::path& stopFile);
std::string scriptText(const CardScript& script, const std::filesystem::path& timeline);
std::string browserScriptText(const std::filesystem::path& timeline);

}  // namespace stage
