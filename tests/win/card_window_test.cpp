// Starts the real result card, reads its windows as a screen reader would, and
// watches how it closes.
#include <windows.h>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cstdint>
#include <cstdio>
#include <functional>
#include <string>
#include <utility>
#include <vector>

namespace {

using testing::AllOf;
using testing::Contains;
using testing::Ge;
using testing::HasSubstr;
using testing::Le;
using testing::Not;

using Texts = std::vector<std::string>;

constexpr DWORD kPatienceMs = 10000;

std::string utf8(const std::wstring& text) {
  const int length = static_cast<int>(text.size());
  std::string bytes(text.size() * 3, '\0');
  const int written = WideCharToMultiByte(CP_UTF8, 0, text.data(), length, bytes.data(),
                                          static_cast<int>(bytes.size()), nullptr, nullptr);
  bytes.resize(static_cast<std::size_t>(written));
  return bytes;
}

bool waitUntil(const std::function<bool()>& condition, DWORD limitMs = kPatienceMs) {
  const ULONGLONG end = GetTickCount64() + limitMs;
  while (!condition()) {
    if (GetTickCount64() > end) return false;
    Sleep(10);
  }
  return true;
}

std::wstring cardPath() {
  wchar_t path[MAX_PATH] = {};
  if (GetEnvironmentVariableW(L"KOV_CARD", path, MAX_PATH) > 0) return path;
  GetModuleFileNameW(nullptr, path, MAX_PATH);
  const std::wstring own = path;
  return own.substr(0, own.find_last_of(L'\\') + 1) + L"..\\..\\windows\\kov_result.exe";
}

std::string windowText(HWND window) {
  const auto length = static_cast<std::size_t>(SendMessageW(window, WM_GETTEXTLENGTH, 0, 0));
  std::wstring text(length + 1, L'\0');
  const auto copied = SendMessageW(window, WM_GETTEXT, text.size(),
                                   reinterpret_cast<LPARAM>(text.data()));
  text.resize(static_cast<std::size_t>(copied));
  return utf8(text);
}

std::wstring className(HWND window) {
  wchar_t name[64] = {};
  GetClassNameW(window, name, 64);
  return name;
}

std::vector<HWND> childrenOf(HWND parent, const std::wstring& type) {
  struct Search {
    const std::wstring* type;
    std::vector<HWND> found;
  } search{&type, {}};
  EnumChildWindows(
      parent,
      [](HWND child, LPARAM parameter) -> BOOL {
        auto& wanted = *reinterpret_cast<Search*>(parameter);
        if (lstrcmpiW(className(child).c_str(), wanted.type->c_str()) == 0) {
          wanted.found.push_back(child);
        }
        return TRUE;
      },
      reinterpret_cast<LPARAM>(&search));
  return search.found;
}

// One run of the card program; what still runs at the end is ended.
class Card {
 public:
  explicit Card(const std::wstring& options) : startedMs_(GetTickCount64()) {
    const std::wstring path = cardPath();
    std::wstring line = L"\"" + path + L"\"" + options;
    STARTUPINFOW startup{};
    startup.cb = sizeof(startup);
    const BOOL isStarted = CreateProcessW(path.c_str(), line.data(), nullptr, nullptr, FALSE, 0,
                                          nullptr, nullptr, &startup, &process_);
    EXPECT_TRUE(isStarted) << utf8(path) << " does not start: " << GetLastError();
  }
  Card(const Card&) = delete;
  Card& operator=(const Card&) = delete;
  ~Card() {
    if (process_.hProcess == nullptr) return;
    if (isRunning()) TerminateProcess(process_.hProcess, 99);
    WaitForSingleObject(process_.hProcess, kPatienceMs);
    CloseHandle(process_.hThread);
    CloseHandle(process_.hProcess);
  }

  [[nodiscard]] bool isRunning() const {
    return WaitForSingleObject(process_.hProcess, 0) == WAIT_TIMEOUT;
  }

