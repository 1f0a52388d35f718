#pragma once

#include <windows.h>

#include <array>
#include <filesystem>
#include <optional>
#include <string>

#include "rehearsal/stage/win_handle.h"

namespace stage {

/// How a program is started.
struct ProgramStart {
  std::filesystem::path program;
  std::wstring arguments = {};               ///< raw text after the quoted program path
  std::filesystem::path currentFolder = {};  ///< empty: ours
  std::wstring environment = {};             ///< as CreateProcess takes it; empty: ours
  DWORD flags = 0;
  /// Its standard input, output and error output, each inheritable. It inherits nothing else
  /// of ours, and without them nothing at all.
  std::optional<std::array<HANDLE, 3>> standardHandles = {};
};

struct StartedProgram {
  WinHandle process;
  DWORD id = 0;
};

/// Throws std::runtime_error when the program does not start.
StartedProgram startProgram(const ProgramStart& start);

/// The flag of a start after which a console program shows no window: its console is this
/// program's own where that is hidden, and else a hidden one of its own. A program without a
/// console makes itself a hidden one at the first call.
DWORD noWindow();

/// A file to be given to a program as a standard handle; none when it cannot be opened.
WinHandle openInheritable(const std::filesystem::path& file, DWORD access, DWORD disposition);

}  // namespace stage
