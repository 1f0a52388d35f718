// The row of the companion: how long a player waits for its window.
#include "tests/bench/rows_win.h"

#include <windows.h>

#include <array>
#include <stdexcept>
#include <string>
#include <vector>

#include "rehearsal/stage/program_start.h"
#include "rehearsal/stage/stage.h"
#include "tests/bench/loopback_server_win.h"
#include "tests/bench/measure.h"
#include "tests/bench/programs_win.h"

namespace bench {
namespace {

constexpr int kStarts = 25;
constexpr DWORD kLimitMs = 20000;
constexpr double kLargestRatio = 2.0;

struct Search {
  DWORD processId;
  HWND found;
};

BOOL CALLBACK isItsWindow(HWND window, LPARAM data) {
  auto* search = reinterpret_cast<Search*>(data);
  DWORD owner = 0;
  GetWindowThreadProcessId(window, &owner);
  if (owner != search->processId || !IsWindowVisible(window)) return TRUE;
  search->found = window;
  return FALSE;
}

/// A visible window of the process.
HWND windowOf(DWORD processId) {
  Search search = {processId, nullptr};
  (void)EnumWindows(isItsWindow, reinterpret_cast<LPARAM>(&search));
  return search.found;
}

/// Milliseconds from a program's start until it waits for the player, its window on the screen.
/// The window is closed then and the program's end awaited.
double millisecondsToWindow(const std::filesystem::path& program) {
  const Ticks start = ticksNow();
  const stage::StartedProgram started =
      stage::startProgram({.program = program, .currentFolder = program.parent_path()});
  const HANDLE process = started.process.get();
  const bool idle = WaitForInputIdle(process, kLimitMs) == 0;
  const double waited = millisecondsBetween(start, ticksNow());
  const HWND window = windowOf(started.id);
  if (idle && window != nullptr) (void)PostMessageW(window, WM_CLOSE, 0, 0);
  const bool ended = WaitForSingleObject(process, kLimitMs) == WAIT_OBJECT_0;
  if (!ended) TerminateProcess(process, 1);
  if (!idle || window == nullptr || !ended) {
    throw std::runtime_error("no window that opens and closes: " + stage::textOf(program));
  }
  return waited;
}

std::string ms(double value) { return fixed(value, 1) + " ms"; }

std::string spread(const std::vector<double>& values) {
  const Quartiles half = quartiles(values);
  return fixed(half.lower, 1) + " to " + fixed(half.upper, 1) + " ms";
}

}  // namespace

void measureCheck() {
  LoopbackServer server;
  stage::Stage machine("check");
  machine.putUpStandardMachine(server.url());
  SetEnvironmentVariableW(L"LOCALAPPDATA", machine.local().c_str());
  const std::array programs = {machine.installCheck(), benchProgram("empty_window.exe")};
  std::array<std::vector<double>, 2> times;
  for (int i = 0; i <= kStarts; ++i) {
    for (std::size_t which = 0; which < programs.size(); ++which) {
      const double time = millisecondsToWindow(programs.at(which));
      if (i > 0) times.at(which).push_back(time);  // the first ones read from the disk
    }
  }
  const double own = median(times[0]);
  const double empty = median(times[1]);
  print({"start of kov_check.exe until its window is there", ms(own),
         "empty window: " + ms(empty), fixed(own / empty, 2), "at most 2.0, within a second",
         own / empty <= kLargestRatio && own < 1000.0});
  note("Companion: " + std::to_string(kStarts) + " starts each in turn on the standard machine, "
       "until the program waits for input and has a visible window; half of them took " +
       spread(times[0]) + ", of the empty window's " + spread(times[1]) +
       ". The slow questions are not waited for.");
}

}  // namespace bench
