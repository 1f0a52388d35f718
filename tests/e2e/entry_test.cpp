// The program among its surroundings: arguments, keys, the current folder, the console.

#include <gtest/gtest.h>

#include <windows.h>

#include <optional>
#include <utility>
#include <vector>

#include "rehearsal/stage/debugger.h"
#include "rehearsal/stage/win_handle.h"
#include "tests/e2e/full_run.h"

namespace {

using e2e::asWritten;
using e2e::kDoneLine;
using e2e::kEnterPrompt;
using e2e::kIncomplete;
using e2e::kStartLine;
using e2e::Lines;
using stage::textOf;

/// Nobody presses a key: a launcher that waits for one counts as a hang.
stage::RunOptions withoutPlayer() {
  stage::RunOptions options;
  options.standardInput.clear();
  options.keepInputOpen = true;
  options.limitMs = 20000;
  return options;
}

/// True when no other process has the file open in a way that keeps us from owning it.
bool opensExclusively(const std::filesystem::path& file) {
  const HANDLE handle =
      CreateFileW(file.c_str(), GENERIC_READ, 0, nullptr, OPEN_EXISTING, 0, nullptr);
  if (handle == INVALID_HANDLE_VALUE) return false;
  CloseHandle(handle);
  return true;
}

// Modes ------------------------------------------------------------------------------------

TEST(EntryModes, onlyTheExactWordsAreModes) {
  stage::Stage machine("entry");
  machine.writeIni({{"dryrun", "1"}, {"game", textOf(machine.launcher())}});
  for (const std::string arguments : {"--Detect", "\"--upload \"", "x --detect", "\"\" --upload"}) {
    SCOPED_TRACE(arguments);
    const stage::RunResult run = machine.runLauncher(arguments, withoutPlayer());
    EXPECT_EQ(run.exitCode, 0U);
    ASSERT_EQ(run.logLines().size(), 8U);
    EXPECT_EQ(run.logLines()[1], "DRYRUN steam=");
  }
}

TEST(EntryModes, argumentsAfterTheFirstAreIgnored) {
  stage::Stage machine("entry");
  const stage::RunResult run = machine.runLauncher("--detect --upload --profile");
  EXPECT_EQ(run.logLines(), (Lines{kStartLine, e2e::kNoPersona}));
}

// The player's key -------------------------------------------------------------------------

TEST(EntrySettings, withoutSettingsItWaitsForOneCharacterWithTheLogStillOpen) {
  stage::Stage machine("entry");
  stage::LauncherRun run = machine.startLauncher({}, withoutPlayer());
  ASSERT_TRUE(run.waitForConsole(kEnterPrompt));
  EXPECT_TRUE(run.running());
  EXPECT_FALSE(opensExclusively(machine.log()));
  run.typeInput("\n");
  const stage::RunResult result = run.wait();
  EXPECT_FALSE(result.hang);
  EXPECT_EQ(result.exitCode, 1U);
  EXPECT_EQ(result.logLines(), (Lines{kStartLine, kIncomplete}));
}

class EntryStages : public e2e::FullRunTest {};

TEST_F(EntryStages, atTheEndItWaitsForOneCharacterWithTheLogClosed) {
  stage::LauncherRun run = start(withoutPlayer());
  ASSERT_TRUE(run.waitForLog("waiting for exit..."));
  machine.endGame();
  ASSERT_TRUE(run.waitForConsole(kEnterPrompt));
  EXPECT_TRUE(run.running());
  EXPECT_TRUE(opensExclusively(machine.log()));
  EXPECT_EQ(machine.dataFile("launch.state"), "done");
  EXPECT_TRUE(machine.logBytes().ends_with(std::string(kDoneLine) + "\r\n"));
  run.typeInput("x");
  const stage::RunResult result = run.wait();
  EXPECT_FALSE(result.hang);
  EXPECT_EQ(result.exitCode, 0U);
}

TEST_F(EntryStages, theEndOfInputEndsTheWaitToo) {
  stage::RunOptions options;
  options.standardInput.clear();
  EXPECT_FALSE(play(options).hang);
}

// The program folder -----------------------------------------------------------------------

// Settings, login code, log and both placeholders are those of the program, wherever it is
// started from.
TEST(EntryPlace, theCurrentFolderDoesNotMatter) {
  stage::Stage machine("entry");
  stage::writeFile(machine.local() / "launcher.ini", "receipt=wrong\ndata=wrong\ndryrun=1\n");
  stage::writeFile(machine.local() / "profile_token.txt", "not this one");
  stage::writeFile(machine.data() / "profile_token.txt", "k4 \r\n");
  machine.writeRawIni("receipt=%APPDIR%r\r\ndata=%LOCALDATA%\\d\r\ndryrun=1\r\n");
  const Lines before = stage::listFolder(machine.local());
  stage::RunOptions options = withoutPlayer();
  options.currentFolder = machine.local();
  const stage::RunResult run = machine.runLauncher({}, options);
  const Lines log = {kStartLine,
                     "profile token preloaded (2 bytes)",
                     e2e::kGameNotFound,
                     "DRYRUN steam=",
                     "DRYRUN game=",
                     "DRYRUN receipt=" + textOf(machine.app()) + "\\r",
                     "DRYRUN data=" + textOf(machine.local()) + "\\KOV-Race\\d",
                     "DRYRUN livesplit=",
                     "DRYRUN install_from=",
                     "DRYRUN steam_id= persona="};
  EXPECT_EQ(run.exitCode, 0U);
  EXPECT_EQ(run.console, asWritten(log));
  EXPECT_EQ(machine.logBytes(), asWritten(log));
  EXPECT_EQ(stage::listFolder(machine.local()), before);
}

// The console ------------------------------------------------------------------------------

/// A console of our own, which a launcher shares. Our standard handles stay as they were.
class OwnConsole {
 public:
  OwnConsole() {
    FreeConsole();
    EXPECT_TRUE(AllocConsole());
    for (std::size_t i = 0; i < std::size(kNames); ++i) {
      own_[i] = GetStdHandle(kNames[i]);
      SetStdHandle(kNames[i], before_[i]);
    }
    SECURITY_ATTRIBUTES inheritable{sizeof inheritable, nullptr, TRUE};
    input_ =
        CreateFileW(L"CONIN$", GENERIC_READ | GENERIC_WRITE, FILE_SHARE_READ | FILE_SHARE_WRITE,
                    &inheritable, OPEN_EXISTING, 0, nullptr);
    output_ =
        CreateFileW(L"CONOUT$", GENERIC_READ | GENERIC_WRITE, FILE_SHARE_READ | FILE_SHARE_WRITE,
                    &inheritable, OPEN_EXISTING, 0, nullptr);
  }
  ~OwnConsole() {
    CloseHandle(input_);
    CloseHandle(output_);
    // The end of a console closes the standard handles that came with it.
    for (std::size_t i = 0; i < std::size(kNames); ++i) SetStdHandle(kNames[i], own_[i]);
    FreeConsole();
    for (std::size_t i = 0; i < std::size(kNames); ++i) SetStdHandle(kNames[i], before_[i]);
  }
  OwnConsole(const OwnConsole&) = delete;
  OwnConsole& operator=(const OwnConsole&) = delete;

