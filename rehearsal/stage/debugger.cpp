#include "rehearsal/stage/debugger.h"

#include <cstring>
#include <stdexcept>

#include "rehearsal/stage/win_handle.h"

namespace stage {

namespace {

constexpr unsigned char kBreak = 0xCC;

/// What a watched function may begin with. The byte behind the second is what it subtracts.
constexpr std::array<unsigned char, 3> kMoveRcxToR10 = {0x4C, 0x8B, 0xD1};
constexpr std::array<unsigned char, 3> kSubtractFromRsp = {0x48, 0x83, 0xEC};

bool beginsWith(const std::array<unsigned char, 4>& code,
                const std::array<unsigned char, 3>& instruction) {
  return memcmp(code.data(), instruction.data(), instruction.size()) == 0;
}

/// The headers of a library, but for its place; nothing when there are none.
std::optional<IMAGE_NT_HEADERS> headersOf(HANDLE process, const void* base) {
  IMAGE_DOS_HEADER dos{};
  IMAGE_NT_HEADERS headers{};
  const char* const start = static_cast<const char*>(base);
  if (!ReadProcessMemory(process, start, &dos, sizeof dos, nullptr) ||
      dos.e_magic != IMAGE_DOS_SIGNATURE ||
      !ReadProcessMemory(process, start + dos.e_lfanew, &headers, sizeof headers, nullptr)) {
    return std::nullopt;
  }
  headers.OptionalHeader.ImageBase = 0;
  return headers;
}

}  // namespace

Debugger::Debugger(const wchar_t* library,
                   const std::vector<std::pair<const char*, OnCall>>& functions)
    : ours_(GetModuleHandleW(library)) {
  for (const auto& [name, onCall] : functions) {
    const FARPROC function = ours_ ? GetProcAddress(ours_, name) : nullptr;
    Breakpoint point{{}, onCall};
    if (function) {
      memcpy(point.code.data(), reinterpret_cast<const void*>(function), point.code.size());
    }
    if (!beginsWith(point.code, kMoveRcxToR10) && !beginsWith(point.code, kSubtractFromRsp)) {
      throw std::runtime_error(std::string("cannot watch ") + name);
    }
    breakpoints_[reinterpret_cast<std::uint64_t>(function) -
                 reinterpret_cast<std::uint64_t>(ours_)] = point;
  }
}

void Debugger::work(DWORD waitMs) {
  for (DEBUG_EVENT event{}; WaitForDebugEvent(&event, waitMs); waitMs = 0) {
    ContinueDebugEvent(event.dwProcessId, event.dwThreadId, handle(event));
    if (exitCode_) return;
  }
}

DWORD Debugger::handle(const DEBUG_EVENT& event) {
  HANDLE file = nullptr;  // comes with some events, and is ours to close
  DWORD answer = DBG_CONTINUE;
  switch (event.dwDebugEventCode) {
    case CREATE_PROCESS_DEBUG_EVENT:
      process_ = event.u.CreateProcessInfo.hProcess;
      mainThreadId_ = event.dwThreadId;
      file = event.u.CreateProcessInfo.hFile;
      break;
    case LOAD_DLL_DEBUG_EVENT:
      onLibrary(event.u.LoadDll.lpBaseOfDll);
      file = event.u.LoadDll.hFile;
      break;
    case EXCEPTION_DEBUG_EVENT:
      answer = onException(event.u.Exception.ExceptionRecord, event.dwThreadId);
      break;
    case EXIT_PROCESS_DEBUG_EVENT:
      exitCode_ = event.u.ExitProcess.dwExitCode;
      break;
    default:
      break;
  }
  if (file) CloseHandle(file);
  return answer;
}

/// The same file has the same headers.
void Debugger::onLibrary(const void* base) {
  const auto theirs = headersOf(process_, base);
  const auto ours = headersOf(GetCurrentProcess(), ours_);
  if (!theirs || !ours || memcmp(&*theirs, &*ours, sizeof *ours) != 0) return;
  base_ = reinterpret_cast<std::uint64_t>(base);
  librarySize_ = ours->OptionalHeader.SizeOfImage;
  for (const auto& entry : breakpoints_) {
    void* const place = reinterpret_cast<void*>(base_ + entry.first);
    WriteProcessMemory(process_, place, &kBreak, 1, nullptr);
    FlushInstructionCache(process_, place, 1);
  }
}

DWORD Debugger::onException(const EXCEPTION_RECORD& exception, DWORD threadId) {
  if (exception.ExceptionCode != EXCEPTION_BREAKPOINT) return DBG_EXCEPTION_NOT_HANDLED;
  const auto address = reinterpret_cast<std::uint64_t>(exception.ExceptionAddress);
  const auto found = breakpoints_.find(address - base_);
  if (found == breakpoints_.end()) {
    programBegan_ = true;  // the system's own breakpoint
    return DBG_CONTINUE;
  }
  const WinHandle thread =
      ownHandle(OpenThread(THREAD_GET_CONTEXT | THREAD_SET_CONTEXT, FALSE, threadId));
  alignas(16) CONTEXT context{};
  context.ContextFlags = CONTEXT_FULL;
  if (!GetThreadContext(thread.get(), &context)) return DBG_CONTINUE;

  Call call;
  call.mainThread_ = threadId == mainThreadId_;
  // The caller keeps room on the stack for the four arguments that come in registers.
  call.words_ = read<decltype(call.words_)>(context.Rsp);
  call.words_[1] = context.Rcx;
  call.words_[2] = context.Rdx;
  call.words_[3] = context.R8;
  call.words_[4] = context.R9;
  found->second.onCall(call);

  const auto& code = found->second.code;
  if (beginsWith(code, kMoveRcxToR10)) {
    context.R10 = context.Rcx;
    context.Rip = address + 3;
  } else {  // no function asks for the flags that this sets
    context.Rsp -= code[3];
    context.Rip = address + 4;
  }
  SetThreadContext(thread.get(), &context);
  return DBG_CONTINUE;
}

void Debugger::copy(std::uint64_t address, void* to, std::size_t bytes) const {
  ReadProcessMemory(process_, reinterpret_cast<const void*>(address), to, bytes, nullptr);
}

}  // namespace stage
