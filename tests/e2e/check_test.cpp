// The companion on the stage: what it foretells, in both languages and code pages; what it says
// of runs that were really played; its support file; and its buttons on files of the real shape.

#include <gtest/gtest.h>

#include <windows.h>

#include <algorithm>
#include <functional>

#include "check/actions.h"
#include "check/report.h"
#include "tests/e2e/full_run.h"
#include "tests/e2e/unsent_run.h"

namespace e2e {
namespace {

namespace fs = std::filesystem;
namespace check = launcher::check;
using check::Language;
using stage::textOf;
using stage::toAnsi;

constexpr Language kEnglish = Language::english;

struct Said {
  std::uint32_t exitCode = 0;
  std::string text;

  [[nodiscard]] bool has(const std::string& line) const {
    return ("\n" + text).find("\n" + line + "\n") != std::string::npos;
  }
};

class CheckTest : public ::testing::Test {
 protected:
  CheckTest() {
    SetEnvironmentVariableW(L"LOCALAPPDATA", machine.local().c_str());
    program = machine.installCheck();
  }

  /// Runs kov_check.exe with a temporary folder that is none of the stage's own.
  Said ask(std::string_view arguments) {
    stage::RunOptions options;
    options.environment = {{"LOCALAPPDATA", textOf(machine.local())}, {"TEMP", "C:\\windows\\temp"},
                           {"TMP", "C:\\windows\\temp"}};
    stage::LauncherRun run(program, arguments, options);
    const stage::RunResult result = run.wait();
    EXPECT_FALSE(result.hang);
    EXPECT_EQ(result.log, "");  // it never writes to the launcher's log
    return {result.exitCode, result.console};
  }
  Said english() { return ask("--text --language en"); }

  /// What is said before and after the name of the program that holds LiveSplit's port.
  struct AroundName {
    std::string before;
    std::string after;
  };

  /// The line about that program in both languages; it is named: this test. Of its table of
  /// listeners Wine 8 knows no process and Wine 10 now and then one, so there the name may be
  /// missing.
  void expectHolder(const AroundName& inEnglish, const AroundName& inChinese) {
    const auto says = [](const Said& said, const AroundName& line, const std::string& name) {
      return said.has(line.before + name + line.after) ||
             (stage::runsUnderWine() && said.has(line.before + line.after));
    };
    const Said en = english();
    EXPECT_TRUE(says(en, inEnglish, " (e2e_tests.exe)"))
        << en.text;
    const Said zh = ask("--text --language zh");
    EXPECT_TRUE(says(zh, inChinese, "（e2e_tests.exe）")) << zh.text;
    EXPECT_EQ(en.exitCode, 1U);
    EXPECT_EQ(zh.exitCode, 1U);
  }

  /// Both lines are said, each in its language.
  void expectSaid(const std::string& state, const std::string& inEnglish,
                  const std::string& inChinese) {
    const Said en = english();
    EXPECT_TRUE(en.has("[" + state + "] " + inEnglish)) << inEnglish << "\n" << en.text;
    const Said zh = ask("--text --language zh");
    EXPECT_NE(zh.text.find("] " + inChinese), std::string::npos) << inChinese << "\n" << zh.text;
    EXPECT_EQ(en.exitCode, zh.exitCode);
    EXPECT_TRUE(state != "bad" || en.exitCode == 1U);
  }

  void putUp() {
    machine.putUpStandardMachine(server.url());
    std::string config = stage::liveSplitSettings({"C:\\older.lsl"});
    config.replace(config.find(">0</ServerStartup>") + 1, 1, "1");
    stage::writeFile(machine.liveSplitFolder() / "settings.cfg", config);
  }
  void writeIni(const stage::Ini& more) {
    stage::Ini ini = machine.standardIni(server.url());
    ini.insert(ini.end(), more.begin(), more.end());
    machine.writeIni(ini);
  }

  check::Machine look() { return check::readMachineAt(machine.app().wstring() + L"\\"); }
  check::RunRows runs() { return check::readRuns(look(), kEnglish); }

  // Shared by both code pages -----------------------------------------------------------------