  [[nodiscard]] HANDLE start(const std::filesystem::path& program,
                             const std::wstring& arguments = {}, DWORD flags = 0) const {
    STARTUPINFOW startup{};
    startup.cb = sizeof startup;
    startup.dwFlags = STARTF_USESTDHANDLES;
    startup.hStdInput = input_;
    startup.hStdOutput = startup.hStdError = output_;
    PROCESS_INFORMATION info{};
    std::wstring commandLine = L"\"" + program.wstring() + L"\" " + arguments;
    EXPECT_TRUE(CreateProcessW(nullptr, commandLine.data(), nullptr, nullptr, TRUE, flags, nullptr,
                               program.parent_path().c_str(), &startup, &info));
    CloseHandle(info.hThread);
    return info.hProcess;
  }
  void setMode(DWORD mode) const { EXPECT_TRUE(SetConsoleMode(input_, mode)); }
  [[nodiscard]] DWORD mode() const {
    DWORD mode = 0;
    EXPECT_TRUE(GetConsoleMode(input_, &mode));
    return mode;
  }
  void pressEnter() const {
    INPUT_RECORD key{};
    key.EventType = KEY_EVENT;
    key.Event.KeyEvent = {TRUE, 1, VK_RETURN, 28, {L'\r'}, 0};
    DWORD written = 0;
    EXPECT_TRUE(WriteConsoleInputW(input_, &key, 1, &written));
  }
  /// The text of the screen's first rows, blanks at the ends of rows removed.
  [[nodiscard]] std::string screen(SHORT rows) const {
    std::string text;
    for (SHORT row = 0; row < rows; ++row) {
      wchar_t cells[80];
      DWORD read = 0;
      ReadConsoleOutputCharacterW(output_, cells, 80, {0, row}, &read);
      std::string line = stage::toUtf8(std::wstring_view(cells, read));
      line.erase(line.find_last_not_of(' ') + 1);
      text += line + "\n";
    }
    return text;
  }

