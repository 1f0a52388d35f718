#pragma once

#include <gtest/gtest.h>

#include <windows.h>
#include <commctrl.h>
#include <psapi.h>

#include <functional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "check/finding.h"
#include "rehearsal/stage/stage.h"

namespace e2e {

/// Ids of the window's controls, as check/window_win.cpp gives them.
enum CheckControl : int {
  kPage1 = 100,
  kPage2 = 101,
  kPage3 = 102,
  kSummary = 110,
  kFindings = 111,
  kRuns = 112,
  kDetails = 113,
  kFirst = 114,
  kSecond = 115,
  kAgain = 116,
  kClose = IDCANCEL,
};

inline bool waitUntil(const std::function<bool()>& condition, unsigned limitMs = 10000) {
  const ULONGLONG end = GetTickCount64() + limitMs;
  while (!condition()) {
    if (GetTickCount64() > end) return false;
    Sleep(10);
  }
  return true;
}

inline std::string textOfWindow(HWND window) {
  const auto units = static_cast<std::size_t>(SendMessageW(window, WM_GETTEXTLENGTH, 0, 0));
  std::wstring text(units + 1, L'\0');
  text.resize(static_cast<std::size_t>(
      SendMessageW(window, WM_GETTEXT, text.size(), reinterpret_cast<LPARAM>(text.data()))));
  return stage::toUtf8(text);
}

/// Memory in another process, for messages that carry pointers.
class MemoryOf {
 public:
  MemoryOf(HANDLE process, std::size_t bytes)
      : process_(process),
        at_(VirtualAllocEx(process, nullptr, bytes, MEM_COMMIT, PAGE_READWRITE)) {}
  ~MemoryOf() { VirtualFreeEx(process_, at_, 0, MEM_RELEASE); }
  MemoryOf(const MemoryOf&) = delete;
  MemoryOf& operator=(const MemoryOf&) = delete;

  [[nodiscard]] std::byte* at(std::size_t offset = 0) const {
    return static_cast<std::byte*>(at_) + offset;
  }
  template <typename T>
  void write(const T& value, std::size_t offset = 0) const {
    EXPECT_TRUE(WriteProcessMemory(process_, at(offset), &value, sizeof value, nullptr));
  }
  template <typename T>
  [[nodiscard]] T read(std::size_t offset = 0) const {
    T value{};
    EXPECT_TRUE(ReadProcessMemory(process_, at(offset), &value, sizeof value, nullptr));
    return value;
  }

 private:
  HANDLE process_;
  void* at_;
};

/// The window of one running kov_check.exe, seen and used from outside.
class CheckWindowDriver {
 public:
  CheckWindowDriver(const std::filesystem::path& program, std::string_view arguments,
                    const stage::RunOptions& options)
      : run_(program, arguments, options),
        process_(OpenProcess(PROCESS_VM_OPERATION | PROCESS_VM_READ | PROCESS_VM_WRITE |
                                 PROCESS_QUERY_INFORMATION | SYNCHRONIZE,
                             FALSE, run_.processId())) {
    EXPECT_TRUE(waitUntil([this] { return (window_ = find(L"KovRaceCheck")) != nullptr; }));
  }
  ~CheckWindowDriver() { CloseHandle(process_); }
  CheckWindowDriver(const CheckWindowDriver&) = delete;
  CheckWindowDriver& operator=(const CheckWindowDriver&) = delete;

  [[nodiscard]] HWND window() const { return window_; }
  [[nodiscard]] HANDLE process() const { return process_; }
  [[nodiscard]] HWND control(CheckControl id) const { return GetDlgItem(window_, id); }
  [[nodiscard]] std::string text(CheckControl id) const { return textOfWindow(control(id)); }
  [[nodiscard]] bool enabled(CheckControl id) const {
    return IsWindowVisible(control(id)) && IsWindowEnabled(control(id));
  }

