#pragma once

#include <windows.h>

#include <vector>

#include "card/card_layout.h"
#include "card/fonts_win.h"
#include "card/palette.h"
#include "card/surface_win.h"

namespace launcher::card {

/// Class names of the two cards' windows.
inline constexpr wchar_t kResultClass[] = L"KovResultCard";
inline constexpr wchar_t kProgressClass[] = L"KovProgressCard";

/// Registers a window class whose windows draw all of themselves.
void registerCardClass(const wchar_t* name, WNDPROC procedure);

/// The pointer given to CreateWindowEx, stored at WM_NCCREATE and handed out
/// again at every later message; null before.
[[nodiscard]] void* windowData(HWND window, UINT message, LPARAM lParam);

/// The desktop without its task bar, on the monitor where `window` is.
[[nodiscard]] Box workArea(HWND window);
/// The same for the monitor that the mouse is on.
[[nodiscard]] Box workAreaAtMouse();

/// The monitor's dpi as a scale: 1 at 96 dpi.
[[nodiscard]] float windowScale(HWND window);

/// Rounds the window's corners where Windows can (from 11 on).
void roundCorners(HWND window);

/// Keeps one static control for each piece, with its text and at its place, so
/// that screen readers find the texts. They are drawn by their parent.
void placeTexts(HWND parent, const std::vector<Piece>& pieces, std::vector<HWND>& controls);

/// Writes the pieces' texts into the picture.
void drawTexts(Surface& surface, const std::vector<Piece>& pieces, const Fonts& fonts,
               const Palette& palette);

/// Answers WM_PAINT with a part of the picture.
void paintFrom(HWND window, const Surface& surface);

/// Where a control lies in its parent.
[[nodiscard]] Box boxInParent(HWND control);

}  // namespace launcher::card
