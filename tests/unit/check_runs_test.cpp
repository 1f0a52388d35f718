#include "check/runs.h"

#include <gtest/gtest.h>

#include "check/edits.h"
#include "check/log_runs.h"
#include "check/refusal_text.h"

namespace launcher::check {
namespace {

constexpr Language kEnglish = Language::english;

const std::string kStart = "=== KOV launcher start (build x) ===\r\n";
const std::string kDone = "=== KOV launcher done ===\r\n";

std::string run(const std::string& name, const std::string& rest) {
  return kStart + "stage: launching game\r\nreceipt archived: C:\\d\\receipts\\" + name +
         "\r\nreceipt summary: x\r\nstage: uploading\r\n" + rest;
}

/// A finished run that is told from others by its seed.
std::string receipt(const std::string& seed = "1", const std::string& status = "ending") {
  return "{\"seed\":" + seed + ",\"status\":\"" + status +
         "\",\"splits\":[{\"i\":0,\"map\":\"Level 0\",\"t\":1.0},"
         "{\"i\":1,\"map\":\"ENDING:main\",\"t\":754.560}],\"ending\":\"main\",\"total\":754.560,"
         "\"difficulty\":\"normal\"}";
}

std::string unfinished() { return "{\"status\":\"running\",\"splits\":[],\"total\":0}"; }

constexpr char kName[] = "receipt_20250301_214502.json";
constexpr char kLater[] = "receipt_20250302_214502.json";
constexpr char kEntry[] = "p_20250301_214600.json";

KeptFile file(const std::string& name, const std::string& bytes) {
  return {name, "C:\\d\\" + name, bytes};
}

RunFacts one(const std::string& log, const std::string& bytes = receipt()) {
  RunFacts facts;
  facts.archived = {file(kName, bytes)};
  facts.log = log;
  return facts;
}

const std::string kAccepted =
    "upload response: {\"accepted\":true,\"rank\":3,\"points\":90,\"token\":\"secret\"}\r\n"
    "stage: upload done (ok=1)\r\n" + kDone;
const std::string kRefused =
    "upload response: {\"accepted\":false,\"error\":\"week window closed\"}\r\n"
    "stage: upload failed, saving pending\r\npending saved: C:\\d\\pending\\" +
    std::string(kEntry) + "\r\nstage: upload done (ok=0)\r\n" + kDone;
const std::string kUnreachable =
    "upload failed (server unreachable), saved to pending queue\r\n"
    "stage: upload failed, saving pending\r\npending saved: C:\\d\\pending\\" +
    std::string(kEntry) + "\r\nstage: upload done (ok=0)\r\n" + kDone;

/// The only row.
RunRow only(const RunFacts& facts) {
  const RunRows rows = runRows(facts, kEnglish);
  EXPECT_EQ(rows.size(), 1U);
  return rows.empty() ? RunRow() : rows.front();
}

TEST(CheckRuns, anAcceptedRunIsToldWithRankAndPoints) {
  const RunRow row = only(one(run(kName, kAccepted)));
  EXPECT_EQ(row.when, "2025-03-01 21:45:02");
  EXPECT_EQ(row.time, "12:34.56");
  EXPECT_EQ(row.ending, "main");
  EXPECT_EQ(row.difficulty, "normal");
  EXPECT_EQ(row.fate, Fate::accepted);
  EXPECT_EQ(row.outcome, "Accepted: rank 3, 90 points.");
  EXPECT_EQ(row.queueSource, "");
}

TEST(CheckRuns, theTimeThatWasSubmittedGoesFirst) {
  EXPECT_EQ(only(one(run(kName, "livesplit time used: 760.25 (receipt said 754.560)\r\n" +
                                    kAccepted)))
                .time,
            "12:40.25");
}

TEST(CheckRuns, aRefusedRunWaitsWithItsReason) {
  RunFacts facts = one(run(kName, kRefused));
  facts.queued = {file(kEntry, receipt())};
  RunRow row = only(facts);
  EXPECT_EQ(row.fate, Fate::waiting);
  EXPECT_EQ(row.outcome, "The server did not accept it: This week has ended - result not counted. "
                         "It waits in the queue; each start sends it again.");
  EXPECT_EQ(runRows(facts, Language::chinese).front().outcome,
            "服务器没有收下：本周的比赛已经结束。在补传队列里，每次启动都会再传。");
}

TEST(CheckRuns, anUndeliveredRunWaits) {
  RunFacts facts = one(run(kName, kUnreachable));
  facts.queued = {file(kEntry, "the mod's own result")};
  EXPECT_EQ(only(facts).fate, Fate::waiting);
}

TEST(CheckRuns, anEntryThatIsGoneWasAcceptedWhenTheLauncherSaysSo) {
  RunFacts facts = one(run(kName, kUnreachable) + kStart + "pending flushed: 1\r\n");
  EXPECT_EQ(only(facts).fate, Fate::accepted);
  facts.log = run(kName, kUnreachable) + kStart + "pending flushed: 0\r\n";
  EXPECT_EQ(only(facts).fate, Fate::unknown);
  facts.notes = noteOfSent(kEntry, "{\"accepted\":true,\"rank\":2,\"points\":95,\"token\":\"t\"}");
  EXPECT_EQ(facts.notes, "sent " + std::string(kEntry) + " \"rank\":2,\"points\":95\n");
  EXPECT_EQ(only(facts).outcome, "Accepted: rank 2, 95 points.");
}

TEST(CheckRuns, aRefusalWithoutAQueueEntryIsRefused) {
  const RunRow row = only(one(run(kName,
                                  "upload response: {\"error\":\"total missing\"}\r\n"
                                  "stage: run not finished, nothing queued\r\n"
                                  "stage: upload done (ok=0)\r\n" + kDone)));
  EXPECT_EQ(row.fate, Fate::refused);
  EXPECT_EQ(row.outcome, "The server did not accept it: total missing");
}

TEST(CheckRuns, aRefusalThatEndedBeforeTheQueueCanBeQueued) {
  const std::string refused = "upload response: {\"error\":\"total missing\"}\r\n";
  for (const std::string rest : {"", "stage: upload failed, saving pending\r\n"}) {
    const RunRow row = only(one(run(kName, refused + rest)));
    EXPECT_EQ(row.fate, Fate::refused);
    EXPECT_EQ(row.outcome,
              "The server did not accept it: total missing The launcher was closed before it was "
              "queued.");
    EXPECT_EQ(row.queueSource, "C:\\d\\receipt_20250301_214502.json");
  }
  // Over, of an unfinished run, or of a launcher that still runs.
  const std::string over = "stage: upload done (ok=0)\r\n";
  EXPECT_EQ(only(one(run(kName, refused + over))).queueSource, "");
  EXPECT_EQ(only(one(run(kName, refused), unfinished())).queueSource, "");
  RunFacts running = one(run(kName, refused));
  running.launcherRuns = true;
  EXPECT_EQ(only(running).queueSource, "");
}

TEST(CheckRuns, anUnfinishedRunSaysWhy) {
  const RunRow row = only(one(run(kName,
                                  "skip reported: run not finished (no ending screen)\r\n"
                                  "stage: upload done (ok=0)\r\n" + kDone),
                              unfinished()));
  EXPECT_EQ(row.fate, Fate::notFinished);
  EXPECT_EQ(row.outcome, "No ending was reached; the run does not count.");
}

TEST(CheckRuns, aRunThatBrokeOffWasNeverSent) {
  for (const std::string rest : {"", "livesplit probe ok: 1.00\r\n", "livesplit phase: Ended\r\n"}) {
    const RunRow row = only(one(run(kName, rest)));
    EXPECT_EQ(row.fate, Fate::neverSent);
    EXPECT_EQ(row.outcome, "Never sent: the launcher was closed before it was done.");
    EXPECT_EQ(row.queueSource, "C:\\d\\receipt_20250301_214502.json");
  }
  EXPECT_EQ(only(one(run(kName, ""), unfinished())).fate, Fate::notFinished);
}

TEST(CheckRuns, anAnswerThatBrokeOffIsStillAnAnswer) {
  EXPECT_EQ(only(one(run(kName, "upload response: {\"accepted\":true}\r\n"))).fate, Fate::accepted);
}

TEST(CheckRuns, aRunThatAnotherOneFollowedWasNeverSentEither) {
  RunFacts facts = one(run(kName, "") + run(kLater, kAccepted));
  facts.archived.push_back(file(kLater, receipt("2")));
  const RunRows rows = runRows(facts, kEnglish);
  ASSERT_EQ(rows.size(), 2U);
  EXPECT_EQ(rows[0].when, "2025-03-02 21:45:02");
  EXPECT_EQ(rows[0].fate, Fate::accepted);
  EXPECT_EQ(rows[1].fate, Fate::neverSent);
}

/// The log of a start that ended at the archive copy.
const std::string kCut = kStart + "stage: launching game\r\ngame exited\r\n"
                         "stage: game closed (launch result=1), archiving receipt\r\n";

/// "2025-03-01 never sent" of each row, newest first.
std::vector<std::string> fates(const RunFacts& facts) {
  std::vector<std::string> rows;
  for (const RunRow& row : runRows(facts, kEnglish)) {
    rows.push_back(row.when.substr(0, 10) + (row.fate == Fate::neverSent  ? " never sent"
                                             : row.fate == Fate::accepted ? " accepted"
                                                                          : " other"));
  }
  return rows;
}

TEST(CheckRuns, aCopyThatTheLogDoesNotNameYetBelongsToTheStartThatBrokeOff) {
  RunFacts facts = one(kCut + run(kLater, kAccepted));
  facts.archived.push_back(file(kLater, receipt("2")));
  EXPECT_EQ(fates(facts),
            (std::vector<std::string>{"2025-03-02 accepted", "2025-03-01 never sent"}));
  // Older copies are of a log that is gone.
  facts.archived.insert(facts.archived.begin(),
                        file("receipt_20250228_000000.json", receipt("3")));
  EXPECT_EQ(fates(facts), (std::vector<std::string>{"2025-03-02 accepted", "2025-03-01 never sent",
                                                    "2025-02-28 other"}));
  // Two starts that ended so made the two newest.
  facts.log = kCut + facts.log;
  facts.archived.insert(facts.archived.begin(),
                        file("receipt_20250227_000000.json", receipt("4")));
  EXPECT_EQ(fates(facts),
            (std::vector<std::string>{"2025-03-02 accepted", "2025-03-01 never sent",
                                      "2025-02-28 never sent", "2025-02-27 other"}));
}

TEST(CheckRuns, aStartThatEndedWhileTheGameRanMadeNoCopy) {
  RunFacts facts = one(kStart + "stage: launching game\r\ngame exited\r\n" +
                       run(kLater, kAccepted));
  facts.archived.push_back(file(kLater, receipt("2")));
  EXPECT_EQ(fates(facts),
            (std::vector<std::string>{"2025-03-02 accepted", "2025-03-01 other", " other"}));
}

TEST(CheckRuns, whatWasQueuedByHandWaitsAndThenIsAccepted) {
  RunFacts facts = one(run(kName, ""));
  facts.notes = noteOfQueued(kName, kEntry);
  facts.queued = {file(kEntry, receipt())};
  EXPECT_EQ(only(facts).fate, Fate::waiting);
  facts.queued.clear();
  EXPECT_EQ(only(facts).fate, Fate::unknown);
  facts.log += kStart + "pending flushed: 1\r\n";
  EXPECT_EQ(only(facts).fate, Fate::accepted);
}

TEST(CheckRuns, anUploadByHandBelongsToTheRunBefore) {
  const std::string upload = kStart + "=== upload-only mode ===\r\n";
  RunFacts facts = one(run(kName, "") + upload +
                       "upload response: {\"accepted\":true,\"rank\":1,\"points\":100}\r\n"
                       "upload-only result: ok\r\n");
  EXPECT_EQ(only(facts).outcome, "Accepted: rank 1, 100 points.");
}

TEST(CheckRuns, theSameReceiptArchivedAgainIsTheSameRun) {
  RunFacts facts = one(run(kName, "") + run(kLater, kAccepted));
  facts.archived.push_back(file(kLater, receipt()));
  EXPECT_EQ(only(facts).fate, Fate::accepted);
}

TEST(CheckRuns, aLogThatDoesNotSayMakesARowUnknown) {
  EXPECT_EQ(only(one("")).fate, Fate::unknown);
  EXPECT_EQ(only(one("nothing\r\nof ours\n")).fate, Fate::unknown);
  RunFacts cut = one(run(kName, "livesplit pro"));
  EXPECT_EQ(only(cut).fate, Fate::unknown);
  RunFacts edited = one(run(kName, ""));
  edited.launchState = "done";
  EXPECT_EQ(only(edited).fate, Fate::unknown);
  RunFacts running = one(run(kName, ""));
  running.launcherRuns = true;
  EXPECT_EQ(only(running).outcome, "The launcher is still running.");
  EXPECT_EQ(only(running).queueSource, "");
}

TEST(CheckRuns, aReceiptThatIsStillInItsPlaceWasNotAccepted) {
  RunFacts facts = one("");
  facts.receipt = file("receipt.json", receipt());
  EXPECT_EQ(only(facts).fate, Fate::neverSent);
  facts.log = run(kName, "livesplit pro");
  EXPECT_EQ(only(facts).fate, Fate::neverSent);
}

TEST(CheckRuns, aReceiptThatWasNeverArchivedIsARunOfItsOwn) {
  RunFacts facts;
  facts.receipt = file("receipt.json", receipt());
  const RunRow row = only(facts);
  EXPECT_EQ(row.fate, Fate::neverSent);
  EXPECT_EQ(row.when, "");
  EXPECT_EQ(row.queueSource, "C:\\d\\receipt.json");
  facts.queued = {file(kEntry, receipt())};
  EXPECT_TRUE(runRows(facts, kEnglish).empty());
}

TEST(CheckRuns, aRunWithoutReceiptIsToldWhenTheGameWasStarted) {
  RunFacts facts;
  facts.log = kStart + "stage: launching game\r\nno receipt file found at x\r\nstage: uploading\r\n"
              "skip reported: no receipt file\r\nstage: upload done (ok=0)\r\n" + kDone +
              kStart + "game not found, aborting\r\n";
  EXPECT_EQ(only(facts).outcome, "There was no receipt; nothing was sent.");
}

TEST(CheckRuns, oddFilesDoNoHarm) {
  RunFacts facts;
  facts.archived = {file("x.json", ""), file("y.json", ""), file("z.json", "\xFF\xFE no")};
  EXPECT_EQ(runRows(facts, kEnglish).size(), 3U);
}

TEST(CheckRuns, timesAreShownAsPlayersWriteThem) {
  EXPECT_EQ(shownTime("754.560"), "12:34.56");
  EXPECT_EQ(shownTime(" 59.999 "), "1:00.00");
  EXPECT_EQ(shownTime("3723.5"), "1:02:03.50");
  for (const char* none : {"", "-1", "0", "x", "1e99", "nan"}) EXPECT_EQ(shownTime(none), "");
}

TEST(CheckRuns, thePageIsALineARun) {
  RunRow row;
  row.time = "12:34.56";
  row.ending = "main";
  row.outcome = "Accepted.";
  EXPECT_EQ(runsText({row}, kEnglish), "time unknown  12:34.56  main  Accepted.\n");
  EXPECT_EQ(runsText({}, Language::chinese), "还没有成绩。\n");
}

// The log ----------------------------------------------------------------------------------

TEST(CheckLogRuns, namesAreTakenFromTheEndWhateverTheFolderIsWrittenIn) {
  // In code page 936 the second byte of this character is a backslash.
  const LogRuns log = readLogRuns(kStart + "receipt archived: C:\\\x95\x5C" + kName + "\r\n");
  ASSERT_EQ(log.runs.size(), 1U);
  EXPECT_EQ(log.runs[0].archive, kName);
  EXPECT_EQ(readLogRuns(kStart + "receipt archived: C:\\x.json\n").runs[0].archive, "");
}

TEST(CheckLogRuns, whatStandsBeforeTheFirstStartIsPassedOver) {
  EXPECT_TRUE(readLogRuns("stage: upload done (ok=1)\r\n").runs.empty());
  EXPECT_FALSE(readLogRuns(kStart + "x").isWhole);
  EXPECT_TRUE(readLogRuns("").isWhole);
}

TEST(CheckLogRuns, theLastStartsAreFound) {
  const std::string log = "x\n" + kStart + "a\n" + kStart + "b\n" + kStart + "c\n";
  EXPECT_EQ(log.substr(lastRunsBegin(log, 2)), kStart + "b\n" + kStart + "c\n");
  EXPECT_EQ(lastRunsBegin(log, 4), 0U);
  EXPECT_EQ(lastRunsBegin("", 3), 0U);
  // Only at the beginning of a line.
  const std::string quoted = kStart + "upload response: === KOV launcher start\n";
  EXPECT_EQ(lastRunsBegin(quoted, 1), 0U);
}

TEST(CheckRefusals, knownReasonsAreToldInTheirLanguage) {
  EXPECT_EQ(refusalText("{\"error\":\"splits too few (3 of 5)\"}", Language::chinese),
            "服务器没有收下：成绩不完整，分段太少。");
  EXPECT_EQ(refusalText("{\"error\":\"splits too few (3 of 5)\"}", kEnglish),
            "The server did not accept it: incomplete result (too few splits).");
  EXPECT_EQ(refusalText("<html>", kEnglish), "The server did not accept it and gave no reason.");
  EXPECT_EQ(refusalText("{\"error\":\"x {1}\"}", kEnglish), "The server did not accept it: x {1}");
}

// launcher.ini -----------------------------------------------------------------------------

TEST(CheckEdits, onlyTheGameLineChanges) {
  EXPECT_EQ(withGame("# 说明\r\nreceipt=r\r\n game = old \r\ndata=d", "D:\\g.exe"),
            "# 说明\r\nreceipt=r\r\ngame=D:\\g.exe\r\ndata=d");
  EXPECT_EQ(withGame("game=\ndata=d\n", "D:\\g.exe"), "game=D:\\g.exe\ndata=d\n");
  EXPECT_EQ(withGame("game=a\r\ngame=b\r\n", "D:\\g.exe"), "game=a\r\ngame=D:\\g.exe\r\n");
  EXPECT_EQ(withGame("data=d", "D:\\\xD3\xCE.exe"), "data=d\r\ngame=D:\\\xD3\xCE.exe\r\n");
  EXPECT_EQ(withGame("data=d\n", "g"), "data=d\ngame=g\n");
  EXPECT_EQ(withGame("", "g"), "game=g\r\n");
  // A key that the launcher overlooks is left alone.
  EXPECT_EQ(withGame("\xEF\xBB\xBFgame=x\r\nGame=y\r\n#game=z\r\n", "g"),
            "\xEF\xBB\xBFgame=x\r\nGame=y\r\n#game=z\r\ngame=g\r\n");
}

TEST(CheckEdits, aFileThatTheLauncherCannotReadIsRefused) {
  EXPECT_EQ(withGame(std::string_view("\xFF\xFEg\0", 4), "g"), std::nullopt);
  EXPECT_EQ(withGame("data=d\r\n\x1A\r\ngame=x\r\n", "g"), std::nullopt);
}

}  // namespace
}  // namespace launcher::check
