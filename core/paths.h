#pragma once

#include <string>
#include <string_view>

namespace launcher {

/// `path` up to and including its last backslash; whole when it has none.
[[nodiscard]] std::string folderWithBackslash(std::string_view path);

/// `path` up to, not including, its last backslash; whole when it has none.
[[nodiscard]] std::string parentFolder(std::string_view path);

/// The per-user data folder for a value of LOCALAPPDATA: that folder followed by
/// "\KOV-Race", or empty when the value is empty.
[[nodiscard]] std::string localDataFolder(std::string_view localAppData);

/// `value` with every "%APPDIR%" replaced by `programFolder` (which ends in a
/// backslash) and then every "%LOCALDATA%" by `localData`. The second pass sees
/// what the first inserted. Placeholders are exact in letter case.
[[nodiscard]] std::string expandPlaceholders(std::string_view value,
                                             std::string_view programFolder,
                                             std::string_view localData);

/// The mod's own result file in the data folder. It has the receipt's form, with the
/// in-game timer's time, and is preferred to the receipt when it exists.
[[nodiscard]] std::string modResultPath(std::string_view dataFolder);

/// The file whose presence means that the profile page has been opened once.
[[nodiscard]] std::string profileFlagPath(std::string_view dataFolder);

}  // namespace launcher