  void standardMachineIsGood() {
    putUp();
    const Said said = english();
    EXPECT_EQ(said.exitCode, 0U);
    const std::string root = textOf(machine.root());
    EXPECT_EQ(said.text,
              "== Place\n[good] The programs are in " + root + "\\app\\\n\n"
              "== Settings\n[good] launcher.ini is in order.\n\n"
              "== Data folder\n[good] The data folder can be written and read: " + root +
              "\\data\n\n"
              "== Steam and account\n[good] Steam: " + steamText() + "\\steam.exe\n"
              "[good] The account will be 竞速玩家 (SteamID ending in 0001).\n\n"
              "== Game\n[good] Game: " + textOf(machine.gameExe()) + "\n\n"
              "== Race mod\n[good] The mod is installed (4/4 files).\n"
              "[unknown] Windows does not say which antivirus programs are installed.\n\n"
              "== LiveSplit\n[good] LiveSplit: " + root + "\\ls\\LiveSplit.exe\n"
              "[good] LiveSplit does not run now; the launcher starts it, and its server starts "
              "too.\n\n"
              "== Race server\n[good] The race server answers: 2026-W47, seed 20261147.\n\n"
              "== Queue\n[good] No result waits to be sent; 0 receipt(s) are kept.\n\n"
              "== My runs\nNo runs yet.\n");
    const Said zh = ask("--text --language zh");
    EXPECT_EQ(zh.exitCode, 0U);
    EXPECT_NE(zh.text.find("[正常] 会用的账号是 竞速玩家（SteamID 末四位 0001）。\n"),
              std::string::npos);
  }

  [[nodiscard]] std::string steamText() const {
    return stage::replaceAll(
        stage::RegistryKeeper::read("Software\\Valve\\Steam", "SteamPath").value_or(""), "/", "\\");
  }

  void settingsAreRead() {
    putUp();
    machine.writeRawIni("");
    expectSaid("bad", "launcher.ini has no receipt=; the launcher ends at once.",
               "launcher.ini 里没有 receipt=，启动器会马上退出。");
    fs::remove(machine.app() / "launcher.ini");
    expectSaid("bad", "There is no launcher.ini beside the launcher; the launcher ends at once.",
               "启动器旁边没有 launcher.ini，启动器会马上退出。");
    writeIni({{"dryrun", "1"}});
    expectSaid("bad", "launcher.ini has dryrun=1: the launcher only looks at its settings and "
                      "starts no game.",
               "launcher.ini 里写了 dryrun=1，启动器只看一遍设置，不会开游戏。");
    writeIni({{"game", "D:\\游戏\\x.exe"}});
    expectSaid("worth knowing",
               "Line 10 of launcher.ini (game) is UTF-8; the launcher reads it as ANSI, as other "
               "characters.",
               "launcher.ini 第 10 行（game）的文字是 UTF-8，启动器会按 ANSI 读成别的字。");
  }

  /// A path that only the code page can write is shown as the player knows it.
  void pathsAreShownInUtf8(const std::string& word) {
    putUp();
    const std::string folder = textOf(machine.root()) + "\\" + word;
    machine.writeRawIni(toAnsi("receipt=" + folder + "\\r.json\r\ndata=" + folder +
                               "\r\nserver=" + server.url() + "\r\n"));
    expectSaid("good", "The data folder will be created at the start: " + folder,
               "数据文件夹会在启动时建立：" + folder);
    EXPECT_FALSE(stage::pathExists(machine.root() / stage::pathOf(word)));
  }

  void gameIsWritten(const std::string& word) {
    putUp();
    const fs::path folder = machine.root() / stage::pathOf(word);
    const fs::path game = folder / "Backrooms-Win64-Shipping.exe";
    stage::writeFile(game, "MZ");
    const std::string before = "# 说明\r\nreceipt=r\r\n game = \r\nplayer=" + toAnsi(word);
    machine.writeRawIni(before);
    const check::ActionResult done = check::writeGame(look(), game.wstring(), kEnglish);
    EXPECT_TRUE(done.done) << done.text;
    EXPECT_EQ(stage::readFile(machine.app() / "launcher.ini"),
              "# 说明\r\nreceipt=r\r\ngame=" + toAnsi(textOf(game)) + "\r\nplayer=" + toAnsi(word));
    EXPECT_TRUE(look().gameExists);
    EXPECT_FALSE(stage::pathExists(machine.app() / "launcher.ini.kov-new"));
    // What the code page lacks is refused, and nothing changes.
    const fs::path foreign = machine.root() / stage::pathOf("ไทย") / game.filename();
    stage::writeFile(foreign, "MZ");
    const std::string written = stage::readFile(machine.app() / "launcher.ini").value_or("");
    const check::ActionResult refused = check::writeGame(look(), foreign.wstring(), kEnglish);
    EXPECT_FALSE(refused.done);
    EXPECT_NE(refused.text.find("ANSI code page lacks"), std::string::npos) << refused.text;
    EXPECT_EQ(stage::readFile(machine.app() / "launcher.ini"), written);
  }

