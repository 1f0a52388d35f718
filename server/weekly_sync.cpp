#include "server/weekly_sync.h"

#include "core/file_io.h"
#include "core/log.h"
#include "core/paths.h"
#include "core/text.h"
#include "server/http.h"
#include "server/weekly_files.h"

namespace launcher {
namespace {

void syncFile(const Settings& settings, const std::string& server, const WeeklyFile& file) {
  if (fetchToFile(server + file.serverPath, inDataFolder(settings.data, file.name))) {
    logLine("%s updated from server", file.name);
  } else {
    logLine("%s: server unreachable, using cached copy", file.name);
  }
}

/// Also from a cached week.json, when the fetch failed.
void syncSeed(const Settings& settings) {
  const std::string seed = scanSeed(readWholeFile(inDataFolder(settings.data, kWeekFile.name)));
  if (seed.empty()) return;
  writeWholeFile(inDataFolder(settings.data, kSeedFile), seed);
  logLine("weekly seed = %s", seed.c_str());  // whether or not the file was written
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
  for (const WeeklyFile& file : kWeeklyFiles) {
    syncFile(settings, server, file);
    if (&file == &kWeekFile) syncSeed(settings);
  }
}

}  // namespace launcher
