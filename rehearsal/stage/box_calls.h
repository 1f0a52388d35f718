#pragma once

#include <windows.h>

#include <vector>

#include "rehearsal/stage/debugger.h"
#include "rehearsal/stage/launcher_run.h"

namespace stage {

/// Notes the arguments of the message boxes of the program that it debugs (see Debugger).
class BoxCallRecorder {
 public:
  /// Handles the debug events that come within the given time.
  void work(DWORD waitMs) { debugger_.work(waitMs); }

  [[nodiscard]] const std::vector<BoxCall>& calls() const { return calls_; }

 private:
  void note(const Debugger::Call& call, bool wide);

  Debugger debugger_{L"user32.dll",
                     {{"MessageBoxA", [this](const auto& call) { note(call, false); }},
                      {"MessageBoxW", [this](const auto& call) { note(call, true); }}}};
  std::vector<BoxCall> calls_;
};

}  // namespace stage
