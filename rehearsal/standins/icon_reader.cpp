// icon_reader.exe: tells by its exit code which stock icon a window shows on the screen. The
// window's number is the only argument. Used by the message box watcher.

#include "rehearsal/stage/icon_picture.h"

#include <cstdint>
#include <cwchar>

int wmain(int count, wchar_t** arguments) {
  if (count < 2) return 0;
  const unsigned long long number = wcstoull(arguments[1], nullptr, 10);
  return stage::stockIconOnScreen(reinterpret_cast<HWND>(static_cast<std::uintptr_t>(number)));
}
