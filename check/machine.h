#pragma once

#include <string>

#include "core/settings.h"

namespace launcher::check {

/// What every page needs to know of this machine: the settings as a start of the launcher
/// reads and completes them. Paths are as the launcher has them (settings.h).
struct Machine {
  std::string programFolder;    ///< folder of this program and the launcher, with its backslash
  std::wstring programFolderWide;
  std::string settingsPath;     ///< launcher.ini
  bool hasSettingsFile = false;
  std::string settingsBytes;    ///< launcher.ini as it stands on the disk
  Settings written;             ///< as loadSettings() reads it
  Settings settings;            ///< with placeholders filled in, Steam and the game searched for
  bool steamSearched = false;   ///< `steam` came from the registry
  bool gameSearched = false;    ///< `game` came from a Steam library
  bool gameExists = false;
  std::string gameSetting;      ///< game= with placeholders filled in, before any search
  std::string livesplit;        ///< where LiveSplit is: as set, else in a usual folder
};

/// The programs that lie in the program folder.
inline constexpr const wchar_t* kPrograms[] = {L"launcher.exe", L"kov_result.exe",
                                               L"kov_check.exe"};

/// Reads it anew, as a start of the launcher in this program's folder would.
[[nodiscard]] Machine readMachine();

/// The same for a launcher in another folder, which is given with its backslash.
[[nodiscard]] Machine readMachineAt(const std::wstring& programFolder);

/// LiveSplit's settings.cfg.
[[nodiscard]] std::string timerConfigPath(const Machine& machine);

}  // namespace launcher::check
