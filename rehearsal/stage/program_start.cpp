#include "rehearsal/stage/program_start.h"

#include <array>
#include <cstddef>
#include <mutex>
#include <set>
#include <stdexcept>
#include <vector>

#include "rehearsal/stage/text.h"

namespace stage {

namespace {

/// Limits what a new process inherits to these handles. The stage's own sockets are
/// inheritable too: one that a launcher held as well would outlive its reset or its close.
class InheritedHandles {
 public:
  explicit InheritedHandles(const std::set<HANDLE>& handles)
      : handles_(handles.begin(), handles.end()) {
    SIZE_T bytes = 0;
    InitializeProcThreadAttributeList(nullptr, 1, 0, &bytes);
    memory_.resize(bytes);
    if (!InitializeProcThreadAttributeList(list(), 1, 0, &bytes) ||
        !UpdateProcThreadAttribute(list(), 0, PROC_THREAD_ATTRIBUTE_HANDLE_LIST,
                                   handles_.data(), handles_.size() * sizeof(HANDLE), nullptr,
                                   nullptr)) {
      throw std::runtime_error("no list of handles for a program");
    }
  }
  ~InheritedHandles() { DeleteProcThreadAttributeList(list()); }
  InheritedHandles(const InheritedHandles&) = delete;
  InheritedHandles& operator=(const InheritedHandles&) = delete;

  [[nodiscard]] LPPROC_THREAD_ATTRIBUTE_LIST list() {
    return reinterpret_cast<LPPROC_THREAD_ATTRIBUTE_LIST>(memory_.data());
  }

 private:
  std::vector<HANDLE> handles_;
  std::vector<std::byte> memory_;
};

/// Takes over the hidden console of a helper, which then ends. Our standard handles stay as
/// they are. False when there is none to be had.
bool attachHiddenConsole() {
  constexpr DWORD kNames[] = {STD_INPUT_HANDLE, STD_OUTPUT_HANDLE, STD_ERROR_HANDLE};
  constexpr unsigned kPollMs = 5;
  constexpr unsigned kLimitMs = 5000;
  wchar_t system[MAX_PATH] = {};
  if (GetSystemDirectoryW(system, MAX_PATH) == 0) return false;
  const std::array<HANDLE, 3> before = {GetStdHandle(kNames[0]), GetStdHandle(kNames[1]),
                                        GetStdHandle(kNames[2])};
  // It waits for a command that nobody types.
  const StartedProgram helper = startProgram({.program = std::filesystem::path(system) / "cmd.exe",
                                              .arguments = L"/d /q",
                                              .flags = CREATE_NO_WINDOW});
  FreeConsole();  // started from outside of Wine, we count as having one
  bool attached = false;
  for (unsigned waited = 0; !attached && waited < kLimitMs; waited += kPollMs) {
    attached = AttachConsole(helper.id) != FALSE;
    if (!attached && WaitForSingleObject(helper.process.get(), kPollMs) == WAIT_OBJECT_0) break;
  }
  TerminateProcess(helper.process.get(), 0);
  WaitForSingleObject(helper.process.get(), kLimitMs);
  for (std::size_t i = 0; i < before.size(); ++i) SetStdHandle(kNames[i], before[i]);
  return attached;
}

}  // namespace

DWORD noWindow() {
  static std::mutex guard;
  static bool hidden = false;
  static bool failed = false;
  const std::lock_guard lock(guard);
  if (GetConsoleCP() == 0 && !failed) {
    hidden = attachHiddenConsole();
    failed = !hidden;
  }
  return hidden ? 0 : CREATE_NO_WINDOW;
}

StartedProgram startProgram(const ProgramStart& start) {
  std::wstring commandLine = L"\"" + start.program.wstring() + L"\"";
  if (!start.arguments.empty()) commandLine += L" " + start.arguments;
  std::wstring environment = start.environment;
  DWORD flags = start.flags | CREATE_UNICODE_ENVIRONMENT;
  STARTUPINFOEXW startup{};
  startup.StartupInfo.cb = sizeof startup.StartupInfo;
  std::optional<InheritedHandles> inherited;
  if (start.standardHandles) {
    const auto& [input, output, error] = *start.standardHandles;
    flags |= EXTENDED_STARTUPINFO_PRESENT;
    startup.StartupInfo.cb = sizeof startup;
    startup.StartupInfo.dwFlags = STARTF_USESTDHANDLES;
    startup.StartupInfo.hStdInput = input;
    startup.StartupInfo.hStdOutput = output;
    startup.StartupInfo.hStdError = error;
    // Each once, or the system refuses the list.
    startup.lpAttributeList = inherited.emplace(std::set{input, output, error}).list();
  }
  PROCESS_INFORMATION info{};
  if (!CreateProcessW(start.program.c_str(), commandLine.data(), nullptr, nullptr,
                      inherited.has_value(), flags,
                      environment.empty() ? nullptr : environment.data(),
                      start.currentFolder.empty() ? nullptr : start.currentFolder.c_str(),
                      &startup.StartupInfo, &info)) {
    const DWORD error = GetLastError();
    throw std::runtime_error("cannot start " + textOf(start.program) + " (error " +
                             std::to_string(error) + ")");
  }
  CloseHandle(info.hThread);
  return {ownHandle(info.hProcess), info.dwProcessId};
}

WinHandle openInheritable(const std::filesystem::path& file, DWORD access, DWORD disposition) {
  SECURITY_ATTRIBUTES inheritable{sizeof inheritable, nullptr, TRUE};
  return ownHandle(CreateFileW(file.c_str(), access, FILE_SHARE_READ | FILE_SHARE_WRITE,
                               &inheritable, disposition, 0, nullptr));
}

}  // namespace stage
