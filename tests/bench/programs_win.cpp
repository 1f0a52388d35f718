#include "tests/bench/programs_win.h"

#include <windows.h>

#include <psapi.h>

#include <cstdlib>
#include <fstream>
#include <iterator>
#include <stdexcept>
#include <string>
#include <vector>

#include "rehearsal/stage/files.h"
#include "rehearsal/stage/process.h"
#include "rehearsal/stage/program_start.h"
#include "rehearsal/stage/text.h"
#include "rehearsal/stage/win_handle.h"
#include "tests/bench/loopback_server_win.h"

namespace bench {
namespace {

namespace fs = std::filesystem;

constexpr DWORD kLimitMs = 60000;
constexpr char kProcesses[] = "Z:\\proc";  // Linux's, as Wine shows them

std::string wholeText(const fs::path& file) {
  std::ifstream stream(file, std::ios::binary);
  return {std::istreambuf_iterator<char>(stream), std::istreambuf_iterator<char>()};
}

/// The number after `label` in a text, 0 without it.
std::int64_t numberBehind(const std::string& text, std::string_view label) {
  const std::size_t at = text.find(label);
  return at == std::string::npos ? 0 : std::strtoll(text.c_str() + at + label.size(), nullptr, 10);
}

double milliseconds(const FILETIME& time) {
  return static_cast<double>((static_cast<std::uint64_t>(time.dwHighDateTime) << 32) |
                             time.dwLowDateTime) /
         1e4;
}

double processTimes(std::uint32_t processId) {
  const stage::WinHandle process =
      stage::ownHandle(OpenProcess(PROCESS_QUERY_INFORMATION, FALSE, processId));
  FILETIME created = {};
  FILETIME ended = {};
  FILETIME kernel = {};
  FILETIME user = {};
  (void)GetProcessTimes(process.get(), &created, &ended, &kernel, &user);
  return milliseconds(kernel) + milliseconds(user);
}

/// What a folder of Linux's /proc holds under numbers: processes, or the threads of one.
std::vector<fs::path> numbered(const fs::path& folder) {
  std::vector<fs::path> found;
  std::error_code error;
  for (fs::directory_iterator it(folder, error), end; !error && it != end; it.increment(error)) {
    const std::string id = stage::textOf(it->path().filename());
    if (id.find_first_not_of("0123456789") == std::string::npos) found.push_back(it->path());
  }
  return found;
}

/// The process of a program; empty without one.
fs::path linuxProcess(std::string_view programName) {
  for (const fs::path& process : numbered(kProcesses)) {
    const std::string command = wholeText(process / "cmdline");
    if (command.substr(0, command.find('\0')).ends_with(programName)) return process;
  }
  return {};
}

/// Linux counts nanoseconds.
double threadMilliseconds(const fs::path& thread) {
  return std::strtod(wholeText(thread / "schedstat").c_str(), nullptr) / 1e6;
}

/// Wine's GetProcessTimes knows only the process that asks, so Linux is asked.
Activity linuxActivity(std::string_view programName) {
  const fs::path process = linuxProcess(programName);
  if (process.empty()) throw std::runtime_error("Linux does not know the launcher");
  Activity activity = {0.0, 0, 0};
  for (const fs::path& thread : numbered(process / "task")) {
    activity.processorMs += threadMilliseconds(thread);
    const bool isMain = thread.filename() == process.filename();
    *(isMain ? activity.mainWakeUps : activity.otherWakeUps) +=
        numberBehind(wholeText(thread / "status"), "\nvoluntary_ctxt_switches:");
  }
  return activity;
}

}  // namespace

Ended runProgram(const fs::path& program, std::string_view arguments) {
  const fs::path errors = program.parent_path() / "errors.txt";
  const stage::WinHandle null =
      stage::openInheritable("NUL", GENERIC_READ | GENERIC_WRITE, OPEN_EXISTING);
  stage::WinHandle errorFile = stage::openInheritable(errors, GENERIC_WRITE, CREATE_ALWAYS);

  const Ticks start = ticksNow();
  const stage::WinHandle process =
      stage::startProgram({.program = program,
                           .arguments = stage::toWide(arguments),
                           .currentFolder = program.parent_path(),
                           .standardHandles = {{null.get(), null.get(), errorFile.get()}}})
          .process;
  const bool ended = WaitForSingleObject(process.get(), kLimitMs) == WAIT_OBJECT_0;
  const Ticks end = ticksNow();
  if (!ended) {
    TerminateProcess(process.get(), 1);
    throw std::runtime_error("it never ends: " + stage::textOf(program));
  }
  DWORD code = 0;
  (void)GetExitCodeProcess(process.get(), &code);
  errorFile.reset();
  const auto waitedMicro = static_cast<double>(numberBehind(wholeText(errors), "waited "));
  return {millisecondsBetween(start, end), waitedMicro / 1000.0, code};
}

fs::path benchProgram(std::string_view name) {
  return stage::programFolder() / stage::pathOf(name);
}

std::uint64_t peakMemory(std::uint32_t processId, std::string_view programName) {
  if (stage::runsUnderWine()) {
    const std::string status = wholeText(linuxProcess(programName) / "status");
    return static_cast<std::uint64_t>(numberBehind(status, "\nVmHWM:")) * 1024;
  }
  const stage::WinHandle process = stage::ownHandle(
      OpenProcess(PROCESS_QUERY_INFORMATION | PROCESS_VM_READ, FALSE, processId));
  PROCESS_MEMORY_COUNTERS counters = {};
  counters.cb = sizeof counters;
  if (!process || !K32GetProcessMemoryInfo(process.get(), &counters, sizeof counters)) return 0;
  return counters.PeakWorkingSetSize;
}

Activity activityOf(std::uint32_t processId, std::string_view programName) {
  if (stage::runsUnderWine()) return linuxActivity(programName);
  return {processTimes(processId), std::nullopt, std::nullopt};
}

double processorMillisecondsOfAll() {
  if (!stage::runsUnderWine()) return 0.0;
  double sum = 0.0;
  for (const fs::path& process : numbered(kProcesses)) {
    for (const fs::path& thread : numbered(process / "task")) sum += threadMilliseconds(thread);
  }
  return sum;
}

}  // namespace bench
