#include "core/run_sequence.h"

#include "core/file_io.h"
#include "core/log.h"
#include "core/paths.h"
#include "core/platform.h"
#include "core/result_card.h"
#include "core/result_text.h"
#include "core/settings_file.h"
#include "livesplit/start.h"
#include "result/receipt.h"
#include "result/upload.h"
#include "server/pending_queue.h"
#include "server/weekly_sync.h"
#include "steam/discovery.h"
#include "steam/game_launch.h"
#include "steam/mod_install.h"

namespace launcher {
namespace {

constexpr unsigned kProgressCardLimitMs = 4000;

void promptForEnd() {
  consolePrint("\n按回车键退出...");
  waitForCharacter();
}

void findSteam(Settings& settings) {
  if (resolveSteam(settings)) logLine("steam detected: %s", settings.steam.c_str());
}

void findGame(Settings& settings) {
  switch (resolveGame(settings)) {
    case GameSearch::notNeeded: return;
    case GameSearch::found: logLine("game detected: %s", settings.game.c_str()); return;
    case GameSearch::notFound: logLine("game not found in any steam library"); return;
  }
}

void logDryRun(const Settings& settings) {
  logLine("DRYRUN steam=%s", settings.steam.c_str());
  logLine("DRYRUN game=%s", settings.game.c_str());
  logLine("DRYRUN receipt=%s", settings.receipt.c_str());
  logLine("DRYRUN data=%s", settings.data.c_str());
  logLine("DRYRUN livesplit=%s", settings.livesplit.c_str());
  logLine("DRYRUN install_from=%s", settings.install_from.c_str());
  const SteamAccount account = detectSteamAccount();
  logLine("DRYRUN steam_id=%s persona=%s", account.steamId.c_str(), account.persona.c_str());
}

void reportMissingGame() {
  logLine("game not found, aborting");
  showMessage(
      L"没有找到《Escape the Backrooms》的游戏文件。\n\n"
      L"可能原因：\n"
      L"· 游戏没安装\n"
      L"· 装在非 Steam 默认目录，且 Steam 库里没有记录\n\n"
      L"解决办法：用记事本打开同目录的 launcher.ini，\n"
      L"把 game= 这一行改成你电脑上的\n"
      L"Backrooms-Win64-Shipping.exe 完整路径。",
      MessageIcon::error);
}

void takePersona(Settings& settings) {
  if (resolvePlayer(settings)) {
    logLine("steam persona detected: %s", settings.player.c_str());
  } else {
    logLine("steam persona not found, using ini player: %s", settings.player.c_str());
  }
}

void createDataFolders(const Settings& settings) {
  createFolder(settings.data);
  createFolder(inDataFolder(settings.data, kReceiptsFolder));
}

/// The overlay stays off at game start whatever `timer` asks for: the second write of
/// timer.enabled takes the first one back, and only the log shows the setting.
void writeFlagFiles(const Settings& settings) {
  const char* wanted = settings.timer == "1" ? "1" : "0";
  const std::string timerFlag = inDataFolder(settings.data, kTimerFlagFile);
  writeWholeFile(timerFlag, wanted);
  logLine("timer overlay: %s", wanted);
  writeWholeFile(inDataFolder(settings.data, kBoardFlagFile), "0");
  writeWholeFile(timerFlag, "0");
}

void playGame(const Settings& settings) {
  writeLaunchState(settings, "launching");
  logLine("stage: launching game");
  const bool launched = launchAndWait(settings);
  logLine("stage: game closed (launch result=%d), archiving receipt", launched ? 1 : 0);
}

/// Uploads the run while the progress card follows upload.state.
bool uploadWithProgress(const Settings& settings, Launch& launch) {
  const std::string uploadState = inDataFolder(settings.data, kUploadStateFile);
  writeLaunchState(settings, "uploading");
  logLine("stage: uploading");
  writeWholeFile(uploadState, "uploading");
  const std::optional<Process> card = startProgressCard(settings, launch.programFolder);
  const bool accepted = uploadRun(settings, launch.outcome);
  writeWholeFile(uploadState, accepted ? "done" : "fail");
  if (card) card->waitForEnd(kProgressCardLimitMs);
  return accepted;
}

/// The result file's text as it lies on disk now; empty once an accepted run's files
/// are gone.
std::string readRunText(const Settings& settings) {
  const std::string modResult = modResultPath(settings.data);
  return readWholeFile(opensForReading(modResult) ? modResult : settings.receipt);
}

void queueUndelivered(const Settings& settings, ResultKind kind) {
  if (kind == ResultKind::none) logLine("stage: run not finished, nothing queued");
  if (kind != ResultKind::fail) return;
  logLine("stage: upload failed, saving pending");
  savePending(settings);
}

}  // namespace

std::string settingsPath(const Launch& launch) { return launch.programFolder + "launcher.ini"; }

void expandPaths(Settings& settings, Expansion run, const Launch& launch) {
  expandPaths(settings, run, launch.programFolder, localDataFolder(localAppData()));
}

int runRace(Launch& launch) {
  Settings settings = loadSettings(settingsPath(launch));
  if (settings.receipt.empty() || settings.data.empty()) {
    logLine("launcher.ini missing or incomplete (need receipt and data fields)");
    promptForEnd();
    closeLog();  // here after the prompt, at the end of a whole run before it
    return kExitCannotRun;
  }
  expandPaths(settings, Expansion::race, launch);
  findSteam(settings);
  findGame(settings);
  // These two leave at once, without a prompt and with the log still open.
  if (settings.dryrun) {
    logDryRun(settings);
    return kExitDone;
  }
  if (!pathExists(settings.game)) {
    reportMissingGame();
    return kExitCannotRun;
  }
  installMod(settings);
  takePersona(settings);
  createDataFolders(settings);
  startLivesplitEarly(settings);
  logLine("difficulty chooser skipped (in-game difficulty is authoritative)");
  startLivesplit(settings);
  probeLivesplit(settings);
  syncWeeklyData(settings);
  writeFlagFiles(settings);
  flushPending(settings);
  playGame(settings);
  archiveReceipt(settings);

  const bool accepted = uploadWithProgress(settings, launch);
  const std::string runText = readRunText(settings);
  // Two marks on purpose: a run is judged by its ending's marker, but queued by its status.
  const ResultKind kind = resultKind(accepted, isFinishedRun(runText));
  queueUndelivered(settings, kind);
  logLine("stage: upload done (ok=%d)", accepted ? 1 : 0);
  showResult(settings, kind, launch.outcome, runText);

  writeLaunchState(settings, "done");
  logLine("=== KOV launcher done ===");
  closeLog();
  promptForEnd();
  return kExitDone;
}

}  // namespace launcher
