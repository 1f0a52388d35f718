#pragma once

#include <windows.h>

#include <cstddef>
#include <cstdint>
#include <filesystem>
#include <functional>
#include <string>

#include "rehearsal/stage/debugger.h"
#include "rehearsal/stage/program_start.h"

/// A launcher that is stopped before every step that others could notice, and killed at one.
namespace e2e {

/// One stop: the launcher is about to make this call.
struct Stop {
  std::size_t number = 0;  ///< 1 for the first one
  std::string call;        ///< "write", "create or delete", "delete", "change", "start"
};

/// How a run with stops came to its end.
struct StoppedRun {
  std::size_t stops = 0;
  bool killed = false;  ///< at a stop, as wished
  bool hang = false;    ///< it did not end within the limit and was killed
  DWORD exitCode = 0;
};

/// Runs a program under a small debugger. Its main thread stops before each system call that
/// writes, creates, changes or deletes a file or folder, or starts a process. There is no step
/// of the program that leaves a trace between two stops but the packets it sends.
///
///     StopPoints run(machine.launcher(), machine.root() / "console.txt");
///     run.work([](const Stop& stop) { return stop.number == 12; });  // kills it there
class StopPoints {
 public:
  /// True: kill the program at this stop.
  using Decide = std::function<bool(const Stop&)>;

  /// Starts the program; its standard output goes into the file, its input is empty.
  /// `arguments` is the raw text after the quoted program path.
  StopPoints(const std::filesystem::path& program, const std::filesystem::path& console,
             const std::wstring& arguments = {}) {
    const stage::WinHandle out = stage::openInheritable(console, FILE_APPEND_DATA, CREATE_ALWAYS);
    const stage::WinHandle in = stage::openInheritable("NUL", GENERIC_READ, OPEN_EXISTING);
    program_ = stage::startProgram({.program = program,
                                    .arguments = arguments,
                                    .currentFolder = program.parent_path(),
                                    .flags = DEBUG_ONLY_THIS_PROCESS | stage::noWindow(),
                                    .standardHandles = {{in.get(), out.get(), out.get()}}});
  }
  StopPoints(const StopPoints&) = delete;
  StopPoints& operator=(const StopPoints&) = delete;
  ~StopPoints() { TerminateProcess(program_.process.get(), kEndedByTest); }

  [[nodiscard]] DWORD processId() const { return program_.id; }

  /// Runs it to its end. Call it in the thread that made this object, once.
  StoppedRun work(const Decide& decide, unsigned limitMs = 60000) {
    decide_ = decide;
    const std::uint64_t end = GetTickCount64() + limitMs;
    while (!debugger_.exitCode()) {
      if (!result_.hang && GetTickCount64() > end) kill(result_.hang);
      debugger_.work(100);
    }
    WaitForSingleObject(program_.process.get(), 5000);
    result_.exitCode = *debugger_.exitCode();
    return result_;
  }

 private:
  using Call = stage::Debugger::Call;

  static constexpr UINT kEndedByTest = 261;
  static constexpr std::uint32_t kDeleteOnClose = 0x1000;

  static bool always(const Call&) { return true; }
  /// Anything but opening what is there, unless in order to delete it.
  static bool creates(const Call& call) {
    constexpr std::uint32_t kFileOpen = 1;
    return call.argument<std::uint32_t>(8) != kFileOpen ||
           (call.argument(9) & kDeleteOnClose) != 0;
  }
  static bool deletesOnClose(const Call& call) {
    return (call.argument(6) & kDeleteOnClose) != 0;
  }
  /// Anything but moving the position.
  static bool changes(const Call& call) {
    constexpr std::uint32_t kPosition = 14;
    return call.argument<std::uint32_t>(5) != kPosition;
  }

  /// Stops at those calls of a function that leave a trace.
  stage::Debugger::OnCall stopAt(const char* name, bool (*leavesTrace)(const Call&)) {
    return [this, name, leavesTrace](const Call& call) {
      if (!call.ofMainThread() || !debugger_.programBegan() || !leavesTrace(call)) return;
      if (result_.killed || result_.hang) return;
      ++result_.stops;
      if (decide_({result_.stops, name})) kill(result_.killed);
    };
  }

  void kill(bool& why) {
    why = true;
    TerminateProcess(program_.process.get(), kEndedByTest);
  }

  stage::Debugger debugger_{L"ntdll.dll",
                            {{"NtWriteFile", stopAt("write", always)},
                             {"NtCreateFile", stopAt("create or delete", creates)},
                             {"NtOpenFile", stopAt("delete", deletesOnClose)},
                             {"NtDeleteFile", stopAt("delete", always)},
                             {"NtSetInformationFile", stopAt("change", changes)},
                             {"NtCreateUserProcess", stopAt("start", always)}}};
  stage::StartedProgram program_;
  Decide decide_;
  StoppedRun result_;
};

}  // namespace e2e
