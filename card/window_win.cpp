#include "card/window_win.h"

#include <cstddef>

#include "card/card_paint.h"

namespace launcher::card {
namespace {

Box workAreaOf(HMONITOR monitor) {
  MONITORINFO info{};
  info.cbSize = sizeof(info);
  if (GetMonitorInfoW(monitor, &info) == FALSE) return {0, 0, 1024, 768};
  return {info.rcWork.left, info.rcWork.top, info.rcWork.right, info.rcWork.bottom};
}

}  // namespace

void registerCardClass(const wchar_t* name, WNDPROC procedure) {
  WNDCLASSEXW windowClass{};
  windowClass.cbSize = sizeof(windowClass);
  windowClass.style = CS_DROPSHADOW;
  windowClass.lpfnWndProc = procedure;
  windowClass.hInstance = GetModuleHandleW(nullptr);
  windowClass.hIcon = LoadIconW(GetModuleHandleW(nullptr), MAKEINTRESOURCEW(1));
  windowClass.hCursor = LoadCursorW(nullptr, IDC_ARROW);
  windowClass.lpszClassName = name;
  RegisterClassExW(&windowClass);
}

void* windowData(HWND window, UINT message, LPARAM lParam) {
  if (message == WM_NCCREATE) {
    const auto* created = reinterpret_cast<const CREATESTRUCTW*>(lParam);
    SetWindowLongPtrW(window, GWLP_USERDATA,
                      reinterpret_cast<LONG_PTR>(created->lpCreateParams));
    return nullptr;
  }
  return reinterpret_cast<void*>(GetWindowLongPtrW(window, GWLP_USERDATA));
}

Box workArea(HWND window) {
  return workAreaOf(MonitorFromWindow(window, MONITOR_DEFAULTTONEAREST));
}

Box workAreaAtMouse() {
  POINT mouse{};
  GetCursorPos(&mouse);
  return workAreaOf(MonitorFromPoint(mouse, MONITOR_DEFAULTTOPRIMARY));
}

float windowScale(HWND window) {
  const UINT dpi = GetDpiForWindow(window);
  return dpi == 0 ? 1.0F : static_cast<float>(dpi) / 96;
}

void roundCorners(HWND window) {
  // DWMWA_WINDOW_CORNER_PREFERENCE and DWMWCP_ROUND; older systems refuse.
  constexpr DWORD kCornerPreference = 33;
  constexpr DWORD kRound = 2;
  // Not imported: a file of this name is part of the race mod, and a player may have unpacked
  // that beside the card.
  using SetAttribute = HRESULT(WINAPI*)(HWND, DWORD, LPCVOID, DWORD);
  const HMODULE manager = LoadLibraryExW(L"dwmapi.dll", nullptr, LOAD_LIBRARY_SEARCH_SYSTEM32);
  if (manager == nullptr) return;
  const auto setAttribute = reinterpret_cast<SetAttribute>(
      reinterpret_cast<void*>(GetProcAddress(manager, "DwmSetWindowAttribute")));
  if (setAttribute != nullptr) {
    (void)setAttribute(window, kCornerPreference, &kRound, sizeof(kRound));
  }
}

void placeTexts(HWND parent, const std::vector<Piece>& pieces, std::vector<HWND>& controls) {
  while (controls.size() > pieces.size()) {
    DestroyWindow(controls.back());
    controls.pop_back();
  }
  for (std::size_t index = 0; index < pieces.size(); ++index) {
    const Piece& piece = pieces[index];
    if (index == controls.size()) {
      controls.push_back(CreateWindowExW(0, L"STATIC", nullptr,
                                         WS_CHILD | WS_VISIBLE | SS_OWNERDRAW | SS_NOPREFIX, 0, 0,
                                         0, 0, parent, nullptr, GetModuleHandleW(nullptr),
                                         nullptr));
    }
    SetWindowTextW(controls[index], wide(piece.text.c_str()));
    SetWindowPos(controls[index], nullptr, piece.box.left, piece.box.top, piece.box.width(),
                 piece.box.height(), SWP_NOZORDER | SWP_NOACTIVATE);
  }
}

void drawTexts(Surface& surface, const std::vector<Piece>& pieces, const Fonts& fonts,
               const Palette& palette) {
  for (const Piece& piece : pieces) {
    if (piece.look != Piece::Look::text) continue;
    fonts.draw(surface.context(), piece, inkColor(palette, piece.ink));
  }
}

void paintFrom(HWND window, const Surface& surface) {
  PAINTSTRUCT paint{};
  HDC target = BeginPaint(window, &paint);
  const RECT& part = paint.rcPaint;
  BitBlt(target, part.left, part.top, part.right - part.left, part.bottom - part.top,
         surface.context(), part.left, part.top, SRCCOPY);
  EndPaint(window, &paint);
}

Box boxInParent(HWND control) {
  RECT area{};
  GetWindowRect(control, &area);
  MapWindowPoints(nullptr, GetParent(control), reinterpret_cast<POINT*>(&area), 2);
  return {area.left, area.top, area.right, area.bottom};
}

}  // namespace launcher::card
