#include "livesplit/client.h"

#include "core/text.h"
#include "livesplit/connection.h"
#include "livesplit/time_reply.h"

namespace launcher {
namespace {

// The final time of a finished run wins over its last split, and that over the
// running time.
constexpr std::string_view kTimeCommands[] = {
    "getfinaltime\r\n",
    "getlastsplittime\r\n",
    "getcurrenttime\r\n",
};

}  // namespace

std::string livesplitCommand(std::string_view command) {
  std::optional<LivesplitConnection> connection = LivesplitConnection::open();
  if (!connection) return {};
  return trimBlanks(connection->exchange(std::string(command) + "\r\n"));
}

bool livesplitReadTime(double& seconds) {
  std::optional<LivesplitConnection> connection = LivesplitConnection::open();
  if (!connection) return false;
  for (const std::string_view command : kTimeCommands) {
    const std::optional<double> time = parseTimeReply(trimBlanks(connection->exchange(command)));
    if (!time) continue;
    seconds = *time;
    return true;
  }
  return false;
}

}  // namespace launcher
