#include "rehearsal/stage/debugger.h"

#include <cstring>
#include <stdexcept>

#include "rehearsal/stage/win_handle.h"

namespace stage {

namespace {

constexpr unsigned char kBreak = 0xCC;
constexpr DWORD kSingleStep = 0x100;  // the trap flag

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

Debugger::Debugger(const std::vector<std::pair<const wchar_t*, Functions>>& libraries) {
  for (const auto& [library, functions] : libraries) {
    for (const auto& [name, onCall] : functions) watch(library, name, onCall);
  }
}

/// A function may lie in another library than the one that names it.
void Debugger::watch(const wchar_t* library, const char* name, const OnCall& onCall) {
  const HMODULE named = LoadLibraryW(library);  // for good: it is one of the system's own
  const FARPROC function = named ? GetProcAddress(named, name) : nullptr;
  const auto address = reinterpret_cast<std::uint64_t>(function);
  HMODULE ours = nullptr;
  if (function) {
    GetModuleHandleExW(GET_MODULE_HANDLE_EX_FLAG_FROM_ADDRESS |
                           GET_MODULE_HANDLE_EX_FLAG_UNCHANGED_REFCOUNT,
                       reinterpret_cast<const wchar_t*>(address), &ours);
  }
  if (!ours) throw std::runtime_error(std::string("cannot watch ") + name);
  auto found = std::find_if(libraries_.begin(), libraries_.end(),
                            [&](const Library& known) { return known.ours == ours; });
  if (found == libraries_.end()) found = libraries_.insert(found, Library{ours, {}, {}});
  found->points[address - reinterpret_cast<std::uint64_t>(ours)] = {
      *reinterpret_cast<const unsigned char*>(function), onCall};
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
      own_ = placeOf(event.u.CreateProcessInfo.lpBaseOfImage);
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
  if (!theirs) return;
  for (Library& library : libraries_) {
    const auto ours = headersOf(GetCurrentProcess(), library.ours);
    if (!ours || memcmp(&*theirs, &*ours, sizeof *ours) != 0) continue;
    library.place = placeOf(base);
    for (const auto& entry : library.points) poke(library.place.base + entry.first, kBreak);
  }
}

Debugger::Place Debugger::placeOf(const void* base) const {
  const auto headers = headersOf(process_, base);
  return {reinterpret_cast<std::uint64_t>(base),
          headers ? headers->OptionalHeader.SizeOfImage : 0U};
}

const Debugger::Breakpoint* Debugger::pointAt(std::uint64_t address) const {
  for (const Library& library : libraries_) {
    if (!library.place.holds(address)) continue;
    const auto found = library.points.find(address - library.place.base);
    if (found != library.points.end()) return &found->second;
  }
  return nullptr;
}

DWORD Debugger::onException(const EXCEPTION_RECORD& exception, DWORD threadId) {
  if (exception.ExceptionCode == EXCEPTION_BREAKPOINT) {
    return onBreakpoint(reinterpret_cast<std::uint64_t>(exception.ExceptionAddress), threadId);
  }
  if (exception.ExceptionCode == EXCEPTION_SINGLE_STEP) {
    if (const auto stepped = stepping_.extract(threadId)) {
      poke(stepped.mapped(), kBreak);
      return DBG_CONTINUE;
    }
  }
  return DBG_EXCEPTION_NOT_HANDLED;
}

DWORD Debugger::onBreakpoint(std::uint64_t address, DWORD threadId) {
  const Breakpoint* const point = pointAt(address);
  const auto returned = returns_.extract(address);
  if (!point && !returned) {
    programBegan_ = true;  // the system's own breakpoint
    return DBG_CONTINUE;
  }
  const WinHandle thread =
      ownHandle(OpenThread(THREAD_GET_CONTEXT | THREAD_SET_CONTEXT, FALSE, threadId));
  alignas(16) CONTEXT context{};
  context.ContextFlags = CONTEXT_FULL;
  if (!GetThreadContext(thread.get(), &context)) return DBG_CONTINUE;
  context.Rip = address;
  if (point) {
    report(*point, context, threadId == mainThreadId_);
    poke(address, point->code);
    stepping_[threadId] = address;
    context.EFlags |= kSingleStep;
  } else {
    poke(address, returned.mapped().code);
    returned.mapped().onReturn(context.Rax);
  }
  SetThreadContext(thread.get(), &context);
  return DBG_CONTINUE;
}

void Debugger::report(const Breakpoint& point, CONTEXT& context, bool mainThread) {
  Call call;
  call.mainThread_ = mainThread;
  // The caller keeps room on the stack for the four arguments that come in registers.
  call.words_ = read<decltype(call.words_)>(context.Rsp);
  call.words_[1] = context.Rcx;
  call.words_[2] = context.Rdx;
  call.words_[3] = context.R8;
  call.words_[4] = context.R9;
  point.onCall(call);
  context.Rcx = call.words_[1];
  context.Rdx = call.words_[2];
  context.R8 = call.words_[3];
  context.R9 = call.words_[4];
}

void Debugger::atReturn(const Call& call, OnReturn onReturn) {
  returns_[call.caller()] = {read<unsigned char>(call.caller()), std::move(onReturn)};
  poke(call.caller(), kBreak);
}

void Debugger::poke(std::uint64_t address, unsigned char code) const {
  void* const place = reinterpret_cast<void*>(address);
  WriteProcessMemory(process_, place, &code, 1, nullptr);
  FlushInstructionCache(process_, place, 1);
}

void Debugger::copy(std::uint64_t address, void* to, std::size_t bytes) const {
  ReadProcessMemory(process_, reinterpret_cast<const void*>(address), to, bytes, nullptr);
}

}  // namespace stage