 private:
  static constexpr DWORD kNames[] = {STD_INPUT_HANDLE, STD_OUTPUT_HANDLE, STD_ERROR_HANDLE};
  HANDLE before_[3] = {GetStdHandle(kNames[0]), GetStdHandle(kNames[1]), GetStdHandle(kNames[2])};
  HANDLE own_[3] = {};
  HANDLE input_ = nullptr;
  HANDLE output_ = nullptr;
};

class EntryConsole : public testing::Test {
 protected:
  /// A launcher without settings in our console, until it waits for a key.
  HANDLE startAndWaitForPrompt() {
    const HANDLE process = console_.start(machine_.launcher());
    const std::string wanted = asWritten({kStartLine, kIncomplete});
    for (int tries = 0; tries < 1000 && machine_.logBytes() != wanted; ++tries) Sleep(10);
    EXPECT_EQ(machine_.logBytes(), wanted);
    return process;
  }
  /// The modes that a launcher sets for the console's input until it ends.
  std::vector<DWORD> modesSet(const wchar_t* arguments) const {
    std::vector<DWORD> modes;
    std::optional<stage::Debugger> debugger;
    debugger.emplace(
        L"kernel32.dll",
        stage::Debugger::Functions{{"SetConsoleMode", [&](const stage::Debugger::Call& call) {
                                      if (debugger->inProgram(call.caller()))
                                        modes.push_back(call.argument<DWORD>(2));
                                    }}});
    const stage::WinHandle process =
        stage::ownHandle(console_.start(machine_.launcher(), arguments, DEBUG_ONLY_THIS_PROCESS));
    const std::uint64_t limit = GetTickCount64() + 20000;
    while (!debugger->exitCode() && GetTickCount64() < limit) debugger->work(50);
    EXPECT_TRUE(debugger->exitCode()) << "the launcher does not end";
    return modes;
  }
  void finish(HANDLE process) const {
    console_.pressEnter();
    EXPECT_EQ(WaitForSingleObject(process, 10000), WAIT_OBJECT_0);
    DWORD code = 0;
    GetExitCodeProcess(process, &code);
    EXPECT_EQ(code, 1U);
    CloseHandle(process);
  }

  stage::Stage machine_{"entry"};
  OwnConsole console_;
};

TEST_F(EntryConsole, quickEditIsSwitchedOffAndTheRestOfTheModeStays) {
  const DWORD mode = ENABLE_PROCESSED_INPUT | ENABLE_LINE_INPUT | ENABLE_ECHO_INPUT |
                     ENABLE_MOUSE_INPUT | ENABLE_WINDOW_INPUT | ENABLE_QUICK_EDIT_MODE |
                     ENABLE_EXTENDED_FLAGS;
  console_.setMode(mode);
  ASSERT_EQ(console_.mode(), mode);
  const HANDLE process = startAndWaitForPrompt();
  EXPECT_EQ(console_.mode(), mode & ~static_cast<DWORD>(ENABLE_QUICK_EDIT_MODE));
  finish(process);
  EXPECT_EQ(console_.mode(), mode);
}

// A run that leaves early puts the mode back too; the other modes never touch it.
TEST_F(EntryConsole, quickEditIsSwitchedOffInARunAlone) {
  const DWORD off = ENABLE_PROCESSED_INPUT | ENABLE_LINE_INPUT | ENABLE_EXTENDED_FLAGS;
  const DWORD on = off | ENABLE_QUICK_EDIT_MODE;
  machine_.writeIni({{"dryrun", "1"}});
  for (const auto& [arguments, wanted] :
       {std::pair(L"", std::vector<DWORD>{off, on}), std::pair(L"--other", std::vector{off, on}),
        std::pair(L"--detect", std::vector<DWORD>{}), std::pair(L"--profile", std::vector<DWORD>{}),
        std::pair(L"--upload", std::vector<DWORD>{})}) {
    console_.setMode(on);
    EXPECT_EQ(modesSet(arguments), wanted) << stage::toUtf8(arguments);
    EXPECT_EQ(console_.mode(), on) << stage::toUtf8(arguments);
  }
}

TEST_F(EntryConsole, anotherModeIsKeptAsItIs) {
  const DWORD mode =
      ENABLE_PROCESSED_INPUT | ENABLE_LINE_INPUT | ENABLE_INSERT_MODE | ENABLE_EXTENDED_FLAGS;
  console_.setMode(mode);
  const HANDLE process = startAndWaitForPrompt();
  EXPECT_EQ(console_.mode(), mode);
  finish(process);
}

TEST_F(EntryConsole, itsCodePagesAreUtf8AndChineseTextIsWhole) {
  SetConsoleOutputCP(437);
  SetConsoleCP(437);
  const HANDLE process = startAndWaitForPrompt();
  const std::string wanted = std::string(kStartLine) + "\n" + kIncomplete + "\n\n按回车键退出...\n";
  std::string seen;
  for (int tries = 0; tries < 500 && seen != wanted; ++tries) {
    seen = console_.screen(4);
    Sleep(10);
  }
  EXPECT_EQ(seen, wanted);
  EXPECT_EQ(GetConsoleOutputCP(), 65001U);
  EXPECT_EQ(GetConsoleCP(), 65001U);
  finish(process);
}

}  // namespace
