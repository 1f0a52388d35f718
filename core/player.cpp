#include "core/player.h"

#include "core/platform.h"

namespace launcher {

std::string playerName(const Settings& settings) {
  if (settings.player.empty()) return "anonymous";
  return settings.playerFromSteam ? settings.player : ansiToUtf8(settings.player);
}

}  // namespace launcher
