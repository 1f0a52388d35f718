#include <gtest/gtest.h>

#include <windows.h>

#include "tests/e2e/full_run.h"

namespace {

using e2e::joined;
using e2e::kNoTimer;
using e2e::Lines;
using e2e::maskedLog;
using e2e::weeklyUpdated;
using stage::Reply;
using stage::textOf;
using stage::writeFile;
namespace fs = std::filesystem;

constexpr char kSaved[] = ". Result saved locally - it will retry next launch.";
constexpr char kPageLine[] = "opened profile page (fallback path)";
constexpr std::uint32_t kForegroundOnly = 0x10000;  // MB_SETFOREGROUND

constexpr char kOkText[] = "成绩已上传成功！\n\n现在可以关掉启动器了。";
constexpr char kFailText[] =
    "上传失败（可能是网络问题）。\n\n成绩已保存在本地，下次打开启动器会自动补传。";
constexpr char kNoneText[] = "这次没有产生成绩（没有跑到结局）。\n\n可以关掉启动器了。";

/// A finished run and a server that answers its submission as a test says.
class ResultCard : public e2e::FullRunTest {
 protected:
  ResultCard() {
    machine.installBrowser();
    set("server", server.url());
    machine.writeReceipt(stage::finishedRun().text());
    answer("{\"accepted\":true}");
  }

  void answer(const std::string& reply) { server.answer("POST", "/submit", Reply::json(reply)); }
  void withToken(std::string_view token) {
    writeFile(machine.app() / "profile_token.txt", token);
  }

  /// Everything after the card's path on the result card's command line.
  [[nodiscard]] std::string cardArguments() const {
    const std::string front = "\"" + textOf(machine.app() / "kov_result.exe") + "\"";
    const std::vector<stage::Event> cards = machine.timeline().events("card", "start");
    if (cards.empty() || !cards.back().text.starts_with(front)) return "(no card)";
    return cards.back().text.substr(front.size());
  }
  /// The part of the result card's command line in front of the message.
  static std::string values(const std::string& kind, const std::string& rest) {
    return " --ok " + std::string(kind == "ok" ? "1" : "0") + " --kind " + kind + rest;
  }
  /// The values of the finished run that the server refused or accepted without any number.
  static std::string ofTheRun(const std::string& kind) {
    return values(kind, " --total 754.560 --difficulty normal --ending main --rank 0 --points 0");
  }
  /// The values when no submission was answered.
  static std::string ofNothing(const std::string& kind) {
    return values(kind, " --total 0 --difficulty normal --ending main --rank 0 --points 0");
  }
  static std::string message(const std::string& text) { return " --msg \"" + text + "\""; }

