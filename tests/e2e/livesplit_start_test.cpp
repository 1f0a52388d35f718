#include <gtest/gtest.h>

#include <windows.h>

#include "tests/e2e/full_run.h"

namespace {

using e2e::asWritten;
using e2e::joined;
using e2e::kEnterPrompt;
using e2e::Lines;
using e2e::maskedLog;
using stage::readFile;
using stage::textOf;
using stage::writeFile;
namespace fs = std::filesystem;

constexpr char kEarly[] = "livesplit started early (before chooser)";
constexpr char kAlready[] = "livesplit already running (pid #), not opening another";
constexpr char kReachable[] = "livesplit tcp server reachable (phase=NotRunning)";
constexpr char kLoading[] = "LiveSplit loading in background, please wait 1-3s...\r\n";
constexpr std::uint32_t kInformationOnTop = 0x40040;  // MB_ICONINFORMATION | MB_TOPMOST
constexpr char kReminder[] =
    "提醒：还没连上 LiveSplit 的计时服务器。\n\n"
    "现在就可以去开：\n"
    "右键 LiveSplit → Control → Start TCP Server\n\n"
    "这个不影响启动游戏，你可以在跑之前随时开。\n"
    "不开的话成绩不会自动上传。\n\n"
    "点「确定」继续进入游戏。";

/// A moment in the past, to see that a file has not been written since.
FILETIME longAgo() {
  SYSTEMTIME time{};
  time.wYear = 2020;
  time.wMonth = 2;
  time.wDay = 2;
  FILETIME result{};
  SystemTimeToFileTime(&time, &result);
  return result;
}

void makeOld(const fs::path& file) {
  const HANDLE handle = CreateFileW(file.c_str(), FILE_WRITE_ATTRIBUTES, 0, nullptr,
                                    OPEN_EXISTING, 0, nullptr);
  ASSERT_NE(handle, INVALID_HANDLE_VALUE);
  const FILETIME time = longAgo();
  EXPECT_TRUE(SetFileTime(handle, nullptr, nullptr, &time));
  CloseHandle(handle);
}

bool isStillOld(const fs::path& file) {
  WIN32_FILE_ATTRIBUTE_DATA data{};
  const FILETIME time = longAgo();
  return GetFileAttributesExW(file.c_str(), GetFileExInfoStandard, &data) &&
         CompareFileTime(&data.ftLastWriteTime, &time) == 0;
}

/// The launcher with LiveSplit's files; whether LiveSplit itself is started is up to the
/// settings. Its server is played in here where a test does not say otherwise.
class LiveSplitStart : public e2e::FullRunTest {
 protected:
  LiveSplitStart() {
    machine.installLiveSplit({.listens = false});
    set("livesplit", textOf(machine.liveSplitExe()));
  }

  void withSplits() { set("livesplit_lss", textOf(machine.splits())); }

  [[nodiscard]] fs::path config() const { return machine.liveSplitFolder() / "settings.cfg"; }
  /// settings.cfg as installed, with these recent layouts.
  [[nodiscard]] std::string settingsWith(const std::vector<std::string>& layouts) const {
    return stage::liveSplitSettings(layouts, textOf(machine.splits()));
  }
  [[nodiscard]] std::string raceLayout() const {
    return textOf(machine.liveSplitFolder() / "halvorn.lsl");
  }
  [[nodiscard]] std::string fixed() const {
    return "livesplit layout path fixed to " + raceLayout();
  }
  [[nodiscard]] std::string commandLine() const {
    return "\"" + textOf(machine.liveSplitExe()) + "\" \"" + textOf(machine.splits()) + "\"";
  }
  /// The command lines of every LiveSplit that was started.
  [[nodiscard]] Lines started() const {
    Lines all;
    for (const stage::Event& event : machine.timeline().events("livesplit", "start")) {
      all.push_back(event.text);
    }
    return all;
  }
  /// Waits until the LiveSplit that was started has noted so.
  void waitForStart() const { EXPECT_TRUE(machine.timeline().waitFor("livesplit", "start")); }

  /// The process id in the line about the running LiveSplit; 0 when there is no such line.
  static unsigned long runningId(const stage::RunResult& run) {
    constexpr std::string_view kFront = "livesplit already running (pid ";
    for (const std::string& line : run.logLines()) {
      if (line.starts_with(kFront)) return std::stoul(line.substr(kFront.size()));
    }
    return 0;
  }
};

/// With the timer's server, which has no time and no run under way.
class LiveSplitReady : public LiveSplitStart {
 protected:
  LiveSplitReady() { timer_.replyState("NotRunning", std::nullopt, std::nullopt, 0.0); }

