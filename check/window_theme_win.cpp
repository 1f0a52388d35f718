#include "check/window_theme_win.h"

#include <dwmapi.h>
#include <uxtheme.h>

namespace launcher::check {
namespace {

bool isContrast() {
  HIGHCONTRASTW contrast = {};
  contrast.cbSize = sizeof(contrast);
  return SystemParametersInfoW(SPI_GETHIGHCONTRAST, sizeof(contrast), &contrast, 0) &&
         (contrast.dwFlags & HCF_HIGHCONTRASTON) != 0;
}

/// Light where nothing is set: so is every Windows that has no dark programs.
bool isDark() {
  HKEY opened = nullptr;
  if (RegOpenKeyExW(HKEY_CURRENT_USER,
                    L"Software\\Microsoft\\Windows\\CurrentVersion\\Themes\\Personalize", 0,
                    KEY_READ, &opened) != ERROR_SUCCESS) {
    return false;
  }
  const UniqueRegistryKey key(opened);
  DWORD light = 1;
  DWORD bytes = sizeof(light);
  (void)RegQueryValueExW(key.get(), L"AppsUseLightTheme", nullptr, nullptr,
                         reinterpret_cast<BYTE*>(&light), &bytes);
  return light == 0;
}

/// False when Windows does not know of dark frames.
bool setFrame(HWND window, bool dark) {
  constexpr DWORD kDarkFrame = 20;  // DWMWA_USE_IMMERSIVE_DARK_MODE
  const BOOL value = dark ? TRUE : FALSE;
  return SUCCEEDED(DwmSetWindowAttribute(window, kDarkFrame, &value, sizeof(value)));
}

}  // namespace

Theme dressFrame(HWND window) {
  Theme theme;
  theme.contrast = isContrast();
  theme.dark = !theme.contrast && isDark();
  theme.dark = setFrame(window, theme.dark) && theme.dark;
  theme.ground = theme.dark ? RGB(32, 32, 32) : GetSysColor(COLOR_BTNFACE);
  theme.field = theme.dark ? RGB(25, 25, 25) : GetSysColor(COLOR_WINDOW);
  theme.text = theme.dark ? RGB(240, 240, 240) : GetSysColor(COLOR_WINDOWTEXT);
  theme.groundBrush = UniqueDrawing(CreateSolidBrush(theme.ground));
  return theme;
}

COLORREF stateColor(const Theme& theme, State state) {
  if (theme.contrast) return theme.text;
  switch (state) {
    case State::bad: return theme.dark ? RGB(255, 120, 110) : RGB(190, 20, 20);
    case State::worthKnowing: return theme.dark ? RGB(250, 200, 90) : RGB(140, 85, 0);
    case State::good: return theme.dark ? RGB(120, 210, 130) : RGB(15, 110, 35);
    default: return theme.text;
  }
}

void dressControl(HWND control, const Theme& theme) {
  (void)SetWindowTheme(control, theme.dark ? L"DarkMode_Explorer" : L"Explorer", nullptr);
}

MessageFont messageFont(UINT dpi) {
  NONCLIENTMETRICSW metrics = {};
  metrics.cbSize = sizeof(metrics);
  (void)SystemParametersInfoForDpi(SPI_GETNONCLIENTMETRICS, sizeof(metrics), &metrics, 0, dpi);
  // The height of the letters alone is a negative number.
  const LONG letters = metrics.lfMessageFont.lfHeight;
  return {UniqueDrawing(CreateFontIndirectW(&metrics.lfMessageFont)),
          static_cast<int>((letters < 0 ? -letters : letters) * 3 / 2)};
}

}  // namespace launcher::check
