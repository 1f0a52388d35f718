#include "rehearsal/scenes/card_player.h"

#include <windows.h>

#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "rehearsal/stage/files.h"

namespace rehearsal {

namespace {

constexpr wchar_t kCardClass[] = L"KovResultCard";
constexpr unsigned kPlayerLooksMs = 800;
constexpr unsigned kPollMs = 20;

template <class Record>
void appendBytes(std::string& bytes, const Record& record) {
  bytes.append(reinterpret_cast<const char*>(&record), sizeof record);
}

/// A .bmp file of a part of the screen, 32 bits a pixel.
std::string screenPicture(const RECT& part) {
  const int width = part.right - part.left;
  const int height = part.bottom - part.top;
  BITMAPINFOHEADER format{};
  format.biSize = sizeof format;
  format.biWidth = width;
  format.biHeight = height;
  format.biPlanes = 1;
  format.biBitCount = 32;
  const auto pixelBytes = static_cast<DWORD>(width * height * 4);

  void* pixels = nullptr;
  const HDC screen = GetDC(nullptr);
  const HDC memory = CreateCompatibleDC(screen);
  const HBITMAP bitmap = CreateDIBSection(memory, reinterpret_cast<const BITMAPINFO*>(&format),
                                          DIB_RGB_COLORS, &pixels, nullptr, 0);
  const HGDIOBJ before = SelectObject(memory, bitmap);
  BitBlt(memory, 0, 0, width, height, screen, part.left, part.top, SRCCOPY);
  GdiFlush();

  BITMAPFILEHEADER file{};
  file.bfType = 0x4D42;  // "BM"
  file.bfOffBits = sizeof file + sizeof format;
  file.bfSize = file.bfOffBits + pixelBytes;
  std::string bytes;
  appendBytes(bytes, file);
  appendBytes(bytes, format);
  if (pixels != nullptr) bytes.append(static_cast<const char*>(pixels), pixelBytes);

  SelectObject(memory, before);
  DeleteObject(bitmap);
  DeleteDC(memory);
  ReleaseDC(nullptr, screen);
  return bytes;
}

void pressEnter(HWND card) {
  GUITHREADINFO thread{};
  thread.cbSize = sizeof thread;
  const DWORD id = GetWindowThreadProcessId(card, nullptr);
  const bool known = GetGUIThreadInfo(id, &thread) && thread.hwndFocus != nullptr;
  PostMessageW(known ? thread.hwndFocus : card, WM_KEYDOWN, VK_RETURN, 1);
}

}  // namespace

CardPlayer::CardPlayer(std::filesystem::path picture)
    : picture_(std::move(picture)), thread_([this] { watch(); }) {}

CardPlayer::~CardPlayer() {
  done_ = true;
  thread_.join();
}

void CardPlayer::watch() const {
  HWND seen = nullptr;
  ULONGLONG since = 0;
  for (; !done_; Sleep(kPollMs)) {
    const HWND card = FindWindowW(kCardClass, nullptr);
    if (card == nullptr || !IsWindowVisible(card)) continue;
    if (card != seen) {
      seen = card;
      since = GetTickCount64();
    }
    if (GetTickCount64() - since < kPlayerLooksMs) continue;
    RECT place{};
    if (GetWindowRect(card, &place)) stage::writeFile(picture_, screenPicture(place));
    pressEnter(card);
    Sleep(kPlayerLooksMs);
  }
}

}  // namespace rehearsal
