#include "rehearsal/stage/message_boxes.h"

#include <windows.h>

#include <algorithm>
#include <atomic>
#include <map>
#include <mutex>
#include <optional>
#include <thread>

#include "rehearsal/stage/files.h"
#include "rehearsal/stage/icon_picture.h"
#include "rehearsal/stage/process.h"
#include "rehearsal/stage/text.h"
#include "rehearsal/stage/win_handle.h"

namespace stage {

namespace {

constexpr unsigned kPollMs = 15;
constexpr wchar_t kDialogClass[] = L"#32770";
constexpr unsigned kAnswerLimitMs = 2000;  // for a window that is asked for its text
constexpr LONG_PTR kStaticTypeMask = 0x1F;  // SS_TYPEMASK; not in every header
constexpr LONG_PTR kButtonTypeMask = 0x0F;  // BS_TYPEMASK

std::wstring className(HWND window) {
  wchar_t name[64];
  return std::wstring(name, static_cast<std::size_t>(GetClassNameW(window, name, 64)));
}

/// The text of another process's window. GetWindowText would not ask a control for it.
std::wstring textOfWindow(HWND window) {
  DWORD_PTR length = 0;
  if (!SendMessageTimeoutW(window, WM_GETTEXTLENGTH, 0, 0, SMTO_ABORTIFHUNG, kAnswerLimitMs,
                           &length)) {
    return {};
  }
  std::wstring text(length + 1, L'\0');
  DWORD_PTR copied = 0;
  SendMessageTimeoutW(window, WM_GETTEXT, text.size(), reinterpret_cast<LPARAM>(text.data()),
                      SMTO_ABORTIFHUNG, kAnswerLimitMs, &copied);
  text.resize(copied);
  return text;
}

std::vector<HWND> childrenOf(HWND window) {
  std::vector<HWND> children;
  EnumChildWindows(
      window,
      [](HWND child, LPARAM list) -> BOOL {
        reinterpret_cast<std::vector<HWND>*>(list)->push_back(child);
        return TRUE;
      },
      reinterpret_cast<LPARAM>(&children));
  return children;
}

struct Parts {
  HWND icon = nullptr;
  HWND text = nullptr;
  HWND okButton = nullptr;
  std::vector<std::string> buttons;
};

/// The controls of a message box; without a text and a button it is some other dialog, or
/// one that is still being put together.
Parts partsOf(HWND box) {
  Parts parts;
  for (const HWND child : childrenOf(box)) {
    const LONG_PTR style = GetWindowLongPtrW(child, GWL_STYLE);
    const std::wstring name = className(child);
    if (_wcsicmp(name.c_str(), L"Static") == 0) {
      ((style & kStaticTypeMask) == SS_ICON ? parts.icon : parts.text) = child;
    } else if (_wcsicmp(name.c_str(), L"Button") == 0 && (style & WS_VISIBLE) != 0 &&
               (style & kButtonTypeMask) <= BS_DEFPUSHBUTTON) {
      parts.buttons.push_back(replaceAll(toUtf8(textOfWindow(child)), "&", ""));
      const int id = GetDlgCtrlID(child);
      // A box with nothing but OK gives its button the id of Cancel on some systems.
      if (id == IDOK || parts.okButton == nullptr) parts.okButton = child;
    }
  }
  return parts;
}

/// The stock icon in a box, as icon_reader.exe sees it on the screen; nothing when it cannot
/// tell (yet). Reading the screen is left to a process of its own: Wine's X11 driver ends a
/// process on an X error, and reading what another process is just painting can cause one.
std::optional<std::string> readIcon(HWND control) {
  constexpr unsigned kReaderLimitMs = 3000;
  const std::string window = std::to_string(reinterpret_cast<std::uintptr_t>(control));
  const long code = runAndWait(standInsFolder() / "icon_reader.exe", window, kReaderLimitMs);
  return stockIconOf(code);
}

bool hasIcon(HWND control) {
  DWORD_PTR icon = 0;
  return control != nullptr &&
         SendMessageTimeoutW(control, STM_GETICON, 0, 0, SMTO_ABORTIFHUNG, kAnswerLimitMs,
                             &icon) &&
         icon != 0;
}

std::string imageNameOf(DWORD processId) {
  const WinHandle process =
      ownHandle(OpenProcess(PROCESS_QUERY_LIMITED_INFORMATION, FALSE, processId));
  wchar_t buffer[4096];
  DWORD length = 4096;
  if (!process || !QueryFullProcessImageNameW(process.get(), 0, buffer, &length)) return {};
  return textOf(std::filesystem::path(std::wstring(buffer, length)).filename());
}

}  // namespace

struct MessageBoxWatcher::Impl {
  struct Open {
    std::size_t index = 0;
    std::uint64_t sinceMs = 0;
    bool clicked = false;
  };

