#pragma once

#include <windows.h>

#include <cstdint>
#include <map>
#include <string>
#include <vector>

#include "rehearsal/stage/launcher_run.h"

namespace stage {

/// A small debugger of one process (started with DEBUG_ONLY_THIS_PROCESS by the thread that
/// calls in here): it sets breakpoints at the message box functions and notes their
/// arguments.
class BoxCallRecorder {
 public:
  /// Handles the debug events that come within the given time.
  void work(DWORD waitMs);

  [[nodiscard]] const std::vector<BoxCall>& calls() const { return calls_; }

 private:
  DWORD onException(const DEBUG_EVENT& event);
  void onLibrary(const LOAD_DLL_DEBUG_INFO& library);
  void plant(std::uintptr_t address);
  void lift(std::uintptr_t address);
  void note(const CONTEXT& context, bool wide);
  [[nodiscard]] std::wstring readWide(std::uintptr_t address) const;
  [[nodiscard]] std::string readNarrow(std::uintptr_t address) const;

  HANDLE process_ = nullptr;  // closed by the system with the last debug event
  struct Breakpoint {
    bool wide = false;
    unsigned char original = 0;
  };
  std::map<std::uintptr_t, Breakpoint> breakpoints_;
  std::map<DWORD, std::uintptr_t> stepping_;  // thread id: breakpoint to plant again
  std::map<DWORD, HANDLE> threads_;
  std::uintptr_t user32_ = 0;
  std::uintptr_t user32Size_ = 0;
  std::vector<BoxCall> calls_;
};

}  // namespace stage