  /// A visible window of the program, of this class.
  [[nodiscard]] HWND find(std::wstring_view type) const {
    struct Search {
      DWORD process;
      std::wstring_view type;
      HWND found;
    } search{run_.processId(), type, nullptr};
    EnumWindows(
        [](HWND candidate, LPARAM data) -> BOOL {
          auto& wanted = *reinterpret_cast<Search*>(data);
          DWORD process = 0;
          wchar_t name[64] = {};
          GetWindowThreadProcessId(candidate, &process);
          GetClassNameW(candidate, name, 64);
          if (process != wanted.process || !IsWindowVisible(candidate) || wanted.type != name) {
            return TRUE;
          }
          wanted.found = candidate;
          return FALSE;
        },
        reinterpret_cast<LPARAM>(&search));
    return search.found;
  }

  /// Whole paths of what is loaded in it.
  [[nodiscard]] std::vector<std::wstring> modules() const {
    std::vector<HMODULE> handles(256);
    DWORD bytes = 0;
    EXPECT_TRUE(K32EnumProcessModules(
        process_, handles.data(), static_cast<DWORD>(handles.size() * sizeof(HMODULE)), &bytes));
    handles.resize(bytes / sizeof(HMODULE));
    std::vector<std::wstring> paths;
    for (const HMODULE handle : handles) {
      wchar_t path[MAX_PATH] = {};
      (void)K32GetModuleFileNameExW(process_, handle, path, MAX_PATH);
      paths.emplace_back(path);
    }
    return paths;
  }

  // Rows -----------------------------------------------------------------------------------

  [[nodiscard]] int rowCount(CheckControl list) const {
    return static_cast<int>(SendMessageW(control(list), LVM_GETITEMCOUNT, 0, 0));
  }
  [[nodiscard]] std::string cell(CheckControl list, int row, int column) const {
    constexpr std::size_t kUnits = 1024;
    const MemoryOf memory(process_, sizeof(LVITEMW) + kUnits * sizeof(wchar_t));
    LVITEMW item = {};
    item.iSubItem = column;
    item.pszText = reinterpret_cast<wchar_t*>(memory.at(sizeof item));
    item.cchTextMax = kUnits;
    memory.write(item);
    SendMessageW(control(list), LVM_GETITEMTEXTW, static_cast<WPARAM>(row),
                 reinterpret_cast<LPARAM>(memory.at()));
    struct Text {
      wchar_t units[kUnits];
    };
    return stage::toUtf8(memory.read<Text>(sizeof item).units);
  }
  [[nodiscard]] int selectedRow(CheckControl list) const {
    return static_cast<int>(SendMessageW(control(list), LVM_GETNEXTITEM, static_cast<WPARAM>(-1),
                                         MAKELPARAM(LVNI_SELECTED, 0)));
  }
  /// The stage under which a row of page 1 stands: its group, or where the system's list has no
  /// groups a column.
  [[nodiscard]] std::string stageOf(int row, launcher::check::Language language) const {
    if (SendMessageW(control(kFindings), LVM_ISGROUPVIEWENABLED, 0, 0) == 0) {
      return cell(kFindings, row, 2);
    }
    const MemoryOf memory(process_, sizeof(LVITEMW));
    LVITEMW item = {};
    item.mask = LVIF_GROUPID;
    item.iItem = row;
    memory.write(item);
    SendMessageW(control(kFindings), LVM_GETITEMW, 0, reinterpret_cast<LPARAM>(memory.at()));
    return launcher::check::stageTitle(
        static_cast<launcher::check::Stage>(memory.read<LVITEMW>().iGroupId), language);
  }
  /// Page 1 as --text prints it, without what to do.
  [[nodiscard]] std::string findings(launcher::check::Language language) const {
    std::string text;
    std::string stage;
    for (int row = 0; row < rowCount(kFindings); ++row) {
      const std::string own = stageOf(row, language);
      if (own != stage) text += "== " + own + "\n";
      stage = own;
      text += "[" + cell(kFindings, row, 0) + "] " + cell(kFindings, row, 1) + "\n";
    }
    return text;
  }
  [[nodiscard]] bool says(std::string_view state, std::string_view what) const {
    for (int row = 0; row < rowCount(kFindings); ++row) {
      if (cell(kFindings, row, 0) == state && cell(kFindings, row, 1) == what) return true;
    }
    return false;
  }
  /// Waits until no row is being checked.
  bool waitForAnswers(std::string_view checking = "checking") {
    return waitUntil([&] {
      for (int row = 0; row < rowCount(kFindings); ++row) {
        if (cell(kFindings, row, 0) == checking) return false;
      }
      return rowCount(kFindings) > 0;
    });
  }

