// What the stack protector and the checked copies (_FORTIFY_SOURCE) call. The toolchain's own
// library asks a cryptographic provider for the guard value at every start, which loads
// further DLLs; here it is made of what differs from start to start, as the Windows
// compiler's own runtime does it.
#include "core/win_handle.h"

// The attributes are written as GCC and clang 14 both know them.
extern "C" {

ULONG_PTR __stack_chk_guard = 0;

/// A buffer was overrun: nothing of this process can be trusted any more. A fail-fast lets no
/// handler of the process run, and Windows keeps a report of it.
__attribute__((noreturn)) void __stack_chk_fail() {
  __asm__ volatile("int $0x29" : : "c"(FAST_FAIL_STACK_COOKIE_CHECK_FAILURE));
  TerminateProcess(GetCurrentProcess(), static_cast<UINT>(STATUS_STACK_BUFFER_OVERRUN));
  for (;;) {
  }
}

/// A checked copy would overrun its buffer; called before it does.
__attribute__((noreturn)) void __chk_fail() { __stack_chk_fail(); }

}  // extern "C"

namespace {

// Runs before every other initializer, and must not be guarded by what it sets up.
__attribute__((constructor(101), no_stack_protector)) void chooseGuard() {
  FILETIME time = {};
  GetSystemTimeAsFileTime(&time);
  LARGE_INTEGER counter = {};
  (void)QueryPerformanceCounter(&counter);
  ULONG_PTR value = (static_cast<ULONG_PTR>(time.dwHighDateTime) << 32) ^ time.dwLowDateTime;
  value ^= static_cast<ULONG_PTR>(counter.QuadPart) * 0x9E3779B97F4A7C15u;
  value ^= static_cast<ULONG_PTR>(GetCurrentProcessId()) << 16;
  value ^= reinterpret_cast<ULONG_PTR>(&time);  // placed by address space randomization
  __stack_chk_guard = value & ~static_cast<ULONG_PTR>(0xFF);  // a NUL stops text overruns
}

}  // namespace
