#include "livesplit/start.h"

#include "core/file_io.h"
#include "core/log.h"
#include "core/paths.h"
#include "core/platform.h"
#include "livesplit/client.h"
#include "livesplit/start_text.h"

namespace launcher {
namespace {

constexpr const char* kUsualPrograms[] = {
    "C:\\Program Files\\LiveSplit\\LiveSplit.exe",
    "C:\\Program Files (x86)\\LiveSplit\\LiveSplit.exe",
};
constexpr int kProbes = 30;
constexpr unsigned kProbeIntervalMs = 500;

StartResult startWithSplits(const Settings& settings) {
  const std::wstring program = ansiToWide(settings.livesplit);
  const std::wstring splits = ansiToWide(settings.livesplit_lss);
  return startProcessWide(livesplitCommandLine(program, splits));
}

}  // namespace

bool resolveLivesplit(std::string& livesplit) {
  if (pathExists(livesplit)) return false;
  for (const char* usual : kUsualPrograms) {
    if (!pathExists(usual)) continue;
    livesplit = usual;
    return true;
  }
  return false;
}

void fixLivesplitLayout(const std::string& livesplit) {
  const std::string folder = parentFolder(livesplit);
  const std::string configPath = folder + "\\settings.cfg";
  const std::string layout = folder + "\\halvorn.lsl";
  const std::optional<std::string> config = withLayoutPath(readWholeFile(configPath), layout);
  if (!config) return;
  writeWholeFile(configPath, *config);  // logged whether or not it could be written
  logLine("livesplit layout path fixed to %s", layout.c_str());
}

void startLivesplitEarly(Settings& settings) {
  if (settings.livesplit.empty()) return;
  fixLivesplitLayout(settings.livesplit);
  if (settings.livesplit_lss.empty() || findProcessByName(kLivesplitImageName) != 0) return;
  (void)resolveLivesplit(settings.livesplit);  // only the second start logs the place
  if (!pathExists(settings.livesplit)) return;
  if (!startWithSplits(settings).process) return;
  logLine("livesplit started early (before chooser)");
  consolePrint("LiveSplit loading in background, please wait 1-3s...\n");
}

void startLivesplit(Settings& settings) {
  if (settings.livesplit.empty() || settings.livesplit_lss.empty()) return;
  if (resolveLivesplit(settings.livesplit)) {
    logLine("livesplit found at %s", settings.livesplit.c_str());
  }
  if (const unsigned long processId = findProcessByName(kLivesplitImageName); processId != 0) {
    logLine("livesplit already running (pid %lu), not opening another", processId);
    return;
  }
  const StartResult start = startWithSplits(settings);
  if (start.process) {
    logLine("livesplit started with splits arg");
  } else {
    logLine("livesplit failed to start (err %lu)", start.error);
  }
}

void probeLivesplit(const Settings& settings) {
  if (settings.livesplit.empty()) return;
  for (int probe = 0; probe < kProbes; ++probe) {
    const std::string phase = livesplitCommand("getcurrenttimerphase");
    if (!phase.empty()) {
      logLine("livesplit tcp server reachable (phase=%s)", phase.c_str());
      return;
    }
    sleepMilliseconds(kProbeIntervalMs);
  }
  logLine("WARNING: livesplit tcp server not reachable");
  showMessage(livesplitReminder(), MessageIcon::information);
}

}  // namespace launcher
