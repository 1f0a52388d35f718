// The companion's window on the stage: used from outside, by messages that read its controls
// and by keys.

#include <gtest/gtest.h>

#include "tests/e2e/check_window_driver.h"
#include "tests/e2e/full_run.h"
#include "tests/e2e/unsent_run.h"

namespace e2e {
namespace {

namespace fs = std::filesystem;
using launcher::check::Language;
using stage::textOf;

constexpr char kAskingServer[] = "Asking the race server ...";
constexpr char kServerIsGood[] = "The race server answers: 2026-W47, seed 20261147.";

class CheckWindowTest : public ::testing::Test {
 protected:
  CheckWindowTest() {
    program = machine.installCheck();
    machine.putUpStandardMachine(server.url());
    std::string config = stage::liveSplitSettings({"C:\\older.lsl"});
    config.replace(config.find(">0</ServerStartup>") + 1, 1, "1");
    stage::writeFile(machine.liveSplitFolder() / "settings.cfg", config);
  }

  [[nodiscard]] stage::RunOptions options() const {
    stage::RunOptions options;
    options.environment = {{"LOCALAPPDATA", textOf(machine.local())},
                           {"TEMP", "C:\\windows\\temp"},
                           {"TMP", "C:\\windows\\temp"}};
    return options;
  }
  [[nodiscard]] CheckWindowDriver open(std::string_view arguments = "--language en") const {
    return {program, arguments, options()};
  }

  /// Page 1 as --text prints it, without what to do and without empty lines.
  [[nodiscard]] std::string printed(std::string_view language) const {
    stage::LauncherRun run(program, "--text --language " + std::string(language), options());
    std::string page;
    for (const std::string& line : linesOf(stage::replaceAll(run.wait().console, "\n", "\r\n"))) {
      if (line == "== My runs" || line == "== 我的成绩") break;
      if (!line.empty() && !line.starts_with("    -> ")) page += line + "\n";
    }
    return page;
  }

  [[nodiscard]] fs::path queued() const {
    return machine.data() / "pending" / "p_20250301_214502.json";
  }

