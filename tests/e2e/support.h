#pragma once

#include <gtest/gtest.h>

#include <filesystem>
#include <initializer_list>
#include <string>
#include <string_view>
#include <system_error>
#include <vector>

#include "rehearsal/stage/stage.h"

/// What the end-to-end tests share: the launcher's fixed lines, and whole logs to compare.
namespace e2e {

using Lines = std::vector<std::string>;

inline constexpr char kStartLine[] = "=== KOV launcher start (build 2026-10-28 13:45) ===";
inline constexpr char kDoneLine[] = "=== KOV launcher done ===";
inline constexpr char kEnterPrompt[] = "\r\n按回车键退出...";

/// The text with the digits after every `before` replaced by "#": process ids ("pid 123").
inline std::string maskNumbers(std::string text, std::string_view before = "pid ") {
  for (std::size_t at = text.find(before); at != std::string::npos; at = text.find(before, at)) {
    at += before.size();
    const std::size_t end = text.find_first_not_of("0123456789", at);
    const std::size_t digits = (end == std::string::npos ? text.size() : end) - at;
    if (digits > 0) text.replace(at, digits, "#");
  }
  return text;
}

/// The text with every local time stamp "20261121_034702" replaced by "YYYYMMDD_hhmmss".
inline std::string maskStamps(std::string text) {
  constexpr std::string_view kDigit = "0123456789";
  constexpr std::string_view kShape = "YYYYMMDD_hhmmss";
  for (std::size_t at = 0; at + kShape.size() <= text.size(); ++at) {
    bool stamp = true;
    for (std::size_t i = 0; i < kShape.size() && stamp; ++i) {
      stamp = kShape[i] == '_' ? text[at + i] == '_'
                               : kDigit.find(text[at + i]) != std::string_view::npos;
    }
    if (stamp) text.replace(at, kShape.size(), kShape);
  }
  return text;
}

/// The lines of a log's bytes.
inline Lines linesOf(std::string_view logBytes) {
  stage::RunResult run;
  run.log = logBytes;
  return run.logLines();
}

/// The run's whole log with process ids and time stamps masked.
inline Lines maskedLog(const stage::RunResult& run) {
  return linesOf(maskStamps(maskNumbers(run.log)));
}

/// Lines as written to the log file and on the console: each ended by CR LF.
inline std::string asWritten(const Lines& lines) {
  std::string text;
  for (const std::string& line : lines) text += line + "\r\n";
  return text;
}

/// Several lists of lines after one another.
inline Lines joined(std::initializer_list<Lines> parts) {
  Lines all;
  for (const Lines& part : parts) all.insert(all.end(), part.begin(), part.end());
  return all;
}

/// A copy of the stage's launcher.exe in another folder, which is created.
inline std::filesystem::path copyLauncher(const stage::Stage& machine,
                                          const std::filesystem::path& folder) {
  std::filesystem::create_directories(folder);
  std::filesystem::path copy = folder / "launcher.exe";
  std::filesystem::copy_file(machine.launcher(), copy);
  return copy;
}

/// Steam's usual folder, where the launcher looks without a registry value; for as long as this
/// lives, and only when the machine has none of its own.
class UsualSteamFolder {
 public:
  UsualSteamFolder() {
    std::error_code ignored;
    mine_ = std::filesystem::create_directory(path(), ignored);
  }
  ~UsualSteamFolder() {
    std::error_code ignored;
    if (mine_) std::filesystem::remove_all(path(), ignored);
  }
  UsualSteamFolder(const UsualSteamFolder&) = delete;
  UsualSteamFolder& operator=(const UsualSteamFolder&) = delete;

  /// False: there is one already, or we may not create it.
  [[nodiscard]] bool isOurs() const { return mine_; }
  static std::filesystem::path path() { return L"C:\\Program Files (x86)\\Steam"; }

 private:
  bool mine_ = false;
};

/// A script in which the game writes this receipt and stays until it is ended.
inline stage::GameScript staysAfterRun(const stage::Stage& machine, std::string_view receiptText) {
  stage::GameScript script = machine.playsRun(receiptText);
  script.waitsForLauncher = false;
  script.waitMs = 0;
  script.untilEnded = true;
  return script;
}

/// Runs the launcher to its end; closes a game that stays (GameScript::untilEnded) as soon as
/// the launcher waits for it. A game that lived for a set time only could be missed by the
/// launcher, which looks for it twice a second.
inline stage::RunResult runUntilGameEnds(stage::Stage& machine, stage::RunOptions options = {}) {
  stage::LauncherRun run = machine.startLauncher({}, std::move(options));
  if (run.waitForLog("waiting for exit...")) machine.endGame();
  stage::RunResult result = run.wait();
  EXPECT_FALSE(result.hang) << result.console;
  return result;
}

}  // namespace e2e