  explicit Impl(Options given) : options(std::move(given)), closing(options.close) {
    thread = std::thread([this] {
      while (!stopping) {
        look();
        Sleep(kPollMs);
      }
    });
  }

  ~Impl() {
    stopping = true;
    thread.join();
  }

  void look() {
    // By their class: to ask every window what it is would be many times the work. A box that
    // goes meanwhile ends the list early; the next look is soon.
    std::vector<HWND> dialogs;
    while (HWND next = FindWindowExW(nullptr, dialogs.empty() ? nullptr : dialogs.back(),
                                     kDialogClass, nullptr)) {
      dialogs.push_back(next);
    }
    for (const HWND window : dialogs) {
      if (concernsUs(window)) attend(window);
    }
    forgetGone();
  }

  [[nodiscard]] bool concernsUs(HWND window) const {
    DWORD processId = 0;
    GetWindowThreadProcessId(window, &processId);
    const bool wanted = options.processId != 0 ? processId == options.processId
                        : options.ourOwnToo   ? true
                                              : processId != GetCurrentProcessId();
    return wanted && IsWindowVisible(window);
  }

  void attend(HWND window) {
    const std::uint64_t now = GetTickCount64();
    const auto found = open.find(window);
    if (found == open.end()) {
      record(window, now);
      return;
    }
    Open& box = found->second;
    if (!closing || box.clicked || now - box.sinceMs < options.closeAfterMs) return;
    if (const HWND button = partsOf(window).okButton) {
      box.clicked = true;
      PostMessageW(button, BM_CLICK, 0, 0);
    }
  }

  void record(HWND window, std::uint64_t now) {
    const Parts parts = partsOf(window);
    if (parts.text == nullptr || parts.okButton == nullptr) return;
    const auto [first, isNew] = firstSeenMs.try_emplace(window, now);
    SeenBox box;
    box.icon = "none";
    if (hasIcon(parts.icon)) {
      // The box may not be painted yet.
      const std::optional<std::string> icon = readIcon(parts.icon);
      if (!icon && now - first->second < kAnswerLimitMs) return;
      box.icon = icon.value_or("unknown");
    }
    DWORD processId = 0;
    GetWindowThreadProcessId(window, &processId);
    box.processId = processId;
    box.imageName = imageNameOf(processId);
    box.caption = toUtf8(textOfWindow(window));
    box.text = toUtf8(textOfWindow(parts.text));
    box.topmost = (GetWindowLongPtrW(window, GWL_EXSTYLE) & WS_EX_TOPMOST) != 0;
    box.owned = GetWindow(window, GW_OWNER) != nullptr;
    box.buttons = parts.buttons;
    if (!IsWindow(window)) return;  // gone while it was read
    options.timeline.append("box", "open", box.caption + "|" + box.icon + "|" + box.text);
    const std::lock_guard lock(mutex);
    open[window] = {seen.size(), now, false};
    seen.push_back(std::move(box));
  }

  void forgetGone() {
    std::erase_if(firstSeenMs, [](const auto& entry) { return !IsWindow(entry.first); });
    std::erase_if(open, [&](const auto& entry) {
      if (IsWindow(entry.first) && IsWindowVisible(entry.first)) return false;
      const std::lock_guard lock(mutex);
      SeenBox& box = seen[entry.second.index];
      box.openMs = static_cast<unsigned>(
          std::max<std::uint64_t>(1, GetTickCount64() - entry.second.sinceMs));
      options.timeline.append("box", "close", box.caption);
      return true;
    });
  }

  Options options;
  std::atomic<bool> closing;
  std::atomic<bool> stopping = false;
  std::map<HWND, Open> open;                  // the thread's own
  std::map<HWND, std::uint64_t> firstSeenMs;  // the thread's own
  mutable std::mutex mutex;
  std::vector<SeenBox> seen;
  std::thread thread;
};

MessageBoxWatcher::MessageBoxWatcher() : MessageBoxWatcher(Options()) {}

MessageBoxWatcher::MessageBoxWatcher(Options options)
    : impl_(std::make_unique<Impl>(std::move(options))) {}

MessageBoxWatcher::~MessageBoxWatcher() = default;

std::vector<SeenBox> MessageBoxWatcher::boxes() const {
  const std::lock_guard lock(impl_->mutex);
  return impl_->seen;
}

bool MessageBoxWatcher::waitForBoxes(std::size_t count, unsigned limitMs) const {
  const std::uint64_t end = GetTickCount64() + limitMs;
  while (boxes().size() < count) {
    if (GetTickCount64() >= end) return false;
    Sleep(kPollMs);
  }
  return true;
}

void MessageBoxWatcher::closeAll() { impl_->closing = true; }

}  // namespace stage
