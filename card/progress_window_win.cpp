#include "core/win_handle.h"

#include "card/progress_window_win.h"

#include <memory>
#include <string_view>
#include <vector>

#include "card/card_layout.h"
#include "card/card_paint.h"
#include "card/theme_win.h"
#include "card/upload_watch.h"
#include "card/window_win.h"

namespace launcher::card {
namespace {

constexpr UINT_PTR kTimer = 1;
constexpr UINT kTickMs = 33;
constexpr ULONGLONG kPollMs = 100;
constexpr ULONGLONG kRoundMs = 1500;
constexpr float kDistanceToEdge = 20;

UploadState readState(const std::u16string& path) {
  const UniqueFile file(CreateFileW(wide(path.c_str()), GENERIC_READ,
                                    FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE,
                                    nullptr, OPEN_EXISTING, FILE_ATTRIBUTE_NORMAL, nullptr));
  if (!file) return UploadState::waiting;
  char bytes[64];
  DWORD count = 0;
  if (ReadFile(file.get(), bytes, sizeof(bytes), &count, nullptr) == FALSE) {
    return UploadState::waiting;
  }
  return readUploadState(std::string_view(bytes, count));
}

class ProgressWindow {
 public:
  explicit ProgressWindow(const std::u16string& statePath)
      : statePath_(statePath), startMs_(GetTickCount64()), watch_(startMs_) {}

  void run();

 private:
  static LRESULT CALLBACK procedure(HWND window, UINT message, WPARAM wParam, LPARAM lParam);
  LRESULT handle(UINT message, WPARAM wParam, LPARAM lParam);

  bool create();
  void show();
  void tick();
  [[nodiscard]] float phase(ULONGLONG nowMs) const;

  const std::u16string& statePath_;
  ULONGLONG startMs_;
  UploadWatch watch_;
  ULONGLONG polledMs_ = 0;
  UploadState drawn_ = UploadState::waiting;
  HWND window_ = nullptr;
  std::vector<HWND> texts_;
  Palette palette_;
  CardLayout layout_;
  std::unique_ptr<Fonts> fonts_;
  std::unique_ptr<Surface> surface_;
};

void ProgressWindow::run() {
  registerCardClass(kProgressClass, procedure);
  if (!create()) return;
  ShowWindow(window_, SW_SHOWNOACTIVATE);
  SetTimer(window_, kTimer, kTickMs, nullptr);
  MSG message{};
  while (GetMessageW(&message, nullptr, 0, 0) > 0) {
    TranslateMessage(&message);
    DispatchMessageW(&message);
  }
}

bool ProgressWindow::create() {
  const Box area = workAreaAtMouse();
  window_ = CreateWindowExW(WS_EX_TOPMOST | WS_EX_NOACTIVATE | WS_EX_TOOLWINDOW, kProgressClass,
                            L"", WS_POPUP | WS_CLIPCHILDREN, area.right - 1, area.bottom - 1, 1,
                            1, nullptr, nullptr, GetModuleHandleW(nullptr), this);
  if (window_ == nullptr) return false;
  roundCorners(window_);
  show();
  return true;
}

// Lays out, draws and places the card for what is known now.
void ProgressWindow::show() {
  drawn_ = watch_.shown();
  const ProgressContent content = describeProgress(drawn_);
  const float scale = windowScale(window_);
  fonts_ = std::make_unique<Fonts>(scale);
  layout_ = layOutProgress(content, scale, *fonts_);
  palette_ = readPalette(content.kind);
  surface_ = std::make_unique<Surface>(layout_.width, layout_.height);
  Canvas canvas = surface_->canvas();
  paintProgress(canvas, layout_, palette_);
  paintProgressRail(canvas, layout_, palette_, phase(GetTickCount64()));
  drawTexts(*surface_, layout_.pieces, *fonts_, palette_);

  SetWindowTextW(window_, wide(content.windowTitle.c_str()));
  placeTexts(window_, layout_.pieces, texts_);
  const Box area = workArea(window_);
  const int distance = static_cast<int>(kDistanceToEdge * scale);
  SetWindowPos(window_, HWND_TOPMOST, area.right - layout_.width - distance,
               area.bottom - layout_.height - distance, layout_.width, layout_.height,
               SWP_NOACTIVATE);
  RedrawWindow(window_, nullptr, nullptr, RDW_INVALIDATE | RDW_ALLCHILDREN);
}

// Slow at the ends of its way, quick in the middle; full after the end.
float ProgressWindow::phase(ULONGLONG nowMs) const {
  if (watch_.shown() != UploadState::uploading) return -1;
  const float share =
      static_cast<float>((nowMs - startMs_) % kRoundMs) / static_cast<float>(kRoundMs);
  return share * share * (3 - 2 * share);
}

void ProgressWindow::tick() {
  const ULONGLONG nowMs = GetTickCount64();
  if (nowMs - polledMs_ >= kPollMs) {
    polledMs_ = nowMs;
    watch_.update(nowMs, readState(statePath_));
  }
  if (watch_.isOver(nowMs)) {
    DestroyWindow(window_);
    return;
  }
  if (watch_.shown() != drawn_) {
    show();
    return;
  }
  if (drawn_ != UploadState::uploading) return;
  Canvas canvas = surface_->canvas();
  paintProgressRail(canvas, layout_, palette_, phase(nowMs));
  const Box& rail = layout_.timeRail;
  const RECT area{rail.left, rail.top, rail.right, rail.bottom};
  InvalidateRect(window_, &area, FALSE);
}

LRESULT ProgressWindow::handle(UINT message, WPARAM wParam, LPARAM lParam) {
  switch (message) {
    case WM_PAINT: paintFrom(window_, *surface_); return 0;
    case WM_ERASEBKGND: return 1;
    case WM_DRAWITEM: {
      const auto& item = *reinterpret_cast<const DRAWITEMSTRUCT*>(lParam);
      surface_->copyTo(item.hDC, boxInParent(item.hwndItem));
      return TRUE;
    }
    case WM_TIMER: tick(); return 0;
    case WM_MOUSEACTIVATE: return MA_NOACTIVATE;
    case WM_DPICHANGED:
    case WM_SETTINGCHANGE:
    case WM_SYSCOLORCHANGE:
    case WM_THEMECHANGED: show(); return 0;
    case WM_DESTROY:
      window_ = nullptr;
      PostQuitMessage(0);
      return 0;
    default: break;
  }
  return DefWindowProcW(window_, message, wParam, lParam);
}

LRESULT CALLBACK ProgressWindow::procedure(HWND window, UINT message, WPARAM wParam,
                                           LPARAM lParam) {
  auto* self = static_cast<ProgressWindow*>(windowData(window, message, lParam));
  const bool isReady = self != nullptr && self->window_ == window && self->surface_ != nullptr;
  return isReady ? self->handle(message, wParam, lParam)
                 : DefWindowProcW(window, message, wParam, lParam);
}

}  // namespace

void showProgress(const std::u16string& statePath) {
  if (statePath.empty()) return;
  ProgressWindow(statePath).run();
}

}  // namespace launcher::card