  /// The upload's lines up to the server's reply.
  static Lines uploadOf(const std::string& reply) {
    return {kNoTimer,
            "livesplit phase: (none)",
            "ending inferred from splits: main (map=ENDING:main t=754.56)",
            "livesplit time unavailable, using receipt time",
            "difficulty from game (receipt): normal",
            "upload response: " + reply};
  }
  [[nodiscard]] std::string pendingSaved() const {
    return "pending saved: " + textOf(machine.data()) + "\\pending\\p_YYYYMMDD_hhmmss.json";
  }
  [[nodiscard]] Lines logOf(const Lines& upload, const Lines& result,
                            const Lines& token = {}) const {
    return wholeLog({.token = token,
                     .weekly = weeklyUpdated(),
                     .receipt = archived(e2e::kFinishedSummary),
                     .upload = upload,
                     .result = result});
  }
  [[nodiscard]] Lines failed(const Lines& page = {}) const {
    return joined({{"stage: upload failed, saving pending", pendingSaved(),
                    "stage: upload done (ok=0)"},
                   page,
                   {"result card: kind=fail ok=0"}});
  }
  stage::RaceServer server;
};

// Progress ---------------------------------------------------------------------------------

TEST_F(ResultCard, theProgressCardFollowsTheUploadAndGoesBeforeTheResult) {
  machine.installCard({.progressStayMs = 700});
  server.answer("POST", "/submit", Reply::json("{\"accepted\":true}").after(1500));
  const std::string card = "\"" + textOf(machine.app() / "kov_result.exe") + "\"";
  EXPECT_EQ(maskedLog(play()),
            logOf(uploadOf("{\"accepted\":true}"),
                  {"stage: upload done (ok=1)", "result card: kind=ok ok=1"}));
  Lines events;
  for (const stage::Event& event : machine.timeline().events("card")) {
    events.push_back(event.what + " " + event.text);
  }
  EXPECT_EQ(events, (Lines{"start " + card + " --mode progress --state \"" +
                               textOf(machine.data() / "upload.state") + "\"",
                           "state uploading", "state done", "exit 0",
                           "start " + card + ofTheRun("ok"), "exit 0"}));
}

TEST_F(ResultCard, theProgressCardSeesAFailure) {
  server.answer("POST", "/submit", Reply::json("{\"accepted\":false}").after(1500));
  play();
  Lines states;
  for (const stage::Event& event : machine.timeline().events("card", "state")) {
    states.push_back(event.text);
  }
  EXPECT_EQ(states, (Lines{"uploading", "fail"}));
}

TEST_F(ResultCard, aDataFolderWithBlanksIsQuoted) {
  const fs::path data = machine.root() / "my data";
  set("data", textOf(data));
  play();
  EXPECT_EQ(machine.timeline().first("card", "start"),
            "\"" + textOf(machine.app() / "kov_result.exe") + "\" --mode progress --state \"" +
                textOf(data) + "\\upload.state\"");
}

TEST_F(ResultCard, theLauncherWaitsForTheResultCardsEnd) {
  machine.installCard({.stayMs = 1500});
  stage::LauncherRun run = start();
  ASSERT_TRUE(run.waitForLog("waiting for exit..."));
  machine.endGame();
  ASSERT_TRUE(machine.timeline().waitFor("card", "start", 2));
  EXPECT_EQ(machine.dataFile("launch.state"), "uploading");
  ASSERT_TRUE(run.waitForLog(e2e::kDoneLine));
  EXPECT_EQ(machine.timeline().events("card", "exit").size(), 2U);
  EXPECT_EQ(run.wait().exitCode, 0U);
}

/// The program folder has a letter that the ANSI code page only knows without its accent, so
/// the narrow path of the program names another folder than the wide one.
TEST_F(ResultCard, theProgressCardHasTheNarrowPathAndTheResultCardTheWide) {
  ASSERT_EQ(stage::ansiCodePage(), 1252U);
  const fs::path wide = machine.root() / stage::pathOf("āpp");
  const fs::path launcher = e2e::copyLauncher(machine, wide);
  for (const char* file : {"kov_result.exe", "kov_result.json"}) {
    fs::copy_file(machine.app() / file, wide / file);
  }
  machine.writeIni(settings);  // found in the narrow folder
  machine.setGame({.waitMs = 0, .untilEnded = true});
  machine.startGame();
  stage::RunOptions options;
  options.environment["LOCALAPPDATA"] = textOf(machine.local());
  stage::LauncherRun run(launcher, {}, options);
  if (run.waitForConsole("waiting for exit...")) machine.endGame();
  EXPECT_EQ(run.wait().exitCode, 0U);
  const std::vector<stage::Event> cards = machine.timeline().events("card", "start");
  ASSERT_EQ(cards.size(), 2U);
  EXPECT_EQ(cards[0].text, "\"" + textOf(machine.app() / "kov_result.exe") +
                               "\" --mode progress --state \"" +
                               textOf(machine.data() / "upload.state") + "\"");
  EXPECT_EQ(cards[1].text, "\"" + textOf(wide / "kov_result.exe") + "\"" + ofTheRun("ok"));
}

// Kinds and their values -------------------------------------------------------------------

TEST_F(ResultCard, anAcceptedRunShowsTheServersNumbers) {
  const std::string reply = "{\"accepted\":true,\"rank\":-3,\"points\": 85}";
  answer(reply);
  EXPECT_EQ(maskedLog(play()), logOf(uploadOf(reply), {"stage: upload done (ok=1)",
                                                       "result card: kind=ok ok=1"}));
  EXPECT_EQ(cardArguments(), values("ok", " --total 754.560 --difficulty normal --ending main "
                                          "--rank -3 --points 85"));
}

TEST_F(ResultCard, theTimersTimeIsTheTotal) {
  stage::TimerServer timer;
  timer.replyEnded(755.0);
  play();
  EXPECT_EQ(cardArguments(), values("ok", " --total 755.00 --difficulty normal --ending main "
                                          "--rank 0 --points 0"));
}

TEST_F(ResultCard, theTotalIsRawAndABlankBeforeTheEndingHidesIt) {
  machine.writeReceipt(
      R"({"splits":[{"i":0,"map":"ENDING:true","t":9}],"ending": "true","total": 12.50 ,)"
      R"("difficulty":"nightmare"})");
  play();
  EXPECT_EQ(cardArguments(), values("ok", " --total  12.50  --difficulty nightmare --ending main "
                                          "--rank 0 --points 0"));
}

TEST_F(ResultCard, anUnfinishedRunShowsThatItDoesNotCount) {
  machine.writeReceipt(stage::unfinishedRun().text());
  EXPECT_EQ(maskedLog(play()),
            wholeLog({.weekly = weeklyUpdated(),
                      .receipt = archived("ending=- total=428.019 status=\"running\""),
                      .upload = {kNoTimer,
                                 "run not finished: receipt has no ENDING marker (crashed before "
                                 "ending?)",
                                 "skip reported: run not finished (no ending screen)"}}));
  EXPECT_EQ(cardArguments(),
            ofNothing("none") + message("No finish detected - this run will not count."));
}

TEST_F(ResultCard, anUnreachableServerShowsTheNetworkAndNoValues) {
  set("server", stage::unreachableUrl());
  const stage::RunResult run = play();
  EXPECT_TRUE(run.hasLogLine("result card: kind=fail ok=0"));
  EXPECT_EQ(cardArguments(), ofNothing("fail") + message(std::string("Network error") + kSaved));
}

TEST_F(ResultCard, aRefusedRunShowsWhyAndTheValuesOfTheReply) {
  const std::string reply =
      "{\"accepted\":false,\"error\":\"the week window closed on Sunday\",\"rank\":7,\"points\":1}";
  answer(reply);
  EXPECT_EQ(maskedLog(play()), logOf(uploadOf(reply), failed()));
  EXPECT_EQ(cardArguments(),
            values("fail", " --total 754.560 --difficulty normal --ending main --rank 7 "
                           "--points 1") +
                message(std::string("This week has ended - result not counted") + kSaved));
}

TEST_F(ResultCard, anErrorOfItsOwnIsShownAsItIs) {
  answer("{\"accepted\":false,\"error\":\"比赛服务器正在维护: 100% {x} --kind ok\"}");
  play();
  EXPECT_EQ(cardArguments(), ofTheRun("fail") + message(std::string("比赛服务器正在维护: 100% {x} "
                                                                    "--kind ok") +
                                                        kSaved));
}

TEST_F(ResultCard, anErrorThatIsNoTextTakesTheNextQuotedRun) {
  answer("{\"error\":null,\"msg\":\"x\"}");
  play();
  EXPECT_EQ(cardArguments(), ofTheRun("fail") + message(std::string("msg") + kSaved));
}

TEST_F(ResultCard, aReplyWithoutErrorIsTheNetworkToo) {
  answer("<html>bad gateway</html>");
  play();
  EXPECT_EQ(cardArguments(), ofTheRun("fail") + message(std::string("Network error") + kSaved));
}

/// Every known error and what the player reads for it.
class ResultCardError
    : public ResultCard,
      public testing::WithParamInterface<std::pair<const char*, const char*>> {};

TEST_P(ResultCardError, isExplained) {
  answer("{\"accepted\":false,\"error\":\"" + std::string(GetParam().first) + "\"}");
  play();
  EXPECT_EQ(cardArguments(), ofTheRun("fail") + message(std::string(GetParam().second) + kSaved));
}

INSTANTIATE_TEST_SUITE_P(
    Known, ResultCardError,
    testing::Values(std::pair("splits too few (10 of at least 20)",
                              "incomplete result (too few splits)"),
                    std::pair("run did not start at Level 0",
                              "run did not start at Level 0 - not eligible"),
                    std::pair("race is closed", "The race is closed - result not counted"),
                    std::pair("week window closed", "This week has ended - result not counted"),
                    std::pair("hard difficulty is not part of the race",
                              "Hard difficulty is not part of the race")));

// Login code and profile page ---------------------------------------------------------------

TEST_F(ResultCard, aLoginCodeIsShownAndItsPageOpenedOnceOnTheBuiltInSite) {
  withToken("k4-17");
  set("site", "https://another.example");
  const Lines preloaded = {"profile token preloaded (5 bytes)"};
  EXPECT_EQ(maskedLog(play()),
            logOf(uploadOf("{\"accepted\":true}"),
                  {"stage: upload done (ok=1)", kPageLine, "result card: kind=ok ok=1"},
                  preloaded));
  EXPECT_EQ(cardArguments(), ofTheRun("ok") + message("login code: k4-17"));
  EXPECT_EQ(machine.dataFile("profile_opened.flag"), "1");
  ASSERT_TRUE(machine.timeline().waitFor("browser", "open"));
  // A second run with the same code shows it again, but not the page.
  machine.writeReceipt(stage::finishedRun().text());
  EXPECT_EQ(maskedLog(play()), logOf(uploadOf("{\"accepted\":true}"),
                                     {"stage: upload done (ok=1)", "result card: kind=ok ok=1"},
                                     preloaded));
  EXPECT_EQ(cardArguments(), ofTheRun("ok") + message("login code: k4-17"));
  EXPECT_EQ(machine.openedUrls(), Lines{"https://kov-race.example/profile?token=k4-17"});
}

TEST_F(ResultCard, thePageOpensForARefusedRunTooAndTheDetailHidesTheCode) {
  withToken("k4-17");
  answer("{\"accepted\":false,\"error\":\"race is closed\"}");
  EXPECT_EQ(maskedLog(play()),
            logOf(uploadOf("{\"accepted\":false,\"error\":\"race is closed\"}"),
                  failed({kPageLine}), {"profile token preloaded (5 bytes)"}));
  EXPECT_EQ(cardArguments(),
            ofTheRun("fail") +
                message(std::string("The race is closed - result not counted") + kSaved));
  ASSERT_TRUE(machine.timeline().waitFor("browser", "open"));
  EXPECT_EQ(machine.openedUrls(), Lines{"https://kov-race.example/profile?token=k4-17"});
}

TEST_F(ResultCard, thePageOpensForAnUnfinishedRunToo) {
  withToken("k4-17");
  machine.writeReceipt("");
  EXPECT_EQ(maskedLog(play()),
            wholeLog({.token = {"profile token preloaded (5 bytes)"},
                      .weekly = weeklyUpdated(),
                      .receipt = archived("ending=- total=- status=-"),
                      .upload = {kNoTimer, "receipt content invalid, upload skipped",
                                 "skip reported: receipt invalid"},
                      .result = {"stage: run not finished, nothing queued",
                                 "stage: upload done (ok=0)", kPageLine,
                                 "result card: kind=none ok=0"}}));
  EXPECT_EQ(cardArguments(),
            ofNothing("none") + message("No finish detected - this run will not count."));
  ASSERT_TRUE(machine.timeline().waitFor("browser", "open"));
}

TEST_F(ResultCard, theCodeOfTheReplyIsShownAndItsPageIsNotOpenedTwice) {
  answer("{\"accepted\":true,\"token\":\"new-1\"}");
  withToken("old-0");
  const stage::RunResult run = play();
  EXPECT_TRUE(run.hasLogLine("opened profile page (first time)"));
  EXPECT_FALSE(run.hasLogLine(kPageLine));
  EXPECT_EQ(cardArguments(), ofTheRun("ok") + message("login code: new-1"));
  ASSERT_TRUE(machine.timeline().waitFor("browser", "open"));
  EXPECT_EQ(machine.openedUrls(), Lines{"https://kov-race.example/profile?token=new-1"});
}

TEST_F(ResultCard, theCodeGoesIntoTheAddressAsItIs) {
  withToken("a+b&c=%20#1");
  play();
  ASSERT_TRUE(machine.timeline().waitFor("browser", "open"));
  EXPECT_EQ(machine.openedUrls(), Lines{"https://kov-race.example/profile?token=a+b&c=%20#1"});
}

TEST_F(ResultCard, aBrowserThatDoesNotStartIsNotNoticed) {
  fs::remove(machine.root() / "bin" / "browser.exe");
  withToken("k4-17");
  EXPECT_EQ(maskedLog(play()),
            logOf(uploadOf("{\"accepted\":true}"),
                  {"stage: upload done (ok=1)", kPageLine, "result card: kind=ok ok=1"},
                  {"profile token preloaded (5 bytes)"}));
  EXPECT_EQ(machine.dataFile("profile_opened.flag"), "1");
  EXPECT_EQ(machine.openedUrls(), Lines{});
}

TEST_F(ResultCard, aFlagThatCannotBeWrittenIsSilent) {
  withToken("k4-17");
  fs::create_directories(machine.data() / "profile_opened.flag");
  EXPECT_TRUE(play().hasLogLine(kPageLine));
  ASSERT_TRUE(machine.timeline().waitFor("browser", "open"));
}

// Boxes ------------------------------------------------------------------------------------

/// Without a card that could be started, the plain box shows the result.
class ResultBox : public ResultCard {
 protected:
  ResultBox() { fs::remove(machine.app() / "kov_result.exe"); }

