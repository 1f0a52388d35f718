#include "steam/discovery.h"

#include "core/file_io.h"
#include "core/platform.h"
#include "steam/libraries.h"
#include "steam/registry.h"

namespace launcher {
namespace {

constexpr char kUsualSteamFolder[] = "C:\\Program Files (x86)\\Steam";
constexpr char kLibraryFile[] = "\\steamapps\\libraryfolders.vdf";
constexpr char kLoginUsersFile[] = "\\config\\loginusers.vdf";
constexpr char kGameInLibrary[] =
    "\\steamapps\\common\\EscapeTheBackrooms\\EscapeTheBackrooms\\Binaries\\Win64\\"
    "Backrooms-Win64-Shipping.exe";

}  // namespace

std::vector<std::string> listSteamLibraries(const std::string& steamRoot) {
  if (steamRoot.empty()) return {};
  return libraryFolders(steamRoot, readWholeFile(steamRoot + kLibraryFile), ansiToUtf8);
}

std::string findGameExe(const std::string& steamRoot) {
  // The narrow existence test gets UTF-8 text, so a library whose name is not
  // plain ASCII is found only where the ANSI code page is UTF-8.
  for (const std::string& folder : listSteamLibraries(steamRoot)) {
    // A damaged file can hold a NUL, where Windows would end the path: at a folder.
    if (folder.find('\0') != std::string::npos) continue;
    std::string candidate = folder + kGameInLibrary;
    if (pathExists(candidate)) return candidate;
  }
  return {};
}

bool resolveSteam(Settings& settings) {
  if (pathExists(settings.steam)) return false;
  const std::string root = readSteamRoot();
  if (root.empty()) return false;
  // Not tested for existence, and logged all the same: launchAndWait() looks before it starts.
  settings.steam = root + "\\steam.exe";
  return true;
}

GameSearch resolveGame(Settings& settings) {
  if (pathExists(settings.game)) return GameSearch::notNeeded;
  const std::string found = findGameExe(readSteamRoot());
  if (found.empty()) return GameSearch::notFound;
  settings.game = found;
  return GameSearch::found;
}

std::string readLoginUsers() {
  std::string root = readSteamRoot();
  if (root.empty()) root = kUsualSteamFolder;
  return readWholeFile(root + kLoginUsersFile);
}

SteamAccount detectSteamAccount() { return recentAccount(readLoginUsers()); }

std::string detectSteamPersona() { return detectSteamAccount().persona; }

bool resolvePlayer(Settings& settings) {
  const std::string persona = detectSteamPersona();
  if (persona.empty()) return false;
  settings.player = persona;
  settings.playerFromSteam = true;
  return true;
}

}  // namespace launcher
