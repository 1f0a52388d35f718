#include "rehearsal/stage/program_start.h"

#include <cstddef>
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

}  // namespace

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