  void supportFileHoldsNoSecret(const std::string& word) {
    putUp();
    stage::writeFile(machine.data() / "profile_token.txt", "saved-1234");
    machine.writeRawIni(toAnsi("receipt=" + textOf(machine.receipt()) + "\r\ndata=" +
                               textOf(machine.data()) + "\r\nplayer=" + word + "\r\n"));
    std::string log;
    for (const char* run : {"1", "2", "3", "4"}) {
      log += std::string(kStartLine) + "\r\nrun " + run +
             "\r\nC:\\Users\\someone\\x\r\nDRYRUN steam_id=76561198000004321 persona=x\r\n"
             "upload response: {\"accepted\":true,\"token\":\"fresh-5678\"}\r\n";
    }
    stage::writeFile(machine.log(), log + "saved-1234 " + toAnsi(word) + " fresh-5678\r\n");
    const fs::path file = machine.root() / "kov_support.txt";
    stage::RunOptions options;
    stage::LauncherRun run(program, "--language en --support \"" + textOf(file) + "\"", options);
    const stage::RunResult result = run.wait();
    EXPECT_EQ(result.exitCode, 0U) << result.console;
    EXPECT_EQ(result.console, "Written: " + textOf(file) + "\n");
    const std::string text = stage::readFile(file).value_or("");
    for (const char* secret : {"saved-1234", "fresh-5678", "someone", "7656119800000"}) {
      EXPECT_EQ(text.find(secret), std::string::npos) << secret;
    }
    for (const std::string& wanted :
         {std::string("run 2"), std::string("run 4"), std::string("***4321"), "player=" + word,
          "*** " + word + " ***", std::string("######## launcher.ini\r\n"),
          "code pages " + std::to_string(stage::ansiCodePage())}) {
      EXPECT_NE(text.find(wanted), std::string::npos) << wanted << "\n" << text;
    }
    EXPECT_EQ(text.find("run 1"), std::string::npos);
  }

