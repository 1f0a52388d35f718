#include "result/receipt.h"

#include "core/file_io.h"
#include "core/log.h"
#include "core/paths.h"
#include "core/platform.h"
#include "result/flat_json.h"

namespace launcher {
namespace {

void logSummary(const std::string& receipt) {
  logLine("receipt summary: ending=%s total=%s status=%s",
          rawJsonField(receipt, "\"ending\"").c_str(),
          rawJsonField(receipt, "\"total\"").c_str(),
          rawJsonField(receipt, "\"status\"").c_str());
}

}  // namespace

void archiveReceipt(const Settings& settings) {
  const std::optional<std::string> receipt = readFile(settings.receipt);
  if (!receipt) {
    logLine("no receipt file found at %s", settings.receipt.c_str());
    return;
  }
  const std::string archive = archivePath(settings.data, localTimeNow());
  createFolder(inDataFolder(settings.data, kReceiptsFolder));
  if (!writeWholeFile(archive, *receipt)) {
    logLine("failed to archive receipt");
    return;
  }
  logLine("receipt archived: %s", archive.c_str());
  logSummary(*receipt);
}

}  // namespace launcher
