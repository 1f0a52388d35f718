#include "steam/game_launch.h"

#include "core/file_io.h"
#include "core/log.h"
#include "core/paths.h"
#include "core/platform.h"
#include "steam/discovery.h"
#include "steam/launch_text.h"

namespace launcher {
namespace {

constexpr char kUsualSteam[] = "C:\\Program Files (x86)\\Steam\\steam.exe";
constexpr char kUsualAppId[] = "1943950";
constexpr unsigned kPollIntervalMs = 500;
constexpr int kPollsAfterSteam = 60;
constexpr int kPollsForGame = 240;

unsigned long findGameProcess() { return findProcessByName(kGameImageName); }

std::string orUsual(const std::string& value, const char* usual) {
  return value.empty() ? usual : value;
}

/// Polls until the game's process id is known; one that is known is kept.
unsigned long pollForGame(unsigned long processId, int polls) {
  for (int poll = 0; poll < polls && processId == 0; ++poll) {
    sleepMilliseconds(kPollIntervalMs);
    processId = findGameProcess();
  }
  return processId;
}

void startThroughSteam(const std::string& steam, const std::string& appId) {
  const StartResult start = startProcess(steamCommandLine(steam, appId));
  if (start.process) {
    logLine("steam started with -applaunch %s", appId.c_str());
  } else {
    logLine("failed to start steam (err %lu)", start.error);
  }
}

void startDirectly(const std::string& game) {
  logLine("steam launch did not start the game, trying direct exe");
  const std::wstring path = widenBytes(game);
  const StartResult start =
      startProcessWide(L"\"" + path + L"\"", folderAtEitherSlash(path).c_str());
  if (start.process) {
    logLine("launched game directly (fallback)");
  } else {
    logLine("direct launch failed (err %lu)", start.error);
  }
}

/// Brings the game up; its process id, or 0 when it has not appeared yet.
unsigned long launchGame(const Settings& settings) {
  const std::string steam = orUsual(settings.steam, kUsualSteam);
  if (pathExists(steam)) {
    startThroughSteam(steam, orUsual(settings.appid, kUsualAppId));
    const unsigned long processId = pollForGame(0, kPollsAfterSteam);
    if (processId != 0) return processId;
  }
  if (!settings.game.empty()) startDirectly(settings.game);
  return 0;
}

}  // namespace

void writeLaunchState(const Settings& settings, const char* word) {
  writeWholeFile(inDataFolder(settings.data, kLaunchStateFile), word);
}

bool launchAndWait(const Settings& settings) {
  unsigned long processId = findGameProcess();
  if (processId == 0) processId = launchGame(settings);
  processId = pollForGame(processId, kPollsForGame);
  if (processId == 0) {
    logLine("game process did not appear within 120s");
    return false;
  }
  std::optional<Process> game = openProcess(processId);
  if (!game) {
    logLine("cannot open game process (pid %lu)", processId);
    return false;
  }
  logLine("game running (pid %lu), waiting for exit...", processId);
  writeLaunchState(settings, "playing");
  game->waitForEnd();
  game.reset();
  logLine("game exited");
  return true;
}

}  // namespace launcher
