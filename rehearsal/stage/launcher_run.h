#pragma once

#include <cstdint>
#include <filesystem>
#include <map>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace stage {

/// One call of MessageBoxA or MessageBoxW, exactly as the launcher made it.
struct BoxCall {
  bool wide = false;        ///< MessageBoxW
  std::string text;         ///< wide: as UTF-8; narrow: the bytes themselves
  std::string caption;      ///< likewise
  std::uint32_t style = 0;  ///< the flags, for example 0x40010
  bool owned = false;       ///< an owner window was given
};

/// What a run of launcher.exe left behind.
struct RunResult {
  bool hang = false;        ///< it did not end within the limit and was ended by us
  std::uint32_t exitCode = 0;
  std::string console;      ///< standard output, exact bytes (line ends as written: CR LF)
  std::string errors;       ///< standard error, exact bytes
  std::string log;          ///< what this run appended to launcher.log, exact bytes
  unsigned elapsedMs = 0;
  std::uint32_t processId = 0;
  std::vector<BoxCall> boxCalls;  ///< with RunOptions::recordBoxCalls

  /// The log as lines without their line ends (CR LF).
  [[nodiscard]] std::vector<std::string> logLines() const;
  /// True when the log has exactly this line.
  [[nodiscard]] bool hasLogLine(std::string_view line) const;
};

/// How launcher.exe is run.
struct RunOptions {
  std::string standardInput = "\n";  ///< these bytes, then end of input
  bool keepInputOpen = false;        ///< no end of input until LauncherRun::endInput()
  unsigned limitMs = 60000;          ///< then it counts as a hang and is ended
  std::filesystem::path currentFolder = {};  ///< empty: the program folder
  /// Environment variables set (a text) or removed (nothing) for the launcher. Stage sets
  /// LOCALAPPDATA to its own folder "local" unless it is named here.
  std::map<std::string, std::optional<std::string>> environment = {};
  /// Runs the launcher under a small debugger that notes the arguments of its message boxes.
  /// (A box on the screen no longer shows its style flags, nor the bytes of a narrow text.)
  bool recordBoxCalls = false;
  bool live = false;                 ///< also writes the console to our own standard output
};

/// One running launcher.exe. Ended and waited for when it goes out of scope.
class LauncherRun {
 public:
  LauncherRun(const std::filesystem::path& program, std::string_view arguments,
              const RunOptions& options);
  ~LauncherRun();
  LauncherRun(LauncherRun&&) noexcept;
  LauncherRun& operator=(LauncherRun&&) noexcept;

  [[nodiscard]] std::uint32_t processId() const;
  [[nodiscard]] bool running() const;

  /// Console bytes so far.
  [[nodiscard]] std::string console() const;
  /// Bytes appended to launcher.log so far.
  [[nodiscard]] std::string log() const;

  /// Waits until the console (log) holds this text; false when the limit passes or the
  /// launcher ends without it.
  [[nodiscard]] bool waitForConsole(std::string_view text, unsigned limitMs = 30000) const;
  [[nodiscard]] bool waitForLog(std::string_view text, unsigned limitMs = 30000) const;

  void typeInput(std::string_view bytes);  ///< with keepInputOpen: the player types this
  void endInput();                         ///< with keepInputOpen: end of input

  /// Waits for its end (RunOptions::limitMs counts from the start) and returns the result.
  RunResult wait();

 private:
  struct Impl;
  std::unique_ptr<Impl> impl_;
};

}  // namespace stage
