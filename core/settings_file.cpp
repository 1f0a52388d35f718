#include "core/settings_file.h"

#include "core/file_io.h"
#include "core/platform.h"

namespace launcher {

Settings loadSettings(const std::string& path) {
  Settings settings = parseSettings(readWholeFile(path));
  settings.file = path;
  return settings;
}

std::string playerName(const Settings& settings) {
  if (settings.player.empty()) return "anonymous";
  return settings.playerFromSteam ? settings.player : ansiToUtf8(settings.player);
}

}  // namespace launcher
