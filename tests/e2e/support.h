#pragma once

#include <gtest/gtest.h>

#include <windows.h>

#include <filesystem>
#include <initializer_list>
#include <string>
#include <string_view>
#include <system_error>
#include <vector>

#include "rehearsal/stage/stage.h"

/// What the end-to-end tests share: the launcher's fixed lines, each of them here alone, and whole
/// logs to compare.
namespace e2e {

using Lines = std::vector<std::string>;

// The fixed lines -----------------------------------------------------------------------------

inline constexpr char kStartLine[] = "=== KOV launcher start (build 2026-10-28 13:45) ===";
inline constexpr char kIncomplete[] =
    "launcher.ini missing or incomplete (need receipt and data fields)";
inline constexpr char kNoPersona[] = "detected persona bytes: (none)";
inline constexpr char kGameNotFound[] = "game not found in any steam library";
inline constexpr char kPlayerOfTheSettings[] = "steam persona not found, using ini player: ";
inline constexpr char kInstalling[] = "installing mod files from package...";
inline constexpr char kModVerified[] = "mod install verified OK (4/4 files)";
inline constexpr char kTimerStartedEarly[] = "livesplit started early (before chooser)";
inline constexpr char kTimerRuns[] = "livesplit already running (pid #), not opening another";
inline constexpr char kTimerReachable[] = "livesplit tcp server reachable (phase=NotRunning)";
inline constexpr char kTimerUnreachable[] = "WARNING: livesplit tcp server not reachable";
inline constexpr char kChooser[] =
    "difficulty chooser skipped (in-game difficulty is authoritative)";
inline constexpr char kCachedWeek[] = "no server configured, using cached data";
inline constexpr char kOverlayOff[] = "timer overlay: 0";
inline constexpr char kLaunching[] = "stage: launching game";
inline constexpr char kSteamStarted[] = "steam started with -applaunch 1943950";
inline constexpr char kTryingDirect[] = "steam launch did not start the game, trying direct exe";
inline constexpr char kDirect[] = "launched game directly (fallback)";
inline constexpr char kWaiting[] = "game running (pid #), waiting for exit...";
inline constexpr char kExited[] = "game exited";
inline constexpr char kClosed[] = "stage: game closed (launch result=1), archiving receipt";
inline constexpr char kNotWatched[] = "stage: game closed (launch result=0), archiving receipt";
inline constexpr char kUploading[] = "stage: uploading";
inline constexpr char kUploadMode[] = "=== upload-only mode ===";
inline constexpr char kUploadModeOk[] = "upload-only result: ok";
inline constexpr char kUploadModeFailed[] = "upload-only result: failed";
inline constexpr char kNoProbe[] = "livesplit probe failed (server not started?)";
inline constexpr char kNoPhase[] = "livesplit phase: (none)";
inline constexpr char kReceiptTime[] = "livesplit time unavailable, using receipt time";
inline constexpr char kNoUpload[] = "no server configured, upload skipped";
inline constexpr char kUnreachable[] = "upload failed (server unreachable), saved to pending queue";
inline constexpr char kQueueing[] = "stage: upload failed, saving pending";
inline constexpr char kNotQueued[] = "stage: run not finished, nothing queued";
inline constexpr char kDelivered[] = "stage: upload done (ok=1)";
inline constexpr char kNotDelivered[] = "stage: upload done (ok=0)";
inline constexpr char kCardOk[] = "result card: kind=ok ok=1";
inline constexpr char kCardFail[] = "result card: kind=fail ok=0";
inline constexpr char kCardNone[] = "result card: kind=none ok=0";
inline constexpr char kPageOpened[] = "opened profile page (first time)";
inline constexpr char kDoneLine[] = "=== KOV launcher done ===";
/// On the console alone.
inline constexpr char kTimerLoading[] = "LiveSplit loading in background, please wait 1-3s...\r\n";
inline constexpr char kEnterPrompt[] = "\r\n按回车键退出...";

/// The upload's lines when there is a server and nothing to send.
inline const Lines kNothingToUpload = {kNoProbe, "no receipt to upload",
                                       "skip reported: no receipt file"};

// stage::finishedRun() and stage::unfinishedRun() in the log.

/// The archive's summary. The first "ending" in quotes of such a receipt is the value of its
/// status.
inline constexpr char kFinishedSummary[] = "ending=[{\"i\":0 total=754.560 status=\"ending\"";
inline constexpr char kUnfinishedSummary[] = "ending=- total=428.019 status=\"running\"";
inline constexpr char kEndingMain[] =
    "ending inferred from splits: main (map=ENDING:main t=754.56)";
inline constexpr char kNormal[] = "difficulty from game (receipt): normal";

// What the race server of the tests says.

inline constexpr char kAccepted[] = "{\"accepted\":true,\"rank\":3,\"points\":90}";
inline constexpr char kRefusal[] = "{\"accepted\":false,\"error\":\"race is closed\"}";

// Logs ----------------------------------------------------------------------------------------

/// The text with the digits after every `before` replaced by "#": process ids ("pid 123").
inline std::string maskNumbers(std::string text, std::string_view before = "pid ") {
  for (std::size_t at = text.find(before); at != std::string::npos; at = text.find(before, at)) {
    at += before.size();
    const std::size_t end = text.find_first_not_of("0123456789", at);
    const std::size_t digits = (end == std::string::npos ? text.size() : end) - at;
    if (digits > 0) text.replace(at, digits, "#");
  }
  return text;
}

/// The text with every local time stamp "20261121_034702" replaced by "YYYYMMDD_hhmmss".
inline std::string maskStamps(std::string text) {
  constexpr std::string_view kDigit = "0123456789";
  constexpr std::string_view kShape = "YYYYMMDD_hhmmss";
  for (std::size_t at = 0; at + kShape.size() <= text.size(); ++at) {
    bool stamp = true;
    for (std::size_t i = 0; i < kShape.size() && stamp; ++i) {
      stamp = kShape[i] == '_' ? text[at + i] == '_'
                               : kDigit.find(text[at + i]) != std::string_view::npos;
    }
    if (stamp) text.replace(at, kShape.size(), kShape);
  }
  return text;
}

/// The lines of a log's bytes.
inline Lines linesOf(std::string_view logBytes) {
  stage::RunResult run;
  run.log = logBytes;
  return run.logLines();
}

/// The lines of a log's bytes with process ids and time stamps masked.
inline Lines maskedLines(std::string_view logBytes) {
  return linesOf(maskStamps(maskNumbers(std::string(logBytes))));
}

/// The run's whole log with process ids and time stamps masked.
inline Lines maskedLog(const stage::RunResult& run) { return maskedLines(run.log); }

/// Lines as written to the log file and on the console: each ended by CR LF.
inline std::string asWritten(const Lines& lines) {
  std::string text;
  for (const std::string& line : lines) text += line + "\r\n";
  return text;
}

/// Several lists of lines after one another.
inline Lines joined(std::initializer_list<Lines> parts) {
  Lines all;
  for (const Lines& part : parts) all.insert(all.end(), part.begin(), part.end());
  return all;
}

// The machine ---------------------------------------------------------------------------------

/// The texts of the files in a folder, in the order of their names.
inline Lines textsIn(const std::filesystem::path& folder) {
  Lines all;
  for (const std::string& name : stage::listFolder(folder)) {
    all.push_back(stage::readFile(folder / stage::pathOf(name)).value_or("(none)"));
  }
  return all;
}

/// A file that some program holds open until this goes out of scope: others may do with it
/// what `share` (FILE_SHARE_READ, ...) says.
class HeldFile {
 public:
  HeldFile(const std::filesystem::path& file, DWORD share)
      : handle_(
            CreateFileW(file.c_str(), GENERIC_READ, share, nullptr, OPEN_EXISTING, 0, nullptr)) {
    EXPECT_NE(handle_, INVALID_HANDLE_VALUE);
  }
  ~HeldFile() { CloseHandle(handle_); }
  HeldFile(const HeldFile&) = delete;
  HeldFile& operator=(const HeldFile&) = delete;