  stage::TimerServer timer_;
};

// Layout -----------------------------------------------------------------------------------

TEST_F(LiveSplitReady, everyLayoutPathOfARealSettingsFileIsRewritten) {
  ASSERT_EQ(readFile(config()), settingsWith({"C:\\older.lsl", "C:\\loaded-at-start.lsl"}));
  EXPECT_EQ(maskedLog(play()), wholeLog({.early = {fixed()}, .timer = {kReachable}}));
  EXPECT_EQ(readFile(config()), settingsWith({raceLayout(), raceLayout()}));
  EXPECT_EQ(started(), Lines{});  // no splits, no start
}

TEST_F(LiveSplitReady, aRightLayoutIsNeitherWrittenNorLogged) {
  writeFile(config(), settingsWith({raceLayout()}));
  makeOld(config());
  EXPECT_EQ(maskedLog(play()), wholeLog({.timer = {kReachable}}));
  EXPECT_TRUE(isStillOld(config()));
}

TEST_F(LiveSplitReady, oneWrongLayoutAmongRightOnesIsEnough) {
  writeFile(config(), settingsWith({raceLayout(), "C:\\other.lsl", raceLayout()}));
  EXPECT_EQ(maskedLog(play()), wholeLog({.early = {fixed()}, .timer = {kReachable}}));
  EXPECT_EQ(readFile(config()), settingsWith({raceLayout(), raceLayout(), raceLayout()}));
}

TEST_F(LiveSplitReady, withoutALayoutPathTheFileStaysUntouched) {
  writeFile(config(), settingsWith({}));
  makeOld(config());
  EXPECT_EQ(maskedLog(play()), wholeLog({.timer = {kReachable}}));
  EXPECT_TRUE(isStillOld(config()));
}

TEST_F(LiveSplitReady, aMissingSettingsFileIsNotCreatedAndNeitherIsTheLayout) {
  fs::remove(config());
  fs::remove(machine.liveSplitFolder() / "halvorn.lsl");
  EXPECT_EQ(maskedLog(play()), wholeLog({.timer = {kReachable}}));
  EXPECT_FALSE(stage::pathExists(config()));
  EXPECT_FALSE(stage::pathExists(machine.liveSplitFolder() / "halvorn.lsl"));
}

TEST_F(LiveSplitReady, aLayoutFileThatIsNotThereIsNamedAllTheSame) {
  fs::remove(machine.liveSplitFolder() / "halvorn.lsl");
  EXPECT_EQ(maskedLog(play()), wholeLog({.early = {fixed()}, .timer = {kReachable}}));
}

TEST_F(LiveSplitReady, anUnclosedElementEndsTheScanAndWhatWasChangedIsWritten) {
  const std::string behind = "\r\n<LayoutPath>C:\\open.lsl\r\n\xFF\xFE";
  writeFile(config(), "<LayoutPath>C:\\closed.lsl</LayoutPath>" + behind);
  EXPECT_EQ(maskedLog(play()), wholeLog({.early = {fixed()}, .timer = {kReachable}}));
  EXPECT_EQ(readFile(config()), "<LayoutPath>" + raceLayout() + "</LayoutPath>" + behind);
}

TEST_F(LiveSplitReady, thePathGoesInRaw) {
  const fs::path folder = machine.root() / "a&b";
  writeFile(folder / "settings.cfg", "<LayoutPath></LayoutPath>");
  set("livesplit", textOf(folder / "LiveSplit.exe"));
  const std::string layout = textOf(folder / "halvorn.lsl");
  EXPECT_EQ(maskedLog(play()), wholeLog({.early = {"livesplit layout path fixed to " + layout},
                                         .timer = {kReachable}}));
  EXPECT_EQ(readFile(folder / "settings.cfg"), "<LayoutPath>" + layout + "</LayoutPath>");
}

TEST_F(LiveSplitReady, aSettingsFileThatCannotBeWrittenIsLoggedAllTheSame) {
  const std::string before = readFile(config()).value();
  const e2e::HeldFile held(config(), FILE_SHARE_READ);
  EXPECT_EQ(maskedLog(play()), wholeLog({.early = {fixed()}, .timer = {kReachable}}));
  EXPECT_EQ(readFile(config()), before);
}

TEST_F(LiveSplitReady, aPathWithoutBackslashIsItsOwnFolder) {
  writeFile(machine.app() / "LiveSplit.exe" / "settings.cfg", "<LayoutPath>old</LayoutPath>");
  set("livesplit", "LiveSplit.exe");
  EXPECT_EQ(maskedLog(play()),
            wholeLog({.early = {"livesplit layout path fixed to LiveSplit.exe\\halvorn.lsl"},
                      .timer = {kReachable}}));
  EXPECT_EQ(readFile(machine.app() / "LiveSplit.exe" / "settings.cfg"),
            "<LayoutPath>LiveSplit.exe\\halvorn.lsl</LayoutPath>");
}

// Start ------------------------------------------------------------------------------------

TEST_F(LiveSplitReady, withoutLiveSplitInTheSettingsNothingIsDone) {
  set("livesplit", "");
  withSplits();
  makeOld(config());
  EXPECT_EQ(maskedLog(play()), wholeLog({}));
  EXPECT_TRUE(isStillOld(config()));
  EXPECT_EQ(started(), Lines{});
}

TEST_F(LiveSplitStart, itIsStartedOnceWithTheSplitsAndStaysBehind) {
  machine.setLiveSplit({.listens = true});
  withSplits();
  const stage::RunResult run = play();
  EXPECT_EQ(maskedLog(run),
            wholeLog({.early = {fixed(), kEarly}, .timer = {kAlready, kReachable}}));
  EXPECT_EQ(started(), Lines{commandLine()});
  const std::vector<stage::RunningProcess> running = stage::findProcesses("LiveSplit.exe");
  ASSERT_EQ(running.size(), 1U);
  EXPECT_EQ(runningId(run), running[0].id);
  // What the player reads meanwhile is on the console alone, right after the line.
  const std::string line = std::string(kEarly) + "\r\n";
  std::string console = run.log + kEnterPrompt;
  console.insert(console.find(line) + line.size(), kLoading);
  EXPECT_EQ(run.console, console);
}

TEST_F(LiveSplitReady, oneThatRunsAlreadyIsNotStartedAgain) {
  withSplits();
  const std::uint32_t id = machine.startLiveSplit();
  waitForStart();
  const stage::RunResult run = play();
  EXPECT_EQ(maskedLog(run), wholeLog({.early = {fixed()}, .timer = {kAlready, kReachable}}));
  EXPECT_EQ(runningId(run), id);
  EXPECT_EQ(run.console, run.log + kEnterPrompt);
  EXPECT_EQ(started().size(), 1U);
}

TEST_F(LiveSplitReady, aRunningOneIsKnownByItsNameAloneInAnyCase) {
  withSplits();
  const fs::path other = machine.root() / "other" / "LIVESPLIT.EXE";
  stage::Stage::copyStandIn("LiveSplit.exe", other);
  writeFile(machine.root() / "other" / "LIVESPLIT.json",
            stage::scriptText(stage::LiveSplitScript{.listens = false},
                              machine.timeline().file(), machine.root() / "never"));
  const std::uint32_t id = stage::startDetached(other, {});
  const stage::RunResult run = play();
  EXPECT_EQ(maskedLog(run), wholeLog({.early = {fixed()}, .timer = {kAlready, kReachable}}));
  EXPECT_EQ(runningId(run), id);
}

TEST_F(LiveSplitReady, aPathThatOnlyWindowsCompletesIsStartedByTheSecondStart) {
  // There is no file of this name, so the early start leaves it; the second one tries.
  set("livesplit", textOf(machine.liveSplitFolder() / "LiveSplit"));
  withSplits();
  const stage::RunResult run = play();
  EXPECT_EQ(maskedLog(run), wholeLog({.early = {fixed()},
                                      .timer = {"livesplit started with splits arg", kReachable}}));
  waitForStart();
  EXPECT_EQ(started(), Lines{"\"" + textOf(machine.liveSplitFolder() / "LiveSplit") + "\" \"" +
                             textOf(machine.splits()) + "\""});
  EXPECT_EQ(run.console, run.log + kEnterPrompt);
}

TEST_F(LiveSplitReady, aMissingProgramFailsInTheSecondStartOnly) {
  fs::remove(machine.liveSplitExe());
  withSplits();
  const stage::RunResult run = play();
  EXPECT_EQ(maskedLog(run),
            wholeLog({.early = {fixed()},
                      .timer = {"livesplit failed to start (err 2)", kReachable}}));
  EXPECT_EQ(run.console, run.log + kEnterPrompt);
}

TEST_F(LiveSplitReady, aProgramThatIsNoneFailsSilentlyAtFirst) {
  writeFile(machine.liveSplitExe(), "not a program\n");
  withSplits();
  const stage::RunResult run = play();
  EXPECT_EQ(maskedLog(run),
            wholeLog({.early = {fixed()},
                      .timer = {"livesplit failed to start (err 193)", kReachable}}));
  EXPECT_EQ(run.console, run.log + kEnterPrompt);
}

TEST_F(LiveSplitReady, itsPathsAreExpanded) {
  set("livesplit", "%APPDIR%..\\ls\\LiveSplit.exe");
  set("livesplit_lss", "%APPDIR%my run.lss");
  const std::string app = textOf(machine.app());
  EXPECT_EQ(maskedLog(play()),
            wholeLog({.early = {"livesplit layout path fixed to " + app + "\\..\\ls\\halvorn.lsl",
                                kEarly},
                      .timer = {kAlready, kReachable}}));
  waitForStart();
  EXPECT_EQ(started(),
            Lines{"\"" + app + "\\..\\ls\\LiveSplit.exe\" \"" + app + "\\my run.lss\""});
}

/// LiveSplit below a folder with such a name, and splits with such a name.
class InAnsiFolder : public LiveSplitReady {
 protected:
  void expectStartedIn(const std::string& name) {
    const fs::path folder = machine.root() / stage::pathOf(name);
    fs::rename(machine.liveSplitFolder(), folder);
    const std::string program = textOf(folder / "LiveSplit.exe");
    const std::string splits = textOf(folder) + "\\" + name + ".lss";
    set("livesplit", stage::toAnsi(program));
    set("livesplit_lss", stage::toAnsi(splits));
    const std::string layout = stage::toAnsi(textOf(folder / "halvorn.lsl"));
    EXPECT_EQ(maskedLog(play()),
              wholeLog({.early = {"livesplit layout path fixed to " + layout, kEarly},
                        .timer = {kAlready, kReachable}}));
    waitForStart();
    EXPECT_EQ(started(), Lines{"\"" + program + "\" \"" + splits + "\""});
    // Raw bytes of the code page, whatever the file says about its encoding.
    EXPECT_EQ(readFile(folder / "settings.cfg"), settingsWith({layout, layout}));
  }
};

class LiveSplitStartAnsi : public InAnsiFolder {};

TEST_F(LiveSplitStartAnsi, westernNamesReachLiveSplitAsCharacters) {
  ASSERT_EQ(stage::ansiCodePage(), 1252U);
  expectStartedIn("chrono d'été");
}

class LiveSplitStartCp936 : public InAnsiFolder {};

TEST_F(LiveSplitStartCp936, chineseNamesReachLiveSplitAsCharacters) {
  ASSERT_EQ(stage::ansiCodePage(), 936U);
  expectStartedIn("计时器");
}

// The two usual places ---------------------------------------------------------------------

/// LiveSplit in one of the places where it is looked for when the settings' path is wrong.
class UsualPlace {
 public:
  explicit UsualPlace(const stage::Stage& machine, std::string_view programs)
      : folder_(fs::path(programs) / "LiveSplit") {
    std::error_code error;
    if (!fs::create_directory(folder_, error)) return;
    mine_ = true;
    stage::Stage::copyStandIn("LiveSplit.exe", program());
    writeFile(config(), kConfig);
    writeFile(folder_ / "LiveSplit.json",
              stage::scriptText(stage::LiveSplitScript{.listens = false},
                                machine.timeline().file(), machine.root() / "never"));
  }
  ~UsualPlace() {
    if (!mine_) return;
    for (const stage::RunningProcess& process : stage::processesBelow(folder_)) {
      stage::endProcess(process.id);
    }
    std::error_code error;
    for (int tries = 0; tries < 100 && stage::pathExists(folder_); ++tries) {
      fs::remove_all(folder_, error);
      if (error) Sleep(20);
    }
    EXPECT_FALSE(stage::pathExists(folder_));
  }
  UsualPlace(const UsualPlace&) = delete;
  UsualPlace& operator=(const UsualPlace&) = delete;

