// steam.exe: starts the game on "-applaunch", some time after it has returned, as the real
// client does when it already runs. The script is described at SteamScript.

#include <windows.h>

#include <cwchar>
#include <exception>

#include "rehearsal/stage/process.h"
#include "rehearsal/stage/text.h"
#include "rehearsal/standins/stand_in.h"

namespace {

constexpr wchar_t kLaunchLater[] = L"--launch-later";

int launchGame(const stage::StandIn& steam) {
  Sleep(steam.value("delayMs", 0U));
  const std::filesystem::path game = steam.path("game");
  steam.note("launch", stage::textOf(game));
  try {
    stage::startDetached(game, {}, game.parent_path());
  } catch (const std::exception& error) {
    steam.note("launch failed", error.what());
    return 1;
  }
  return 0;
}

}  // namespace

int wmain(int count, wchar_t** arguments) {
  const stage::StandIn steam("steam");
  const bool hasWord = count > 1;
  if (hasWord && wcscmp(arguments[1], kLaunchLater) == 0) return launchGame(steam);

  steam.note("start", stage::StandIn::commandLine());
  if (hasWord && wcscmp(arguments[1], L"-applaunch") == 0 && steam.value("startsGame", true) &&
      !steam.path("game").empty()) {
    stage::startDetached(stage::StandIn::program(), stage::toUtf8(kLaunchLater));
  }
  const int code = steam.value("exitCode", 0);
  steam.note("exit", std::to_string(code));
  return code;
}
