// The least that a program with a window costs: it shows an empty one until it is closed.
#include <windows.h>

namespace {

LRESULT CALLBACK answer(HWND window, UINT message, WPARAM word, LPARAM number) {
  if (message == WM_DESTROY) PostQuitMessage(0);
  return DefWindowProcW(window, message, word, number);
}

}  // namespace

int WINAPI wWinMain(HINSTANCE instance, HINSTANCE, PWSTR, int show) {
  WNDCLASSW type = {};
  type.lpfnWndProc = answer;
  type.hInstance = instance;
  type.hCursor = LoadCursorW(nullptr, IDC_ARROW);
  type.hbrBackground = reinterpret_cast<HBRUSH>(COLOR_WINDOW + 1);
  type.lpszClassName = L"KovEmptyWindow";
  RegisterClassW(&type);
  const HWND window = CreateWindowExW(0, type.lpszClassName, L"empty", WS_OVERLAPPEDWINDOW,
                                      CW_USEDEFAULT, CW_USEDEFAULT, 800, 600, nullptr, nullptr,
                                      instance, nullptr);
  ShowWindow(window, show);
  for (MSG message; GetMessageW(&message, nullptr, 0, 0) > 0;) {
    TranslateMessage(&message);
    DispatchMessageW(&message);
  }
  return 0;
}
