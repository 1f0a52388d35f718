#pragma once

#include "check/finding.h"
#include "core/win_handle.h"

namespace launcher::check {

/// Brushes and fonts.
struct DrawingTraits {
  using Type = HGDIOBJ;
  static Type none() { return nullptr; }
  static void release(Type object) { (void)DeleteObject(object); }
};
using UniqueDrawing = UniqueResource<DrawingTraits>;

/// The window's colours: the system's own, or dark ones when Windows is set to dark programs
/// and to no contrast theme.
struct Theme {
  bool dark = false;
  bool contrast = false;
  COLORREF ground = 0;  ///< behind everything
  COLORREF field = 0;   ///< behind rows
  COLORREF text = 0;
  UniqueDrawing groundBrush = {};
};

/// Reads it anew and makes the window's frame dark or light. Where Windows has no dark frames,
/// everything is light.
[[nodiscard]] Theme dressFrame(HWND window);

/// The colour of a state's word; the plain one where colours say nothing more.
[[nodiscard]] COLORREF stateColor(const Theme& theme, State state);

/// Gives a control Windows' own dark look, where it has one, or its light one.
void dressControl(HWND control, const Theme& theme);

struct MessageFont {
  UniqueDrawing font = {};
  int lineHeight = 0;  ///< in pixels, roomy
};

/// Windows' font for messages at this resolution.
[[nodiscard]] MessageFont messageFont(UINT dpi);

}  // namespace launcher::check
