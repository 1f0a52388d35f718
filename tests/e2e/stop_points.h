#pragma once

#include <windows.h>

#include <cstddef>
#include <cstdint>
#include <filesystem>
#include <functional>
#include <map>
#include <string>
#include <vector>

#include "rehearsal/stage/text.h"
#include "rehearsal/stage/win_handle.h"

/// A launcher that is stopped before every step that others could notice, and killed at one.
namespace e2e {

/// One stop: the launcher is about to make this call.
struct Stop {
  std::size_t number = 0;  ///< 1 for the first one
  std::string call;        ///< "write", "create", "delete", "change", "start", "wait"
};

/// How a run with stops came to its end.
struct StoppedRun {
  std::size_t stops = 0;
  bool killed = false;  ///< at a stop, as wished
  bool hang = false;    ///< it did not end within the limit and was killed
  DWORD exitCode = 0;
};

/// Runs a program under a small debugger. Its main thread stops before each
/// system call that writes, creates, changes or deletes a file or folder, starts a process or
/// waits for one. There is no step of the program that leaves a trace between two stops but
/// the packets it sends.
///
///     StopPoints run(machine.launcher(), machine.root() / "console.txt");
///     run.work([](const Stop& stop) { return stop.number == 12; });  // kills it there
class StopPoints {
 public:
  /// True: kill the program at this stop.
  using Decide = std::function<bool(const Stop&)>;

  /// Starts the program; its standard output goes into the file, its input is empty.
  /// `arguments` is the raw text behind the quoted program path.
  StopPoints(const std::filesystem::path& program, const std::filesystem::path& console,
             const std::wstring& arguments = {}) {
    SECURITY_ATTRIBUTES inheritable{sizeof inheritable, nullptr, TRUE};
    const stage::WinHandle out = stage::ownHandle(
        CreateFileW(console.c_str(), FILE_APPEND_DATA, FILE_SHARE_READ | FILE_SHARE_WRITE,
                    &inheritable, CREATE_ALWAYS, 0, nullptr));
    const stage::WinHandle in = stage::ownHandle(
        CreateFileW(L"NUL", GENERIC_READ, 0, &inheritable, OPEN_EXISTING, 0, nullptr));
    STARTUPINFOEXW startup{};
    startup.StartupInfo.cb = sizeof startup;
    startup.StartupInfo.dwFlags = STARTF_USESTDHANDLES;
    startup.StartupInfo.hStdInput = in.get();
    startup.StartupInfo.hStdOutput = out.get();
    startup.StartupInfo.hStdError = out.get();
    // No more than these two: a server's socket that the program held too would outlive it.
    HANDLE inherited[] = {in.get(), out.get()};
    std::vector<std::byte> memory(256);
    SIZE_T bytes = memory.size();
    startup.lpAttributeList = reinterpret_cast<LPPROC_THREAD_ATTRIBUTE_LIST>(memory.data());
    std::wstring line = L"\"" + program.wstring() + L"\" " + arguments;
    PROCESS_INFORMATION info{};
    started_ = InitializeProcThreadAttributeList(startup.lpAttributeList, 1, 0, &bytes) &&
               UpdateProcThreadAttribute(startup.lpAttributeList, 0,
                                         PROC_THREAD_ATTRIBUTE_HANDLE_LIST, inherited,
                                         sizeof inherited, nullptr, nullptr) &&
               CreateProcessW(program.c_str(), line.data(), nullptr, nullptr, TRUE,
                              DEBUG_ONLY_THIS_PROCESS | CREATE_NO_WINDOW |
                                  EXTENDED_STARTUPINFO_PRESENT,
                              nullptr, program.parent_path().c_str(), &startup.StartupInfo,
                              &info);
    process_ = stage::ownHandle(info.hProcess);
    mainThread_ = stage::ownHandle(info.hThread);
    mainThreadId_ = info.dwThreadId;
    processId_ = info.dwProcessId;
  }
  StopPoints(const StopPoints&) = delete;
  StopPoints& operator=(const StopPoints&) = delete;
  ~StopPoints() { TerminateProcess(process_.get(), kEndedByTest); }

