#pragma once

#include <string>
#include <string_view>

namespace launcher {

/// True when a reply of /submit accepts the run: it holds "accepted":true or
/// "accepted": true, these bytes and no other spelling.
[[nodiscard]] bool acceptsRun(std::string_view reply);

/// Body of a skip report, {"player":"...","reason":"..."}; nothing is escaped.
[[nodiscard]] std::string skipReportBody(std::string_view player, std::string_view reason);

/// True when an entry's text is one that can be sent: not empty, first byte "{".
[[nodiscard]] bool isSendable(std::string_view entry);

/// The body that resends a sendable entry: player and difficulty, unescaped, before
/// the entry's own members. When the entry holds "ending" in quotes anywhere, the
/// value of its first "status":" becomes ending.
[[nodiscard]] std::string pendingBody(std::string_view entry, std::string_view player,
                                      std::string_view difficulty);

}  // namespace launcher
