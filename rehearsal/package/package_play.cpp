#include "rehearsal/package/package_play.h"

#include <algorithm>

#include "core/settings.h"
#include "rehearsal/package/settings_check.h"
#include "steam/mod_files.h"

namespace rehearsal {

namespace fs = std::filesystem;

namespace {

constexpr char kStandardAppId[] = "-applaunch 1943950";
constexpr char kStandardSite[] = "https://kov-race.example";
constexpr char kStandardTimer[] = "timer overlay: 0";

void copyWhenThere(const fs::path& from, const fs::path& to) {
  if (const auto bytes = stage::readFile(from)) stage::writeFile(to, *bytes);
}

}  // namespace

void putOnStage(const Package& package, stage::Stage& machine) {
  copyTree(package.programFolder, machine.app());
  machine.installCard();

  for (const char* file : launcher::kRequiredModFiles) {
    const fs::path name = stage::pathOf(file).relative_path();
    fs::remove_all(machine.gameFolder() / *name.begin());
  }
  fs::remove_all(machine.package());
  const Target mod = targetOf(package, package.settings.install_from);
  if (mod.place == Target::Place::package && stage::pathExists(mod.path)) {
    copyTree(mod.path, machine.package());
  }

  const Target splits = targetOf(package, package.settings.livesplit_lss);
  if (splits.place == Target::Place::package) {
    copyWhenThere(splits.path, machine.splits());
    copyWhenThere(splits.path, machine.liveSplitFolder() / splits.path.filename());
  }
  const fs::path timer = liveSplitFolder(package);
  if (!timer.empty()) {
    for (const char* name : {"halvorn.lsl", "settings.cfg"}) {
      copyWhenThere(timer / name, machine.liveSplitFolder() / name);
    }
  }
}

void writePackageSettings(const Package& package, stage::Stage& machine,
                          std::string_view serverUrl, const stage::Ini& more) {
  stage::Ini values = {{"server", ""}, {"player", "player"}};
  for (const launcher::SettingKey& key : launcher::kSettingKeys) {
    if (key.expansion != launcher::Expansion::noPath) values.emplace_back(key.name, "");
  }
  const auto set = [&](const auto& wanted, bool add) {
    const auto found = std::find_if(values.begin(), values.end(), [&](const auto& value) {
      return value.first == wanted.first;
    });
    if (found != values.end()) {
      found->second = wanted.second;
    } else if (add) {
      values.push_back(wanted);
    }
  };
  for (const auto& setting : machine.standardIni(serverUrl)) set(setting, false);
  for (const auto& setting : more) set(setting, true);
  machine.writeRawIni(withSettings(package.ini, values));
}

std::string expectedOf(const Package& package, std::string_view pattern) {
  std::string text(pattern);
  if (!package.settings.appid.empty()) {
    text = stage::replaceAll(text, kStandardAppId, "-applaunch " + package.settings.appid);
  }
  text = stage::replaceAll(text, kStandardSite,
                           launcher::siteBaseFrom(package.ini, kStandardSite));
  if (package.settings.timer == "1") {
    text = stage::replaceAll(text, kStandardTimer, "timer overlay: 1");
  }
  return text;
}

}  // namespace rehearsal
