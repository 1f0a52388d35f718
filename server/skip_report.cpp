#include "server/skip_report.h"

#include "core/log.h"
#include "core/settings_file.h"
#include "core/text.h"
#include "server/http.h"
#include "server/server_text.h"

namespace launcher {

void skipReport(const Settings& settings, const char* reason) {
  const std::string server = stripTrailingSlashes(settings.server);
  if (server.empty()) return;
  std::string ignored;
  const std::string body = skipReportBody(playerName(settings), reason);
  (void)httpPostJson(server + "/client/log", body, ignored);  // fire and forget
  logLine("skip reported: %s", reason);
}

}  // namespace launcher