  stage::Stage machine{"chw"};
  stage::RaceServer server;
  fs::path program;
};

/// A window that shows a folder's files.
HWND openFolder() {
  return FindWindowW(stage::runsUnderWine() ? L"ExplorerWClass" : L"CabinetWClass", nullptr);
}

using CheckWindow = CheckWindowTest;
using CheckWindowCp936 = CheckWindowTest;

TEST_F(CheckWindow, showsTheRowsThatTheTextPagePrints) {
  fs::remove(machine.gameFolder() / "dwmapi.dll");
  CheckWindowDriver check = open();
  ASSERT_TRUE(check.waitForAnswers());
  EXPECT_EQ(check.findings(Language::english), printed("en"));
  EXPECT_EQ(check.text(kSummary), "A race can be run; 1 thing(s) worth knowing.");
  // The row that matters is selected, and stands whole below the list.
  EXPECT_NE(check.text(kDetails).find("worth knowing: These files of the mod are not in the "
                                      "game's folder yet; the start copies them: \\dwmapi.dll"),
            std::string::npos)
      << check.text(kDetails);
}

TEST_F(CheckWindowCp936, speaksChinese) {
  CheckWindowDriver check = open("");
  ASSERT_TRUE(check.waitForAnswers("正在检查"));
  EXPECT_EQ(check.findings(Language::chinese), printed("zh"));
  EXPECT_EQ(textOfWindow(check.window()), "KOV 周赛检查");
  EXPECT_EQ(check.text(kPage2), "我的成绩(&2)");
}

TEST_F(CheckWindow, answersReplaceTheRowsThatAreBeingChecked) {
  server.answer("GET", "/week/current",
                stage::Reply::json("{\"week\":\"W\",\"seed\":1}").after(600));
  CheckWindowDriver check = open();
  EXPECT_TRUE(check.says("checking", kAskingServer)) << check.findings(Language::english);
  ASSERT_TRUE(check.waitForAnswers());
  EXPECT_TRUE(check.says("good", "The race server answers: W, seed 1."))
      << check.findings(Language::english);
  // F5 asks again, and shows that it does.
  const std::size_t asked = server.requests().size();
  server.clearAnswers();
  ASSERT_TRUE(check.takeKeyboard());
  check.press({VK_F5});
  ASSERT_TRUE(waitUntil([&] { return check.says("good", kServerIsGood); }));
  EXPECT_EQ(server.requests().size(), 2 * asked);
  // So does the button, with Enter where the focus is.
  check.press({VK_TAB});
  check.press({VK_TAB});
  ASSERT_TRUE(check.waitForFocus(kAgain));
  check.press({VK_RETURN});
  EXPECT_TRUE(waitUntil([&] { return server.requests().size() == 3 * asked; }));
}

TEST_F(CheckWindow, anAnswerToAnOlderQuestionIsDropped) {
  server.answerNth("GET", "/week/current", 1,
                   stage::Reply::json("{\"week\":\"old\",\"seed\":1}").after(500));
  // Two requests a question. The answer that counts comes long after the old one.
  server.answerNth("GET", "/week/current", 3,
                   stage::Reply::json("{\"week\":\"new\",\"seed\":2}").after(700));
  CheckWindowDriver check = open();
  ASSERT_TRUE(waitUntil([&] { return !server.requests().empty(); }));
  ASSERT_TRUE(check.takeKeyboard());
  check.press({VK_F5});
  bool wasOld = false;
  ASSERT_TRUE(waitUntil([&] {
    wasOld = wasOld || check.says("good", "The race server answers: old, seed 1.");
    return check.says("good", "The race server answers: new, seed 2.");
  }));
  EXPECT_FALSE(wasOld);
}

TEST_F(CheckWindow, closesAtOnceWhileAQuestionIsPending) {
  server.answer("GET", "/week/current", stage::Reply::json("{}").after(20000));
  CheckWindowDriver check = open();
  ASSERT_TRUE(waitUntil([&] { return !server.requests().empty(); }));
  ASSERT_TRUE(check.takeKeyboard());
  check.press({VK_ESCAPE});
  EXPECT_TRUE(check.ended(3000));
}

TEST_F(CheckWindow, everythingIsDoneByKeyboardAlone) {
  putDownUnsentRun(machine);
  machine.writeLibraryFolders(std::vector<fs::path>{});  // the game is in none of them
  CheckWindowDriver check = open();
  ASSERT_TRUE(check.waitForAnswers());
  ASSERT_TRUE(check.takeKeyboard());
  EXPECT_EQ(check.focused(), kFindings);
  // Page 1: the bad row asks for the game, which Enter chooses.
  EXPECT_EQ(check.text(kFirst), "Choose the game");
  check.press({VK_RETURN});
  ASSERT_NE(check.waitForBox(), nullptr);
  check.type(machine.gameExe().wstring());
  check.press({VK_RETURN});
  ASSERT_TRUE(waitUntil([&] { return check.text(kSummary).find("Checking") == 0; }));
  ASSERT_NE(check.waitForBox(), nullptr);
  check.press({VK_RETURN});
  ASSERT_TRUE(check.waitForNoBox());
  EXPECT_NE(stage::readFile(machine.app() / "launcher.ini")
                .value_or("")
                .find("game=" + textOf(machine.gameExe())),
            std::string::npos);
  // Tab goes round: rows, their text, the buttons, the pages.
  ASSERT_TRUE(check.waitForAnswers());
  for (const CheckControl next : {kDetails, kAgain, kClose, kPage1, kFindings}) {
    check.press({VK_TAB});
    EXPECT_TRUE(check.waitForFocus(next)) << next << ", not " << check.focused();
  }
  check.press({VK_SHIFT, VK_TAB});
  EXPECT_TRUE(check.waitForFocus(kPage1));
  // An arrow selects the next row, whose text is shown.
  check.press({VK_TAB});
  const std::string before = check.text(kDetails);
  check.press({VK_DOWN});
  EXPECT_TRUE(waitUntil([&] { return check.text(kDetails) != before; }));
  // Page 2: puts the run into the queue, and sends it.
  check.press({VK_CONTROL, VK_TAB});
  ASSERT_TRUE(check.waitForFocus(kRuns));
  EXPECT_EQ(check.cell(kRuns, 1, 0), "2025-03-01 21:45:02");
  EXPECT_FALSE(check.enabled(kFirst));
  check.press({VK_DOWN});
  EXPECT_TRUE(waitUntil([&] { return check.enabled(kFirst); }));
  EXPECT_FALSE(check.enabled(kSecond));
  check.press({VK_MENU, 'P'});
  ASSERT_NE(check.waitForBox(), nullptr);
  EXPECT_TRUE(stage::pathExists(queued()));
  check.press({VK_RETURN});
  ASSERT_TRUE(check.waitForNoBox());
  EXPECT_FALSE(check.enabled(kFirst));
  ASSERT_TRUE(check.enabled(kSecond));
  check.press({VK_MENU, 'S'});
  ASSERT_NE(check.waitForBox(), nullptr);
  EXPECT_FALSE(stage::pathExists(queued()));
  EXPECT_EQ(server.requests("POST", "/submit").size(), 1U);
  check.press({VK_RETURN});
  ASSERT_TRUE(check.waitForNoBox());
  // Esc closes.
  check.press({VK_ESCAPE});
  EXPECT_TRUE(check.ended(3000));
}

TEST_F(CheckWindow, aQueueThatIsBeingSentIsWaitedFor) {
  stage::writeFile(queued(), stage::finishedRun().text());
  server.answer("POST", "/submit", stage::Reply::json("{\"accepted\":true}").after(800));
  CheckWindowDriver check = open();
  ASSERT_TRUE(check.waitForAnswers());
  ASSERT_TRUE(check.takeKeyboard());
  ASSERT_EQ(check.text(kFirst), "Send now");
  check.press({VK_RETURN});
  ASSERT_TRUE(waitUntil([&] { return !server.requests("POST", "/submit").empty(); }));
  check.press({VK_ESCAPE});
  EXPECT_TRUE(waitUntil([&] { return check.text(kSummary).starts_with("Sending; the window"); }));
  EXPECT_TRUE(check.running());
  EXPECT_TRUE(check.ended(3000));
  EXPECT_FALSE(stage::pathExists(queued()));
}

TEST_F(CheckWindow, theTimersServerIsSwitchedOnWhenThePlayerAgrees) {
  const fs::path config = machine.liveSplitFolder() / "settings.cfg";
  const std::string before = stage::liveSplitSettings({"C:\\older.lsl"});
  stage::writeFile(config, before);
  CheckWindowDriver check = open();
  ASSERT_TRUE(check.waitForAnswers());
  ASSERT_TRUE(check.takeKeyboard());
  ASSERT_EQ(check.text(kFirst), "Start the server with LiveSplit");
  check.press({VK_RETURN});
  ASSERT_NE(check.waitForBox(), nullptr);
  check.press({VK_ESCAPE});
  ASSERT_TRUE(check.waitForNoBox());
  EXPECT_EQ(stage::readFile(config), before);
  check.press({VK_RETURN});
  const HWND question = check.waitForBox();
  ASSERT_NE(question, nullptr);
  check.press({VK_RETURN});
  // Not before the result: a reader of the file would be in the way of its replacement.
  const HWND result = check.waitForBox(question);
  ASSERT_NE(result, nullptr);
  EXPECT_NE(stage::readFile(config), before);
  EXPECT_TRUE(check.says(result, "The server will start with LiveSplit from now on."));
}

TEST_F(CheckWindow, theSupportFileIsWrittenWhereItCanBe) {
  // Beside the program something is in the way.
  fs::create_directory(machine.app() / "kov_support.txt");
  CheckWindowDriver check = open();
  ASSERT_TRUE(check.takeKeyboard());
  check.press({VK_CONTROL, VK_SHIFT, VK_TAB});
  ASSERT_TRUE(check.waitForFocus(kDetails));
  EXPECT_NE(check.text(kDetails).find("It never holds: the login code"), std::string::npos);
  check.press({VK_MENU, 'W'});
  const fs::path file = machine.data() / "kov_support.txt";
  ASSERT_TRUE(waitUntil([&] { return check.text(kSummary) == "Written: " + textOf(file); }))
      << check.text(kSummary);
  // Its folder is open.
  HWND folder = nullptr;
  EXPECT_TRUE(waitUntil([&] { return (folder = openFolder()) != nullptr; }));
  PostMessageW(folder, WM_CLOSE, 0, 0);
  // Every question had been answered.
  const std::string text = stage::readFile(file).value_or("");
  EXPECT_NE(text.find(kServerIsGood), std::string::npos);
  EXPECT_EQ(text.find("[checking]"), std::string::npos);
}

TEST_F(CheckWindow, itsDllsAreWindowsOwn) {
  for (const char* name :
       {"comctl32.dll", "comdlg32.dll", "dwmapi.dll", "gdi32.dll", "uxtheme.dll", "user32.dll"}) {
    stage::writeFile(machine.app() / name, "planted");
  }
  CheckWindowDriver check = open();
  ASSERT_TRUE(check.waitForAnswers());
  std::vector<std::wstring> paths = check.modules();
  ASSERT_GT(paths.size(), 5U);
  std::wstring windows(MAX_PATH, L'\0');
  windows.resize(GetSystemWindowsDirectoryW(windows.data(), MAX_PATH));
  bool hasControls = false;
  for (const std::wstring& path : paths) {
    const std::wstring name = path.substr(path.rfind(L'\\') + 1);
    if (lstrcmpiW(name.c_str(), L"kov_check.exe") == 0) continue;
    EXPECT_EQ(lstrcmpiW(path.substr(0, windows.size()).c_str(), windows.c_str()), 0)
        << stage::toUtf8(path);
    // Not the system folder's, which is of an older version.
    if (lstrcmpiW(name.c_str(), L"comctl32.dll") == 0) {
      const std::wstring sideBySide = windows + L"\\winsxs\\";
      hasControls = lstrcmpiW(path.substr(0, sideBySide.size()).c_str(), sideBySide.c_str()) == 0;
    }
  }
  EXPECT_TRUE(hasControls);
}

/// Sets Windows to light or dark programs, until it goes out of scope.
class AppMode {
 public:
  AppMode() {
    had_ = RegGetValueW(HKEY_CURRENT_USER, kKey, kName, RRF_RT_REG_DWORD, nullptr, &before_,
                        &bytes_) == ERROR_SUCCESS;
  }
  ~AppMode() {
    if (had_) {
      set(before_);
    } else {
      RegDeleteKeyValueW(HKEY_CURRENT_USER, kKey, kName);
    }
  }
  AppMode(const AppMode&) = delete;
  AppMode& operator=(const AppMode&) = delete;

