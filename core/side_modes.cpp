#include "core/side_modes.h"

#include "core/file_io.h"
#include "core/log.h"
#include "core/paths.h"
#include "core/result_card.h"
#include "core/settings_file.h"
#include "core/text.h"
#include "result/run_check.h"
#include "result/upload.h"
#include "steam/discovery.h"

namespace launcher {
namespace {

/// The difficulty that was chosen outside the launcher, if it is one.
void takeChoice(Settings& settings) {
  const std::string choice = trimLineEnd(readWholeFile(inDataFolder(settings.data, kChoiceFile)));
  if (!isDifficulty(choice)) return;
  settings.difficulty = choice;
  logLine("upload difficulty from choice.txt: %s", choice.c_str());
}

}  // namespace

int runDetect() {
  const std::string persona = detectSteamPersona();
  consolePrint("steam persona: %s\n", persona.empty() ? "(not found)" : persona.c_str());
  logLine("detected persona bytes: %s", persona.empty() ? "(none)" : persona.c_str());
  closeLog();
  return kExitDone;
}

int runProfile(const Launch& launch) {
  Settings settings = loadSettings(settingsPath(launch));
  expandPaths(settings, Expansion::everyMode, launch);
  const std::string token = trimLineEnd(readWholeFile(inDataFolder(settings.data, kTokenFile)));
  openProfilePage(token);
  consolePrint(token.empty() ? "opened profile (no login code yet)\n"
                             : "opened profile (logged in)\n");
  closeLog();
  return kExitDone;
}

int runUploadOnly(Launch& launch) {
  Settings settings = loadSettings(settingsPath(launch));
  expandPaths(settings, Expansion::upload, launch);
  takeChoice(settings);
  logLine("=== upload-only mode ===");
  const bool accepted = uploadRun(settings, launch.outcome);
  consolePrint(accepted ? "\n上传成功\n" : "\n上传失败（详见 launcher.log）\n");
  logLine("upload-only result: %s", accepted ? "ok" : "failed");
  closeLog();
  return accepted ? kExitDone : kExitUploadFailed;
}

}  // namespace launcher
