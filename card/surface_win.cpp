#include "card/surface_win.h"

namespace launcher::card {

Surface::Surface(int width, int height) : width_(width), height_(height) {
  BITMAPINFO info{};
  info.bmiHeader.biSize = sizeof(info.bmiHeader);
  info.bmiHeader.biWidth = width;
  info.bmiHeader.biHeight = -height;  // rows from top to bottom
  info.bmiHeader.biPlanes = 1;
  info.bmiHeader.biBitCount = 32;
  info.bmiHeader.biCompression = BI_RGB;
  void* bits = nullptr;
  context_ = CreateCompatibleDC(nullptr);
  bitmap_ = CreateDIBSection(context_, &info, DIB_RGB_COLORS, &bits, nullptr, 0);
  if (bitmap_ == nullptr) return;
  previous_ = SelectObject(context_, bitmap_);
  pixels_ = static_cast<std::uint32_t*>(bits);
}

Surface::~Surface() {
  if (previous_ != nullptr) SelectObject(context_, previous_);
  if (bitmap_ != nullptr) DeleteObject(bitmap_);
  if (context_ != nullptr) DeleteDC(context_);
}

Canvas Surface::canvas() const {
  GdiFlush();
  return pixels_ == nullptr ? Canvas(nullptr, 0, 0) : Canvas(pixels_, width_, height_);
}

void Surface::copyTo(HDC target, const Box& from) const {
  BitBlt(target, 0, 0, from.width(), from.height(), context_, from.left, from.top, SRCCOPY);
}

}  // namespace launcher::card
