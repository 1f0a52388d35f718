// Backrooms-Win64-Shipping.exe: plays a scripted run. The script is described at GameScript.

#include <windows.h>

#include <cwchar>
#include <exception>
#include <nlohmann/json.hpp>

#include "rehearsal/stage/files.h"
#include "rehearsal/stage/process.h"
#include "rehearsal/stage/text.h"
#include "rehearsal/standins/stand_in.h"

namespace {

constexpr wchar_t kSecond[] = L"--second";
constexpr unsigned kLongestWaitMs = 20 * 1000;
constexpr unsigned kLongestGameMs = 5 * 60 * 1000;

/// Waits until the launcher has written "playing" into its progress file.
void waitForLauncher(const std::filesystem::path& launchState) {
  const std::uint64_t end = GetTickCount64() + kLongestWaitMs;
  while (stage::readFile(launchState) != "playing" && GetTickCount64() < end) Sleep(10);
}

void writeFiles(const stage::StandIn& game) {
  const nlohmann::json writes = game.script().value("writes", nlohmann::json::array());
  for (const nlohmann::json& write : writes) {
    const std::filesystem::path path = stage::pathOf(write.value("path", ""));
    const std::filesystem::path from = stage::pathOf(write.value("from", ""));
    try {
      stage::writeFile(path, from.empty() ? write.value("text", "")
                                          : stage::readFile(from).value_or(""));
      game.note("write", stage::textOf(path));
    } catch (const std::exception& error) {
      game.note("write failed", error.what());
    }
  }
  const nlohmann::json deletes = game.script().value("deletes", nlohmann::json::array());
  for (const nlohmann::json& name : deletes) {
    const std::filesystem::path path = stage::pathOf(name.get<std::string>());
    game.note(DeleteFileW(path.c_str()) ? "delete" : "delete failed", stage::textOf(path));
  }
}

}  // namespace

int wmain(int count, wchar_t** arguments) {
  const stage::StandIn game("game");
  const bool second = count > 1 && wcscmp(arguments[1], kSecond) == 0;
  game.note("start", stage::StandIn::commandLine());
  if (game.value("restartsItself", false) && !second) {
    Sleep(game.value("firstLivesMs", 300U));
    game.note("restart");
    stage::startDetached(stage::StandIn::program(), stage::toUtf8(kSecond));
    return 0;
  }
  const std::filesystem::path stopFile = game.path("stopFile");
  const std::filesystem::path launchState = game.path("launchState");
  if (!launchState.empty()) waitForLauncher(launchState);
  Sleep(game.value("waitMs", 100U));
  writeFiles(game);
  Sleep(game.value("thenWaitMs", 0U));
  if (game.value("untilEnded", false)) stage::waitForFile(stopFile, kLongestGameMs);
  const int code = game.value("exitCode", 0);
  game.note("exit", std::to_string(code));
  return code;
}
