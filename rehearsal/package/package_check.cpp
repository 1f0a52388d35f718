#include "rehearsal/package/package_check.h"

#include <algorithm>
#include <array>

#include "core/paths.h"
#include "rehearsal/package/mod_check.h"
#include "rehearsal/package/settings_check.h"
#include "rehearsal/package/sha256_win.h"
#include "rehearsal/package/timer_check.h"
#include "rehearsal/stage/files.h"
#include "rehearsal/stage/text.h"
#include "steam/mod_files.h"

namespace rehearsal {

namespace fs = std::filesystem;

namespace {

std::string shown(const Package& package, const fs::path& path) {
  const fs::path relative = path.lexically_relative(package.root);
  return stage::textOf(relative.empty() ? path : relative);
}

/// "PE" with the machine number of 64-bit x86.
bool isProgramFor64Bit(const std::string& bytes) {
  if (!bytes.starts_with("MZ") || bytes.size() < 0x40) return false;
  const auto byte = [&](std::size_t at) { return static_cast<unsigned char>(bytes[at]); };
  const std::size_t head = byte(0x3C) | static_cast<std::size_t>(byte(0x3D)) << 8;
  return bytes.compare(head < bytes.size() ? head : 0, 6, std::string_view("PE\0\0\x64\x86", 6)) ==
         0;
}

/// The checksum that the package's list has for a program, "" when there is none.
std::string listedSum(const Package& package, const std::string& program) {
  for (const fs::path& folder :
       {package.programFolder, package.programFolder.parent_path(), package.root}) {
    const std::string list = stage::readFile(folder / "SHA256SUMS").value_or("");
    const std::size_t name = list.find("/" + program + "\n");
    if (name == std::string::npos) continue;
    const std::size_t before = list.rfind('\n', name);
    return list.substr(before == std::string::npos ? 0 : before + 1, 64);
  }
  return {};
}

Finding checkProgram(const Package& package, const std::string& name, const std::string& use) {
  const std::string bytes =
      stage::readFile(package.programFolder / stage::pathOf(name)).value_or("");
  if (bytes.empty()) {
    return failed(name + " is missing", "put it beside launcher.exe; " + use);
  }
  if (!isProgramFor64Bit(bytes)) {
    return failed(name + " is no 64-bit Windows program", "take it from the release again");
  }
  const std::string sum = listedSum(package, name);
  if (sum.empty()) return unseen(name + " is there", "SHA256SUMS of the release does not list it");
  if (sum != sha256(bytes)) {
    return failed(name + " is not the release's (SHA256SUMS)", "take it from the release again");
  }
  return passed(name + " is the release's");
}

// Places -----------------------------------------------------------------------------------

Finding checkDataFolder(const Package& package) {
  const Target target = targetOf(package, package.settings.data);
  const fs::path beside = (package.programFolder.parent_path() / "data").lexically_normal();
  if (target.place == Target::Place::none) {
    return failed("there is no data folder to check", "add the line data=%APPDIR%..\\data");
  }
  // The launcher looks for a saved code in these two folders alone.
  const fs::path folder = target.path.has_filename() ? target.path : target.path.parent_path();
  if (target.place != Target::Place::package ||
      (folder != beside && folder != package.programFolder)) {
    return failed("the data folder is one in which the next start finds no login code",
                  "write data=%APPDIR%..\\data");
  }
  return passed("the data folder is beside the program's; the next start finds the login code");
}

Finding checkReceipt(const Package& package) {
  const std::string& value = package.settings.receipt;
  const Target target = targetOf(package, value);
  const std::string what = "the receipt is written to " + value;
  const auto last = value.find_last_of('\\');
  if (value.substr(last == std::string::npos ? 0 : last + 1) == launcher::kModResultFile) {
    return failed("the receipt has the name of the mod's own result file",
                  "give it another one, for example receipt.json");
  }
  switch (target.place) {
    case Target::Place::none:
      return failed("there is no receipt to check", "add the line receipt=...");
    case Target::Place::nowhere:
      return failed(what, "begin the path with %APPDIR%, %LOCALDATA% or a drive");
    case Target::Place::localData:
      return unseen(what, "the mod has to create that folder, the launcher does not");
    case Target::Place::machine:
      return unseen(what, "that folder has to be there on every player's machine");
    case Target::Place::package:
      break;
  }
  const Target data = targetOf(package, package.settings.data);
  if (target.path.parent_path() == data.path || stage::pathExists(target.path.parent_path())) {
    return passed("the receipt's folder is there");
  }
  return failed(what, "that folder is not in the package, and nothing creates it");
}

Findings checkMod(const Package& package) {
  const std::string& value = package.settings.install_from;
  const Target target = targetOf(package, value);
  if (target.place == Target::Place::none) {
    return {failed("install_from is empty, so no mod is installed",
                   "write install_from=%APPDIR%..\\mod and put the mod there")};
  }
  if (target.place != Target::Place::package) {
    return {failed("install_from does not lead into the package: " + value,
                   "write install_from=%APPDIR%..\\mod and put the mod there")};
  }
  Findings found;
  for (const char* file : launcher::kRequiredModFiles) {
    const std::string name = file + 1;  // without its backslash
    const fs::path path = target.path / stage::pathOf(name);
    const bool there = stage::pathExists(path);
    const bool empty = there && stage::readFile(path).value_or("").empty();
    // enabled.txt counts by its presence.
    if (!there) {
      found.push_back(failed("mod file " + name + " is missing",
                             "put it into " + shown(package, target.path)));
    } else if (empty && !name.ends_with("enabled.txt")) {
      found.push_back(failed("mod file " + name + " is empty", "put the real file there"));
    } else {
      found.push_back(passed("mod file " + name + " is there"));
    }
  }
  append(found, checkModNames(stage::listFolder(target.path)));
  return found;
}

// The player -------------------------------------------------------------------------------

Finding checkPlayer(const Package& package) {
  const std::string& name = package.settings.player;
  if (name.empty()) return passed("player is left to each player");
  return warned("player is " + name + " for everybody",
                "leave it empty; every run without a Steam name would come under it");
}

// What is the organiser's own ----------------------------------------------------------------

/// Files that a run leaves behind, with what they would do at a player's.
constexpr std::array<std::array<const char*, 2>, 6> kLeftBehind = {{
    {launcher::kTokenFile, "it is your own login code"},
    {launcher::kProfileFlagFile, "the player's profile page would never open"},
    {"launcher.log", "it is the log of your own runs"},
    {launcher::kModResultFile, "it would be submitted as the player's run"},
    {"receipt.json", "it would be submitted as the player's run"},
    {launcher::kChoiceFile, "it would change the difficulty of --upload"},
}};

Findings checkLeftBehind(const Package& package) {
  Findings found;
  for (const fs::directory_entry& entry : fs::recursive_directory_iterator(package.root)) {
    if (entry.is_directory()) continue;
    const std::string name = stage::textOf(entry.path().filename());
    std::string reason;
    for (const auto& [left, why] : kLeftBehind) {
      if (name == left) reason = why;
    }
    const std::string folder = stage::textOf(entry.path().parent_path().filename());
    if (folder == launcher::kPendingFolder) reason = "it would be submitted as the player's run";
    if (folder == launcher::kReceiptsFolder) reason = "it is the archive of your own runs";
    if (reason.empty()) continue;
    found.push_back(failed(shown(package, entry.path()) + " is in the package",
                           "remove it; " + reason));
  }
  if (found.empty()) found.push_back(passed("nothing of your own runs is in the package"));
  return found;
}

}  // namespace

Findings checkPackage(const Package& package) {
  if (package.programFolder.empty()) {
    return {failed(package.problem, "name the folder or zip that players get, with one")};
  }
  Findings all;
  all.push_back(checkProgram(package, "launcher.exe", "without it there is no launcher"));
  all.push_back(checkProgram(package, "kov_result.exe",
                             "without it players get a plain message box"));
  all.push_back(checkProgram(package, "kov_check.exe",
                             "without it players repair by hand what a button does"));
  if (package.ini.empty()) {
    all.push_back(failed("launcher.ini is missing or empty", "put it beside launcher.exe"));
    return all;
  }
  append(all, checkSettings(package.ini));
  all.push_back(checkDataFolder(package));
  all.push_back(checkReceipt(package));
  append(all, checkMod(package));
  append(all, checkTimer(package));
  all.push_back(checkPlayer(package));
  append(all, checkLeftBehind(package));
  return all;
}

}  // namespace rehearsal
