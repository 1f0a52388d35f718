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

/// Reads it anew.
[[nodiscard]] Theme readTheme();

/// The colour of a state's word; the plain one where colours say nothing more.
[[nodiscard]] COLORREF stateColor(const Theme& theme, State state);

/// Makes the frame of a window dark or light.
void paintFrame(HWND window, const Theme& theme);

/// The same for a control: Windows' own dark look, where it has one.
void paintControl(HWND control, const Theme& theme);

struct MessageFont {
  UniqueDrawing font = {};
  int lineHeight = 0;  ///< in pixels, roomy
};

/// Windows' font for messages at this resolution.
[[nodiscard]] MessageFont messageFont(UINT dpi);

}  // namespace launcher::check
