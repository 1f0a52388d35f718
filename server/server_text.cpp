#include "server/server_text.h"

namespace launcher {

bool acceptsRun(std::string_view reply) {
  return reply.find("\"accepted\": true") != std::string_view::npos ||
         reply.find("\"accepted\":true") != std::string_view::npos;
}

std::string skipReportBody(std::string_view player, std::string_view reason) {
  std::string body = "{\"player\":\"";
  body.append(player).append("\",\"reason\":\"").append(reason).append("\"}");
  return body;
}

}  // namespace launcher
