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

Resent resend(const Settings& settings, const std::string& url, const std::string& path) {
  Resent result;
  result.path = path;
  const std::string entry = readWholeFile(path);
  result.sendable = isSendable(entry);
  if (!result.sendable) return result;
  const std::string difficulty = settings.difficulty.empty() ? "normal" : settings.difficulty;
  const std::string body = pendingBody(entry, playerName(settings), difficulty);
  result.accepted = httpPostJson(url, body, result.reply) && acceptsRun(result.reply);
  return result;
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

QueueListing::QueueListing(const std::string& dataFolder)
    : folder_(inDataFolder(dataFolder, kPendingFolder) + "\\"), listing_(folder_ + "*.json") {}

std::string QueueListing::next() {
  const FolderEntry* entry = listing_.next();
  while (entry != nullptr && entry->isFolder) entry = listing_.next();
  return entry == nullptr ? std::string() : folder_ + entry->name;
}

void flushPending(const Settings& settings, std::vector<Resent>* results) {
  QueueListing queue(settings.data);
  if (!queue.started()) return;
  const std::string server = stripTrailingSlashes(settings.server);
  if (server.empty()) return;
  int sent = 0;
  for (std::string path = queue.next(); !path.empty(); path = queue.next()) {
    Resent result = resend(settings, server + "/submit", path);
    if (result.accepted) {
      deleteFile(path);
      ++sent;
    }
    if (results != nullptr) results->push_back(std::move(result));
  }
  logLine("pending flushed: %d", sent);
}

}  // namespace launcher
