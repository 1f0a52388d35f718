#pragma once

#include <windows.h>

#include "card/canvas.h"

namespace launcher::card {

/// A picture in memory that both the card's own drawing and GDI write to.
class Surface {
 public:
  /// An empty picture; `context()` is null when the system had no room for it.
  Surface(int width, int height);
  ~Surface();
  Surface(const Surface&) = delete;
  Surface& operator=(const Surface&) = delete;

  [[nodiscard]] HDC context() const { return context_; }
  [[nodiscard]] bool isUsable() const { return pixels_ != nullptr; }
  [[nodiscard]] int width() const { return width_; }
  [[nodiscard]] int height() const { return height_; }
  /// For the card's own drawing, after what GDI still has to do is done.
  [[nodiscard]] Canvas canvas() const;
  /// Copies the part of this picture at `from` to the origin of `target`.
  void copyTo(HDC target, const Box& from) const;

 private:
  int width_;
  int height_;
  HDC context_ = nullptr;
  HBITMAP bitmap_ = nullptr;
  HGDIOBJ previous_ = nullptr;
  std::uint32_t* pixels_ = nullptr;
};

/// A colour as GDI wants it.
[[nodiscard]] inline COLORREF colorRef(Color color) {
  return RGB(color.red, color.green, color.blue);
}

}  // namespace launcher::card
