#include "rehearsal/stage/process.h"

#include <windows.h>

#include <tlhelp32.h>

#include <cstdlib>
#include <cwchar>
#include <functional>

#include "rehearsal/stage/program_start.h"
#include "rehearsal/stage/text.h"
#include "rehearsal/stage/win_handle.h"

namespace stage {

namespace {

constexpr unsigned kPollMs = 10;
constexpr UINT kEndedByStage = 260;  // not STILL_ACTIVE, and nothing that a stand-in exits with

std::filesystem::path programPath(DWORD id) {
  const WinHandle process = ownHandle(OpenProcess(PROCESS_QUERY_LIMITED_INFORMATION, FALSE, id));
  if (!process) return {};
  wchar_t buffer[4096];
  DWORD length = 4096;
  if (!QueryFullProcessImageNameW(process.get(), 0, buffer, &length)) return {};
  return std::wstring(buffer, length);
}

void eachProcess(const std::function<void(const PROCESSENTRY32W&)>& look) {
  const WinHandle snapshot = ownHandle(CreateToolhelp32Snapshot(TH32CS_SNAPPROCESS, 0));
  PROCESSENTRY32W entry{};
  entry.dwSize = sizeof entry;
  for (BOOL more = snapshot && Process32FirstW(snapshot.get(), &entry); more;
       more = Process32NextW(snapshot.get(), &entry)) {
    look(entry);
  }
}

/// What the paths of everything in this folder begin with.
std::wstring beginningOf(const std::filesystem::path& folder) {
  return std::filesystem::path(folder).make_preferred().wstring() + L"\\";
}

bool isBelow(const RunningProcess& process, const std::wstring& start) {
  return _wcsnicmp(process.path.c_str(), start.c_str(), start.size()) == 0;
}

std::vector<RunningProcess> processesWhere(
    const std::function<bool(const RunningProcess&)>& wanted) {
  std::vector<RunningProcess> found;
  eachProcess([&](const PROCESSENTRY32W& entry) {
    RunningProcess process = {entry.th32ProcessID, toUtf8(entry.szExeFile),
                              programPath(entry.th32ProcessID)};
    if (wanted(process)) found.push_back(std::move(process));
  });
  return found;
}

bool waitUntil(unsigned limitMs, const std::function<bool()>& done) {
  const std::uint64_t end = GetTickCount64() + limitMs;
  while (!done()) {
    if (GetTickCount64() >= end) return false;
    Sleep(kPollMs);
  }
  return true;
}

StartedProgram startApart(const std::filesystem::path& program, std::string_view arguments,
                          const std::filesystem::path& currentFolder = {}) {
  return startProgram({.program = program,
                       .arguments = toWide(arguments),
                       .currentFolder = currentFolder,
                       .flags = DETACHED_PROCESS});
}

}  // namespace

bool runsUnderWine() { return wineVersion() != 0; }

int wineVersion() {
  using Version = const char*(CDECL*)();
  const FARPROC function = GetProcAddress(GetModuleHandleW(L"ntdll.dll"), "wine_get_version");
  if (function == nullptr) return 0;
  // By way of void*, or the compiler warns of two functions that differ.
  return std::atoi(reinterpret_cast<Version>(reinterpret_cast<void*>(function))());
}

std::vector<RunningProcess> findProcesses(std::string_view imageName) {
  const std::wstring wanted = toWide(imageName);
  std::vector<RunningProcess> found;
  eachProcess([&](const PROCESSENTRY32W& entry) {
    if (_wcsicmp(entry.szExeFile, wanted.c_str()) != 0) return;
    found.push_back(
        {entry.th32ProcessID, toUtf8(entry.szExeFile), programPath(entry.th32ProcessID)});
  });
  return found;
}

std::vector<RunningProcess> processesBelow(const std::filesystem::path& folder) {
  const std::wstring start = beginningOf(folder);
  return processesWhere([&](const RunningProcess& process) { return isBelow(process, start); });
}

std::vector<RunningProcess> processesOutsideWindows() {
  wchar_t windows[MAX_PATH] = {};
  GetWindowsDirectoryW(windows, MAX_PATH);
  const std::wstring start = beginningOf(windows);
  return processesWhere([&](const RunningProcess& process) {
    // A process that has just ended has no path any more.
    return process.id != GetCurrentProcessId() && !process.path.empty() && !isBelow(process, start);
  });
}

bool endProcess(std::uint32_t id) {
  const WinHandle process = ownHandle(OpenProcess(PROCESS_TERMINATE | SYNCHRONIZE, FALSE, id));
  if (!process) return true;
  TerminateProcess(process.get(), kEndedByStage);
  return WaitForSingleObject(process.get(), 5000) == WAIT_OBJECT_0;
}

std::uint32_t waitForProcess(std::string_view imageName, unsigned limitMs) {
  std::uint32_t id = 0;
  waitUntil(limitMs, [&] {
    const std::vector<RunningProcess> found = findProcesses(imageName);
    if (!found.empty()) id = found.front().id;
    return id != 0;
  });
  return id;
}

bool waitForNoProcess(std::string_view imageName, unsigned limitMs) {
  return waitUntil(limitMs, [&] { return findProcesses(imageName).empty(); });
}

std::uint32_t startDetached(const std::filesystem::path& program, std::string_view arguments,
                            const std::filesystem::path& currentFolder) {
  return startApart(program, arguments, currentFolder).id;
}

long runAndWait(const std::filesystem::path& program, std::string_view arguments,
                unsigned limitMs) {
  const StartedProgram started = startApart(program, arguments);
  if (WaitForSingleObject(started.process.get(), limitMs) != WAIT_OBJECT_0) {
    endProcess(started.id);
    return -1;
  }
  DWORD code = 0;
  GetExitCodeProcess(started.process.get(), &code);
  return static_cast<long>(code);
}

}  // namespace stage
