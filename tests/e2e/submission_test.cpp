// The submission of a finished run and the server's reply: request bytes, login code,
// profile page, and what is left on the disk.

#include <gtest/gtest.h>
#include <windows.h>

#include <string>

#include "rehearsal/stage/stage.h"
#include "tests/e2e/upload_run.h"

namespace e2e {
namespace {

constexpr char kBuiltInPage[] = "https://kov-race.example/profile?token=";

class Submission : public UploadTest {
 protected:
  Submission() { machine.writeReceipt(kReceipt); }

  /// Runs an upload that the server answers with this reply.
  stage::RunResult uploadAnsweredBy(const std::string& reply) {
    server.clearAnswers();
    server.answer("POST", "/submit", stage::Reply::json(reply));
    return upload();
  }

  [[nodiscard]] bool receiptIsThere() const { return stage::pathExists(machine.receipt()); }

  /// Every file that an upload may touch, with its bytes.
  [[nodiscard]] std::string dataBytes(const char* name) const {
    return machine.dataFile(name).value_or("(missing)");
  }

  /// The one page that was opened.
  [[nodiscard]] Lines pagesOnceOpened() const {
    EXPECT_TRUE(machine.timeline().waitFor("browser", "open"));
    return machine.openedUrls();
  }

  static constexpr char kReceipt[] =
      "{\"status\":\"ending\",\"splits\":[{\"i\":0,\"map\":\"ENDING:main\",\"t\":9.5}],"
      "\"ending\":\"main\",\"total\":9.5}\r\n";
  static constexpr char kMembers[] =
      "\"status\":\"ending\",\"splits\":[{\"i\":0,\"map\":\"ENDING:main\",\"t\":9.5}],"
      "\"ending\":\"main\",\"total\":9.5}\r\n";
};

std::string responseLine(const std::string& reply) { return "upload response: " + reply; }

// --- the request ------------------------------------------------------------------------

TEST_F(Submission, requestIsOneJsonPost) {
  const stage::RunResult run = upload();

  EXPECT_EQ(run.logLines(), submissionLog({responseLine(kAccepted)}, true));
  ASSERT_EQ(server.requests().size(), 1U);
  const stage::Request request = server.requests().front();
  EXPECT_EQ(request.method, "POST");
  EXPECT_EQ(request.target, "/submit");
  EXPECT_EQ(request.body,
            std::string("{\"player\":\"runner\",\"difficulty\":\"normal\",") + kMembers);
}

TEST_F(Submission, nobodyIsAnonymous) {
  set("player", "");
  (void)upload();
  EXPECT_EQ(submissions(),
            Lines{std::string("{\"player\":\"anonymous\",\"difficulty\":\"normal\",") + kMembers});
}

TEST_F(Submission, difficultyOfTheSettingsIsSentAsItStands) {
  set("difficulty", "hard\"er");
  (void)upload();
  EXPECT_EQ(submissions(),
            Lines{std::string("{\"player\":\"runner\",\"difficulty\":\"hard\"er\",") + kMembers});
}

TEST_F(Submission, receiptsOwnDifficultyStandsAloneEvenWhenItIsNone) {
  for (const std::string member : {"\"difficulty\":\"easy\"", "\"difficulty\":\"x\"",
                                   "\"difficulty\": \"easy\"", "\"difficulty\":null"}) {
    const std::string receipt = "{\"map\":\"ENDING:main\"," + member + "}";
    machine.writeReceipt(receipt);
    (void)upload();
    EXPECT_EQ(submissions().back(), payload("runner", receipt));
  }
}

// The blank hides the value from the judgement, but not the key from the payload.
TEST_F(Submission, difficultyBehindABlankIsNotTakenOver) {
  machine.writeReceipt("{\"map\":\"ENDING:main\",\"t\":9.5,\"difficulty\": \"easy\"}");
  EXPECT_EQ(upload().logLines(), submissionLog({responseLine(kAccepted)}, true));
}

TEST_F(Submission, nothingIsEscaped) {
  set("player", "a\"b\\c");
  (void)upload();
  EXPECT_EQ(submissions(),
            Lines{std::string("{\"player\":\"a\"b\\c\",\"difficulty\":\"normal\",") + kMembers});
}

TEST_F(Submission, bytesOfTheReceiptArriveAsTheyAre) {
  std::string receipt = "{\"map\":\"ENDING:main\",\"difficulty\":\"easy\",\"note\":\"";
  for (int byte = 0; byte < 256; ++byte) receipt += static_cast<char>(byte);
  receipt += "\"}tail\n\n";
  machine.writeReceipt(receipt);
  (void)upload();
  EXPECT_EQ(submissions(), Lines{payload("runner", receipt)});
}

TEST_F(Submission, playerOfTheSettingsIsConvertedFromTheAnsiCodePage) {
  ASSERT_EQ(stage::ansiCodePage(), 1252U);
  set("player", stage::toAnsi("Jörg É"));
  (void)upload();
  EXPECT_EQ(submissions(),
            Lines{std::string("{\"player\":\"Jörg É\",\"difficulty\":\"normal\",") + kMembers});
}

TEST_F(Submission, steamIdIsSentWhenSteamKnowsThePlayer) {
  machine.setSteamPath();
  machine.writeLoginUsers();
  (void)upload();
  EXPECT_EQ(submissions(),
            Lines{std::string("{\"player\":\"runner\",\"playerId\":\"76561198000000001\","
                              "\"difficulty\":\"normal\",") +
                  kMembers});
}

TEST_F(Submission, everyTrailingSlashOfTheServerGoes) {
  set("server", server.url() + "/race//");
  server.answer("POST", "/race/submit", stage::Reply::json(kAccepted));
  const stage::RunResult run = upload();
  EXPECT_EQ(run.logLines(), submissionLog({responseLine(kAccepted)}, true));
  ASSERT_EQ(server.requests().size(), 1U);
  EXPECT_EQ(server.requests().front().target, "/race/submit");
}

// --- no answer --------------------------------------------------------------------------

const Lines kUnreachable = {"upload failed (server unreachable), saved to pending queue"};

TEST_F(Submission, serverThatIsNotThereIsUnreachable) {
  set("server", stage::unreachableUrl());

  const stage::RunResult run = upload();

  const Lines log = submissionLog(kUnreachable, false);
  EXPECT_EQ(run.logLines(), log);
  Lines console = log;
  console.insert(console.end() - 1, {"", "上传失败（详见 launcher.log）"});
  EXPECT_EQ(run.console, asWritten(console));
  EXPECT_EQ(run.exitCode, 2U);
  EXPECT_EQ(machine.dataFiles(), Lines{});
  EXPECT_EQ(stage::readFile(machine.receipt()), kReceipt);
}

TEST_F(Submission, serverThatHangsUpIsUnreachable) {
  for (const stage::Reply& reply :
       {stage::Reply::closeConnection(), stage::Reply::resetConnection()}) {
    server.clearAnswers();
    server.answer("POST", "/submit", reply);
    const stage::RunResult run = upload();
    EXPECT_EQ(run.logLines(), submissionLog(kUnreachable, false));
    EXPECT_EQ(run.exitCode, 2U);
    EXPECT_EQ(machine.dataFiles(), Lines{});
    EXPECT_EQ(stage::readFile(machine.receipt()), kReceipt);
  }
}

TEST_F(Submission, serverMadeOfSlashesIsUnreachable) {
  set("server", "//");
  const stage::RunResult run = upload();
  EXPECT_EQ(run.logLines(), submissionLog(kUnreachable, false));
  EXPECT_EQ(run.exitCode, 2U);
}

// --- acceptance -------------------------------------------------------------------------

TEST_F(Submission, onlyTwoSpellingsAccept) {
  const struct {
    const char* reply;
    bool accepted;
  } cases[] = {
      {"{\"accepted\":true}", true},
      {"{\"accepted\": true}", true},
      {"<p>\"accepted\":trueish", true},
      {"{\"accepted\" :true}", false},
      {"{\"accepted\":  true}", false},
      {"{\"accepted\":\ttrue}", false},
      {"{\"accepted\":True}", false},
      {"{\"accepted\":\"true\"}", false},
      {"{\"accepted\":false,\"error\":\"week window closed\"}", false},
      {"accepted", false},
      {"", false},
  };
  for (const auto& one : cases) {
    machine.writeReceipt(kReceipt);
    const stage::RunResult run = uploadAnsweredBy(one.reply);
    EXPECT_EQ(run.logLines(), submissionLog({responseLine(one.reply)}, one.accepted));
    EXPECT_EQ(run.exitCode, one.accepted ? 0U : 2U) << one.reply;
    EXPECT_EQ(receiptIsThere(), !one.accepted) << one.reply;
  }
}

TEST_F(Submission, acceptedRunDeletesBothFiles) {
  machine.writeModResult(kReceipt);
  (void)upload();
  EXPECT_FALSE(receiptIsThere());
  EXPECT_EQ(machine.dataFiles(), Lines{});
}

TEST_F(Submission, refusedRunKeepsBothFilesAsTheyWere) {
  machine.writeReceipt("{\"status\":\"running\"}");
  machine.writeModResult("{\"status\":\"running\",\"ending\":\"?\",\"map\":\"Tunnel\"}");

  const stage::RunResult run = uploadAnsweredBy("{\"accepted\":false}");

  EXPECT_EQ(run.exitCode, 2U);
  EXPECT_EQ(stage::readFile(machine.receipt()), "{\"status\":\"running\"}");
  EXPECT_EQ(stage::readFile(machine.modResult()),
            "{\"status\":\"running\",\"ending\":\"?\",\"map\":\"Tunnel\"}");
  EXPECT_EQ(machine.dataFiles(), Lines{"kovw_result.json"});
}

TEST_F(Submission, receiptThatCannotBeDeletedIsStillAccepted) {
  const HANDLE held = CreateFileW(machine.receipt().c_str(), GENERIC_READ,
                                  FILE_SHARE_READ | FILE_SHARE_WRITE, nullptr, OPEN_EXISTING, 0,
                                  nullptr);
  ASSERT_NE(held, INVALID_HANDLE_VALUE);
  const stage::RunResult run = upload();
  CloseHandle(held);
  EXPECT_EQ(run.logLines(), submissionLog({responseLine(kAccepted)}, true));
  EXPECT_EQ(run.exitCode, 0U);
  EXPECT_TRUE(receiptIsThere());
}

// --- the reply in the log -----------------------------------------------------------------

TEST_F(Submission, replyIsLoggedWholeAndNeverAsAFormat) {
  const std::string reply = "{\"accepted\":true,\"note\":\"100%d %s %n 已收到\"}" +
                            std::string(100000, 'x');
  const stage::RunResult run = uploadAnsweredBy(reply);
  EXPECT_TRUE(run.logLines() == submissionLog({responseLine(reply)}, true));
  EXPECT_NE(run.console.find("\r\n" + responseLine(reply) + "\r\n"), std::string::npos);
}

// Line feeds become CR LF in the log, whatever stood before them; a NUL ends the text.
TEST_F(Submission, lineEndsOfAReplyGoThroughTextMode) {
  const stage::RunResult run =
      uploadAnsweredBy(std::string("{\"accepted\":false,\n\"a\":1,\r\n\"b\":2}\0\"c\"", 38));
  const std::string begin = asWritten(submissionLog({}, false));
  const std::string end = "upload-only result: failed\r\n";
  EXPECT_EQ(run.log, begin.substr(0, begin.size() - end.size()) +
                         "upload response: {\"accepted\":false,\r\n\"a\":1,\r\r\n\"b\":2}\r\n" +
                         end);
}

// --- login code and profile page ------------------------------------------------------------

const Lines kFirstTime = {"profile token saved", "opened profile page (first time)"};

TEST_F(Submission, firstLoginCodeIsSavedAndOpensThePage) {
  machine.installBrowser();
  const std::string reply = "{\"accepted\":true,\"token\": \"kq7-4821\",\"rank\":1}";

  const stage::RunResult run = uploadAnsweredBy(reply);

  EXPECT_EQ(run.logLines(),
            submissionLog(joined({kFirstTime, {responseLine(reply)}}), true));
  EXPECT_EQ(pagesOnceOpened(), Lines{std::string(kBuiltInPage) + "kq7-4821"});
  EXPECT_EQ(dataBytes("profile_token.txt"), "kq7-4821");
  EXPECT_EQ(dataBytes("profile_opened.flag"), "1");
  EXPECT_EQ(machine.dataFiles(), (Lines{"profile_opened.flag", "profile_token.txt"}));
}

TEST_F(Submission, laterLoginCodeIsSavedButOpensNothing) {
  machine.installBrowser();
  stage::writeFile(machine.data() / "profile_token.txt", "older-and-longer");
  stage::writeFile(machine.data() / "profile_opened.flag", "");
  const std::string reply = "{\"accepted\":true,\"token\":\"new\"}";

  const stage::RunResult run = uploadAnsweredBy(reply);

  Lines log = submissionLog({"profile token saved", responseLine(reply)}, true);
  log.insert(log.begin() + 1, "profile token preloaded (16 bytes)");
  EXPECT_EQ(run.logLines(), log);
  EXPECT_EQ(dataBytes("profile_token.txt"), "new");
  EXPECT_EQ(dataBytes("profile_opened.flag"), "");

  // A page opened by now would be seen before the one of a machine that has none yet.
  std::filesystem::remove(machine.data() / "profile_opened.flag");
  machine.writeReceipt(kReceipt);
  (void)uploadAnsweredBy("{\"accepted\":true,\"token\":\"second\"}");
  EXPECT_EQ(pagesOnceOpened(), Lines{std::string(kBuiltInPage) + "second"});
}

TEST_F(Submission, refusalCanBringALoginCodeToo) {
  machine.installBrowser();
  const std::string reply = "{\"accepted\":false,\"error\":\"race is closed\",\"token\":\"t1\"}";

  const stage::RunResult run = uploadAnsweredBy(reply);

  EXPECT_EQ(run.logLines(),
            submissionLog(joined({kFirstTime, {responseLine(reply)}}), false));
  EXPECT_EQ(pagesOnceOpened(), Lines{std::string(kBuiltInPage) + "t1"});
  EXPECT_EQ(dataBytes("profile_token.txt"), "t1");
  EXPECT_TRUE(receiptIsThere());
}

TEST_F(Submission, emptyLoginCodeIsOne) {
  machine.installBrowser();
  const std::string reply = "{\"accepted\":true,\"token\":\"\"}";

  const stage::RunResult run = uploadAnsweredBy(reply);

  EXPECT_EQ(run.logLines(),
            submissionLog(joined({kFirstTime, {responseLine(reply)}}), true));
  EXPECT_EQ(pagesOnceOpened(), Lines{kBuiltInPage});
  EXPECT_EQ(dataBytes("profile_token.txt"), "");
}

TEST_F(Submission, replyWithoutALoginCodesQuotesHasNone) {
  for (const std::string reply :
       {"{\"accepted\":true,\"token\":null}", "{\"accepted\":true,\"token\":\"open",
        "{\"accepted\":true,\"token\" :\"x\"}"}) {
    machine.writeReceipt(kReceipt);
    EXPECT_EQ(uploadAnsweredBy(reply).logLines(), submissionLog({responseLine(reply)}, true));
    EXPECT_EQ(machine.dataFiles(), Lines{});
  }
}

TEST_F(Submission, fileThatCannotBeWrittenIsNotMissed) {
  machine.installBrowser();
  std::filesystem::create_directories(machine.data() / "profile_token.txt");
  std::filesystem::create_directories(machine.data() / "profile_opened.flag");
  const std::string reply = "{\"accepted\":true,\"token\":\"t\"}";

  const stage::RunResult run = uploadAnsweredBy(reply);

  EXPECT_EQ(run.logLines(),
            submissionLog(joined({kFirstTime, {responseLine(reply)}}), true));
  EXPECT_EQ(pagesOnceOpened(), Lines{std::string(kBuiltInPage) + "t"});
  EXPECT_EQ(machine.dataFiles(), (Lines{"profile_opened.flag\\", "profile_token.txt\\"}));
}

// The browser is gone: no one asks whether the page opened.
TEST_F(Submission, pageThatCannotBeOpenedCountsAsOpened) {
  machine.installBrowser();
  std::filesystem::remove(machine.root() / "bin" / "browser.exe");
  const std::string reply = "{\"accepted\":true,\"token\":\"t\"}";

  const stage::RunResult run = uploadAnsweredBy(reply);

  EXPECT_EQ(run.logLines(),
            submissionLog(joined({kFirstTime, {responseLine(reply)}}), true));
  EXPECT_EQ(dataBytes("profile_opened.flag"), "1");
}

// --- the "site" line ------------------------------------------------------------------------

class SubmissionSite : public Submission {
 protected:
  /// The page that opens with these lines after the settings.
  std::string pageWith(const std::string& siteLines) {
    machine.installBrowser();
    server.clearAnswers();
    server.answer("POST", "/submit", stage::Reply::json("{\"accepted\":true,\"token\":\"t\"}"));
    machine.writeRawIni("receipt=" + stage::textOf(machine.receipt()) +
                        "\r\ndata=" + stage::textOf(machine.data()) +
                        "\r\nserver=" + server.url() + "\r\n" + siteLines);
    const std::size_t before = machine.openedUrls().size();
    const stage::RunResult run = machine.runLauncher("--upload");
    EXPECT_EQ(run.exitCode, 0U);
    EXPECT_TRUE(machine.timeline().waitFor("browser", "open", before + 1));
    const Lines pages = machine.openedUrls();
    return pages.empty() ? "(none)" : pages.back();
  }
};

TEST_F(SubmissionSite, lineReplacesTheBuiltInSite) {
  EXPECT_EQ(pageWith("site =  \"https://a.example/\"  \r\n"),
            "https://a.example//profile?token=t");
}

TEST_F(SubmissionSite, laterLineWins) {
  EXPECT_EQ(pageWith("site=https://a.example\nsite=https://b.example\nsite=\n"),
            "https://b.example/profile?token=t");
}

TEST_F(SubmissionSite, otherSpellingsOfTheKeyDoNotCount) {
  EXPECT_EQ(pageWith(" site=https://a.example\nSite=https://a.example\n"
                     "site\t=https://a.example\n#site=https://a.example\n"),
            std::string(kBuiltInPage) + "t");
}

// Its own reading, other than that of the settings: 511 bytes a line, no comments.
TEST_F(SubmissionSite, longLineGoesOnAsALineOfItsOwn) {
  EXPECT_EQ(pageWith("#" + std::string(510, 'x') + "site=https://a.example\n"),
            "https://a.example/profile?token=t");
}

/// Runs in which the settings file changes while the server thinks about its answer.
class SubmissionSiteLater : public Submission {
 protected:
  /// The page that opens when `change` happens between the submission and its answer.
  template <typename Change>
  std::string pageAfter(Change change) {
    machine.installBrowser();
    server.clearAnswers();
    server.answer("POST", "/submit",
                  stage::Reply::json("{\"accepted\":true,\"token\":\"t\"}").after(500));
    set("site", "https://early.example");
    machine.writeIni(settings);
    stage::LauncherRun run = machine.startLauncher("--upload");
    for (int wait = 0; wait < 1000 && server.requests().empty(); ++wait) Sleep(10);
    change();
    EXPECT_EQ(run.wait().exitCode, 0U);
    const Lines pages = pagesOnceOpened();
    return pages.empty() ? "(none)" : pages.front();
  }
};

TEST_F(SubmissionSiteLater, lineIsReadWhenThePageOpens) {
  EXPECT_EQ(pageAfter([&] { machine.writeRawIni("site=https://late.example"); }),
            "https://late.example/profile?token=t");
}

TEST_F(SubmissionSiteLater, missingSettingsLeaveTheBuiltInSite) {
  EXPECT_EQ(pageAfter([&] { std::filesystem::remove(machine.app() / "launcher.ini"); }),
            std::string(kBuiltInPage) + "t");
}

// --- what the result card is told -----------------------------------------------------------

/// Full runs with a game that is started directly and a card that records its command line.
class SubmissionCard : public Submission {
 protected:
  SubmissionCard() {
    setRun(machine.playsRun(kReceipt));
    machine.installCard();
    machine.installBrowser();
    set("game", stage::textOf(machine.gameExe()));
  }

