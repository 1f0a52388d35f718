#pragma once

#include <windows.h>

#include <cstdint>
#include <filesystem>
#include <optional>
#include <string>

#include "rehearsal/stage/debugger.h"
#include "rehearsal/stage/process.h"
#include "rehearsal/stage/program_start.h"

namespace e2e {

/// Runs a program under this debugger, with empty standard input, in its own folder.
/// `arguments` is the raw text after the quoted program path. Its exit code; nothing when it
/// did not end within the limit and was ended.
inline std::optional<std::uint32_t> runDebugged(stage::Debugger& debugger,
                                                const std::filesystem::path& program,
                                                unsigned limitMs,
                                                const std::wstring& arguments = {}) {
  const stage::WinHandle nothing =
      stage::openInheritable("NUL", GENERIC_READ | GENERIC_WRITE, OPEN_EXISTING);
  const stage::StartedProgram started =
      stage::startProgram({.program = program,
                           .arguments = arguments,
                           .currentFolder = program.parent_path(),
                           .flags = DEBUG_ONLY_THIS_PROCESS | stage::noWindow(),
                           .standardHandles = {{nothing.get(), nothing.get(), nothing.get()}}});
  const std::uint64_t end = GetTickCount64() + limitMs;
  while (!debugger.exitCode() && GetTickCount64() < end) debugger.work(50);
  if (!debugger.exitCode()) {
    DebugActiveProcessStop(started.id);
    stage::endProcess(started.id);
  }
  return debugger.exitCode();
}

}  // namespace e2e
