// What the race server gets to know of a run that is not submitted.

#include <gtest/gtest.h>

#include <string>

#include "rehearsal/stage/stage.h"
#include "tests/e2e/upload_run.h"

namespace e2e {
namespace {

class SkipReport : public UploadTest {
 protected:
  [[nodiscard]] Lines reports() const { return bodies("/client/log"); }
};

const Lines kNoReceiptLog =
    uploadLog({kNoProbe, "no receipt to upload", "skip reported: no receipt file"}, false);

std::string report(const std::string& player, const std::string& reason) {
  return "{\"player\":\"" + player + "\",\"reason\":\"" + reason + "\"}";
}

TEST_F(SkipReport, missingReceipt) {
  const stage::RunResult run = upload();
  EXPECT_EQ(run.logLines(), kNoReceiptLog);
  EXPECT_EQ(run.exitCode, 2U);
  ASSERT_EQ(server.requests().size(), 1U);
  const stage::Request request = server.requests().front();
  EXPECT_EQ(request.method, "POST");
  EXPECT_EQ(request.target, "/client/log");
  EXPECT_EQ(request.header("Content-Type"), "application/json");
  EXPECT_EQ(request.body, "{\"player\":\"runner\",\"reason\":\"no receipt file\"}");
  EXPECT_EQ(machine.dataFiles(), Lines{});
}

TEST_F(SkipReport, invalidReceipt) {
  machine.writeReceipt("");
  EXPECT_EQ(upload().logLines(),
            uploadLog({kNoProbe, "receipt content invalid, upload skipped",
                       "skip reported: receipt invalid"},
                      false));
  EXPECT_EQ(reports(), Lines{report("runner", "receipt invalid")});
  EXPECT_EQ(stage::readFile(machine.receipt()), "");
}

TEST_F(SkipReport, runWithoutAnEndingScreen) {
  machine.writeReceipt(stage::unfinishedRun().text());
  EXPECT_EQ(upload().logLines(),
            uploadLog({kNoProbe,
                       "run not finished: receipt has no ENDING marker (crashed before ending?)",
                       "skip reported: run not finished (no ending screen)"},
                      false));
  EXPECT_EQ(reports(), Lines{report("runner", "run not finished (no ending screen)")});
  EXPECT_EQ(stage::readFile(machine.receipt()), stage::unfinishedRun().text());
}

TEST_F(SkipReport, runWithoutAnEndingMap) {
  machine.writeModResult(stage::unfinishedRun().text());
  EXPECT_EQ(upload().logLines(),
            uploadLog({kNoProbe, kUsingModResult, kNoPhase,
                       "run not finished, upload skipped (no ending map in splits)",
                       "skip reported: run not finished (no ending map)"},
                      false));
  EXPECT_EQ(reports(), Lines{report("runner", "run not finished (no ending map)")});
  EXPECT_EQ(stage::readFile(machine.modResult()), stage::unfinishedRun().text());
}

TEST_F(SkipReport, nobodyIsAnonymous) {
  set("player", "");
  machine.writeReceipt(" {}");
  (void)upload();
  EXPECT_EQ(reports(), Lines{"{\"player\":\"anonymous\",\"reason\":\"receipt invalid\"}"});
}

TEST_F(SkipReport, nameIsNotEscaped) {
  set("player", "a\"b\\c");
  (void)upload();
  EXPECT_EQ(reports(), Lines{"{\"player\":\"a\"b\\c\",\"reason\":\"no receipt file\"}"});
}

TEST_F(SkipReport, nameOfTheSettingsIsConvertedFromTheAnsiCodePage) {
  ASSERT_EQ(stage::ansiCodePage(), 1252U);
  set("player", stage::toAnsi("Jörg"));
  (void)upload();
  EXPECT_EQ(reports(), Lines{report("Jörg", "no receipt file")});
}

TEST_F(SkipReport, everyTrailingSlashOfTheServerGoes) {
  set("server", server.url() + "/race//");
  EXPECT_EQ(upload().logLines(), kNoReceiptLog);
  ASSERT_EQ(server.requests().size(), 1U);
  EXPECT_EQ(server.requests().front().target, "/race/client/log");
}

TEST_F(SkipReport, withoutAServerThereIsNone) {
  set("server", "");
  EXPECT_EQ(upload().logLines(),
            uploadLog({kNoProbe, "no server configured, upload skipped"}, false));
}

TEST_F(SkipReport, serverMadeOfSlashesIsToldNothing) {
  for (const char* slashes : {"/", "///"}) {
    set("server", slashes);
    EXPECT_EQ(upload().logLines(), uploadLog({kNoProbe, "no receipt to upload"}, false));
  }
}

TEST_F(SkipReport, isLoggedAlsoWhenNobodyGotIt) {
  set("server", stage::unreachableUrl());
  EXPECT_EQ(upload().logLines(), kNoReceiptLog);
  EXPECT_EQ(machine.dataFiles(), Lines{});
}

TEST_F(SkipReport, answerDoesNotMatter) {
  for (const stage::Reply& reply :
       {stage::Reply::text("broken", 500), stage::Reply::resetConnection(),
        stage::Reply::json("{\"accepted\":true,\"token\":\"t\"}")}) {
    server.clearAnswers();
    server.answer("POST", "/client/log", reply);
    const stage::RunResult run = upload();
    EXPECT_EQ(run.logLines(), kNoReceiptLog);
    EXPECT_EQ(run.exitCode, 2U);
    EXPECT_EQ(machine.dataFiles(), Lines{});
  }
}

// The persona comes from Steam's file in UTF-8 already and is not converted again.
TEST_F(SkipReport, personaIsSentAsItIs) {
  machine.setSteamPath();
  machine.writeLoginUsers({{.persona = "竞速 É"}});
  machine.installCard();
  machine.installGame([] {
    stage::GameScript game;
    game.untilEnded = true;
    return game;
  }());
  set("game", stage::textOf(machine.gameExe()));
  machine.writeIni(settings);
  stage::LauncherRun run = machine.startLauncher();
  ASSERT_TRUE(run.waitForLog("waiting for exit..."));
  machine.endGame();
  EXPECT_EQ(between(run.wait().logLines(), "stage: uploading", "stage: upload done"),
            (Lines{kNoProbe, "no receipt to upload", "skip reported: no receipt file",
                   "stage: run not finished, nothing queued"}));
  EXPECT_EQ(reports(), Lines{report("竞速 É", "no receipt file")});
}

using SkipReportCp936 = SkipReport;

TEST_F(SkipReportCp936, nameOfTheSettingsIsConvertedFromGbk) {
  ASSERT_EQ(stage::ansiCodePage(), 936U);
  set("player", stage::toAnsi("竞速玩家"));
  (void)upload();
  EXPECT_EQ(reports(), Lines{report("竞速玩家", "no receipt file")});
}

}  // namespace
}  // namespace e2e
