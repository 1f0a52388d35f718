#include "card/result_window_win.h"

#include <windows.h>

#include <algorithm>
#include <memory>
#include <string>
#include <vector>

#include "card/card_layout.h"
#include "card/card_paint.h"
#include "card/clipboard_win.h"
#include "card/theme_win.h"
#include "card/window_win.h"

namespace launcher::card {
namespace {

constexpr UINT_PTR kTimer = 1;
constexpr UINT kTickMs = 50;
constexpr int kCloseId = IDOK;
constexpr int kCopyId = 100;
// How much of the desktop's height the card may take.
constexpr float kRoom = 0.96F;

class ResultWindow {
 public:
  explicit ResultWindow(const CardContent& content) : content_(content) {}

  void run();

 private:
  static LRESULT CALLBACK procedure(HWND window, UINT message, WPARAM wParam, LPARAM lParam);
  LRESULT handle(UINT message, WPARAM wParam, LPARAM lParam);

  bool create();
  void layOut();
  void render();
  void resize(int left, int top);
  void tick();
  void drawItem(const DRAWITEMSTRUCT& item);
  void drawButton(const DRAWITEMSTRUCT& item);
  void drawCountdown(const DRAWITEMSTRUCT& item);
  void command(int id);
  void setHot(HWND control);
  [[nodiscard]] bool takesKey(const MSG& message);
  [[nodiscard]] ULONGLONG remainingMs() const;

