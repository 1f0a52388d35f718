#include "rehearsal/stage/icon_picture.h"

#include <cstdlib>

namespace stage {

namespace {

constexpr double kAlike = 12.0;  // mean difference of the colour values, 0 to 255
constexpr int kFirstCode = 41;   // unlike the exit codes of programs that fail

struct StockIcon {
  const wchar_t* resource;
  const char* name;
};

const StockIcon kStockIcons[] = {{IDI_ERROR, "error"},
                                 {IDI_INFORMATION, "information"},
                                 {IDI_WARNING, "warning"},
                                 {IDI_QUESTION, "question"}};

/// A picture of icon size, for comparing.
class Picture {
 public:
  Picture(int width, int height) : width_(width), height_(height) {
    BITMAPINFO info{};
    info.bmiHeader.biSize = sizeof info.bmiHeader;
    info.bmiHeader.biWidth = width;
    info.bmiHeader.biHeight = -height;
    info.bmiHeader.biPlanes = 1;
    info.bmiHeader.biBitCount = 32;
    info.bmiHeader.biCompression = BI_RGB;
    void* bits = nullptr;
    dc_ = CreateCompatibleDC(nullptr);
    bitmap_ = CreateDIBSection(dc_, &info, DIB_RGB_COLORS, &bits, nullptr, 0);
    bits_ = static_cast<const unsigned char*>(bits);
    before_ = SelectObject(dc_, bitmap_);
  }
  ~Picture() {
    SelectObject(dc_, before_);
    DeleteObject(bitmap_);
    DeleteDC(dc_);
  }
  Picture(const Picture&) = delete;
  Picture& operator=(const Picture&) = delete;

  void paint(HICON icon, COLORREF background) const {
    const RECT all{0, 0, width_, height_};
    const HBRUSH brush = CreateSolidBrush(background);
    FillRect(dc_, &all, brush);
    DeleteObject(brush);
    DrawIconEx(dc_, 0, 0, icon, width_, height_, 0, nullptr, DI_NORMAL);
    GdiFlush();
  }

  void copyFromScreen(int left, int top) const {
    const HDC screen = GetDC(nullptr);
    BitBlt(dc_, 0, 0, width_, height_, screen, left, top, SRCCOPY);
    ReleaseDC(nullptr, screen);
    GdiFlush();
  }

  /// Mean difference of two pictures' colour values, 0 to 255.
  [[nodiscard]] double distanceTo(const Picture& other) const {
    const std::size_t count = static_cast<std::size_t>(width_) * static_cast<std::size_t>(height_);
    double sum = 0;
    for (std::size_t i = 0; i < count; ++i) {
      for (std::size_t channel = 0; channel < 3; ++channel) {
        sum += std::abs(bits_[i * 4 + channel] - other.bits_[i * 4 + channel]);
      }
    }
    return sum / (static_cast<double>(count) * 3);
  }

 private:
  int width_;
  int height_;
  HDC dc_;
  HBITMAP bitmap_;
  HGDIOBJ before_;
  const unsigned char* bits_ = nullptr;
};

}  // namespace

int stockIconOnScreen(HWND window) {
  RECT place{};
  GetWindowRect(window, &place);
  const int width = place.right - place.left;
  const int height = place.bottom - place.top;
  if (width <= 0 || height <= 0) return 0;
  const Picture seen(width, height);
  seen.copyFromScreen(place.left, place.top);
  int best = 0;
  double bestDistance = kAlike;
  for (int i = 0; i < static_cast<int>(std::size(kStockIcons)); ++i) {
    for (const int background : {COLOR_3DFACE, COLOR_WINDOW}) {
      const Picture stock(width, height);
      stock.paint(LoadIconW(nullptr, kStockIcons[i].resource), GetSysColor(background));
      const double distance = stock.distanceTo(seen);
      if (distance < bestDistance) {
        bestDistance = distance;
        best = kFirstCode + i;
      }
    }
  }
  return best;
}

std::optional<std::string> stockIconOf(long code) {
  const long index = code - kFirstCode;
  if (index < 0 || index >= static_cast<long>(std::size(kStockIcons))) return std::nullopt;
  return kStockIcons[index].name;
}

}  // namespace stage
