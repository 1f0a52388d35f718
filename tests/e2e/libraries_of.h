#pragma once

#include <windows.h>

#include <tlhelp32.h>

#include <set>
#include <string>

#include "rehearsal/stage/text.h"
#include "rehearsal/stage/win_handle.h"

namespace e2e {

/// The files of the libraries that a process has loaded.
inline std::set<std::string> librariesOf(DWORD processId) {
  std::set<std::string> files;
  const stage::WinHandle all =
      stage::ownHandle(CreateToolhelp32Snapshot(TH32CS_SNAPMODULE, processId));
  MODULEENTRY32W entry{};
  entry.dwSize = sizeof entry;
  for (BOOL more = Module32FirstW(all.get(), &entry); more;
       more = Module32NextW(all.get(), &entry)) {
    files.insert(stage::toUtf8(entry.szExePath));
  }
  return files;
}

}  // namespace e2e
