#include "server/pending_text.h"

#include <cstdio>

#include "core/paths.h"
#include "result/flat_json.h"

namespace launcher {
namespace {

constexpr std::size_t kLongestPath = 259;

std::string withEndingStatus(std::string_view entry) {
  if (findText(entry, "\"ending\"", 0) == npos) return std::string(entry);
  return replaceQuotedValue(entry, "\"status\":\"", "ending");
}

}  // namespace

std::string pendingEntryPath(std::string_view dataFolder, const LocalTime& time) {
  char name[80] = {};
  (void)std::snprintf(name, sizeof(name), "\\p_%04d%02d%02d_%02d%02d%02d.json", time.year,
                      time.month, time.day, time.hour, time.minute, time.second);
  return (inDataFolder(dataFolder, kPendingFolder) + name).substr(0, kLongestPath);
}

bool isSendable(std::string_view entry) { return entry.starts_with('{'); }

std::string pendingBody(std::string_view entry, std::string_view player,
                        std::string_view difficulty) {
  std::string body = "{\"player\":\"";
  body.append(player).append("\",\"difficulty\":\"").append(difficulty).append("\",");
  body.append(withEndingStatus(entry), 1);
  return body;
}

}  // namespace launcher