  stage::Stage machine{"chk"};
  stage::RaceServer server;
  fs::path program;
};

using Check = CheckTest;
using CheckCp936 = CheckTest;

TEST_F(Check, aStandardMachineIsGood) { standardMachineIsGood(); }
TEST_F(CheckCp936, aStandardMachineIsGood) { standardMachineIsGood(); }
TEST_F(Check, settingsAreReadAsTheLauncherReadsThem) { settingsAreRead(); }
TEST_F(CheckCp936, settingsAreReadAsTheLauncherReadsThem) { settingsAreRead(); }
TEST_F(Check, pathsAreShownInUtf8) { pathsAreShownInUtf8("Zoë"); }
TEST_F(CheckCp936, pathsAreShownInUtf8) { pathsAreShownInUtf8("比赛"); }
TEST_F(Check, theGamesPathIsWrittenInTheCodePage) { gameIsWritten("Zoë"); }
TEST_F(CheckCp936, theGamesPathIsWrittenInTheCodePage) { gameIsWritten("游戏"); }
TEST_F(Check, theSupportFileHoldsNoSecret) { supportFileHoldsNoSecret("Zoë"); }
TEST_F(CheckCp936, theSupportFileHoldsNoSecret) { supportFileHoldsNoSecret("竞速"); }

TEST_F(CheckCp936, speaksChineseByItself) {
  EXPECT_EQ(ask("--text").text.substr(0, 15), "== 安装位置");
}

TEST_F(Check, wrongArgumentsEndWithTwo) {
  for (const char* arguments : {"--Text", "--text more", "--support", "--language fr"}) {
    const Said said = ask(arguments);
    EXPECT_EQ(said.exitCode, 2U) << arguments;
    EXPECT_EQ(said.text, "usage: kov_check.exe [--text | --support FILE] [--language zh|en]\n");
  }
}

// Findings ---------------------------------------------------------------------------------

TEST_F(Check, thePlaceIsLookedAt) {
  putUp();
  fs::remove(machine.app() / "kov_result.exe");
  expectSaid("worth knowing", "There is no kov_result.exe here; results come in a plain box only.",
             "旁边没有 kov_result.exe，成绩只会显示在一个简单的小窗口里。");
  const fs::path synced = machine.root() / "OneDrive";
  fs::create_directories(synced);
  fs::copy_file(program, synced / "kov_check.exe");
  program = synced / "kov_check.exe";
  expectSaid("worth knowing",
             "The folder \"OneDrive\" is synced with a cloud, which can lock or exchange result "
             "files.",
             "文件夹“OneDrive”会和云端同步，成绩文件可能被锁住或换掉。");
  expectSaid("bad", "There is no launcher.exe here.", "旁边没有启动器 launcher.exe。");
}

TEST_F(Check, theDataFolderIsTriedAndLeftAsItWas) {
  putUp();
  writeIni({{"data", textOf(machine.root() / "no" / "data")}});
  expectSaid("bad",
             "The data folder does not exist and cannot be created (only its last level is): " +
                 textOf(machine.root() / "no" / "data"),
             "数据文件夹不存在，也建不起来（只能建最后一级）：" +
                 textOf(machine.root() / "no" / "data"));
  stage::writeFile(machine.root() / "file", "x");
  writeIni({{"data", textOf(machine.root() / "file")}});
  expectSaid("bad", "A file stands where the data folder goes: " + textOf(machine.root() / "file"),
             "数据文件夹的位置上是一个文件：" + textOf(machine.root() / "file"));
  writeIni({});
  machine.writeModResult(stage::finishedRun().text());
  machine.writeReceipt(stage::finishedRun().text());
  expectSaid("worth knowing",
             "A kovw_result.json of an earlier run is still there; a next run that writes none "
             "sends it again.",
             "数据文件夹里还有上一次的 kovw_result.json；下一次没有写出新的时，会再传这一份。");
  expectSaid("worth knowing",
             "The receipt of an earlier run is still there; the next run overwrites it: " +
                 textOf(machine.receipt()),
             "上一次的成绩单还在，下一次比赛会覆盖它：" + textOf(machine.receipt()));
  EXPECT_EQ(machine.dataFiles(), Lines{"kovw_result.json"});
}

TEST_F(Check, accountsAreExplained) {
  putUp();
  machine.writeLoginUsers({{.persona = "one", .mostRecent = {}},
                           {.id = "76561198000004321", .persona = "two", .mostRecent = {}}});
  expectSaid("worth knowing",
             "The account will be one (SteamID ending in 0001): Steam has recorded 2 and marks "
             "none as the most recent, so the first is taken.",
             "会用的账号是 one（SteamID 末四位 0001）：Steam 记了 2 个账号，没有标出最近用的，所以取第一个。");
  machine.writeLoginUsers({{.persona = "one", .mostRecent = "0"},
                           {.id = "76561198000004321", .persona = "two"}});
  expectSaid("good",
             "The account will be two (SteamID ending in 4321): of Steam's 2 accounts the one "
             "marked as the most recent.",
             "会用的账号是 two（SteamID 末四位 4321）：Steam 的 2 个账号里标着最近使用的那个。");
  machine.writeLoginUsers({{.persona = "a\\b"}});
  expectSaid("bad",
             "The name has a quote or a backslash; the server cannot read the result: a\\b",
             "名字里有英文引号或反斜杠，服务器读不懂成绩：a\\b");
}

TEST_F(Check, aMissingGameAndModAreBad) {
  putUp();
  fs::remove(machine.gameFolder() / "dwmapi.dll");
  expectSaid("worth knowing",
             "These files of the mod are not in the game's folder yet; the start copies them: "
             "\\dwmapi.dll",
             "游戏文件夹里还没有这些 mod 文件，启动时会复制：\\dwmapi.dll");
  fs::remove(machine.package() / "dwmapi.dll");
  expectSaid("bad",
             "The game's folder lacks files of the mod; a run would not be timed: \\dwmapi.dll",
             "游戏文件夹里少了 mod 的文件，这样不会计时：\\dwmapi.dll");
  fs::remove(machine.gameExe());
  expectSaid("bad", "The game was not found; the launcher will end.", "没有找到游戏，启动器会退出。");
}

TEST_F(Check, livesplitsPortIsAsked) {
  putUp();
  machine.startLiveSplit();
  expectSaid("good", "LiveSplit's server answers (NotRunning).",
             "LiveSplit 的计时服务器有回答（");
  machine.endLiveSplit();
  machine.setLiveSplit({.listens = false});
  machine.startLiveSplit();
  EXPECT_NE(stage::waitForProcess("LiveSplit.exe"), 0U);
  expectSaid("worth knowing", "LiveSplit runs, but its server does not.",
             "LiveSplit 开着，但计时服务器没有启动。");
  machine.endLiveSplit();
  {
    stage::TimerServer other({.prepare = [](stage::TimerServer& timer) {
      timer.reply("getcurrenttimerphase", "hello");
    }});
    expectHolder({"[bad] The program on port 16834", " is not LiveSplit; it answers: hello"},
                 {"[有问题] 端口 16834 上的程序", "不是 LiveSplit，它回答：hello"});
  }
  stage::TimerServer silent({.prepare = [](stage::TimerServer& timer) {
    timer.reply("getcurrenttimerphase", std::vector{stage::TimerReply::silence()});
  }});
  expectHolder({"[bad] A program",
                " holds LiveSplit's port 16834 and does not answer; the launcher would stop there "
                "and wait."},
               {"[有问题] 有程序", "占着 LiveSplit 的端口 16834 却不回答，启动器会停在那里等。"});
}

TEST_F(Check, anOldLivesplitIsTooOld) {
  putUp();
  stage::TimerServer old({.prepare = [](stage::TimerServer& timer) {
    timer.reply("getcurrenttimerphase", "NotRunning");
    timer.reply("getlastsplittime", std::vector{stage::TimerReply::silence()});
  }});
  expectSaid("bad",
             "LiveSplit is too old (1.8.28 or before): it does not answer before the first split, "
             "where an upload would stop.",
             "LiveSplit 太旧（1.8.28 或更早），第一个分段之前不回答，上传会停在那里。");
}

TEST_F(Check, theServersAnswerIsJudged) {
  putUp();
  server.answer("GET", "/week/current", stage::Reply::json("{\"error\":\"x\"}", 404));
  expectSaid("bad", "The server " + server.url() + " answers with an error page (404).",
             "服务器 " + server.url() + " 用错误页回答（404）。");
  stage::Reply redirect = stage::Reply::text("", 302);
  redirect.headers = {{"Location", server.url() + "/leaderboard"}};
  server.answer("GET", "/week/current", redirect);
  expectSaid("bad",
             "The server " + server.url() + " redirects to another address (" + server.url() +
                 "/leaderboard); no submission arrives that way.",
             "服务器 " + server.url() + " 会转到别的网址（");
  stage::Reply late = stage::Reply::json("{\"week\":\"W\",\"seed\":1}");
  late.headers = {{"Date", "Sun, 06 Nov 1994 08:49:37 GMT"}};
  server.answer("GET", "/week/current", late);
  EXPECT_NE(english().text.find("minute(s) ahead of the server's."), std::string::npos);
  for (const stage::Request& request : server.requests()) EXPECT_EQ(request.method, "GET");
  writeIni({{"server", "http://127.0.0.1:9"}});
  expectSaid("bad", "The server http://127.0.0.1:9 does not take the connection.",
             "连不上服务器 http://127.0.0.1:9。");
}

// Runs -------------------------------------------------------------------------------------

TEST_F(Check, aPlayedRunIsToldAsTheServerSaidIt) {
  putUp();
  stage::RunResult run = machine.runLauncher();
  ASSERT_EQ(run.exitCode, 0U);
  check::RunRows rows = runs();
  ASSERT_EQ(rows.size(), 1U);
  EXPECT_EQ(rows[0].fate, check::Fate::accepted);
  EXPECT_EQ(rows[0].outcome, "Accepted: rank 1, 100 points.");
  EXPECT_EQ(rows[0].time, "12:34.60");
  EXPECT_EQ(rows[0].ending, "main");
}

TEST_F(Check, aRefusedRunWaitsUntilItIsSentAgain) {
  putUp();
  server.answer("POST", "/submit",
                stage::Reply::json("{\"accepted\":false,\"error\":\"week window closed\"}"));
  (void)machine.runLauncher();
  check::RunRows rows = runs();
  ASSERT_EQ(rows.size(), 1U);
  EXPECT_EQ(rows[0].fate, check::Fate::waiting);
  EXPECT_EQ(check::queuedRuns(look()), 1);
  const check::ActionResult refused = check::resendQueue(look(), kEnglish);
  EXPECT_FALSE(refused.done);
  EXPECT_NE(refused.text.find("This week has ended"), std::string::npos) << refused.text;
  EXPECT_EQ(check::queuedRuns(look()), 1);
  server.answer("POST", "/submit", stage::Reply::json("{\"accepted\":true,\"rank\":2,\"points\":95}"));
  const check::ActionResult sent = check::resendQueue(look(), kEnglish);
  EXPECT_TRUE(sent.done);
  EXPECT_EQ(sent.text, "1 of 1 sent and accepted.");
  // Under the name that the launcher would use.
  EXPECT_NE(server.requests("POST", "/submit").back().body.find("\"player\":\"竞速玩家\""),
            std::string::npos);
  rows = runs();
  ASSERT_EQ(rows.size(), 1U);
  EXPECT_EQ(rows[0].outcome, "Accepted: rank 2, 95 points.");
}

TEST_F(Check, aRunThatWasNeverSentCanBeQueuedAlsoAfterAnother) {
  putUp();
  const std::string first = stage::finishedRun().text();
  putDownUnsentRun(machine);
  check::RunRows rows = runs();
  ASSERT_EQ(rows.size(), 2U);
  EXPECT_EQ(rows[0].fate, check::Fate::accepted);
  ASSERT_EQ(rows[1].fate, check::Fate::neverSent);
  // A queue entry of that very second is never written over.
  const fs::path taken = machine.data() / "pending" / "p_20250301_214502.json";
  stage::writeFile(taken, "{\"other\":1}");
  EXPECT_TRUE(check::putIntoQueue(look(), rows[1], kEnglish).done);
  EXPECT_EQ(stage::readFile(taken), "{\"other\":1}");
  EXPECT_EQ(stage::readFile(machine.data() / "pending" / "p_20250301_214503.json"), first);
  EXPECT_EQ(stage::readFile(machine.data() / "receipts" / "receipt_20250301_214502.json"), first);
  EXPECT_FALSE(check::putIntoQueue(look(), rows[1], kEnglish).done);  // it is there already
  rows = runs();
  EXPECT_EQ(rows[1].fate, check::Fate::waiting);
  (void)check::resendQueue(look(), kEnglish);
  EXPECT_EQ(runs()[1].fate, check::Fate::accepted);
}

// Buttons ----------------------------------------------------------------------------------

TEST_F(Check, aFileThatIsOpenElsewhereStaysAsItIs) {
  putUp();
  const fs::path ini = machine.app() / "launcher.ini";
  const std::string before = stage::readFile(ini).value_or("");
  const HeldFile held(ini, FILE_SHARE_READ | FILE_SHARE_WRITE);
  const check::ActionResult refused =
      check::writeGame(look(), machine.gameExe().wstring(), kEnglish);
  EXPECT_FALSE(refused.done);
  EXPECT_NE(refused.text.find("launcher.ini cannot be written"), std::string::npos);
  EXPECT_EQ(stage::readFile(ini), before);
  EXPECT_FALSE(stage::pathExists(machine.app() / "launcher.ini.kov-new"));
}

TEST_F(Check, anotherProgramIsNotTakenForTheGame) {
  putUp();
  EXPECT_FALSE(check::writeGame(look(), machine.launcher().wstring(), kEnglish).done);
  EXPECT_FALSE(check::writeGame(look(), L"S:\\no\\Backrooms-Win64-Shipping.exe", kEnglish).done);
}

TEST_F(Check, theTimersServerIsSwitchedOnWithACopyKept) {
  putUp();
  const fs::path config = machine.liveSplitFolder() / "settings.cfg";
  const std::string before = stage::liveSplitSettings({"C:\\older.lsl", "C:\\last.lsl"});
  stage::writeFile(config, before);
  expectSaid("worth knowing", "LiveSplit's server is not set to start with it.",
             "LiveSplit 的计时服务器没有设成自动启动。");
  machine.setLiveSplit({.listens = false});
  machine.startLiveSplit();
  ASSERT_NE(stage::waitForProcess("LiveSplit.exe"), 0U);
  EXPECT_FALSE(check::startTimerServer(look(), kEnglish).done);
  EXPECT_EQ(stage::readFile(config), before);
  machine.endLiveSplit();
  {
    const HeldFile held(config, FILE_SHARE_READ);
    EXPECT_FALSE(check::startTimerServer(look(), kEnglish).done);
    EXPECT_EQ(stage::readFile(config), before);
  }
  const check::ActionResult done = check::startTimerServer(look(), kEnglish);
  EXPECT_TRUE(done.done) << done.text;
  std::string wanted = before;
  wanted.replace(wanted.find(">0</ServerStartup>") + 1, 1, "1");
  EXPECT_EQ(stage::readFile(config), wanted);
  EXPECT_EQ(stage::readFile(machine.liveSplitFolder() / "settings.cfg.kov-backup"), before);
  EXPECT_FALSE(check::startTimerServer(look(), kEnglish).done);  // nothing left to change
}

}  // namespace
}  // namespace e2e
