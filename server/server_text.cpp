#include "server/server_text.h"

#include "result/flat_json.h"

namespace launcher {
namespace {

std::string withEndingStatus(std::string_view entry) {
  if (findText(entry, "\"ending\"", 0) == npos) return std::string(entry);
  return replaceQuotedValue(entry, "\"status\":\"", "ending");
}

}  // namespace

bool acceptsRun(std::string_view reply) {
  return reply.find("\"accepted\": true") != std::string_view::npos ||
         reply.find("\"accepted\":true") != std::string_view::npos;
}

std::string skipReportBody(std::string_view player, std::string_view reason) {
  std::string body = "{\"player\":\"";
  body.append(player).append("\",\"reason\":\"").append(reason).append("\"}");
  return body;
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