  /// What the game plays. It stays until the launcher watches it.
  void setRun(stage::GameScript game) {
    game_ = std::move(game);
    game_.waitMs = 0;
    game_.untilEnded = true;
    machine.installGame(game_);
  }

  /// A full run in which the server answers the submission with this reply.
  stage::RunResult play(const stage::Reply& reply) {
    server.clearAnswers();
    server.answer("POST", "/submit", reply);
    machine.setGame(game_);
    machine.writeIni(settings);
    stage::RunOptions options;
    options.limitMs = 20000;
    stage::LauncherRun started = machine.startLauncher({}, options);
    EXPECT_TRUE(started.waitForLog("waiting for exit..."));
    machine.endGame();
    stage::RunResult run = started.wait();
    EXPECT_FALSE(run.hang);
    EXPECT_EQ(run.exitCode, 0U);
    return run;
  }

  /// What stands after the card's path in the result card's command line.
  [[nodiscard]] std::string resultCard() const {
    const std::string program =
        "\"" + stage::textOf(machine.app() / "kov_result.exe") + "\"";
    const auto cards = machine.timeline().events("card", "start");
    if (cards.size() < 2 || !cards.back().text.starts_with(program)) return "(no card)";
    return cards.back().text.substr(program.size());
  }

 private:
  stage::GameScript game_;
};

TEST_F(SubmissionCard, acceptedRunShowsWhatTheReplySays) {
  stage::writeFile(machine.app() / "profile_token.txt", "preloaded");
  (void)play(stage::Reply::json("{\"rank\": 12,\"points\":-3x,\"accepted\":true,"
                                "\"token\":\"fresh\"}"));
  EXPECT_EQ(resultCard(),
            " --ok 1 --kind ok --total 9.5 --difficulty normal --ending main --rank 12"
            " --points -3 --msg \"login code: fresh\"");
}

TEST_F(SubmissionCard, valuesThatTheReplyLacksAreZero) {
  (void)play(stage::Reply::json("{\"rank\" :4,\"points\":\"9\",\"accepted\":true}"));
  EXPECT_EQ(resultCard(),
            " --ok 1 --kind ok --total 9.5 --difficulty normal --ending main --rank 0"
            " --points 0");
}

TEST_F(SubmissionCard, refusedRunShowsItsValuesToo) {
  stage::Receipt receipt = stage::finishedRun();
  receipt.splits.back().map = "ENDING:arcade";
  receipt.ending = "exit";
  receipt.difficulty = "nightmare";
  receipt.total = " 754.5 ";
  setRun(machine.playsRun(receipt.text()));
  (void)play(stage::Reply::json("{\"accepted\":false,\"rank\":7,\"error\":\"splits too few\"}"));
  EXPECT_EQ(resultCard(),
            " --ok 0 --kind fail --total  754.5  --difficulty nightmare --ending arcade --rank 7"
            " --points 0 --msg \"incomplete result (too few splits). Result saved locally - it "
            "will retry next launch.\"");
}

TEST_F(SubmissionCard, runWithoutAnAnswerLeavesEveryValueAsItWas) {
  setRun(machine.playsRun(stage::finishedRun().text()));
  const stage::RunResult run = play(stage::Reply::resetConnection());
  EXPECT_EQ(resultCard(),
            " --ok 0 --kind fail --total 0 --difficulty normal --ending main --rank 0 --points 0"
            " --msg \"Network error. Result saved locally - it will retry next launch.\"");
  EXPECT_EQ(between(maskedLog(run), "stage: uploading", "stage: upload done"),
            (Lines{kNoProbe, kNoPhase,
                   "ending inferred from splits: main (map=ENDING:main t=754.56)", kReceiptTime,
                   "difficulty from game (receipt): normal",
                   "upload failed (server unreachable), saved to pending queue",
                   "stage: upload failed, saving pending",
                   "pending saved: " + stage::textOf(machine.data()) +
                       "\\pending\\p_YYYYMMDD_hhmmss.json"}));
}

// The persona is UTF-8 and stays so; the id is asked for anew when the run is over.
TEST_F(SubmissionCard, personaGoesOutAsItIsWithTheIdOfThatMoment) {
  machine.setSteamPath();
  machine.writeLoginUsers({{.persona = "竞速玩家 É"}});
  stage::GameScript game = machine.playsRun(kReceipt);
  game.writes.push_back({machine.steamFolder() / "config" / "loginusers.vdf",
                         stage::loginUsersVdf({{.id = "76561198000000777", .persona = "other"}})});
  setRun(game);
  (void)play(stage::Reply::json(kAccepted));
  EXPECT_EQ(submissions(),
            Lines{std::string("{\"player\":\"竞速玩家 É\",\"playerId\":\"76561198000000777\","
                              "\"difficulty\":\"normal\",") +
                  kMembers});
}

TEST_F(SubmissionCard, pageOpensOnceInTwoRuns) {
  const std::string reply = "{\"accepted\":true,\"token\":\"t\"}";
  const stage::RunResult first = play(stage::Reply::json(reply));
  const stage::RunResult second = play(stage::Reply::json(reply));
  EXPECT_TRUE(first.hasLogLine("opened profile page (first time)"));
  EXPECT_FALSE(second.hasLogLine("opened profile page (first time)"));
  EXPECT_FALSE(second.hasLogLine("opened profile page (fallback path)"));
  EXPECT_EQ(pagesOnceOpened(), Lines{std::string(kBuiltInPage) + "t"});
}

// --- code page 936 --------------------------------------------------------------------------

using SubmissionCp936 = SubmissionCard;

TEST_F(SubmissionCp936, playerOfTheSettingsIsConvertedFromGbk) {
  ASSERT_EQ(stage::ansiCodePage(), 936U);
  set("player", stage::toAnsi("竞速玩家"));
  ASSERT_EQ(settings[1].second, "\xBE\xBA\xCB\xD9\xCD\xE6\xBC\xD2");
  (void)upload();
  EXPECT_EQ(submissions(),
            Lines{std::string("{\"player\":\"竞速玩家\",\"difficulty\":\"normal\",") + kMembers});
}

TEST_F(SubmissionCp936, personaIsNotConverted) {
  ASSERT_EQ(stage::ansiCodePage(), 936U);
  machine.setSteamPath();
  machine.writeLoginUsers();
  (void)play(stage::Reply::json(kAccepted));
  EXPECT_EQ(submissions(),
            Lines{std::string("{\"player\":\"竞速玩家\",\"playerId\":\"76561198000000001\","
                              "\"difficulty\":\"normal\",") +
                  kMembers});
}

// The files are opened by their ANSI names, so a Chinese folder works under code page 936.
TEST_F(SubmissionCp936, filesInAChineseFolderAreReadWrittenAndDeleted) {
  ASSERT_EQ(stage::ansiCodePage(), 936U);
  const std::filesystem::path folder = machine.root() / stage::pathOf("数据");
  const std::string path = stage::toAnsi(stage::textOf(folder));
  stage::writeFile(folder / "receipt.json", kReceipt);
  settings.insert(settings.begin(), {{"receipt", path + "\\receipt.json"}, {"data", path}});
  const std::string reply = "{\"accepted\":true,\"token\":\"t\"}";
  const stage::RunResult run = uploadAnsweredBy(reply);
  EXPECT_EQ(run.logLines(),
            submissionLog(joined({kFirstTime, {responseLine(reply)}}), true));
  EXPECT_EQ(stage::listFolder(folder), (Lines{"profile_opened.flag", "profile_token.txt"}));
  EXPECT_EQ(pagesOnceOpened(), Lines{std::string(kBuiltInPage) + "t"});
}

}  // namespace
}  // namespace e2e
