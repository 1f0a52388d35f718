#pragma once

#include <string>
#include <string_view>

namespace launcher {

/// True when a reply of /submit accepts the run: it holds "accepted":true or
/// "accepted": true, these bytes and no other spelling.
[[nodiscard]] bool acceptsRun(std::string_view reply);

/// Body of a skip report, {"player":"...","reason":"..."}; nothing is escaped.
[[nodiscard]] std::string skipReportBody(std::string_view player, std::string_view reason);

}  // namespace launcher
