#include "rehearsal/stage/box_calls.h"

#include <optional>

#include "rehearsal/stage/text.h"

namespace stage {

namespace {

constexpr unsigned char kBreak = 0xCC;
constexpr DWORD kTrapFlag = 0x100;

/// Distance of one of user32's functions from user32's start.
std::uintptr_t offsetInUser32(const char* function) {
  const HMODULE user32 = GetModuleHandleW(L"user32.dll");
  const FARPROC address = GetProcAddress(user32, function);
  return reinterpret_cast<std::uintptr_t>(address) - reinterpret_cast<std::uintptr_t>(user32);
}

std::optional<IMAGE_NT_HEADERS> headersOf(HANDLE process, const void* base) {
  IMAGE_DOS_HEADER dos{};
  IMAGE_NT_HEADERS headers{};
  const char* const start = static_cast<const char*>(base);
  SIZE_T got = 0;
  if (!ReadProcessMemory(process, start, &dos, sizeof dos, &got) ||
      dos.e_magic != IMAGE_DOS_SIGNATURE ||
      !ReadProcessMemory(process, start + dos.e_lfanew, &headers, sizeof headers, &got)) {
    return std::nullopt;
  }
  return headers;
}

std::optional<IMAGE_NT_HEADERS> ourUser32() {
  return headersOf(GetCurrentProcess(), GetModuleHandleW(L"user32.dll"));
}

std::uintptr_t sizeOfUser32() {
  const auto ours = ourUser32();
  return ours ? ours->OptionalHeader.SizeOfImage : 0;
}

/// True when the library loaded at `base` is the same file as our user32.
bool isUser32(HANDLE process, const void* base) {
  const auto theirs = headersOf(process, base);
  const auto ours = ourUser32();
  if (!theirs || !ours) return false;
  const IMAGE_OPTIONAL_HEADER& one = theirs->OptionalHeader;
  const IMAGE_OPTIONAL_HEADER& other = ours->OptionalHeader;
  return theirs->FileHeader.TimeDateStamp == ours->FileHeader.TimeDateStamp &&
         one.SizeOfImage == other.SizeOfImage && one.CheckSum == other.CheckSum &&
         one.AddressOfEntryPoint == other.AddressOfEntryPoint &&
         one.DataDirectory[IMAGE_DIRECTORY_ENTRY_EXPORT].Size ==
             other.DataDirectory[IMAGE_DIRECTORY_ENTRY_EXPORT].Size;
}

}  // namespace

void BoxCallRecorder::work(DWORD waitMs) {
  DEBUG_EVENT event{};
  while (WaitForDebugEvent(&event, waitMs)) {
    DWORD answer = DBG_CONTINUE;
    switch (event.dwDebugEventCode) {
      case CREATE_PROCESS_DEBUG_EVENT:
        process_ = event.u.CreateProcessInfo.hProcess;
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
        onLibrary(event.u.LoadDll);
        if (event.u.LoadDll.hFile) CloseHandle(event.u.LoadDll.hFile);
        break;
      case EXCEPTION_DEBUG_EVENT:
        answer = onException(event);
        break;
      default:
        break;
    }
    ContinueDebugEvent(event.dwProcessId, event.dwThreadId, answer);
    if (event.dwDebugEventCode == EXIT_PROCESS_DEBUG_EVENT) return;
    waitMs = 0;
  }
}

void BoxCallRecorder::onLibrary(const LOAD_DLL_DEBUG_INFO& library) {
  if (!isUser32(process_, library.lpBaseOfDll)) return;
  user32_ = reinterpret_cast<std::uintptr_t>(library.lpBaseOfDll);
  user32Size_ = sizeOfUser32();
  breakpoints_[user32_ + offsetInUser32("MessageBoxA")] = {false, 0};
  breakpoints_[user32_ + offsetInUser32("MessageBoxW")] = {true, 0};
  for (const auto& entry : breakpoints_) plant(entry.first);
}

void BoxCallRecorder::plant(std::uintptr_t address) {
  SIZE_T moved = 0;
  void* const place = reinterpret_cast<void*>(address);
  unsigned char now = 0;
  ReadProcessMemory(process_, place, &now, 1, &moved);
  if (now != kBreak) breakpoints_[address].original = now;
  WriteProcessMemory(process_, place, &kBreak, 1, &moved);
  FlushInstructionCache(process_, place, 1);
}

void BoxCallRecorder::lift(std::uintptr_t address) {
  SIZE_T moved = 0;
  void* const place = reinterpret_cast<void*>(address);
  WriteProcessMemory(process_, place, &breakpoints_[address].original, 1, &moved);
  FlushInstructionCache(process_, place, 1);
}

DWORD BoxCallRecorder::onException(const DEBUG_EVENT& event) {
  const EXCEPTION_RECORD& record = event.u.Exception.ExceptionRecord;
  const auto thread = threads_.find(event.dwThreadId);
  if (thread == threads_.end()) return DBG_EXCEPTION_NOT_HANDLED;

  if (record.ExceptionCode == EXCEPTION_SINGLE_STEP) {
    const auto stepped = stepping_.find(event.dwThreadId);
    if (stepped == stepping_.end()) return DBG_EXCEPTION_NOT_HANDLED;
    plant(stepped->second);
    stepping_.erase(stepped);
    return DBG_CONTINUE;
  }
  if (record.ExceptionCode != EXCEPTION_BREAKPOINT) return DBG_EXCEPTION_NOT_HANDLED;

  const auto address = reinterpret_cast<std::uintptr_t>(record.ExceptionAddress);
  const auto found = breakpoints_.find(address);
  // The first breakpoint of a debugged process is the system's own.
  if (found == breakpoints_.end()) return DBG_CONTINUE;
  alignas(16) CONTEXT context{};
  context.ContextFlags = CONTEXT_FULL;
  if (!GetThreadContext(thread->second, &context)) return DBG_CONTINUE;
  note(context, found->second.wide);
  // The instruction under the breakpoint runs once, alone, and the breakpoint comes back.
  lift(address);
  context.Rip = address;
  context.EFlags |= kTrapFlag;
  SetThreadContext(thread->second, &context);
  stepping_[event.dwThreadId] = address;
  return DBG_CONTINUE;
}

void BoxCallRecorder::note(const CONTEXT& context, bool wide) {
  // A call that comes from within user32 belongs to a box that was noted already.
  std::uintptr_t caller = 0;
  SIZE_T got = 0;
  ReadProcessMemory(process_, reinterpret_cast<const void*>(context.Rsp), &caller, sizeof caller,
                    &got);
  if (caller >= user32_ && caller < user32_ + user32Size_) return;
  BoxCall call;
  call.wide = wide;
  call.owned = context.Rcx != 0;
  call.text = wide ? toUtf8(readWide(context.Rdx)) : readNarrow(context.Rdx);
  call.caption = wide ? toUtf8(readWide(context.R8)) : readNarrow(context.R8);
  call.style = static_cast<std::uint32_t>(context.R9);
  calls_.push_back(std::move(call));
}

std::wstring BoxCallRecorder::readWide(std::uintptr_t address) const {
  std::wstring text;
  for (wchar_t unit = 0;; address += sizeof unit, text += unit) {
    SIZE_T got = 0;
    if (!ReadProcessMemory(process_, reinterpret_cast<const void*>(address), &unit, sizeof unit,
                           &got) ||
        unit == L'\0') {
      return text;
    }
  }
}

std::string BoxCallRecorder::readNarrow(std::uintptr_t address) const {
  std::string text;
  for (char byte = 0;; ++address, text += byte) {
    SIZE_T got = 0;
    if (!ReadProcessMemory(process_, reinterpret_cast<const void*>(address), &byte, 1, &got) ||
        byte == '\0') {
      return text;
    }
  }
}

}  // namespace stage
