#include "card/clipboard_win.h"

#include <cstddef>
#include <cstring>

namespace launcher::card {
namespace {

// Clipboard viewers hold it for a moment after every change.
bool openClipboard(HWND owner) {
  constexpr int kTries = 5;
  constexpr DWORD kPauseMs = 20;
  for (int attempt = 0; attempt < kTries; ++attempt) {
    if (attempt > 0) Sleep(kPauseMs);
    if (OpenClipboard(owner) != FALSE) return true;
  }
  return false;
}

HGLOBAL copyOf(const std::u16string& text) {
  const std::size_t bytes = (text.size() + 1) * sizeof(char16_t);
  HGLOBAL memory = GlobalAlloc(GMEM_MOVEABLE, bytes);
  if (memory == nullptr) return nullptr;
  std::memcpy(GlobalLock(memory), text.c_str(), bytes);
  GlobalUnlock(memory);
  return memory;
}

}  // namespace

bool copyToClipboard(HWND owner, const std::u16string& text) {
  if (!openClipboard(owner)) return false;
  EmptyClipboard();
  HGLOBAL memory = copyOf(text);
  // From here on the memory is the clipboard's, unless it refuses.
  const bool isTaken = memory != nullptr && SetClipboardData(CF_UNICODETEXT, memory) != nullptr;
  if (!isTaken && memory != nullptr) GlobalFree(memory);
  CloseClipboard();
  return isTaken;
}

}  // namespace launcher::card
