#pragma once

#include <gtest/gtest.h>

#include <windows.h>

#include <array>
#include <cstdint>
#include <filesystem>
#include <functional>
#include <map>
#include <optional>
#include <string>
#include <string_view>

#include "rehearsal/stage/stage.h"

namespace e2e {

/// Runs a program under a small debugger that writes down, in the order of its calls, what
/// the program does to files of one folder and which programs it starts:
///
///     launcher folder  <path>          a new folder
///     launcher write   <path> <bytes>  every single write
///     launcher delete  <path>          an existing file
///     launcher start   <command line> in <current folder>
///     launcher exit    <exit code>
///
/// The program stands still meanwhile. Whatever it has asked a server of the stage before is
/// then in the stage's timeline already, so that with these events the timeline holds files,
/// processes and requests of one thread in their true order.
///
/// Watched are the calls by which every program, whatever its runtime library, reaches the
/// system. Only for x86-64.
class CallTrace {
 public:
  using OnWrite = std::function<void(std::string_view path, std::string_view bytes)>;

  CallTrace(std::filesystem::path folder, stage::Timeline timeline, OnWrite onWrite = {})
      : folder_(folder.make_preferred().wstring() + L"\\"),
        timeline_(std::move(timeline)),
        onWrite_(std::move(onWrite)) {}

  /// Runs the program without arguments and with empty standard input, in its own folder.
  /// Its exit code; nothing when it did not end within the limit and was ended.
  std::optional<std::uint32_t> run(const std::filesystem::path& program, unsigned limitMs) {
    if (!start(program)) return std::nullopt;
    const std::uint64_t end = GetTickCount64() + limitMs;
    while (!exitCode_ && GetTickCount64() < end) {
      DEBUG_EVENT event{};
      if (!WaitForDebugEvent(&event, 50)) continue;
      const DWORD answer = handle(event);
      ContinueDebugEvent(event.dwProcessId, event.dwThreadId, answer);
    }
    if (!exitCode_) {
      DebugActiveProcessStop(processId_);
      stage::endProcess(processId_);
    }
    return exitCode_;
  }

 private:
  enum class Call { createFile, openFile, writeFile, createProcess };
  static constexpr std::array<std::pair<const char*, Call>, 4> kCalls = {
      {{"NtCreateFile", Call::createFile},
       {"NtOpenFile", Call::openFile},
       {"NtWriteFile", Call::writeFile},
       {"NtCreateUserProcess", Call::createProcess}}};

  bool start(const std::filesystem::path& program) {
    SECURITY_ATTRIBUTES inheritable{sizeof inheritable, nullptr, TRUE};
    HANDLE nothing =
        CreateFileW(L"NUL", GENERIC_READ | GENERIC_WRITE, FILE_SHARE_READ | FILE_SHARE_WRITE,
                    &inheritable, OPEN_EXISTING, 0, nullptr);
    // Nothing else of ours: an inherited socket would outlive us in what the program starts.
    SIZE_T size = 0;
    InitializeProcThreadAttributeList(nullptr, 1, 0, &size);
    std::string memory(size, '\0');
    const auto attributes = reinterpret_cast<LPPROC_THREAD_ATTRIBUTE_LIST>(memory.data());
    InitializeProcThreadAttributeList(attributes, 1, 0, &size);
    UpdateProcThreadAttribute(attributes, 0, PROC_THREAD_ATTRIBUTE_HANDLE_LIST, &nothing,
                              sizeof nothing, nullptr, nullptr);
    STARTUPINFOEXW startup{};
    startup.StartupInfo.cb = sizeof startup;
    startup.StartupInfo.dwFlags = STARTF_USESTDHANDLES;
    startup.StartupInfo.hStdInput = nothing;
    startup.StartupInfo.hStdOutput = nothing;
    startup.StartupInfo.hStdError = nothing;
    startup.lpAttributeList = attributes;
    PROCESS_INFORMATION info{};
    std::wstring commandLine = L"\"" + program.wstring() + L"\"";
    const BOOL started = CreateProcessW(
        program.c_str(), commandLine.data(), nullptr, nullptr, TRUE,
        DEBUG_ONLY_THIS_PROCESS | CREATE_NO_WINDOW | EXTENDED_STARTUPINFO_PRESENT, nullptr,
        program.parent_path().c_str(), &startup.StartupInfo, &info);
    DeleteProcThreadAttributeList(attributes);
    CloseHandle(nothing);
    EXPECT_TRUE(started) << "cannot start " << stage::textOf(program);
    if (!started) return false;
    processId_ = info.dwProcessId;
    CloseHandle(info.hThread);
    CloseHandle(info.hProcess);
    return true;
  }

