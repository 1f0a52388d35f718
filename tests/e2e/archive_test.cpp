// What becomes of the receipt once the game has closed: its copy in the data folder and its
// line in the log.

#include <gtest/gtest.h>
#include <windows.h>

#include <algorithm>
#include <cstddef>
#include <cstdio>
#include <string>

#include "rehearsal/stage/stage.h"
#include "tests/e2e/upload_run.h"

namespace e2e {
namespace {

/// "20250301_214502" of a moment of local time, some seconds from now.
std::string stampIn(int seconds) {
  SYSTEMTIME time = {};
  GetLocalTime(&time);
  FILETIME file = {};
  (void)SystemTimeToFileTime(&time, &file);
  ULARGE_INTEGER ticks = {};
  ticks.LowPart = file.dwLowDateTime;
  ticks.HighPart = file.dwHighDateTime;
  ticks.QuadPart += static_cast<ULONGLONG>(seconds) * 10000000;
  file.dwLowDateTime = ticks.LowPart;
  file.dwHighDateTime = ticks.HighPart;
  (void)FileTimeToSystemTime(&file, &time);
  char stamp[80] = {};
  (void)std::snprintf(stamp, sizeof stamp, "%04d%02d%02d_%02d%02d%02d", time.wYear, time.wMonth,
                      time.wDay, time.wHour, time.wMinute, time.wSecond);
  return stamp;
}

/// Full runs without Steam and without a race server; the game writes what a test says.
class Archive : public ::testing::Test {
 protected:
  Archive() {
    machine.installCard();
    machine.installGame();
    settings = {{"receipt", stage::textOf(machine.receipt())},
                {"data", stage::textOf(machine.data())},
                {"game", stage::textOf(machine.gameExe())},
                {"player", "runner"}};
  }

  /// A full run; `atTheEnd` happens while the game still runs.
  template <typename AtTheEnd>
  stage::RunResult play(AtTheEnd atTheEnd) {
    stage::GameScript game;
    game.waitMs = 0;
    game.untilEnded = true;
    machine.setGame(game);
    machine.writeIni(settings);
    stage::RunOptions options;
    options.limitMs = 30000;
    stage::LauncherRun started = machine.startLauncher({}, options);
    EXPECT_TRUE(started.waitForLog("waiting for exit..."));
    atTheEnd();
    machine.endGame();
    stage::RunResult run = started.wait();
    EXPECT_FALSE(run.hang);
    EXPECT_EQ(run.exitCode, 0U);
    return run;
  }
  stage::RunResult play() {
    return play([] {});
  }

  /// A full run in which the game writes this receipt.
  stage::RunResult playReceipt(const std::string& receipt) {
    return play([&] { machine.writeReceipt(receipt); });
  }

  /// The archive's lines of the log, stamps masked.
  static Lines archiveLines(const stage::RunResult& run) {
    return between(maskedLog(run), "stage: game closed", "stage: uploading");
  }

  /// The archived copies' names and bytes.
  [[nodiscard]] Lines archiveNames() const { return stage::listFolder(receipts()); }
  [[nodiscard]] Lines archives() const {
    Lines all;
    for (const std::string& name : archiveNames()) {
      all.push_back(stage::readFile(receipts() / name).value_or("(unreadable)"));
    }
    return all;
  }
  [[nodiscard]] std::filesystem::path receipts() const { return machine.data() / "receipts"; }

  /// The two lines of a successful archive.
  [[nodiscard]] Lines archived(const std::string& summary) const {
    return {"receipt archived: " + stage::textOf(receipts()) + "\\receipt_YYYYMMDD_hhmmss.json",
            "receipt summary: " + summary};
  }

