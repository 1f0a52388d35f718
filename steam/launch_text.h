#pragma once

#include <string>
#include <string_view>

namespace launcher {

/// steam.exe's command line that starts an app: "C:\...\steam.exe" -applaunch 1943950
[[nodiscard]] std::string steamCommandLine(std::string_view steam, std::string_view appId);

/// Each byte as one UTF-16 unit, sign-extended (0xC3 becomes 0xFFC3), so that only
/// plain ASCII paths come out right. Kept on purpose: a game below another path is
/// not started directly, and the log says so.
[[nodiscard]] std::wstring widenBytes(std::string_view text);

/// `path` up to, not including, its last slash of either kind; whole when it has none.
[[nodiscard]] std::wstring folderAtEitherSlash(const std::wstring& path);

}  // namespace launcher