  void set(DWORD light) {
    EXPECT_EQ(RegSetKeyValueW(HKEY_CURRENT_USER, kKey, kName, REG_DWORD, &light, sizeof light),
              ERROR_SUCCESS);
  }

 private:
  static constexpr wchar_t kKey[] =
      L"Software\\Microsoft\\Windows\\CurrentVersion\\Themes\\Personalize";
  static constexpr wchar_t kName[] = L"AppsUseLightTheme";
  bool had_ = false;
  DWORD before_ = 0;
  DWORD bytes_ = sizeof before_;
};

TEST_F(CheckWindow, isDarkWhenWindowsIsAlsoWhileItIsOpen) {
  AppMode mode;
  mode.set(0);
  CheckWindowDriver check = open();
  const auto ground = [&check] {
    return static_cast<COLORREF>(SendMessageW(check.control(kFindings), LVM_GETBKCOLOR, 0, 0));
  };
  EXPECT_LT(GetGValue(ground()), 64);
  mode.set(1);
  SendMessageW(check.window(), WM_SETTINGCHANGE, 0, 0);
  EXPECT_EQ(ground(), GetSysColor(COLOR_WINDOW));
}

TEST_F(CheckWindow, growsWithTheScreensResolution) {
  CheckWindowDriver check = open();
  ASSERT_TRUE(check.waitForAnswers());
  RECT before = {};
  GetWindowRect(check.control(kAgain), &before);
  const MemoryOf memory(check.process(), sizeof(RECT));
  memory.write(RECT{0, 0, 1200, 900});
  SendMessageW(check.window(), WM_DPICHANGED, MAKEWPARAM(192, 192),
               reinterpret_cast<LPARAM>(memory.at()));
  RECT whole = {};
  GetWindowRect(check.window(), &whole);
  EXPECT_EQ(whole.right - whole.left, 1200);
  RECT after = {};
  GetWindowRect(check.control(kAgain), &after);
  EXPECT_EQ(after.bottom - after.top, 2 * (before.bottom - before.top));
  EXPECT_GT(after.right - after.left, (before.right - before.left) * 17 / 10);
  for (const CheckControl id : {kPage1, kPage3, kSummary, kFindings, kDetails, kAgain, kClose}) {
    RECT own = {};
    RECT common = {};
    GetWindowRect(check.control(id), &own);
    IntersectRect(&common, &own, &whole);
    EXPECT_TRUE(EqualRect(&common, &own)) << id;
  }
}

}  // namespace
}  // namespace e2e
