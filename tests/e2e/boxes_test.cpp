// Each message box of the launcher once: the exact call, what the player sees, and that the
// launcher stands still until it is closed.

#include <gtest/gtest.h>

#include <windows.h>

#include <cstdint>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "rehearsal/stage/debugger.h"
#include "tests/e2e/debugged_run.h"
#include "tests/e2e/full_run.h"

namespace e2e {
namespace {

namespace fs = std::filesystem;
using stage::textOf;

constexpr char kCaption[] = "KOV 周赛";
constexpr std::uint32_t kErrorOnTop = 0x40010;        // MB_ICONERROR | MB_TOPMOST
constexpr std::uint32_t kInformationOnTop = 0x40040;  // MB_ICONINFORMATION | MB_TOPMOST
constexpr std::uint32_t kForegroundOnly = 0x10000;    // MB_SETFOREGROUND

constexpr char kGameMissingText[] =
    "没有找到《Escape the Backrooms》的游戏文件。\n\n"
    "可能原因：\n"
    "· 游戏没安装\n"
    "· 装在非 Steam 默认目录，且 Steam 库里没有记录\n\n"
    "解决办法：用记事本打开同目录的 launcher.ini，\n"
    "把 game= 这一行改成你电脑上的\n"
    "Backrooms-Win64-Shipping.exe 完整路径。";
constexpr char kReminder[] =
    "提醒：还没连上 LiveSplit 的计时服务器。\n\n"
    "现在就可以去开：\n"
    "右键 LiveSplit → Control → Start TCP Server\n\n"
    "这个不影响启动游戏，你可以在跑之前随时开。\n"
    "不开的话成绩不会自动上传。\n\n"
    "点「确定」继续进入游戏。";
constexpr char kOkText[] = "成绩已上传成功！\n\n现在可以关掉启动器了。";
constexpr char kFailText[] =
    "上传失败（可能是网络问题）。\n\n成绩已保存在本地，下次打开启动器会自动补传。";

/// What a narrow box makes of a UTF-8 text: its bytes read in the ANSI code page.
std::string readAsAnsi(std::string_view utf8) {
  wchar_t wide[512];
  const int units = MultiByteToWideChar(CP_ACP, 0, utf8.data(), static_cast<int>(utf8.size()), wide,
                                        static_cast<int>(std::size(wide)));
  return stage::toUtf8(std::wstring_view(wide, static_cast<std::size_t>(units)));
}

class Boxes : public FullRunTest {
 protected:
  /// The one box of a run, as it was asked for and, when it is wide, as it was seen.
  static void expectBox(const stage::RunResult& run, const stage::MessageBoxWatcher& boxes,
                        bool wide, const std::string& text, std::uint32_t style) {
    ASSERT_EQ(run.boxCalls.size(), 1U);
    const stage::BoxCall& call = run.boxCalls[0];
    EXPECT_EQ(call.wide, wide);
    EXPECT_FALSE(call.owned);
    EXPECT_EQ(call.caption, wide ? kCaption : "KOV");
    EXPECT_EQ(call.text, text);
    EXPECT_EQ(call.style, style);
    ASSERT_EQ(boxes.boxes().size(), 1U);
    const stage::SeenBox seen = boxes.boxes()[0];
    EXPECT_EQ(seen.processId, run.processId);
    EXPECT_EQ(seen.caption, call.caption);
    if (wide) {
      EXPECT_EQ(seen.text, text);
    }
    EXPECT_EQ(seen.icon, style == kErrorOnTop         ? "error"
                         : style == kInformationOnTop ? "information"
                                                      : "none");
    EXPECT_EQ(seen.buttons.size(), 1U);
  }
};

TEST_F(Boxes, ofAMissingGameEndsTheRunWithOneWithoutAKey) {
  set("game", "X:\\none.exe");
  machine.writeIni(settings);
  stage::writeFile(machine.data() / "launch.state", "left by the last run");
  const stage::MessageBoxWatcher boxes;
  stage::RunOptions options;
  options.standardInput.clear();
  options.keepInputOpen = true;
  options.recordBoxCalls = true;
  const stage::RunResult run = machine.runLauncher({}, options);
  EXPECT_FALSE(run.hang);
  EXPECT_EQ(run.exitCode, 1U);
  const Lines log = {kStartLine, kGameNotFound, "game not found, aborting"};
  EXPECT_EQ(run.logLines(), log);
  EXPECT_EQ(run.console, asWritten(log));
  expectBox(run, boxes, true, kGameMissingText, kErrorOnTop);
  EXPECT_EQ(machine.dataFiles(), Lines{"launch.state"});
}

TEST_F(Boxes, ofAnIncompleteModHoldsTheRunUntilItIsClosed) {
  set("install_from", textOf(machine.package()));
  machine.writePackage();
  fs::remove(machine.package() / "dwmapi.dll");
  stage::MessageBoxWatcher boxes({.close = false});
  stage::LauncherRun run = start({.recordBoxCalls = true});
  ASSERT_TRUE(boxes.waitForBoxes(1));
  const std::string game = textOf(machine.gameFolder());
  const Lines install = {kInstalling,
                         "installed 1 files into " + game + "\\ue4ss\\Mods\\KOVWeekly\\Scripts",
                         "installed 1 files into " + game + "\\ue4ss\\Mods\\KOVWeekly",
                         "installed 1 files into " + game + "\\ue4ss",
                         "MISSING after install: \\dwmapi.dll",
                         "mod install INCOMPLETE (1 missing)"};
  EXPECT_EQ(run.log(), asWritten(joined({{kStartLine}, install})));
  boxes.closeAll();
  const stage::RunResult result = finish(run);
  EXPECT_EQ(maskedLog(result), wholeLog({.install = install}));
  expectBox(result, boxes, true,
            "计时 mod 没有装完整，缺少这些文件：\n\n\\dwmapi.dll\n\n"
            "最常见原因：杀毒软件把 dwmapi.dll 当成病毒删掉了。\n\n"
            "解决办法：\n"
            "1. 把游戏目录加入杀毒软件/Defender 的排除项\n"
            "2. 重新解压玩家包，再双击启动器\n\n"
            "游戏目录：\n" +
                game,
            kErrorOnTop);
}

// The pauses between the questions, and the one before each, are counted and cut to nothing.
TEST_F(Boxes, aboutTheTimersServerComesAfterThirtyQuestions) {
  stage::TimerServer timer;
  timer.replyState("NotRunning", std::nullopt, std::nullopt, 0.0);
  timer.reply("getcurrenttimerphase", std::vector<stage::TimerReply>{stage::TimerReply::close()});
  set("livesplit", textOf(machine.root() / "ls" / "LiveSplit.exe"));
  machine.writeIni(settings);
  machine.setGame({.waitsForLauncher = true, .waitMs = 0});
  machine.startGame();
  SetEnvironmentVariableW(L"LOCALAPPDATA", machine.local().c_str());
  const stage::MessageBoxWatcher boxes;
  Lines calls;
  std::optional<stage::Debugger> debugger;
  const auto note = [&](const stage::Debugger::Call& call) {
    const auto text = [&](std::size_t nth) {
      return stage::toUtf8(debugger->readText<wchar_t>(call.argument(nth)));
    };
    calls.push_back(std::to_string(call.argument(1)) + "|" + text(2) + "|" + text(3) + "|" +
                    std::to_string(call.argument<std::uint32_t>(4)));
  };
  const auto cut = [&](stage::Debugger::Call& call) {
    if (!debugger->inProgram(call.caller())) return;
    calls.push_back(std::to_string(call.argument<std::uint32_t>(1)) + " ms");
    call.setArgument(1, 0);
  };
  debugger.emplace(std::vector<std::pair<const wchar_t*, stage::Debugger::Functions>>{
      {L"user32.dll", {{"MessageBoxW", note}}}, {L"kernel32.dll", {{"Sleep", cut}}}});
  EXPECT_EQ(runDebugged(*debugger, machine.launcher(), 60000), 0U);
  EXPECT_EQ(maskedLines(machine.logBytes()), wholeLog({.timer = {kTimerUnreachable}}));
  Lines expected;
  for (int question = 0; question < 30; ++question) {
    expected.insert(expected.end(), {"250 ms", "500 ms"});
  }
  expected.push_back(std::string("0|") + kReminder + "|" + kCaption + "|" +
                     std::to_string(kInformationOnTop));
  expected.emplace_back("250 ms");  // the probe before the upload
  EXPECT_EQ(calls, expected);
  EXPECT_EQ(timer.connections(), 30U + 1U);
  ASSERT_EQ(boxes.boxes().size(), 1U);
  EXPECT_EQ(boxes.boxes()[0].caption, kCaption);
  EXPECT_EQ(boxes.boxes()[0].text, kReminder);
  EXPECT_EQ(boxes.boxes()[0].icon, "information");
}

// --- the result without a card ----------------------------------------------------------------

class ResultBox : public Boxes {
 protected:
  ResultBox() {
    withServer();
    machine.writeReceipt(stage::finishedRun().text());
    fs::remove(machine.app() / "kov_result.exe");
  }
};

TEST_F(ResultBox, holdsTheRunUntilItIsClosed) {
  stage::MessageBoxWatcher boxes({.close = false});
  stage::LauncherRun run = start({.recordBoxCalls = true});
  ASSERT_TRUE(run.waitForLog("waiting for exit..."));
  machine.endGame();
  ASSERT_TRUE(boxes.waitForBoxes(1));
  EXPECT_EQ(machine.dataFile("launch.state"), "uploading");
  EXPECT_TRUE(run.log().ends_with(asWritten({kDelivered})));
  boxes.closeAll();
  const stage::RunResult result = run.wait();
  EXPECT_EQ(result.exitCode, 0U);
  EXPECT_EQ(machine.dataFile("launch.state"), "done");
  expectBox(result, boxes, false, kOkText, kForegroundOnly);
  EXPECT_EQ(cards(), Lines{});
}

TEST_F(ResultBox, comesAfterACardThatIsNoProgram) {
  stage::writeFile(machine.app() / "kov_result.exe", "not a program\n");
  server.answer("POST", "/submit", stage::Reply::json(kRefusal));
  const stage::MessageBoxWatcher boxes;
  const stage::RunResult run = play({.recordBoxCalls = true});
  EXPECT_EQ(
      maskedLog(run),
      wholeLog({.weekly = weeklyUpdated(),
                .receipt = archived(kFinishedSummary),
                .upload = judged(kRefusal),
                .result = joined({queued(), {"result card CreateProcess failed (err 193)"}})}));
  expectBox(run, boxes, false, kFailText, kForegroundOnly);
}

// The box takes the text's bytes for text of the ANSI code page. That is how it has always
// been; these tests show what a player gets to see of it.
class ResultBoxSeen : public ResultBox {
 protected:
  /// The text of the box of a failed upload.
  std::string seenText() {
    server.answer("POST", "/submit", stage::Reply::json(kRefusal));
    const stage::MessageBoxWatcher boxes;
    (void)play();
    EXPECT_EQ(boxes.boxes().size(), 1U);
    if (boxes.boxes().empty()) return {};
    const std::string text = boxes.boxes()[0].text;
    // The last byte is half a character in some code pages; what becomes of it is open.
    const std::string bytes = kFailText;
    EXPECT_TRUE(text.starts_with(readAsAnsi(bytes.substr(0, bytes.size() - 1)))) << text;
    return text;
  }
};

TEST_F(ResultBoxSeen, aWesternPlayerSeesTheBytesAsWesternCharacters) {
  ASSERT_EQ(stage::ansiCodePage(), 1252U);
  const std::string seen = seenText();
  EXPECT_TRUE(seen.starts_with("ä¸Šä¼\u00A0å¤±è´¥")) << seen;
}

class ResultBoxCp936 : public ResultBoxSeen {};

TEST_F(ResultBoxCp936, aChinesePlayerSeesTheBytesAsOtherChineseCharacters) {
  ASSERT_EQ(stage::ansiCodePage(), 936U);
  const std::string seen = seenText();
  EXPECT_TRUE(seen.starts_with("涓婁紶澶辫触锛堝彲鑳芥槸缃戠粶")) << seen;
}

}  // namespace
}  // namespace e2e
