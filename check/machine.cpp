#include "check/machine.h"

#include <optional>

#include "check/system.h"
#include "core/file_io.h"
#include "core/paths.h"
#include "core/platform.h"
#include "core/settings_file.h"
#include "livesplit/start.h"
#include "steam/discovery.h"

namespace launcher::check {

Machine readMachine() {
  std::wstring folder = programPathWide();
  folder.resize(folder.rfind(L'\\') + 1);
  return readMachineAt(folder);
}

Machine readMachineAt(const std::wstring& programFolder) {
  Machine machine;
  machine.programFolderWide = programFolder;
  machine.programFolder = toAnsi(programFolder).value_or("");
  machine.settingsPath = machine.programFolder + "launcher.ini";
  std::optional<std::string> bytes = readFile(machine.settingsPath);
  machine.hasSettingsFile = bytes.has_value();
  machine.settingsBytes = std::move(bytes).value_or("");
  machine.written = loadSettings(machine.settingsPath);
  machine.settings = machine.written;
  expandPaths(machine.settings, Expansion::race, machine.programFolder,
              localDataFolder(localAppData()));
  machine.gameSetting = machine.settings.game;
  machine.livesplit = machine.settings.livesplit;
  if (!machine.livesplit.empty()) (void)resolveLivesplit(machine.livesplit);
  machine.steamSearched = resolveSteam(machine.settings);
  machine.gameSearched = resolveGame(machine.settings) == GameSearch::found;
  machine.gameExists = pathExists(machine.settings.game);
  return machine;
}

std::string timerConfigPath(const Machine& machine) {
  return parentFolder(machine.livesplit) + "\\settings.cfg";
}

}  // namespace launcher::check