  static constexpr char kConfig[] = "<LayoutPath>C:\\usual.lsl</LayoutPath>";

  /// False: the folder is there already, or we may not create it.
  [[nodiscard]] bool isOurs() const { return mine_; }
  [[nodiscard]] fs::path program() const { return folder_ / "LiveSplit.exe"; }
  [[nodiscard]] fs::path config() const { return folder_ / "settings.cfg"; }

 private:
  fs::path folder_;
  bool mine_ = false;
};

constexpr char kFirst[] = "C:\\Program Files";
constexpr char kSecond[] = "C:\\Program Files (x86)";

class LiveSplitElsewhere : public LiveSplitReady {
 protected:
  /// The settings name a program that is not there, in a folder with a settings.cfg.
  LiveSplitElsewhere() {
    fs::remove(machine.liveSplitExe());
    withSplits();
  }
  [[nodiscard]] Lines startedAs(const fs::path& program) const {
    return {"\"" + textOf(program) + "\" \"" + textOf(machine.splits()) + "\""};
  }
};

TEST_F(LiveSplitElsewhere, theSecondPlaceIsTakenWithoutALineAndItsLayoutIsNotFixed) {
  const UsualPlace second(machine, kSecond);
  if (!second.isOurs()) GTEST_SKIP() << "cannot put a LiveSplit into " << kSecond;
  ASSERT_FALSE(stage::pathExists(fs::path(kFirst) / "LiveSplit"));
  EXPECT_EQ(maskedLog(play()),
            wholeLog({.early = {fixed(), kEarly}, .timer = {kAlready, kReachable}}));
  waitForStart();
  EXPECT_EQ(started(), startedAs(second.program()));
  EXPECT_EQ(readFile(config()), settingsWith({raceLayout(), raceLayout()}));
  EXPECT_EQ(readFile(second.config()), UsualPlace::kConfig);
}

TEST_F(LiveSplitElsewhere, theFirstPlaceGoesBeforeTheSecond) {
  const UsualPlace first(machine, kFirst);
  const UsualPlace second(machine, kSecond);
  if (!first.isOurs() || !second.isOurs()) GTEST_SKIP() << "cannot put a LiveSplit there";
  EXPECT_EQ(maskedLog(play()),
            wholeLog({.early = {fixed(), kEarly}, .timer = {kAlready, kReachable}}));
  waitForStart();
  EXPECT_EQ(started(), startedAs(first.program()));
}

TEST_F(LiveSplitElsewhere, aPlaceThatTheSecondStartTakesIsLoggedBeforeTheRunningOne) {
  const UsualPlace first(machine, kFirst);
  if (!first.isOurs()) GTEST_SKIP() << "cannot put a LiveSplit into " << kFirst;
  const fs::path running = machine.root() / "other" / "LiveSplit.exe";
  stage::Stage::copyStandIn("LiveSplit.exe", running);
  writeFile(machine.root() / "other" / "LiveSplit.json",
            stage::scriptText(stage::LiveSplitScript{.listens = false},
                              machine.timeline().file(), machine.root() / "never"));
  const std::uint32_t id = stage::startDetached(running, {});
  const stage::RunResult run = play();
  EXPECT_EQ(maskedLog(run),
            wholeLog({.early = {fixed()},
                      .timer = {"livesplit found at " + textOf(first.program()), kAlready,
                                kReachable}}));
  EXPECT_EQ(runningId(run), id);
}

TEST_F(LiveSplitElsewhere, aRightPathIsNotReplaced) {
  const UsualPlace first(machine, kFirst);
  if (!first.isOurs()) GTEST_SKIP() << "cannot put a LiveSplit into " << kFirst;
  machine.installLiveSplit({.listens = false});
  EXPECT_EQ(maskedLog(play()),
            wholeLog({.early = {fixed(), kEarly}, .timer = {kAlready, kReachable}}));
  waitForStart();
  EXPECT_EQ(started(), Lines{commandLine()});
}

// Probe ------------------------------------------------------------------------------------

/// A timer that writes into the machine's timeline and refuses to answer the first probes.
class LiveSplitProbe : public LiveSplitStart {
 protected:
  LiveSplitProbe() { timer_.replyState("NotRunning", std::nullopt, std::nullopt, 0.0); }

