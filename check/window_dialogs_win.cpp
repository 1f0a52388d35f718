#include "check/window_dialogs_win.h"

#include <commctrl.h>
#include <commdlg.h>
#include <shlobj.h>

#include "core/platform.h"
#include "steam/discovery.h"

namespace launcher::check {
namespace {

/// The button's id.
int showTask(HWND owner, const std::string& text, PCWSTR icon, const std::string& agree,
             Language language) {
  const std::wstring title = utf8ToWide(windowTitle(language));
  const std::wstring content = utf8ToWide(text);
  const std::wstring label = utf8ToWide(agree);
  const TASKDIALOG_BUTTON button = {IDYES, label.c_str()};
  TASKDIALOGCONFIG config = {};
  config.cbSize = sizeof(config);
  config.hwndParent = owner;
  config.dwFlags = TDF_ALLOW_DIALOG_CANCELLATION | TDF_POSITION_RELATIVE_TO_WINDOW;
  config.pszWindowTitle = title.c_str();
  config.pszMainIcon = icon;
  config.pszContent = content.c_str();
  config.dwCommonButtons = label.empty() ? TDCBF_OK_BUTTON : TDCBF_CANCEL_BUTTON;
  if (!label.empty()) {
    config.cButtons = 1;
    config.pButtons = &button;
  }
  int pressed = 0;
  (void)TaskDialogIndirect(&config, &pressed, nullptr, nullptr);
  return pressed;
}

}  // namespace

void showResult(HWND owner, const ActionResult& result, Language language) {
  (void)showTask(owner, result.text, result.done ? TD_INFORMATION_ICON : TD_WARNING_ICON, {},
                 language);
}

bool confirm(HWND owner, const Confirmation& asked, Language language) {
  return asked.question.empty() ||
         showTask(owner, asked.question, TD_INFORMATION_ICON, asked.label, language) == IDYES;
}

std::optional<std::wstring> chooseGame(HWND owner, const std::wstring& folder) {
  constexpr DWORD kUnits = 1024;
  // The box uses COM; nothing else of the window does.
  const UniqueCom com(SUCCEEDED(CoInitializeEx(nullptr, COINIT_APARTMENTTHREADED)));
  std::wstring file(kUnits, L'\0');
  const std::wstring name = kGameImageName;
  const std::wstring filter = name + L'\0' + name + L'\0';
  OPENFILENAMEW choice = {};
  choice.lStructSize = sizeof(choice);
  choice.hwndOwner = owner;
  choice.lpstrFilter = filter.c_str();
  choice.lpstrFile = file.data();
  choice.nMaxFile = kUnits;
  choice.lpstrInitialDir = folder.empty() ? nullptr : folder.c_str();
  choice.Flags = OFN_EXPLORER | OFN_FILEMUSTEXIST | OFN_PATHMUSTEXIST | OFN_NOCHANGEDIR |
                 OFN_HIDEREADONLY | OFN_DONTADDTORECENT;
  if (!GetOpenFileNameW(&choice)) return std::nullopt;
  return std::wstring(file.c_str());
}

std::wstring documentsFolder() {
  wchar_t folder[MAX_PATH] = {};
  if (FAILED(SHGetFolderPathW(nullptr, CSIDL_PERSONAL, nullptr, SHGFP_TYPE_CURRENT, folder))) {
    return {};
  }
  return folder;
}

void showInFolder(const std::wstring& file) {
  wchar_t windows[MAX_PATH] = {};
  (void)GetSystemWindowsDirectoryW(windows, MAX_PATH);
  (void)startProcessWide(L"\"" + std::wstring(windows) + L"\\explorer.exe\" /select,\"" + file +
                         L"\"");
}

}  // namespace launcher::check