  [[nodiscard]] bool started() const { return started_; }
  [[nodiscard]] DWORD processId() const { return processId_; }

  /// Runs it to its end. Call it in the thread that made this object, once.
  StoppedRun work(const Decide& decide, unsigned limitMs = 60000) {
    const std::uint64_t end = GetTickCount64() + limitMs;
    for (DEBUG_EVENT event{}; started_;) {
      if (!WaitForDebugEvent(&event, 100)) {
        if (!result_.hang && GetTickCount64() > end) kill(result_.hang);
        continue;
      }
      const DWORD answer = onEvent(event, decide);
      ContinueDebugEvent(event.dwProcessId, event.dwThreadId, answer);
      if (event.dwDebugEventCode == EXIT_PROCESS_DEBUG_EVENT) break;
    }
    WaitForSingleObject(process_.get(), 5000);
    GetExitCodeProcess(process_.get(), &result_.exitCode);
    return result_;
  }

 private:
  static constexpr UINT kEndedByTest = 261;
  static constexpr unsigned char kBreak = 0xCC;
  static constexpr DWORD kTrapFlag = 0x100;
  static constexpr std::uint32_t kDeleteOnClose = 0x1000;

  /// A system call that is watched, and which of its calls leave a trace.
  struct Watched {
    const char* function;
    const char* name;
    bool (StopPoints::*counts)(const CONTEXT&) const;
  };

  [[nodiscard]] static const std::vector<Watched>& watched() {
    static const std::vector<Watched> all = {
        {"NtWriteFile", "write", &StopPoints::always},
        {"NtCreateFile", "create or delete", &StopPoints::creates},
        {"NtOpenFile", "delete", &StopPoints::deletesOnClose},
        {"NtDeleteFile", "delete", &StopPoints::always},
        {"NtSetInformationFile", "change", &StopPoints::changes},
        {"NtCreateUserProcess", "start", &StopPoints::always},
    };
    return all;
  }

  [[nodiscard]] std::uint64_t stackArgument(const CONTEXT& context, unsigned number) const {
    std::uint64_t value = 0;
    SIZE_T got = 0;
    const auto place = context.Rsp + std::uint64_t{8} * number;  // the return address is 0
    ReadProcessMemory(process_.get(), reinterpret_cast<const void*>(place), &value, sizeof value,
                      &got);
    return value;
  }

  bool always(const CONTEXT&) const { return true; }
  /// Anything but opening what is there, unless in order to delete it.
  bool creates(const CONTEXT& context) const {
    constexpr std::uint32_t kFileOpen = 1;
    return static_cast<std::uint32_t>(stackArgument(context, 8)) != kFileOpen ||
           (stackArgument(context, 9) & kDeleteOnClose) != 0;
  }
  bool deletesOnClose(const CONTEXT& context) const {
    return (stackArgument(context, 6) & kDeleteOnClose) != 0;
  }
  /// Anything but moving the position.
  bool changes(const CONTEXT& context) const {
    constexpr std::uint32_t kPosition = 14;
    return static_cast<std::uint32_t>(stackArgument(context, 5)) != kPosition;
  }

  DWORD onEvent(const DEBUG_EVENT& event, const Decide& decide) {
    switch (event.dwDebugEventCode) {
      case CREATE_PROCESS_DEBUG_EVENT:
        threads_[event.dwThreadId] = event.u.CreateProcessInfo.hThread;
        if (event.u.CreateProcessInfo.hFile) CloseHandle(event.u.CreateProcessInfo.hFile);
        break;
      case CREATE_THREAD_DEBUG_EVENT:
        threads_[event.dwThreadId] = event.u.CreateThread.hThread;
        break;
      case EXIT_THREAD_DEBUG_EVENT:
        threads_.erase(event.dwThreadId);
        break;
      case LOAD_DLL_DEBUG_EVENT:
        if (event.u.LoadDll.hFile) CloseHandle(event.u.LoadDll.hFile);
        break;
      case EXCEPTION_DEBUG_EVENT:
        return onException(event, decide);
      default:
        break;
    }
    return DBG_CONTINUE;
  }

