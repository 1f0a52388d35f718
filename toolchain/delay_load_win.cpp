// What the toolchain's delay-loading thunks call at the first use of a DLL's function.
// The DLL comes from Windows' system folder alone, so that nothing planted beside the
// launcher is loaded in its place.
#include "core/win_handle.h"

#include <delayimp.h>

extern "C" const IMAGE_DOS_HEADER __ImageBase;

namespace {

/// What lies `rva` bytes into this program.
template <typename T>
T* at(DWORD rva) {
  return reinterpret_cast<T*>(reinterpret_cast<ULONG_PTR>(&__ImageBase) + rva);
}

[[noreturn]] void giveUp(DWORD error) {
  RaiseException(VcppException(ERROR_SEVERITY_ERROR, error), EXCEPTION_NONCONTINUABLE, 0,
                 nullptr);
  TerminateProcess(GetCurrentProcess(), error);
  for (;;) {
  }
}

/// Only one thread at a time makes a page writable and read-only again.
SRWLOCK storing = SRWLOCK_INIT;

/// Stores a value that this program's linker may have put on a read-only page: GNU ld does
/// since binutils 2.44, and lld does.
template <typename T>
void store(T* slot, T value) {
  DWORD found = 0;
  AcquireSRWLockExclusive(&storing);
  if (VirtualProtect(slot, sizeof *slot, PAGE_READWRITE, &found) == FALSE) {
    giveUp(GetLastError());
  }
  *slot = value;
  (void)VirtualProtect(slot, sizeof *slot, found, &found);
  ReleaseSRWLockExclusive(&storing);
}

HMODULE loadedModule(const ImgDelayDescr& descriptor) {
  HMODULE* const known = at<HMODULE>(descriptor.rvaHmod);
  if (*known != nullptr) return *known;
  const HMODULE module = LoadLibraryExA(at<const char>(descriptor.rvaDLLName), nullptr,
                                        LOAD_LIBRARY_SEARCH_SYSTEM32);
  if (module == nullptr) giveUp(ERROR_MOD_NOT_FOUND);
  store(known, module);
  return module;
}

}  // namespace

extern "C" FARPROC WINAPI __delayLoadHelper2(PCImgDelayDescr descriptor, FARPROC* slot) {
  const HMODULE module = loadedModule(*descriptor);
  const auto index = slot - at<FARPROC>(descriptor->rvaIAT);
  const ULONG_PTR name = at<const IMAGE_THUNK_DATA>(descriptor->rvaINT)[index].u1.AddressOfData;
  const FARPROC function =
      GetProcAddress(module, at<const IMAGE_IMPORT_BY_NAME>(static_cast<DWORD>(name))->Name);
  if (function == nullptr) giveUp(ERROR_PROC_NOT_FOUND);
  store(slot, function);
  return function;
}
