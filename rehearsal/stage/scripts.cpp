#include "rehearsal/stage/scripts.h"

#include <nlohmann/json.hpp>

#include "rehearsal/stage/text.h"

namespace stage {

namespace {

using Json = nlohmann::ordered_json;

Json seconds(std::optional<double> value) { return value ? Json(*value) : Json(nullptr); }

const char* nameOf(TimerGeneration generation) {
  return generation == TimerGeneration::component ? "component" : "current";
}

const char* nameOf(TimerManner manner) {
  switch (manner) {
    case TimerManner::proper:
      return "proper";
    case TimerManner::dropsFirst20Ms:
      return "dropsFirst20Ms";
    case TimerManner::acceptsAndCloses:
      return "acceptsAndCloses";
  }
  return "";
}

}  // namespace

std::string scriptText(const SteamScript& script, const std::filesystem::path& timeline) {
  return Json{{"timeline", textOf(timeline)},
              {"startsGame", script.startsGame},
              {"delayMs", script.delayMs},
              {"game", textOf(script.game)},
              {"exitCode", script.exitCode}}
      .dump(2);
}

std::string scriptText(const GameScript& script, const std::filesystem::path& timeline,
                       const std::vector<std::filesystem::path>& parts,
                       const std::filesystem::path& stopFile,
                       const std::filesystem::path& launchState) {
  Json writes = Json::array();
  for (std::size_t i = 0; i < script.writes.size(); ++i) {
    writes.push_back({{"path", textOf(script.writes[i].path)}, {"from", textOf(parts[i])}});
  }
  Json deletes = Json::array();
  for (const std::filesystem::path& path : script.deletes) deletes.push_back(textOf(path));
  return Json{{"timeline", textOf(timeline)},
              {"launchState", script.waitsForLauncher ? textOf(launchState) : std::string()},
              {"waitMs", script.waitMs},
              {"writes", writes},
              {"deletes", deletes},
              {"thenWaitMs", script.thenWaitMs},
              {"untilEnded", script.untilEnded},
              {"stopFile", textOf(stopFile)},
              {"exitCode", script.exitCode},
              {"restartsItself", script.restartsItself},
              {"firstLivesMs", script.firstLivesMs}}
      .dump(2);
}

std::string scriptText(const LiveSplitScript& script, const std::filesystem::path& timeline,
                       const std::filesystem::path& stopFile) {
  Json replies = Json::object();
  for (const auto& [command, lines] : script.replies) replies[command] = lines;
  return Json{{"timeline", textOf(timeline)},
              {"listens", script.listens},
              {"delayMs", script.delayMs},
              {"port", script.port},
              {"generation", nameOf(script.generation)},
              {"manner", nameOf(script.manner)},
              {"replies", replies},
              {"phase", script.phase},
              {"finalTime", seconds(script.finalTime)},
              {"lastSplit", seconds(script.lastSplit)},
              {"currentTime", seconds(script.currentTime)},
              {"stopFile", textOf(stopFile)},
              {"livesAtMostMs", script.livesAtMostMs}}
      .dump(2);
}

std::string scriptText(const CardScript& script, const std::filesystem::path& timeline) {
  return Json{{"timeline", textOf(timeline)},
              {"stayMs", script.stayMs},
              {"progressStayMs", script.progressStayMs},
              {"progressLimitMs", script.progressLimitMs},
              {"shows", textOf(script.shows)},
              {"exitCode", script.exitCode}}
      .dump(2);
}

std::string browserScriptText(const std::filesystem::path& timeline) {
  return Json{{"timeline", textOf(timeline)}}.dump(2);
}

}  // namespace stage