  DWORD onException(const DEBUG_EVENT& event, const Decide& decide) {
    const EXCEPTION_RECORD& record = event.u.Exception.ExceptionRecord;
    const auto thread = threads_.find(event.dwThreadId);
    if (thread == threads_.end()) return DBG_EXCEPTION_NOT_HANDLED;
    if (record.ExceptionCode == EXCEPTION_SINGLE_STEP) {
      const auto stepped = stepping_.find(event.dwThreadId);
      if (stepped == stepping_.end()) return DBG_EXCEPTION_NOT_HANDLED;
      write(stepped->second, kBreak);
      stepping_.erase(stepped);
      return DBG_CONTINUE;
    }
    if (record.ExceptionCode != EXCEPTION_BREAKPOINT) return DBG_EXCEPTION_NOT_HANDLED;
    const auto address = reinterpret_cast<std::uintptr_t>(record.ExceptionAddress);
    const auto found = breakpoints_.find(address);
    if (found == breakpoints_.end()) {
      plantAll();  // the first breakpoint of a debugged process is the system's own
      return DBG_CONTINUE;
    }
    alignas(16) CONTEXT context{};
    context.ContextFlags = CONTEXT_FULL;
    if (!GetThreadContext(thread->second, &context)) return DBG_CONTINUE;
    consider(event.dwThreadId, *found->second.call, context, decide);
    // The instruction under the breakpoint runs once, alone, and the breakpoint comes back.
    write(address, found->second.original);
    context.Rip = address;
    context.EFlags |= kTrapFlag;
    SetThreadContext(thread->second, &context);
    stepping_[event.dwThreadId] = address;
    return DBG_CONTINUE;
  }

  void consider(DWORD threadId, const Watched& call, const CONTEXT& context,
                const Decide& decide) {
    if (threadId != mainThreadId_ || result_.killed || result_.hang) return;
    if (!(this->*call.counts)(context)) return;
    ++result_.stops;
    if (decide({result_.stops, call.name})) kill(result_.killed);
  }

  void kill(bool& why) {
    why = true;
    TerminateProcess(process_.get(), kEndedByTest);
  }

  /// ntdll lies at the same place in every process.
  void plantAll() {
    if (!breakpoints_.empty()) return;
    const HMODULE ntdll = GetModuleHandleW(L"ntdll.dll");
    for (const Watched& call : watched()) {
      const auto address = reinterpret_cast<std::uintptr_t>(
          reinterpret_cast<void*>(GetProcAddress(ntdll, call.function)));
      Breakpoint point{&call, 0};
      SIZE_T got = 0;
      ReadProcessMemory(process_.get(), reinterpret_cast<const void*>(address), &point.original,
                        1, &got);
      breakpoints_[address] = point;
      write(address, kBreak);
    }
  }

  void write(std::uintptr_t address, unsigned char byte) {
    SIZE_T moved = 0;
    void* const place = reinterpret_cast<void*>(address);
    WriteProcessMemory(process_.get(), place, &byte, 1, &moved);
    FlushInstructionCache(process_.get(), place, 1);
  }

  struct Breakpoint {
    const Watched* call = nullptr;
    unsigned char original = 0;
  };

  bool started_ = false;
  stage::WinHandle process_;
  stage::WinHandle mainThread_;
  DWORD mainThreadId_ = 0;
  DWORD processId_ = 0;
  std::map<std::uintptr_t, Breakpoint> breakpoints_;
  std::map<DWORD, std::uintptr_t> stepping_;  // thread id: breakpoint to plant again
  std::map<DWORD, HANDLE> threads_;
  StoppedRun result_;
};

}  // namespace e2e
