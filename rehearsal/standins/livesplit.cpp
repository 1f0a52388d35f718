// LiveSplit.exe: the timer with its command server. The script is described at
// LiveSplitScript. As the real one it ignores the splits file of its command line and opens
// the last one of its settings.cfg.

#include <windows.h>

#include <algorithm>
#include <exception>
#include <filesystem>
#include <nlohmann/json.hpp>
#include <optional>

#include "rehearsal/stage/files.h"
#include "rehearsal/stage/text.h"
#include "rehearsal/stage/timer_files.h"
#include "rehearsal/stage/timer_server.h"
#include "rehearsal/standins/stand_in.h"

namespace {

std::optional<double> seconds(const stage::StandIn& timer, const char* name,
                              std::optional<double> fallback) {
  const auto found = timer.script().find(name);
  if (found == timer.script().end()) return fallback;
  return found->is_number() ? std::optional<double>(found->get<double>()) : std::nullopt;
}

stage::TimerServer::Options optionsOf(const stage::StandIn& timer) {
  stage::TimerServer::Options options;
  options.port = timer.value("port", stage::kTimerPort);
  if (timer.value("generation", std::string()) == "component") {
    options.generation = stage::TimerGeneration::component;
  }
  const std::string manner = timer.value("manner", std::string());
  if (manner == "dropsFirst20Ms") options.manner = stage::TimerManner::dropsFirst20Ms;
  if (manner == "acceptsAndCloses") options.manner = stage::TimerManner::acceptsAndCloses;
  options.timeline = timer.timeline();
  return options;
}

/// The last splits file of settings.cfg; empty when LiveSplit opens none.
std::filesystem::path splitsOfSettings() {
  const std::filesystem::path folder = stage::StandIn::program().parent_path();
  const std::optional<std::string> bytes = stage::readFile(folder / "settings.cfg");
  const auto settings = bytes ? stage::readTimerSettings(*bytes) : std::nullopt;
  if (!settings || settings->splits.empty()) return {};
  return folder / stage::pathOf(settings->splits.back());
}

/// The splits as they were opened; nothing when there are none or they cannot be read.
std::optional<stage::TimerSplits> openSplits(const stage::StandIn& timer) {
  const std::filesystem::path file = splitsOfSettings();
  const std::optional<std::string> bytes = file.empty() ? std::nullopt : stage::readFile(file);
  auto splits = bytes ? stage::readTimerSplits(*bytes) : std::nullopt;
  timer.note("splits", splits ? stage::textOf(file) : "none");
  return splits;
}

/// The final time: the run's in the phase Ended, else the personal best of the splits.
std::optional<double> finalTime(const stage::StandIn& timer,
                                const std::optional<stage::TimerSplits>& splits) {
  const std::optional<double> scripted = seconds(timer, "finalTime", std::nullopt);
  const bool ended = timer.value("phase", std::string()) == "Ended";
  if (scripted || ended || !splits || !splits->personalBest) return scripted;
  return static_cast<double>(*splits->personalBest) / stage::kTicksPerSecond;
}

void prepare(stage::TimerServer& server, const stage::StandIn& timer,
             const std::optional<stage::TimerSplits>& splits) {
  server.replyState(timer.value("phase", std::string("NotRunning")), finalTime(timer, splits),
                    seconds(timer, "lastSplit", std::nullopt), seconds(timer, "currentTime", 0.0));
  const nlohmann::json scripted = timer.script().value("replies", nlohmann::json::object());
  for (const auto& [command, lines] : scripted.items()) {
    std::vector<stage::TimerReply> replies;
    for (const nlohmann::json& line : lines) {
      replies.push_back(stage::TimerReply::line(line.get<std::string>()));
    }
    server.reply(command, replies);
  }
}

}  // namespace

int wmain() {
  const stage::StandIn timer("livesplit");
  timer.note("start", stage::StandIn::commandLine());
  const std::optional<stage::TimerSplits> splits = openSplits(timer);
  const std::filesystem::path stopFile = timer.path("stopFile");
  const unsigned life = timer.value("livesAtMostMs", 300000U);
  const unsigned delay = std::min(timer.value("delayMs", 0U), life);
  int code = 0;
  if (!stage::waitForFile(stopFile, delay)) {
    try {
      std::optional<stage::TimerServer> server;
      if (timer.value("listens", true)) {
        stage::TimerServer::Options options = optionsOf(timer);
        options.prepare = [&](stage::TimerServer& started) {
          prepare(started, timer, splits);
        };
        server.emplace(std::move(options));
        timer.note("listening", std::to_string(server->port()));
      }
      stage::waitForFile(stopFile, life - delay);
    } catch (const std::exception& error) {
      timer.note("failed", error.what());
      code = 1;
    }
  }
  timer.note("exit", std::to_string(code));
  return code;
}
