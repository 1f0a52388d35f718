#include "rehearsal/stage/debugger.h"

#include <cstring>
#include <stdexcept>

#include "rehearsal/stage/win_handle.h"

namespace stage {

namespace {

constexpr unsigned char kBreak = 0xCC;

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
  Breakpoint point{{}, onCall};
  CONTEXT tried{};
  if (function) {
    memcpy(point.code.data(), reinterpret_cast<const void*>(function), point.code.size());
    GetModuleHandleExW(GET_MODULE_HANDLE_EX_FLAG_FROM_ADDRESS |
                           GET_MODULE_HANDLE_EX_FLAG_UNCHANGED_REFCOUNT,
                       reinterpret_cast<const wchar_t*>(address), &ours);
  }
  if (!ours || !doFirst(point.code, tried, nullptr)) {
    throw std::runtime_error(std::string("cannot watch ") + name);
  }
  auto found = std::find_if(libraries_.begin(), libraries_.end(),
                            [&](const Library& known) { return known.ours == ours; });
  if (found == libraries_.end()) found = libraries_.insert(found, Library{ours, {}, {}});
  found->points[address - reinterpret_cast<std::uint64_t>(ours)] = point;
}

/// Does in a thread of the process what the first of these instructions does; false when it is
/// none of those that the system's functions begin with. Sets no flags: no function asks for
/// those of its caller.
bool Debugger::doFirst(const Code& code, CONTEXT& context, HANDLE process) {
  constexpr Code kNothing = {0x48, 0x8D, 0xA4, 0x24, 0, 0, 0, 0};  // lea rsp, [rsp + 0]
  const auto store = [&](std::uint64_t address, std::uint64_t value) {
    WriteProcessMemory(process, reinterpret_cast<void*>(address), &value, sizeof value, nullptr);
  };
  // Registers in the order of their numbers; the prefix holds the upper bits of the two numbers
  // in the byte behind the code.
  std::uint64_t* const registers = &context.Rax;
  const bool prefix = (code[0] & 0xF0U) == 0x40;
  const unsigned upper = prefix ? code[0] & 7U : 0U;
  const std::size_t at = prefix ? 1 : 0;
  const unsigned rm = (upper & 1U) * 8 + (code[2] & 7U);
  const unsigned reg = (upper & 4U) * 2 + (code[2] >> 3U & 7U);
  if (code == kNothing) {
    context.Rip += code.size();
  } else if (code[at] == 0xFF && code[at + 1] == 0x25) {  // jmp to where a variable says
    std::int32_t distance = 0;
    memcpy(&distance, &code[at + 2], sizeof distance);
    const std::uint64_t behind = context.Rip + at + 6;
    std::uint64_t variable = 0;
    ReadProcessMemory(process, reinterpret_cast<void*>(behind + static_cast<std::uint64_t>(distance)),
                      &variable, sizeof variable, nullptr);
    context.Rip = variable;
  } else if ((code[at] & 0xF8U) == 0x50) {  // push
    const std::uint64_t value = registers[(upper & 1U) * 8 + (code[at] & 7U)];
    context.Rsp -= sizeof value;
    store(context.Rsp, value);
    context.Rip += at + 1;
  } else if (code[0] == 0x48 && code[1] == 0x83 && code[2] == 0xEC) {  // sub rsp, number
    context.Rsp -= code[3];
    context.Rip += 4;
  } else if ((code[0] & 0xF8U) == 0x48 && code[1] == 0x8B && code[2] >= 0xC0) {  // mov reg, rm
    registers[reg] = registers[rm];
    context.Rip += 3;
  } else if ((code[0] & 0xFBU) == 0x48 && code[1] == 0x89 && (code[2] & 0xC7U) == 0x44 &&
             code[3] == 0x24 && code[4] < 0x80) {  // mov [rsp + number], reg
    store(context.Rsp + code[4], registers[reg]);
    context.Rip += 5;
  } else {
    return false;
  }
  return true;
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
    for (const auto& entry : library.points) {
      void* const place = reinterpret_cast<void*>(library.place.base + entry.first);
      WriteProcessMemory(process_, place, &kBreak, 1, nullptr);
      FlushInstructionCache(process_, place, 1);
    }
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
  if (exception.ExceptionCode != EXCEPTION_BREAKPOINT) return DBG_EXCEPTION_NOT_HANDLED;
  const auto address = reinterpret_cast<std::uint64_t>(exception.ExceptionAddress);
  const Breakpoint* const point = pointAt(address);
  if (!point) {
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
  point->onCall(call);

  context.Rip = address;
  (void)doFirst(point->code, context, process_);
  SetThreadContext(thread.get(), &context);
  return DBG_CONTINUE;
}

void Debugger::copy(std::uint64_t address, void* to, std::size_t bytes) const {
  ReadProcessMemory(process_, reinterpret_cast<const void*>(address), to, bytes, nullptr);
}

}  // namespace stage