  // Keys -----------------------------------------------------------------------------------

  [[nodiscard]] HWND focus() const {
    GUITHREADINFO info = {};
    info.cbSize = sizeof info;
    const DWORD thread = GetWindowThreadProcessId(window_, nullptr);
    return GetGUIThreadInfo(thread, &info) ? info.hwndFocus : nullptr;
  }
  /// The id of the control that has the focus.
  [[nodiscard]] int focused() const { return GetDlgCtrlID(focus()); }
  bool waitForFocus(CheckControl id) {
    return waitUntil([&] { return focused() == id; });
  }

  /// What the player's keyboard does: the keys go where the focus is.
  void press(std::initializer_list<WORD> keys) {
    for (const WORD key : keys) keybd_event(static_cast<BYTE>(key), 0, 0, 0);
    for (auto key = std::rbegin(keys); key != std::rend(keys); ++key) {
      keybd_event(static_cast<BYTE>(*key), 0, KEYEVENTF_KEYUP, 0);
    }
  }
  void type(const std::wstring& text) {
    for (const wchar_t unit : text) {
      INPUT input[2] = {};
      input[0].type = input[1].type = INPUT_KEYBOARD;
      input[0].ki.wScan = input[1].ki.wScan = unit;
      input[0].ki.dwFlags = KEYEVENTF_UNICODE;
      input[1].ki.dwFlags = KEYEVENTF_UNICODE | KEYEVENTF_KEYUP;
      SendInput(2, input, sizeof(INPUT));
    }
  }
  /// Brings the window in front of all others, so that it gets the keys.
  bool takeKeyboard() {
    SetForegroundWindow(window_);
    return waitUntil([this] { return GetForegroundWindow() == window_ && focus() != nullptr; });
  }
  /// Waits for a box of the program over its window, in front of everything; not for one that
  /// was there before.
  HWND waitForBox(HWND before = nullptr) {
    HWND box = nullptr;
    const bool came = waitUntil([&] {
      box = find(L"#32770");
      return box != nullptr && box != before && GetForegroundWindow() == box;
    });
    return came ? box : nullptr;
  }
  /// Waits until the box is gone and the window has the keyboard again.
  bool waitForNoBox() {
    return waitUntil([this] {
      return find(L"#32770") == nullptr && IsWindowEnabled(window_) &&
             GetForegroundWindow() == window_ && focus() != nullptr;
    });
  }
  /// True when a part of the box says this, and perhaps more behind it.
  [[nodiscard]] static bool says(HWND box, std::string_view start) {
    struct Search {
      std::string_view start;
      bool found;
    } search{start, false};
    EnumChildWindows(
        box,
        [](HWND part, LPARAM data) -> BOOL {
          auto& wanted = *reinterpret_cast<Search*>(data);
          wanted.found = textOfWindow(part).starts_with(wanted.start);
          return !wanted.found;
        },
        reinterpret_cast<LPARAM>(&search));
    return search.found;
  }

  // End ------------------------------------------------------------------------------------

  [[nodiscard]] bool running() const { return run_.running(); }
  /// True when it ended by itself within the limit, without a fault.
  bool ended(unsigned limitMs) {
    if (!waitUntil([this] { return !run_.running(); }, limitMs)) return false;
    return run_.wait().exitCode == 0;
  }

 private:
  stage::LauncherRun run_;
  HANDLE process_;
  HWND window_ = nullptr;
};

}  // namespace e2e
