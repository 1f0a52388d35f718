#include "card/theme_win.h"

#include <windows.h>

namespace launcher::card {
namespace {

bool isHighContrast() {
  HIGHCONTRASTW contrast{};
  contrast.cbSize = sizeof(contrast);
  return SystemParametersInfoW(SPI_GETHIGHCONTRAST, sizeof(contrast), &contrast, 0) != FALSE &&
         (contrast.dwFlags & HCF_HIGHCONTRASTON) != 0;
}

bool isLight() {
  DWORD value = 0;
  DWORD size = sizeof(value);
  const LSTATUS status = RegGetValueW(
      HKEY_CURRENT_USER, L"Software\\Microsoft\\Windows\\CurrentVersion\\Themes\\Personalize",
      L"AppsUseLightTheme", RRF_RT_REG_DWORD, nullptr, &value, &size);
  return status == ERROR_SUCCESS && value != 0;
}

Color systemColor(int index) {
  const COLORREF color = GetSysColor(index);
  return {GetRValue(color), GetGValue(color), GetBValue(color)};
}

}  // namespace

Palette readPalette(Kind kind) {
  if (!isHighContrast()) return paletteFor(kind, !isLight());
  return contrastPalette({systemColor(COLOR_WINDOW), systemColor(COLOR_WINDOWTEXT),
                          systemColor(COLOR_HIGHLIGHT), systemColor(COLOR_HIGHLIGHTTEXT)});
}

}  // namespace launcher::card