  DWORD handle(const DEBUG_EVENT& event) {
    switch (event.dwDebugEventCode) {
      case CREATE_PROCESS_DEBUG_EVENT:
        process_ = event.u.CreateProcessInfo.hProcess;  // closed by the system
        threads_[event.dwThreadId] = event.u.CreateProcessInfo.hThread;
        if (event.u.CreateProcessInfo.hFile) CloseHandle(event.u.CreateProcessInfo.hFile);
        break;
      case CREATE_THREAD_DEBUG_EVENT:
        threads_[event.dwThreadId] = event.u.CreateThread.hThread;
        break;
      case LOAD_DLL_DEBUG_EVENT:
        plantIn(event.u.LoadDll.lpBaseOfDll);
        if (event.u.LoadDll.hFile) CloseHandle(event.u.LoadDll.hFile);
        break;
      case EXIT_PROCESS_DEBUG_EVENT:
        exitCode_ = event.u.ExitProcess.dwExitCode;
        timeline_.append("launcher", "exit", std::to_string(*exitCode_));
        break;
      case EXCEPTION_DEBUG_EVENT:
        return onException(event);
      default:
        break;
    }
    return DBG_CONTINUE;
  }

  /// Puts breakpoints on the watched calls when this library is the one that has them.
  void plantIn(void* base) {
    const HMODULE ours = GetModuleHandleW(L"ntdll.dll");
    std::array<unsigned char, 1024> here{};
    std::array<unsigned char, 1024> there{};
    SIZE_T got = 0;
    if (!ReadProcessMemory(process_, base, there.data(), there.size(), &got)) return;
    memcpy(here.data(), reinterpret_cast<const void*>(ours), here.size());
    if (timeStamp(here) != timeStamp(there)) return;
    for (const auto& [name, call] : kCalls) {
      const std::uintptr_t offset = reinterpret_cast<std::uintptr_t>(GetProcAddress(ours, name)) -
                                    reinterpret_cast<std::uintptr_t>(ours);
      const std::uintptr_t address = reinterpret_cast<std::uintptr_t>(base) + offset;
      // The first instruction of each is the same; it is made up for in onException.
      if (read<std::uint32_t>(address) % 0x1000000 != kMoveRcxToR10) {
        ADD_FAILURE() << name << " does not begin as expected";
        continue;
      }
      constexpr unsigned char kBreak = 0xCC;
      WriteProcessMemory(process_, reinterpret_cast<void*>(address), &kBreak, 1, &got);
      FlushInstructionCache(process_, reinterpret_cast<void*>(address), 1);
      calls_[address] = call;
    }
  }

  /// The headers' link time and sizes, which tell one library from another.
  static std::string timeStamp(const std::array<unsigned char, 1024>& image) {
    std::uint32_t at = 0;
    memcpy(&at, image.data() + 0x3C, sizeof at);
    if (at + 0x58 > image.size()) return {};
    const char* const headers = reinterpret_cast<const char*>(image.data()) + at;
    // The time, the sizes of code and data, the size of the image; not its address.
    return std::string(headers + 8, 4) + std::string(headers + 0x1C, 16) +
           std::string(headers + 0x50, 4);
  }

  DWORD onException(const DEBUG_EVENT& event) {
    const EXCEPTION_RECORD& record = event.u.Exception.ExceptionRecord;
    if (record.ExceptionCode != EXCEPTION_BREAKPOINT) return DBG_EXCEPTION_NOT_HANDLED;
    const auto address = reinterpret_cast<std::uintptr_t>(record.ExceptionAddress);
    const auto found = calls_.find(address);
    if (found == calls_.end()) return DBG_CONTINUE;  // the system's own, at the start
    alignas(16) CONTEXT context{};
    context.ContextFlags = CONTEXT_FULL;
    const HANDLE thread = threads_.at(event.dwThreadId);
    GetThreadContext(thread, &context);
    note(found->second, context);
    context.R10 = context.Rcx;
    context.Rip = address + 3;
    SetThreadContext(thread, &context);
    return DBG_CONTINUE;
  }

  void note(Call call, const CONTEXT& context) {
    switch (call) {
      case Call::createFile: {
        constexpr std::uint32_t kCreate = 2;          // FILE_CREATE
        constexpr std::uint32_t kDirectory = 0x0001;  // FILE_DIRECTORY_FILE
        const bool folder = argument<std::uint32_t>(context, 8) == kCreate &&
                            (argument<std::uint32_t>(context, 9) & kDirectory) != 0;
        const std::wstring path = pathOf(context.R8);
        if (folder && !path.empty() && !stage::pathExists(path)) append("folder", path, {});
        if (!folder) noteDelete(context.Rdx, path);
        break;
      }
      case Call::openFile:
        noteDelete(context.Rdx, pathOf(context.R8));
        break;
      case Call::writeFile:
        noteWrite(context);
        break;
      case Call::createProcess:
        noteStart(argument<std::uint64_t>(context, 9));
        break;
    }
  }

