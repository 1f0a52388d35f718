#pragma once

#include <string>
#include <string_view>

#include "core/platform.h"

namespace launcher {

/// `path` up to and including its last backslash; whole when it has none.
[[nodiscard]] std::string folderWithBackslash(std::string_view path);

/// `path` up to, not including, its last backslash; whole when it has none.
[[nodiscard]] std::string parentFolder(std::string_view path);

/// The per-user data folder for a value of LOCALAPPDATA: that folder followed by
/// "\KOV-Race", or empty when the value is empty.
[[nodiscard]] std::string localDataFolder(std::string_view localAppData);

/// What a path in launcher.ini can begin with.
inline constexpr std::string_view kAppDirPlaceholder = "%APPDIR%";
inline constexpr std::string_view kLocalDataPlaceholder = "%LOCALDATA%";

/// `value` with every "%APPDIR%" replaced by `programFolder` (which ends in a
/// backslash) and then every "%LOCALDATA%" by `localData`. The second pass sees
/// what the first inserted. Placeholders are exact in letter case.
[[nodiscard]] std::string expandPath(std::string_view value, std::string_view programFolder,
                                     std::string_view localData);

// The data folder -------------------------------------------------------------
//
// The names in it, besides those of the weekly files (server/weekly_files.h).

/// Where the run is, for other programs: "launching", "playing", "uploading", "done".
inline constexpr char kLaunchStateFile[] = "launch.state";
/// Where the upload is, for the progress card: "uploading", then "done" or "fail".
inline constexpr char kUploadStateFile[] = "upload.state";
/// Whether the timer overlay shows, and the board: flags for the overlay, "0" or "1".
inline constexpr char kTimerFlagFile[] = "timer.enabled";
inline constexpr char kBoardFlagFile[] = "board.toggle";
/// The mod's own result file. It has the receipt's form, with the in-game timer's time, and
/// is preferred to the receipt when it exists.
inline constexpr char kModResultFile[] = "kovw_result.json";
/// The player's login code.
inline constexpr char kTokenFile[] = "profile_token.txt";
/// Its presence means that the profile page has been opened once.
inline constexpr char kProfileFlagFile[] = "profile_opened.flag";
/// A difficulty for --upload, chosen outside the launcher.
inline constexpr char kChoiceFile[] = "choice.txt";
/// The week's seed for the mod: decimal digits.
inline constexpr char kSeedFile[] = "rand_seed.txt";
/// Folders: the archived receipts, and the results that wait to be sent again.
inline constexpr char kReceiptsFolder[] = "receipts";
inline constexpr char kPendingFolder[] = "pending";

/// Path of `name` in the data folder.
[[nodiscard]] std::string inDataFolder(std::string_view dataFolder, std::string_view name);

/// Path of the mod's own result file.
[[nodiscard]] std::string modResultPath(std::string_view dataFolder);

/// Path of the archived copy of a receipt: \receipts\receipt_20250301_214502.json below the
/// data folder. Two copies of one second get the same path.
[[nodiscard]] std::string archivePath(std::string_view dataFolder, const LocalTime& time);

/// Path of a queue entry saved at `time`: \pending\p_20250301_214502.json below the data
/// folder, cut after 259 bytes. Two saves of one second get the same path.
[[nodiscard]] std::string pendingEntryPath(std::string_view dataFolder, const LocalTime& time);

}  // namespace launcher
