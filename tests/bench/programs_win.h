#pragma once

#include <cstdint>
#include <filesystem>
#include <optional>
#include <string_view>

namespace bench {

/// A program that ran to its end.
struct Ended {
  double milliseconds = 0.0;  ///< from its start to its end
  double waitedMs = 0.0;      ///< what it says that it waited for others (timed_calls_win.cpp)
  unsigned exitCode = 0;
};

/// Runs a program without a console: nothing to read, what it writes is dropped.
Ended runProgram(const std::filesystem::path& program, std::string_view arguments);

/// A bench program built beside this one.
std::filesystem::path benchProgram(std::string_view name);

/// The most memory that a running process has ever had in use, in bytes: its peak working
/// set, below Wine Linux' VmHWM. 0 when it cannot be asked. Linux knows a process by its
/// program's name here and below, so only one such program may run.
std::uint64_t peakMemory(std::uint32_t processId, std::string_view programName);

/// What the threads of one process have done so far.
struct Activity {
  double processorMs = 0.0;
  /// How often its threads have gone to sleep and been woken up again: the first thread, and
  /// all others. Linux counts this; nothing on Windows itself.
  std::optional<std::int64_t> mainWakeUps;
  std::optional<std::int64_t> otherWakeUps;
};

Activity activityOf(std::uint32_t processId, std::string_view programName);

/// Processor time that all running programs of this Wine have used so far, its server
/// included, in milliseconds; 0 on Windows itself. It says what work costs on a busy machine.
double processorMillisecondsOfAll();

}  // namespace bench
