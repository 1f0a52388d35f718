// The rows that scripts/bench gets from Windows: all of them, or those named by arguments.
#include <windows.h>

#include <cstdio>
#include <cwchar>
#include <exception>

#include "tests/bench/rows_win.h"

namespace {

struct Measure {
  const wchar_t* name;
  void (*run)();
};

constexpr Measure kMeasures[] = {
    {L"start", bench::measureStart},           {L"run", bench::measureFullRun},
    {L"playing", bench::measurePlaying},       {L"submission", bench::measureSubmission},
    {L"memory", bench::measureMemory},         {L"package", bench::measureUnchangedPackage},
    {L"queue", bench::measureQueue},           {L"check", bench::measureCheck},
};

bool isWanted(const wchar_t* name, int count, wchar_t** arguments) {
  for (int i = 1; i < count; ++i) {
    if (std::wcscmp(arguments[i], name) == 0) return true;
  }
  return count == 1;
}

}  // namespace

int wmain(int count, wchar_t** arguments) {
  // Wine starts its desktop's program with the first window, and that keeps the files of whoever
  // started it open: not those of a measured run, which could then not be removed.
  (void)GetDesktopWindow();
  int code = 0;
  for (const Measure& measure : kMeasures) {
    if (!isWanted(measure.name, count, arguments)) continue;
    try {
      measure.run();
    } catch (const std::exception& error) {
      std::fprintf(stderr, "%ls: %s\n", measure.name, error.what());
      code = 1;
    }
  }
  return code;
}