  // The card's window, waited for until it is visible; null if it never is.
  HWND window(const wchar_t* type = L"KovResultCard") {
    waitUntil([&] { return findWindow(type) || !isRunning(); });
    return window_;
  }

  [[nodiscard]] std::string title() const { return windowText(window_); }
  [[nodiscard]] Texts texts() const {
    Texts texts;
    for (HWND text : childrenOf(window_, L"STATIC")) texts.push_back(windowText(text));
    return texts;
  }
  [[nodiscard]] HWND button(const std::string& label) const {
    for (HWND button : childrenOf(window_, L"BUTTON")) {
      if (windowText(button) == label) return button;
    }
    return nullptr;
  }
  [[nodiscard]] HWND focused() const {
    GUITHREADINFO info{};
    info.cbSize = sizeof(info);
    GetGUIThreadInfo(process_.dwThreadId, &info);
    return info.hwndFocus;
  }

  // Presses a key where the focus is, once the card has it.
  bool press(WPARAM key) {
    if (!waitUntil([&] { return focused() != nullptr; })) return false;
    return PostMessageW(focused(), WM_KEYDOWN, key, 1) != FALSE;
  }

  // Milliseconds from the start to the end, or 0 when it still runs after the limit.
  ULONGLONG endedAfterMs(DWORD limitMs = kPatienceMs) {
    if (WaitForSingleObject(process_.hProcess, limitMs) != WAIT_OBJECT_0) return 0;
    return GetTickCount64() - startedMs_;
  }
  [[nodiscard]] DWORD exitCode() const {
    DWORD code = 98;
    GetExitCodeProcess(process_.hProcess, &code);
    return code;
  }

 private:
  bool findWindow(const wchar_t* type) {
    type_ = type;
    window_ = nullptr;
    EnumWindows(
        [](HWND candidate, LPARAM parameter) -> BOOL {
          auto& self = *reinterpret_cast<Card*>(parameter);
          DWORD process = 0;
          GetWindowThreadProcessId(candidate, &process);
          const bool isWanted = process == self.process_.dwProcessId &&
                                IsWindowVisible(candidate) && className(candidate) == self.type_;
          if (isWanted) self.window_ = candidate;
          return !isWanted;
        },
        reinterpret_cast<LPARAM>(this));
    return window_ != nullptr;
  }

  ULONGLONG startedMs_;
  PROCESS_INFORMATION process_{};
  HWND window_ = nullptr;
  const wchar_t* type_ = nullptr;
};

// The file that the progress card follows, in a folder of its own.
class StateFile {
 public:
  StateFile() {
    wchar_t root[MAX_PATH] = {};
    if (GetEnvironmentVariableW(L"KOV_STAGE_ROOT", root, MAX_PATH) == 0) {
      GetTempPathW(MAX_PATH, root);
    }
    folder_ = root;
    if (folder_.back() != L'\\') folder_ += L'\\';
    folder_ += L"card 状态 " + std::to_wstring(GetCurrentProcessId()) + L"-" +
               std::to_wstring(++count_);
    CreateDirectoryW(folder_.c_str(), nullptr);
  }
  ~StateFile() {
    DeleteFileW(path().c_str());
    RemoveDirectoryW(folder_.c_str());
  }
  StateFile(const StateFile&) = delete;
  StateFile& operator=(const StateFile&) = delete;

  [[nodiscard]] std::wstring path() const { return folder_ + L"\\upload.state"; }
  [[nodiscard]] std::wstring options() const {
    return L" --mode progress --state \"" + path() + L"\"";
  }
  // Replaces the file as the launcher does: opened anew, one word, no line end.
  void write(const char* word) const {
    FILE* file = _wfopen(path().c_str(), L"wb");
    ASSERT_NE(file, nullptr);
    std::fputs(word, file);
    std::fclose(file);
  }