  /// The exact call of the one box of this run.
  static void expectCall(const stage::RunResult& run, const std::string& text) {
    ASSERT_EQ(run.boxCalls.size(), 1U);
    const stage::BoxCall& call = run.boxCalls[0];
    EXPECT_FALSE(call.wide);
    EXPECT_FALSE(call.owned);
    EXPECT_EQ(call.caption, "KOV");
    EXPECT_EQ(call.text, text);
    EXPECT_EQ(call.style, kForegroundOnly);
  }
  stage::RunResult playWithBox() {
    const stage::MessageBoxWatcher boxes;
    return play({.recordBoxCalls = true});
  }
  /// The finished run with this total.
  void receiptWithTotal(const std::string& total) {
    machine.writeReceipt(
        stage::replaceAll(stage::finishedRun().text(), "\"total\":754.560", "\"total\":" + total));
  }
};

TEST_F(ResultBox, aMissingCardIsToldInABoxWithoutPageAndWithoutALine) {
  withToken("k4-17");
  const stage::RunResult run = playWithBox();
  EXPECT_EQ(maskedLog(run), logOf(uploadOf("{\"accepted\":true}"), {"stage: upload done (ok=1)"},
                                  {"profile token preloaded (5 bytes)"}));
  expectCall(run, kOkText);
  EXPECT_FALSE(stage::pathExists(machine.data() / "profile_opened.flag"));
  EXPECT_EQ(machine.openedUrls(), Lines{});
  EXPECT_TRUE(machine.timeline().events("card").empty());
}

TEST_F(ResultBox, theLauncherIsDoneWhenTheBoxIsClosed) {
  stage::MessageBoxWatcher boxes({.close = false});
  stage::LauncherRun run = start();
  ASSERT_TRUE(run.waitForLog("waiting for exit..."));
  machine.endGame();
  ASSERT_TRUE(boxes.waitForBoxes(1));
  EXPECT_EQ(machine.dataFile("launch.state"), "uploading");
  EXPECT_TRUE(run.log().ends_with("stage: upload done (ok=1)\r\n"));
  boxes.closeAll();
  EXPECT_EQ(run.wait().exitCode, 0U);
  EXPECT_EQ(machine.dataFile("launch.state"), "done");
}

TEST_F(ResultBox, aFailedUploadHasItsText) {
  answer("{\"accepted\":false}");
  expectCall(playWithBox(), kFailText);
}

TEST_F(ResultBox, anUnfinishedRunHasItsText) {
  machine.writeReceipt(stage::unfinishedRun().text());
  expectCall(playWithBox(), kNoneText);
}

TEST_F(ResultBox, theTimeIsThatOfTheFileOnTheDiskNotTheSubmittedOne) {
  stage::TimerServer timer;
  timer.replyEnded(754.9);
  receiptWithTotal("125.5");
  // What cannot be deleted is still there when the message is made.
  const e2e::HeldFile held(machine.receipt(), FILE_SHARE_READ);
  const stage::RunResult run = playWithBox();
  EXPECT_TRUE(run.hasLogLine("livesplit time used: 754.90 (receipt said 125.5)"));
  EXPECT_TRUE(run.hasLogLine("stage: upload done (ok=1)"));
  expectCall(run, "成绩已上传成功！\n\n用时：2:05.50\n\n现在可以关掉启动器了。");
}

TEST_F(ResultBox, secondsThatRoundUpStayInTheirMinute) {
  receiptWithTotal("119.996");
  const e2e::HeldFile held(machine.receipt(), FILE_SHARE_READ);
  expectCall(playWithBox(), "成绩已上传成功！\n\n用时：1:60.00\n\n现在可以关掉启动器了。");
}

TEST_F(ResultBox, aCardThatIsNoProgramIsLoggedBehindThePage) {
  withToken("k4-17");
  writeFile(machine.app() / "kov_result.exe", "not a program\n");
  answer("{\"accepted\":false}");
  const stage::RunResult run = playWithBox();
  EXPECT_EQ(maskedLog(run),
            logOf(uploadOf("{\"accepted\":false}"),
                  joined({failed({kPageLine}), {"result card CreateProcess failed (err 193)"}}),
                  {"profile token preloaded (5 bytes)"}));
  expectCall(run, kFailText);
  EXPECT_EQ(machine.dataFile("profile_opened.flag"), "1");
  ASSERT_TRUE(machine.timeline().waitFor("browser", "open"));
}

TEST_F(ResultBox, aFolderOfTheCardsNameCountsAsACardThatDoesNotStart) {
  fs::create_directories(machine.app() / "kov_result.exe");
  const stage::RunResult run = playWithBox();
  EXPECT_EQ(maskedLog(run),
            logOf(uploadOf("{\"accepted\":true}"),
                  {"stage: upload done (ok=1)", "result card: kind=ok ok=1",
                   "result card CreateProcess failed (err 5)"}));
  expectCall(run, kOkText);
}

// The box takes the text's bytes for text of the ANSI code page. That is how it has always
// been; these tests show what a player gets to see of it.

/// What the code page at hand makes of the bytes of a text.
std::string readAsAnsi(const std::string& bytes) {
  wchar_t wide[512];
  const int units = MultiByteToWideChar(CP_ACP, 0, bytes.c_str(), -1, wide,
                                        static_cast<int>(std::size(wide)));
  return stage::toUtf8(std::wstring_view(wide, static_cast<std::size_t>(units - 1)));
}

class ResultBoxSeen : public ResultBox {
 protected:
  /// The text of the box of a failed upload.
  std::string seenText() {
    answer("{\"accepted\":false}");
    const stage::MessageBoxWatcher boxes;
    play();
    EXPECT_EQ(boxes.boxes().size(), 1U);
    if (boxes.boxes().empty()) return {};
    EXPECT_EQ(boxes.boxes()[0].caption, "KOV");
    EXPECT_EQ(boxes.boxes()[0].icon, "none");
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

// Limits of the waits ----------------------------------------------------------------------

/// Cards that do not go away.
class ResultCardLong : public ResultCard {
 protected:
  /// Milliseconds between two lines of the log, as they appeared.
  unsigned between(stage::LauncherRun& run, std::string_view from, std::string_view to) {
    EXPECT_TRUE(run.waitForLog(from));
    const std::uint64_t start = GetTickCount64();
    EXPECT_TRUE(run.waitForLog(to));
    return static_cast<unsigned>(GetTickCount64() - start);
  }
  [[nodiscard]] static std::size_t cardsRunning() {
    return stage::findProcesses("kov_result.exe").size();
  }
};

TEST_F(ResultCardLong, aProgressCardIsWaitedForFourSecondsAndLeftRunning) {
  machine.installCard({.progressStayMs = 120000});
  stage::LauncherRun run = start();
  ASSERT_TRUE(run.waitForLog("waiting for exit..."));
  machine.endGame();
  const unsigned waited = between(run, "upload response:", "stage: upload done");
  EXPECT_GE(waited, 3500U);
  EXPECT_LT(waited, 8000U);
  const stage::RunResult result = run.wait();
  EXPECT_EQ(result.exitCode, 0U);
  EXPECT_EQ(maskedLog(result),
            logOf(uploadOf("{\"accepted\":true}"),
                  {"stage: upload done (ok=1)", "result card: kind=ok ok=1"}));
  EXPECT_EQ(cardArguments(), ofTheRun("ok"));
  EXPECT_EQ(cardsRunning(), 1U);
}

TEST_F(ResultCardLong, aResultCardIsWaitedForFifteenSecondsAndLeftRunning) {
  machine.installCard({.stayMs = 120000});
  stage::LauncherRun run = start();
  ASSERT_TRUE(run.waitForLog("waiting for exit..."));
  machine.endGame();
  const unsigned waited = between(run, "result card: kind=ok ok=1", e2e::kDoneLine);
  EXPECT_GE(waited, 14000U);
  EXPECT_LT(waited, 20000U);
  const stage::RunResult result = run.wait();
  EXPECT_EQ(result.exitCode, 0U);
  EXPECT_EQ(maskedLog(result),
            logOf(uploadOf("{\"accepted\":true}"),
                  {"stage: upload done (ok=1)", "result card: kind=ok ok=1"}));
  EXPECT_EQ(cardsRunning(), 1U);
}

}  // namespace
