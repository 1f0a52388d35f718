#include "server/weekly_sync.h"

#include "core/file_io.h"
#include "core/log.h"
#include "core/text.h"
#include "server/http.h"
#include "server/seed.h"

namespace launcher {
namespace {

struct WeeklyFile {
  const char* name;
  const char* serverPath;
};

constexpr WeeklyFile kWeek = {"week.json", "/week/current"};
constexpr WeeklyFile kBoards[] = {
    {"leaderboard.json", "/leaderboard"}, {"board_data.txt", "/board-data"},
    {"board_en.txt", "/board-en"},        {"board.txt", "/leaderboard.txt"},
    {"board.tsv", "/leaderboard.tsv"},
};

void syncFile(const Settings& settings, const std::string& server, const WeeklyFile& file) {
  if (fetchToFile(server + file.serverPath, settings.data + "\\" + file.name)) {
    logLine("%s updated from server", file.name);
  } else {
    logLine("%s: server unreachable, using cached copy", file.name);
  }
}

/// Also from a cached week.json, when the fetch failed.
void syncSeed(const Settings& settings) {
  const std::string seed = scanSeed(readWholeFile(settings.data + "\\week.json"));
  if (seed.empty()) return;
  writeWholeFile(settings.data + "\\rand_seed.txt", seed);
  logLine("weekly seed = %s", seed.c_str());
}

}  // namespace

bool fetchToFile(const std::string& url, const std::string& path) {
  std::string reply;
  return httpGet(url, reply) && writeWholeFile(path, reply);
}

void syncWeeklyData(const Settings& settings) {
  if (settings.server.empty()) {
    logLine("no server configured, using cached data");
    return;
  }
  const std::string server = stripTrailingSlashes(settings.server);
  syncFile(settings, server, kWeek);
  syncSeed(settings);
  for (const WeeklyFile& file : kBoards) syncFile(settings, server, file);
}

}  // namespace launcher