  stage::Stage machine{"ar"};
  stage::Ini settings;
};

TEST_F(Archive, receiptIsCopiedUnderTheTimeOfItsArchiving) {
  const std::string receipt = stage::finishedRun().text();
  const std::string before = stampIn(0);

  const stage::RunResult run = playReceipt(receipt);

  EXPECT_EQ(maskedLog(run),
            joined({{kStartLine, "steam persona not found, using ini player: runner",
                     "difficulty chooser skipped (in-game difficulty is authoritative)",
                     "no server configured, using cached data", "timer overlay: 0",
                     "stage: launching game",
                     "steam launch did not start the game, trying direct exe",
                     "launched game directly (fallback)",
                     "game running (pid #), waiting for exit...", "game exited",
                     "stage: game closed (launch result=1), archiving receipt"},
                    archived(R"(ending=[{"i":0 total=754.560 status="ending")"),
                    {"stage: uploading", kNoProbe, "no server configured, upload skipped",
                     "stage: upload failed, saving pending",
                     "pending saved: " + stage::textOf(machine.data()) +
                         "\\pending\\p_YYYYMMDD_hhmmss.json",
                     "stage: upload done (ok=0)", "result card: kind=fail ok=0", kDoneLine}}));
  ASSERT_EQ(archiveNames().size(), 1U);
  const std::string name = archiveNames().front();
  EXPECT_GE(name, "receipt_" + before + ".json");
  EXPECT_LE(name, "receipt_" + stampIn(0) + ".json");
  EXPECT_TRUE(run.hasLogLine("receipt archived: " + stage::textOf(receipts() / name)));
  EXPECT_EQ(archives(), Lines{receipt});
  EXPECT_EQ(stage::readFile(machine.receipt()), receipt);
}

TEST_F(Archive, missingReceiptIsLogged) {
  EXPECT_EQ(archiveLines(play()),
            Lines{"no receipt file found at " + stage::textOf(machine.receipt())});
  EXPECT_EQ(archiveNames(), Lines{});
}

// The mod's own result file is never archived, also when it is what will be submitted.
TEST_F(Archive, modResultFileIsNotArchived) {
  const stage::RunResult run =
      play([&] { machine.writeModResult(stage::finishedRun().text()); });
  EXPECT_EQ(archiveLines(run),
            Lines{"no receipt file found at " + stage::textOf(machine.receipt())});
  EXPECT_EQ(archiveNames(), Lines{});
}

TEST_F(Archive, staleReceiptOfAnEarlierRunIsArchivedToo) {
  machine.writeReceipt("{\"status\":\"old\"}");
  EXPECT_EQ(archiveLines(play()), archived("ending=- total=- status=\"old\""));
  EXPECT_EQ(archives(), Lines{"{\"status\":\"old\"}"});
}

TEST_F(Archive, emptyReceiptIsArchivedEmpty) {
  EXPECT_EQ(archiveLines(playReceipt("")), archived("ending=- total=- status=-"));
  EXPECT_EQ(archives(), Lines{""});
}

TEST_F(Archive, everyByteIsCopied) {
  std::string receipt;
  for (int byte = 0; byte < 256; ++byte) receipt += static_cast<char>(byte);
  while (receipt.size() < 300000) receipt += "\r\n\n\x1A" + receipt;
  EXPECT_EQ(archiveLines(playReceipt(receipt)), archived("ending=- total=- status=-"));
  ASSERT_EQ(archives().size(), 1U);
  EXPECT_TRUE(archives().front() == receipt);
}

TEST_F(Archive, valuesOfTheSummaryAreTrimmed) {
  EXPECT_EQ(archiveLines(playReceipt(
                "{\"status\": \"running\" ,\"ending\":\r\n null ,\"total\":  12.5 }")),
            archived("ending=null total=12.5 status=\"running\""));
}

// Keys are found by their text alone: a status that says "ending" is taken for that key, and
// what follows the next colon is its value.
TEST_F(Archive, endingOfTheSummaryCanBeTheStatus) {
  EXPECT_EQ(archiveLines(playReceipt(
                "{\"status\":\"ending\",\"total\":12.5,\"ending\":\"true\"}")),
            archived("ending=12.5 total=12.5 status=\"ending\""));
}

TEST_F(Archive, valueWithoutAnEndRunsToTheEndOfTheText) {
  EXPECT_EQ(archiveLines(playReceipt("{\"total\":7,\"ending\":\"a}b\",\"status\": open end\r\n")),
            archived("ending=\"a total=7 status=open end"));
}

TEST_F(Archive, folderIsMadeAgain) {
  const stage::RunResult run = play([&] {
    std::filesystem::remove(receipts());
    machine.writeReceipt("{}");
  });
  EXPECT_EQ(archiveLines(run), archived("ending=- total=- status=-"));
  EXPECT_EQ(archives(), Lines{"{}"});
}

TEST_F(Archive, missingDataFolderFails) {
  stage::CardScript card;
  card.progressLimitMs = 100;  // it has no state to follow
  machine.installCard(card);
  settings[1].second = stage::textOf(machine.root() / "none" / "data");
  EXPECT_EQ(archiveLines(playReceipt("{}")), Lines{"failed to archive receipt"});
  EXPECT_EQ(stage::readFile(machine.receipt()), "{}");
  EXPECT_FALSE(stage::pathExists(machine.root() / "none"));
}

TEST_F(Archive, fileInTheFoldersPlaceFails) {
  stage::writeFile(receipts(), "a file");
  const stage::RunResult run = playReceipt("{}");
  EXPECT_EQ(archiveLines(run), Lines{"failed to archive receipt"});
  EXPECT_EQ(stage::readFile(receipts()), "a file");
  // The run goes on to its judgement.
  EXPECT_EQ(between(run.logLines(), "stage: uploading", "stage: run not finished"),
            (Lines{kNoProbe, "no server configured, upload skipped"}));
}

// Two runs archived within one second have one name: the second copy replaces the first.
TEST_F(Archive, copyOfTheSameSecondIsReplaced) {
  const stage::RunResult run = play([&] {
    for (int second = 0; second < 30; ++second) {
      stage::writeFile(receipts() / ("receipt_" + stampIn(second) + ".json"),
                       "an earlier copy, longer than the next");
    }
    machine.writeReceipt("{\"total\":2}");
  });
  EXPECT_EQ(archiveLines(run), archived("ending=- total=2 status=-"));
  const Lines copies = archives();
  EXPECT_GE(copies.size(), 30U);
  EXPECT_LE(copies.size(), 31U);  // the wall clock may tick while the names are made
  EXPECT_EQ(std::count(copies.begin(), copies.end(), "{\"total\":2}"), 1);
  EXPECT_EQ(std::count(copies.begin(), copies.end(), "an earlier copy, longer than the next"),
            static_cast<std::ptrdiff_t>(copies.size()) - 1);
}

using ArchiveCp936 = Archive;

// Names of the settings are ANSI bytes; the log has them as they are.
TEST_F(ArchiveCp936, receiptInAChineseFolderIsArchived) {
  ASSERT_EQ(stage::ansiCodePage(), 936U);
  const std::filesystem::path folder = machine.root() / stage::pathOf("成绩");
  const std::string data = stage::toAnsi(stage::textOf(folder));
  settings[0].second = data + "\\" + stage::toAnsi("回执.json");
  settings[1].second = data;
  const stage::RunResult run =
      play([&] { stage::writeFile(folder / stage::pathOf("回执.json"), "{\"total\":2}"); });
  EXPECT_EQ(archiveLines(run),
            (Lines{"receipt archived: " + data + "\\receipts\\receipt_YYYYMMDD_hhmmss.json",
                   "receipt summary: ending=- total=2 status=-"}));
}

TEST_F(ArchiveCp936, missingReceiptIsLoggedByItsAnsiName) {
  ASSERT_EQ(stage::ansiCodePage(), 936U);
  settings[0].second = stage::textOf(machine.root()) + "\\" + stage::toAnsi("回执.json");
  EXPECT_EQ(archiveLines(play()), Lines{"no receipt file found at " + settings[0].second});
}

}  // namespace
}  // namespace e2e