 private:
  HANDLE handle_;
};

/// A copy of the stage's launcher.exe in another folder, which is created.
inline std::filesystem::path copyLauncher(const stage::Stage& machine,
                                          const std::filesystem::path& folder) {
  std::filesystem::create_directories(folder);
  std::filesystem::path copy = folder / "launcher.exe";
  std::filesystem::copy_file(machine.launcher(), copy);
  return copy;
}

/// A script in which the game writes this receipt and stays until it is ended.
inline stage::GameScript staysAfterRun(const stage::Stage& machine, std::string_view receiptText) {
  stage::GameScript script = machine.playsRun(receiptText);
  script.waitsForLauncher = false;
  script.waitMs = 0;
  script.untilEnded = true;
  return script;
}

/// Runs the launcher to its end; closes a game that stays (GameScript::untilEnded) as soon as
/// the launcher waits for it. A game that lived for a set time only could be missed by the
/// launcher, which looks for it twice a second.
inline stage::RunResult runUntilGameEnds(stage::Stage& machine, stage::RunOptions options = {}) {
  stage::LauncherRun run = machine.startLauncher({}, std::move(options));
  if (run.waitForLog("waiting for exit...")) machine.endGame();
  stage::RunResult result = run.wait();
  EXPECT_FALSE(result.hang) << result.console;
  return result;
}

}  // namespace e2e