  /// The server closes so many connections unanswered, then it answers.
  void answerAfter(std::size_t refusals) {
    std::vector<stage::TimerReply> replies(refusals, stage::TimerReply::close());
    replies.push_back(stage::TimerReply::line("Running"));
    timer_.reply("getcurrenttimerphase", replies);
  }

  /// When the probes came. (Without a race server nothing else asks for the phase.)
  [[nodiscard]] std::vector<std::uint64_t> probes() const {
    std::vector<std::uint64_t> ticks;
    for (const stage::Event& event : machine.timeline().events("timer", "command")) {
      if (event.text == "getcurrenttimerphase") ticks.push_back(event.tickMs);
    }
    return ticks;
  }

  stage::TimerServer timer_{{.timeline = machine.timeline()}};
};

/// Half a second, less what the clock of the events may be off.
constexpr std::uint64_t kPauseMs = 480;

constexpr char kUnreachable[] = "WARNING: livesplit tcp server not reachable";

TEST_F(LiveSplitProbe, anEmptyReplyIsAskedAgainHalfASecondLater) {
  answerAfter(2);
  EXPECT_EQ(maskedLog(play()),
            wholeLog({.early = {fixed()},
                      .timer = {"livesplit tcp server reachable (phase=Running)"}}));
  const std::vector<std::uint64_t> ticks = probes();
  ASSERT_EQ(ticks.size(), 3U);
  EXPECT_GE(ticks[1] - ticks[0], kPauseMs);
  EXPECT_GE(ticks[2] - ticks[1], kPauseMs);
}

TEST_F(LiveSplitStart, aServerThatComesUpLateIsWaitedFor) {
  machine.setLiveSplit({.delayMs = 1200});
  withSplits();
  const stage::MessageBoxWatcher boxes;
  EXPECT_EQ(maskedLog(play()),
            wholeLog({.early = {fixed(), kEarly}, .timer = {kAlready, kReachable}}));
  EXPECT_TRUE(boxes.boxes().empty());
}

class LiveSplitProbeLong : public LiveSplitProbe {};

TEST_F(LiveSplitProbeLong, after30EmptyRepliesTheReminderHoldsTheRunUntilItIsClosed) {
  answerAfter(1000);
  stage::MessageBoxWatcher boxes({.close = false, .timeline = machine.timeline()});
  stage::LauncherRun run = start({.recordBoxCalls = true});
  ASSERT_TRUE(boxes.waitForBoxes(1, 40000));
  EXPECT_EQ(run.log(), asWritten({e2e::kStartLine,
                                  "steam persona not found, using ini player: runner", fixed(),
                                  e2e::kChooser, kUnreachable}));
  const std::vector<std::uint64_t> ticks = probes();
  ASSERT_EQ(ticks.size(), 30U);
  for (std::size_t i = 1; i < ticks.size(); ++i) EXPECT_GE(ticks[i] - ticks[i - 1], kPauseMs);
  // The 30th empty reply is followed by its pause too.
  EXPECT_GE(machine.timeline().events("box", "open").at(0).tickMs - ticks.back(), kPauseMs);
  boxes.closeAll();
  const stage::RunResult result = finish(run);
  EXPECT_EQ(maskedLog(result), wholeLog({.early = {fixed()}, .timer = {kUnreachable}}));
  EXPECT_EQ(probes().size(), 30U);
  ASSERT_EQ(boxes.boxes().size(), 1U);
  EXPECT_EQ(boxes.boxes()[0].icon, "information");
  EXPECT_EQ(boxes.boxes()[0].caption, "KOV 周赛");
  EXPECT_EQ(boxes.boxes()[0].text, kReminder);
  ASSERT_EQ(result.boxCalls.size(), 1U);
  const stage::BoxCall& call = result.boxCalls[0];
  EXPECT_TRUE(call.wide);
  EXPECT_FALSE(call.owned);
  EXPECT_EQ(call.style, kInformationOnTop);
  EXPECT_EQ(call.caption, "KOV 周赛");
  EXPECT_EQ(call.text, kReminder);
}

TEST_F(LiveSplitProbeLong, theThirtiethReplyStillCounts) {
  answerAfter(29);
  const stage::MessageBoxWatcher boxes;
  EXPECT_EQ(maskedLog(play()),
            wholeLog({.early = {fixed()},
                      .timer = {"livesplit tcp server reachable (phase=Running)"}}));
  EXPECT_EQ(probes().size(), 30U);
  EXPECT_TRUE(boxes.boxes().empty());
}

class LiveSplitOffLong : public LiveSplitStart {};

TEST_F(LiveSplitOffLong, aLiveSplitWithItsServerOffEndsInTheReminder) {
  withSplits();
  const stage::MessageBoxWatcher boxes;
  EXPECT_EQ(maskedLog(play()),
            wholeLog({.early = {fixed(), kEarly}, .timer = {kAlready, kUnreachable}}));
  ASSERT_EQ(boxes.boxes().size(), 1U);
  EXPECT_EQ(boxes.boxes()[0].text, kReminder);
  EXPECT_EQ(started(), Lines{commandLine()});
}

}  // namespace