  /// A program is started with these RTL_USER_PROCESS_PARAMETERS.
  void noteStart(std::uint64_t parameters) const {
    const std::wstring commandLine = readText(parameters + 0x70);
    // Wine's console is a program that each program starts for itself.
    if (commandLine.find(L"conhost.exe") != std::wstring::npos) return;
    timeline_.append("launcher", "start",
                     stage::toUtf8(commandLine) + " in " +
                         stage::toUtf8(readText(parameters + 0x38)));
  }

  void noteDelete(std::uint64_t access, const std::wstring& path) {
    if ((access & DELETE) == 0 || (access & (GENERIC_WRITE | FILE_WRITE_DATA)) != 0) return;
    if (!path.empty() && stage::pathExists(path)) append("delete", path, {});
  }

  void noteWrite(const CONTEXT& context) {
    HANDLE file = nullptr;
    if (!DuplicateHandle(process_, reinterpret_cast<HANDLE>(context.Rcx), GetCurrentProcess(),
                         &file, 0, FALSE, DUPLICATE_SAME_ACCESS)) {
      return;
    }
    std::array<wchar_t, 1024> name{};
    const DWORD length = GetFileType(file) == FILE_TYPE_DISK
                             ? GetFinalPathNameByHandleW(file, name.data(), 1024, 0)
                             : 0;
    CloseHandle(file);
    const std::wstring path = inFolder(std::wstring(name.data(), length));
    if (path.empty()) return;
    std::string bytes(argument<std::uint32_t>(context, 7), '\0');
    SIZE_T got = 0;
    ReadProcessMemory(process_, reinterpret_cast<const void*>(argument<std::uint64_t>(context, 6)),
                      bytes.data(), bytes.size(), &got);
    append("write", path, bytes);
  }

  void append(std::string_view what, const std::wstring& path, std::string_view bytes) {
    const std::string name = stage::toUtf8(path);
    timeline_.append("launcher", what, bytes.empty() ? name : name + " " + std::string(bytes));
    if (what == "write" && onWrite_) onWrite_(name, bytes);
  }

  /// The path of an OBJECT_ATTRIBUTES in our folder; else empty.
  [[nodiscard]] std::wstring pathOf(std::uint64_t attributes) const {
    const auto name = read<std::uint64_t>(attributes + 0x10);
    return name == 0 ? std::wstring() : inFolder(readText(name));
  }

  /// The path without the system's front ("\??\" or "\\?\") when it lies in our folder.
  [[nodiscard]] std::wstring inFolder(const std::wstring& path) const {
    constexpr std::size_t kFront = 4;
    if (path.size() <= kFront + folder_.size()) return {};
    std::wstring rest = path.substr(kFront);
    return _wcsnicmp(rest.c_str(), folder_.c_str(), folder_.size()) == 0 ? rest : std::wstring();
  }

  template <class Value>
  [[nodiscard]] Value read(std::uint64_t address) const {
    Value value{};
    SIZE_T got = 0;
    ReadProcessMemory(process_, reinterpret_cast<const void*>(address), &value, sizeof value, &got);
    return value;
  }

  /// The nth argument of a call (the fifth is the first on the stack).
  template <class Value>
  [[nodiscard]] Value argument(const CONTEXT& context, unsigned nth) const {
    return read<Value>(context.Rsp + 8ULL * nth);
  }

  /// The text of a UNICODE_STRING.
  [[nodiscard]] std::wstring readText(std::uint64_t address) const {
    std::wstring text(read<std::uint16_t>(address) / sizeof(wchar_t), L'\0');
    SIZE_T got = 0;
    ReadProcessMemory(process_, reinterpret_cast<const void*>(read<std::uint64_t>(address + 8)),
                      text.data(), text.size() * sizeof(wchar_t), &got);
    return text;
  }

  static constexpr std::uint32_t kMoveRcxToR10 = 0xD18B4C;

  std::wstring folder_;
  stage::Timeline timeline_;
  OnWrite onWrite_;
  HANDLE process_ = nullptr;
  std::uint32_t processId_ = 0;
  std::map<DWORD, HANDLE> threads_;
  std::map<std::uintptr_t, Call> calls_;
  std::optional<std::uint32_t> exitCode_;
};

}  // namespace e2e