  const CardContent& content_;
  HWND window_ = nullptr;
  HWND close_ = nullptr;
  HWND copy_ = nullptr;
  HWND countdown_ = nullptr;
  HWND hot_ = nullptr;
  std::vector<HWND> texts_;
  Palette palette_;
  CardLayout layout_;
  std::unique_ptr<Fonts> fonts_;
  std::unique_ptr<Surface> surface_;
  ULONGLONG openedMs_ = 0;
  int secondsShown_ = 0;
};

HWND createControl(const wchar_t* type, std::u16string_view text, DWORD style, HWND parent,
                   int id) {
  return CreateWindowExW(0, type, wide(std::u16string(text).c_str()),
                         WS_CHILD | WS_VISIBLE | style, 0, 0, 0, 0, parent,
                         reinterpret_cast<HMENU>(static_cast<INT_PTR>(id)),
                         GetModuleHandleW(nullptr), nullptr);
}

void place(HWND control, const Box& box) {
  SetWindowPos(control, nullptr, box.left, box.top, box.width(), box.height(),
               SWP_NOZORDER | SWP_NOACTIVATE);
}

void ResultWindow::run() {
  registerCardClass(kResultClass, procedure);
  if (!create()) return;
  ShowWindow(window_, SW_SHOWNORMAL);
  SetForegroundWindow(window_);
  SetFocus(close_);
  SetTimer(window_, kTimer, kTickMs, nullptr);
  MSG message{};
  while (GetMessageW(&message, nullptr, 0, 0) > 0) {
    if (takesKey(message)) continue;
    if (window_ != nullptr && IsDialogMessageW(window_, &message) != FALSE) continue;
    TranslateMessage(&message);
    DispatchMessageW(&message);
  }
}

bool ResultWindow::create() {
  const Box area = workAreaAtMouse();
  // Made in the middle of its monitor first: only then its dpi is known.
  window_ = CreateWindowExW(WS_EX_TOPMOST | WS_EX_APPWINDOW, kResultClass,
                            wide(content_.windowTitle.c_str()),
                            WS_POPUP | WS_SYSMENU | WS_CLIPCHILDREN, area.left + area.width() / 2,
                            area.top + area.height() / 2, 1, 1, nullptr, nullptr,
                            GetModuleHandleW(nullptr), this);
  if (window_ == nullptr) return false;
  openedMs_ = GetTickCount64();
  roundCorners(window_);
  layOut();
  placeTexts(window_, layout_.pieces, texts_);
  countdown_ = createControl(L"STATIC", u"", SS_OWNERDRAW | SS_NOPREFIX, window_, 0);
  if (layout_.copyButton.width() > 0) {
    copy_ = createControl(L"BUTTON", kCopyLabel, BS_OWNERDRAW | WS_TABSTOP, window_, kCopyId);
  }
  close_ = createControl(L"BUTTON", kCloseLabel, BS_OWNERDRAW | WS_TABSTOP, window_, kCloseId);
  resize(area.left + (area.width() - layout_.width) / 2,
         area.top + (area.height() - layout_.height) / 2);
  tick();
  return true;
}

// Sizes everything for the monitor's dpi; smaller if the desktop is too low.
void ResultWindow::layOut() {
  const Box area = workArea(window_);
  const int room = static_cast<int>(static_cast<float>(area.height()) * kRoom);
  const float wanted = windowScale(window_);
  float scale = wanted;
  // Line heights are rounded, so a second step may be needed.
  for (int step = 0; step < 3; ++step) {
    fonts_ = std::make_unique<Fonts>(scale);
    layout_ = layOutResult(content_, scale, *fonts_);
    if (layout_.height <= room) break;
    scale = fittingScale(scale, layout_.height, room);
  }
  render();
}

void ResultWindow::render() {
  palette_ = readPalette(content_.kind);
  surface_ = std::make_unique<Surface>(layout_.width, layout_.height);
  Canvas canvas = surface_->canvas();
  paintResult(canvas, layout_, palette_);
  drawTexts(*surface_, layout_.pieces, *fonts_, palette_);
}

void ResultWindow::resize(int left, int top) {
  placeTexts(window_, layout_.pieces, texts_);
  place(countdown_, layout_.countdown);
  if (copy_ != nullptr) place(copy_, layout_.copyButton);
  place(close_, layout_.closeButton);
  SetWindowPos(window_, nullptr, left, top, layout_.width, layout_.height,
               SWP_NOZORDER | SWP_NOACTIVATE);
  secondsShown_ = 0;
  RedrawWindow(window_, nullptr, nullptr, RDW_INVALIDATE | RDW_ALLCHILDREN);
}

ULONGLONG ResultWindow::remainingMs() const {
  const ULONGLONG shown = GetTickCount64() - openedMs_;
  return shown >= kResultShownMs ? 0 : kResultShownMs - shown;
}

void ResultWindow::tick() {
  const ULONGLONG remaining = remainingMs();
  if (remaining == 0) {
    DestroyWindow(window_);
    return;
  }
  Canvas canvas = surface_->canvas();
  paintTimeRail(canvas, layout_.timeRail, palette_,
                static_cast<float>(remaining) / static_cast<float>(kResultShownMs));
  const Box& rail = layout_.timeRail;
  const RECT area{rail.left, rail.top, rail.right, rail.bottom};
  InvalidateRect(window_, &area, FALSE);
  const int seconds = static_cast<int>((remaining + 999) / 1000);
  if (seconds != secondsShown_) {
    secondsShown_ = seconds;
    SetWindowTextW(countdown_, wide(describeCountdown(seconds).c_str()));
    InvalidateRect(countdown_, nullptr, FALSE);
  }
  POINT mouse{};
  if (hot_ != nullptr && GetCursorPos(&mouse) != FALSE && WindowFromPoint(mouse) != hot_) {
    setHot(nullptr);
  }
}

void ResultWindow::setHot(HWND control) {
  if (control != close_ && control != copy_) control = nullptr;
  if (control == hot_) return;
  if (hot_ != nullptr) InvalidateRect(hot_, nullptr, FALSE);
  hot_ = control;
  if (hot_ != nullptr) InvalidateRect(hot_, nullptr, FALSE);
}

void ResultWindow::drawItem(const DRAWITEMSTRUCT& item) {
  if (item.CtlType == ODT_BUTTON) {
    drawButton(item);
  } else if (item.hwndItem == countdown_) {
    drawCountdown(item);
  } else {
    surface_->copyTo(item.hDC, boxInParent(item.hwndItem));
  }
}

void ResultWindow::drawButton(const DRAWITEMSTRUCT& item) {
  const Box outside = boxInParent(item.hwndItem);
  const Box box{0, 0, outside.width(), outside.height()};
  const ButtonLook look{.isMain = item.hwndItem == close_,
                        .isHot = item.hwndItem == hot_,
                        .isDown = (item.itemState & ODS_SELECTED) != 0,
                        .hasFocus = (item.itemState & ODS_FOCUS) != 0};
  Surface surface(box.width(), box.height());
  surface_->copyTo(surface.context(), outside);
  Canvas canvas = surface.canvas();
  paintButton(canvas, box, layout_.scale, palette_, look);
  wchar_t text[32] = {};
  const int length = GetWindowTextW(item.hwndItem, text, 32);
  const std::u16string label(text, text + length);
  fonts_->drawCentered(surface.context(), label, Font::button, box, buttonInk(palette_, look));
  surface.copyTo(item.hDC, box);
}

void ResultWindow::drawCountdown(const DRAWITEMSTRUCT& item) {
  surface_->copyTo(item.hDC, boxInParent(item.hwndItem));
  Piece piece;
  piece.font = Font::label;
  piece.box = {0, 0, layout_.countdown.width(), layout_.countdown.height()};
  piece.lines = {fitLine(describeCountdown(secondsShown_), piece.box.width(),
                         fonts_->measure(Font::label))};
  fonts_->draw(item.hDC, piece, palette_.faintInk);
}

void ResultWindow::command(int id) {
  // IDCANCEL comes from the system menu's and screen readers' "close".
  if (id == kCloseId || id == IDCANCEL) {
    DestroyWindow(window_);
  } else if (id == kCopyId && copyToClipboard(window_, content_.loginCode)) {
    SetWindowTextW(copy_, wide(std::u16string(kCopiedLabel).c_str()));
    InvalidateRect(copy_, nullptr, FALSE);
  }
}

// Enter closes the card from everywhere but the copy button, where it copies.
bool ResultWindow::takesKey(const MSG& message) {
  if (window_ == nullptr || message.message != WM_KEYDOWN) return false;
  if (message.hwnd != window_ && IsChild(window_, message.hwnd) == FALSE) return false;
  if (message.wParam == VK_ESCAPE) {
    DestroyWindow(window_);
    return true;
  }
  if (message.wParam != VK_RETURN) return false;
  command(copy_ != nullptr && GetFocus() == copy_ ? kCopyId : kCloseId);
  return true;
}

LRESULT ResultWindow::handle(UINT message, WPARAM wParam, LPARAM lParam) {
  switch (message) {
    case WM_PAINT: paintFrom(window_, *surface_); return 0;
    case WM_ERASEBKGND: return 1;
    case WM_DRAWITEM: drawItem(*reinterpret_cast<const DRAWITEMSTRUCT*>(lParam)); return TRUE;
    case WM_TIMER: tick(); return 0;
    case WM_COMMAND:
      if (HIWORD(wParam) == BN_CLICKED) command(LOWORD(wParam));
      return 0;
    case WM_SETCURSOR: setHot(reinterpret_cast<HWND>(wParam)); break;
    case WM_SETFOCUS: SetFocus(close_); return 0;
    // The card is moved by taking it anywhere.
    case WM_NCHITTEST: return HTCAPTION;
    case WM_DPICHANGED: {
      const auto& suggested = *reinterpret_cast<const RECT*>(lParam);
      layOut();
      resize(suggested.left, suggested.top);
      return 0;
    }
    case WM_SETTINGCHANGE:
    case WM_SYSCOLORCHANGE:
    case WM_THEMECHANGED:
      render();
      RedrawWindow(window_, nullptr, nullptr, RDW_INVALIDATE | RDW_ALLCHILDREN);
      break;
    case WM_DESTROY:
      window_ = nullptr;
      PostQuitMessage(0);
      return 0;
    default: break;
  }
  return DefWindowProcW(window_, message, wParam, lParam);
}

LRESULT CALLBACK ResultWindow::procedure(HWND window, UINT message, WPARAM wParam,
                                         LPARAM lParam) {
  auto* self = static_cast<ResultWindow*>(windowData(window, message, lParam));
  // While the window is being made, or already unmade, Windows does it all.
  const bool isReady = self != nullptr && self->window_ == window && self->close_ != nullptr;
  return isReady ? self->handle(message, wParam, lParam)
                 : DefWindowProcW(window, message, wParam, lParam);
}

}  // namespace

void showResult(const CardContent& content) { ResultWindow(content).run(); }

}  // namespace launcher::card
