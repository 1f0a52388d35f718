#include "server/pending_queue.h"

#include "core/file_io.h"
#include "core/log.h"
#include "core/paths.h"
#include "core/platform.h"
#include "core/settings_file.h"
#include "core/text.h"
#include "server/http.h"
#include "server/server_text.h"

namespace launcher {
namespace {

/// True when the server accepted the entry.
bool resend(const Settings& settings, const std::string& url, const std::string& path) {
  const std::string entry = readWholeFile(path);
  if (!isSendable(entry)) return false;
  const std::string difficulty = settings.difficulty.empty() ? "normal" : settings.difficulty;
  std::string reply;
  const std::string body = pendingBody(entry, playerName(settings), difficulty);
  return httpPostJson(url, body, reply) && acceptsRun(reply);
}

}  // namespace

void savePending(const Settings& settings) {
  std::string source = modResultPath(settings.data);
  if (!pathExists(source)) source = settings.receipt;
  const std::optional<std::string> result = readFile(source);
  if (!result) return;
  createFolder(inDataFolder(settings.data, kPendingFolder));
  const std::string entryPath = pendingEntryPath(settings.data, localTimeNow());
  if (writeWholeFile(entryPath, *result)) logLine("pending saved: %s", entryPath.c_str());
}

void flushPending(const Settings& settings) {
  const std::string folder = inDataFolder(settings.data, kPendingFolder) + "\\";
  FolderListing listing(folder + "*.json");
  if (!listing.started()) return;
  const std::string server = stripTrailingSlashes(settings.server);
  if (server.empty()) return;
  int sent = 0;
  while (const FolderEntry* entry = listing.next()) {
    if (entry->isFolder) continue;
    const std::string path = folder + entry->name;
    if (!resend(settings, server + "/submit", path)) continue;
    deleteFile(path);
    ++sent;
  }
  logLine("pending flushed: %d", sent);
}

}  // namespace launcher