 private:
  static inline int count_ = 0;
  std::wstring folder_;
};

const wchar_t kAccepted[] =
    L" --ok 1 --kind ok --total 754.56 --difficulty normal --ending main --rank 3 --points 120"
    L" --msg \"login code: K7Q2-9XFM\"";
const wchar_t kUndelivered[] =
    L" --ok 0 --kind fail --total 0 --difficulty normal --ending main --rank 0 --points 0"
    L" --msg \"Network error. Result saved locally - it will retry next launch.\"";
const wchar_t kUnfinished[] =
    L" --ok 0 --kind none --total 0 --difficulty normal --ending main --rank 0 --points 0"
    L" --msg \"No finish detected - this run will not count.\"";

TEST(CardWindow, acceptedRunIsReadable) {
  Card card(kAccepted);
  ASSERT_NE(card.window(), nullptr);
  EXPECT_EQ(card.title(), "KOV 周赛 – 成绩已上传 12:34.56");
  const Texts texts = card.texts();
  for (const char* text : {"KOV 周赛", "成绩已上传", "用时", "12:34.56", "主线结局", "普通", "排名",
                           "#3", "积分", "120", "登录码", "K7Q2-9XFM"}) {
    EXPECT_THAT(texts, Contains(text));
  }
  EXPECT_THAT(texts, Contains(HasSubstr("秒后自动关闭")));
}

TEST(CardWindow, undeliveredRunIsReadable) {
  Card card(kUndelivered);
  ASSERT_NE(card.window(), nullptr);
  EXPECT_EQ(card.title(), "KOV 周赛 – 成绩还没传上去");
  const Texts texts = card.texts();
  for (const char* text :
       {"没有连上比赛服务器，多半是网络问题。", "成绩已保存在本地，不会丢。",
        "先检查网络；下次打开启动器会自动补传。",
        "Network error. Result saved locally - it will retry next launch."}) {
    EXPECT_THAT(texts, Contains(text));
  }
  EXPECT_THAT(texts, Not(Contains("普通")));
}

TEST(CardWindow, unfinishedRunIsReadable) {
  Card card(kUnfinished);
  ASSERT_NE(card.window(), nullptr);
  EXPECT_EQ(card.title(), "KOV 周赛 – 这次不计成绩");
  EXPECT_THAT(card.texts(), Contains("没有跑到结局，这次不会计入排行榜。"));
  EXPECT_THAT(card.texts(), Contains("No finish detected - this run will not count."));
}

TEST(CardWindow, oddCommandLinesStillGiveAReadableCard) {
  const std::wstring endless(10000, L'字');
  const std::vector<std::pair<std::wstring, std::string>> cases = {
      {L"", "比赛结果会显示在这里"},
      {L" what is this", "比赛结果"},
      {L" --ok 1 --kind ok", "成绩已上传"},
      {L" --ok 1 --kind victory --total 5", "比赛结果：victory"},
      {L" --ok 1 --kind ok --total nan --difficulty ?? --ending \"x --rank -1 --points 1e9",
       "成绩已上传"},
      {L" --ok 0 --kind fail --msg \"never closed", "成绩还没传上去"},
      {L" --ok 0 --kind fail --msg \"" + endless + L"\"", "成绩还没传上去"},
      {L" --ok 1 --kind ok --total " + endless + L" --msg \"login code: " + endless + L"\"",
       "成绩已上传"},
  };
  for (const auto& [options, heading] : cases) {
    SCOPED_TRACE(utf8(options.substr(0, 80)));
    Card card(options);
    ASSERT_NE(card.window(), nullptr);
    EXPECT_THAT(card.title(), HasSubstr(heading));
    EXPECT_THAT(card.texts(), Contains(heading));
    EXPECT_TRUE(card.press(VK_ESCAPE));
    EXPECT_THAT(card.endedAfterMs(), AllOf(Ge(1U), Le(11000U)));
  }
}

TEST(CardWindow, focusIsOnTheButtonAndEnterCloses) {
  Card card(kAccepted);
  ASSERT_NE(card.window(), nullptr);
  EXPECT_TRUE(waitUntil([&] { return windowText(card.focused()) == "知道了"; }));
  EXPECT_TRUE(card.press(VK_RETURN));
  EXPECT_THAT(card.endedAfterMs(), AllOf(Ge(1U), Le(11000U)));
  EXPECT_EQ(card.exitCode(), 0U);
}

TEST(CardWindow, escapeCloses) {
  Card card(kUnfinished);
  ASSERT_NE(card.window(), nullptr);
  EXPECT_TRUE(card.press(VK_ESCAPE));
  EXPECT_THAT(card.endedAfterMs(), AllOf(Ge(1U), Le(11000U)));
  EXPECT_EQ(card.exitCode(), 0U);
}

TEST(CardWindow, buttonCloses) {
  Card card(kUndelivered);
  ASSERT_NE(card.window(), nullptr);
  ASSERT_NE(card.button("知道了"), nullptr);
  PostMessageW(card.button("知道了"), BM_CLICK, 0, 0);
  EXPECT_THAT(card.endedAfterMs(), AllOf(Ge(1U), Le(11000U)));
}

std::string clipboardText() {
  if (OpenClipboard(nullptr) == FALSE) return "(busy)";
  std::string text = "(empty)";
  if (HANDLE memory = GetClipboardData(CF_UNICODETEXT)) {
    text = utf8(static_cast<const wchar_t*>(GlobalLock(memory)));
    GlobalUnlock(memory);
  }
  CloseClipboard();
  return text;
}

TEST(CardWindow, copyButtonCopiesTheCodeAndSaysSo) {
  Card card(kAccepted);
  ASSERT_NE(card.window(), nullptr);
  ASSERT_NE(card.button("复制"), nullptr);
  PostMessageW(card.button("复制"), BM_CLICK, 0, 0);
  EXPECT_TRUE(waitUntil([&] { return card.button("已复制") != nullptr; }));
  EXPECT_EQ(clipboardText(), "K7Q2-9XFM");
  EXPECT_TRUE(card.isRunning());
}

TEST(CardWindow, enterOnTheCopyButtonCopies) {
  Card card(L" --ok 1 --kind ok --total 5 --rank 1 --points 2 --msg \"login code: TAB\"");
  ASSERT_NE(card.window(), nullptr);
  ASSERT_TRUE(card.press(VK_TAB));
  ASSERT_TRUE(waitUntil([&] { return windowText(card.focused()) == "复制"; }));
  ASSERT_TRUE(card.press(VK_RETURN));
  EXPECT_TRUE(waitUntil([&] { return card.button("已复制") != nullptr; }));
  EXPECT_EQ(clipboardText(), "TAB");
  EXPECT_TRUE(card.isRunning());
}

TEST(CardWindow, cardWithoutCodeHasNoCopyButton) {
  Card card(kUndelivered);
  ASSERT_NE(card.window(), nullptr);
  EXPECT_EQ(card.button("复制"), nullptr);
}

TEST(CardWindow, everyTextLiesInsideTheCard) {
  for (const wchar_t* options : {kAccepted, kUndelivered, kUnfinished}) {
    Card card(options);
    HWND window = card.window();
    ASSERT_NE(window, nullptr);
    RECT outside{};
    GetWindowRect(window, &outside);
    for (const wchar_t* type : {L"STATIC", L"BUTTON"}) {
      for (HWND child : childrenOf(window, type)) {
        RECT inside{};
        RECT common{};
        GetWindowRect(child, &inside);
        IntersectRect(&common, &inside, &outside);
        EXPECT_TRUE(EqualRect(&common, &inside)) << windowText(child);
        EXPECT_GT(inside.right - inside.left, 8) << windowText(child);
      }
    }
  }
}

TEST(CardProgress, staysOnTopWithoutTakingTheFocus) {
  const StateFile state;
  state.write("uploading");
  HWND before = GetForegroundWindow();
  Card card(state.options());
  HWND window = card.window(L"KovProgressCard");
  ASSERT_NE(window, nullptr);
  EXPECT_EQ(card.title(), "KOV 周赛 – 正在上传成绩…");
  EXPECT_THAT(card.texts(), Contains("正在上传成绩…"));
  const LONG_PTR style = GetWindowLongPtrW(window, GWL_EXSTYLE);
  EXPECT_NE(style & WS_EX_TOPMOST, 0);
  EXPECT_NE(style & WS_EX_NOACTIVATE, 0);
  EXPECT_NE(GetForegroundWindow(), window);
  EXPECT_EQ(GetForegroundWindow(), before);
}

class CardProgressOutcome
    : public testing::TestWithParam<std::pair<const char*, const char*>> {};

TEST_P(CardProgressOutcome, isShownAndTheCardClosesWellInsideTheLaunchersPatience) {
  const auto& [word, heading] = GetParam();
  const StateFile state;
  state.write("uploading");
  Card card(state.options());
  ASSERT_NE(card.window(L"KovProgressCard"), nullptr);
  state.write(word);
  const ULONGLONG written = GetTickCount64();
  EXPECT_TRUE(waitUntil([&] { return card.title() == std::string("KOV 周赛 – ") + heading; }));
  EXPECT_THAT(card.texts(), Contains(heading));
  EXPECT_NE(card.endedAfterMs(), 0U);
  EXPECT_LT(GetTickCount64() - written, 3000U);
  EXPECT_EQ(card.exitCode(), 0U);
}

INSTANTIATE_TEST_SUITE_P(Words, CardProgressOutcome,
                         testing::Values(std::pair("done", "上传完成"),
                                         std::pair("fail", "上传没有完成")));

TEST(CardProgress, fileThatAppearsLateIsFollowed) {
  const StateFile state;
  Card card(state.options());
  ASSERT_NE(card.window(L"KovProgressCard"), nullptr);
  EXPECT_EQ(card.title(), "KOV 周赛 – 正在上传成绩…");
  state.write("done");
  EXPECT_NE(card.endedAfterMs(), 0U);
}

TEST(CardProgress, outcomeThatIsThereAlreadyCountsToo) {
  const StateFile state;
  state.write("fail");
  Card card(state.options());
  EXPECT_THAT(card.endedAfterMs(), AllOf(Ge(700U), Le(4000U)));
}

TEST(CardProgress, withoutAFileNameThereIsNoCard) {
  Card card(L" --mode progress");
  EXPECT_NE(card.endedAfterMs(), 0U);
  EXPECT_EQ(card.exitCode(), 0U);
}

// The launcher waits for 15 s from the start on; the card counts from when it is shown. On a
// busy machine, which takes seconds to show it, only the latter says something of the card.
TEST(CardWindowLong, resultClosesByItselfBeforeTheLauncherStopsWaiting) {
  Card accepted(kAccepted);
  Card undelivered(kUndelivered);
  Card unfinished(kUnfinished);
  std::vector<std::pair<Card*, ULONGLONG>> shown;
  for (Card* card : {&accepted, &undelivered, &unfinished}) {
    ASSERT_NE(card->window(), nullptr);
    shown.emplace_back(card, GetTickCount64());
  }
  for (const auto& [card, sinceMs] : shown) {
    EXPECT_GE(card->endedAfterMs(20000), 12000U);
    EXPECT_LE(GetTickCount64() - sinceMs, 14000U);
    EXPECT_EQ(card->exitCode(), 0U);
  }
}

TEST(CardWindowLong, progressThatNeverEndsClosesAfterAMinute) {
  const StateFile absent;
  const StateFile stuck;
  stuck.write("uploading");
  Card first(absent.options());
  Card second(stuck.options());
  ASSERT_NE(first.window(L"KovProgressCard"), nullptr);
  ASSERT_NE(second.window(L"KovProgressCard"), nullptr);
  const ULONGLONG shown = GetTickCount64();
  EXPECT_GE(first.endedAfterMs(70000), 60000U);
  EXPECT_GE(second.endedAfterMs(10000), 60000U);
  EXPECT_LE(GetTickCount64() - shown, 64000U);
}

}  // namespace
