#include <gtest/gtest.h>

#include "tests/e2e/full_run.h"

namespace {

using e2e::kNothingToUpload;
using e2e::Lines;
using e2e::maskedLog;
using e2e::weeklyUnreachable;
using e2e::weeklyUpdated;
using stage::Reply;
using stage::writeFile;

const Lines kFiles = {"week.json",    "leaderboard.json", "board_data.txt",
                      "board_en.txt", "board.txt",        "board.tsv"};
const Lines kTargets = {"/week/current", "/leaderboard",     "/board-data",
                        "/board-en",     "/leaderboard.txt", "/leaderboard.tsv"};

const Lines kUnreachableUpload = {e2e::kNoTimer, "no receipt to upload"};

class WeeklySync : public e2e::FullRunTest {
 protected:
  WeeklySync() { set("server", server.url()); }

  /// What the server sends for each of the six, in their order.
  void serve(const Lines& contents) {
    for (std::size_t i = 0; i < kTargets.size(); ++i) {
      server.answer("GET", kTargets[i], Reply::text(contents.at(i)));
    }
  }
  /// Copies that an earlier run left.
  void cache(const Lines& contents) {
    for (std::size_t i = 0; i < kFiles.size(); ++i) {
      writeFile(machine.data() / kFiles[i], contents.at(i));
    }
  }
  [[nodiscard]] Lines files() const {
    Lines all;
    for (const std::string& name : kFiles) {
      all.push_back(machine.dataFile(name).value_or("(none)"));
    }
    return all;
  }
  [[nodiscard]] std::string seed() const {
    return machine.dataFile("rand_seed.txt").value_or("(none)");
  }
  /// The whole log of a run with these lines about the week.
  [[nodiscard]] Lines logOf(const Lines& weekly, const Lines& upload = kNothingToUpload) const {
    return wholeLog({.weekly = weekly, .upload = upload});
  }

  stage::RaceServer server;
  const Lines old_ = {"{\"seed\": 4711}", "old leaderboard", "old data", "old english", "old board",
                      "old table"};
};

TEST_F(WeeklySync, sixFilesAreFetchedInTheirOrderAndKeptByteForByte) {
  const Lines contents = {"{\"week\":\"2026-W47\",\"seed\":20261147}\r\n",
                          "{\"rows\":[{\"player\":\"竞速玩家\"}]}",
                          std::string("a\0b\x1A\xFF", 5),
                          "1 runner 12:34.56\n",
                          "第一名\r\r\n",
                          "rank\tplayer\n1\trunner\n"};
  cache({std::string(5000, 'x'), std::string(5000, 'x'), "", "", "", "x"});
  serve(contents);
  EXPECT_EQ(maskedLog(play()), logOf(weeklyUpdated()));
  EXPECT_EQ(files(), contents);
  EXPECT_EQ(seed(), "20261147");
  Lines got;
  for (const stage::Request& request : server.requests()) {
    got.push_back(request.method + " " + request.target + request.body);
  }
  Lines wanted;
  for (const std::string& target : kTargets) wanted.push_back("GET " + target);
  wanted.emplace_back(
      "POST /client/log{\"player\":\"runner\",\"reason\":\"no receipt file\"}");
  EXPECT_EQ(got, wanted);
}

TEST_F(WeeklySync, aLongFileArrivesWhole) {
  std::string board;
  while (board.size() < 300'000) board += std::to_string(board.size()) + "\trunner\n";
  server.answer("GET", "/leaderboard.tsv", Reply::text(board));
  EXPECT_EQ(maskedLog(play()), logOf(weeklyUpdated()));
  EXPECT_EQ(machine.dataFile("board.tsv"), board);
}

// Caching ----------------------------------------------------------------------------------

TEST_F(WeeklySync, withoutServerNothingIsTouchedNotEvenTheSeed) {
  set("server", "");
  cache(old_);
  EXPECT_EQ(maskedLog(play()), wholeLog({}));
  EXPECT_EQ(files(), old_);
  EXPECT_EQ(seed(), "(none)");
}

TEST_F(WeeklySync, anUnreachableServerLeavesTheCopiesAndTheSeedComesFromTheCachedWeek) {
  server.stop();
  cache(old_);
  writeFile(machine.data() / "rand_seed.txt", "1");
  EXPECT_EQ(maskedLog(play()), logOf(weeklyUnreachable({"weekly seed = 4711"})));
  EXPECT_EQ(files(), old_);
  EXPECT_EQ(seed(), "4711");
}

TEST_F(WeeklySync, whatWasNeverFetchedStaysAbsent) {
  server.stop();
  EXPECT_EQ(maskedLog(play()), logOf(weeklyUnreachable()));
  EXPECT_EQ(files(), Lines(6, "(none)"));
  EXPECT_EQ(seed(), "(none)");
}

TEST_F(WeeklySync, anErrorPageReplacesEveryCopyAndTheSeedFileStays) {
  const std::string page = "<html><body><h1>500 Internal Server Error</h1></body></html>";
  server.answer("GET", "*", Reply::text(page, 500));
  cache(old_);
  writeFile(machine.data() / "rand_seed.txt", "20261146");
  EXPECT_EQ(maskedLog(play()), logOf(weeklyUpdated({})));
  EXPECT_EQ(files(), Lines(6, page));
  EXPECT_EQ(seed(), "20261146");
}

TEST_F(WeeklySync, anErrorPageWithASeedGivesOne) {
  const std::string page = "not found, try {\"seed\": 99}";
  server.answer("GET", "*", Reply::text(page, 404));
  EXPECT_EQ(maskedLog(play()), logOf(weeklyUpdated({"weekly seed = 99"})));
  EXPECT_EQ(files(), Lines(6, page));
  EXPECT_EQ(seed(), "99");
}

TEST_F(WeeklySync, anAnswerWithoutBodyEmptiesTheCopy) {
  server.answer("GET", "*", Reply::text("", 204));
  cache(old_);
  EXPECT_EQ(maskedLog(play()), logOf(weeklyUpdated({})));
  EXPECT_EQ(files(), Lines(6, ""));
  EXPECT_EQ(seed(), "(none)");
}

TEST_F(WeeklySync, aBodyThatBreaksOffIsKeptAsFarAsItCame) {
  server.answer("GET", "/leaderboard.txt",
                Reply::rawBytes("HTTP/1.1 200 OK\r\nContent-Length: 100\r\n\r\nhalf a board"));
  cache(old_);
  EXPECT_EQ(maskedLog(play()), logOf(weeklyUpdated()));
  EXPECT_EQ(machine.dataFile("board.txt"), "half a board");
}

TEST_F(WeeklySync, aFailedFileKeepsItsCopyAndTheOthersAreFetched) {
  server.answer("GET", "/week/current", Reply::closeConnection());
  server.answer("GET", "/board-en", Reply::resetConnection());
  cache(old_);
  EXPECT_EQ(maskedLog(play()),
            logOf({"week.json: server unreachable, using cached copy", "weekly seed = 4711",
                   "leaderboard.json updated from server", "board_data.txt updated from server",
                   "board_en.txt: server unreachable, using cached copy",
                   "board.txt updated from server", "board.tsv updated from server"}));
  EXPECT_EQ(machine.dataFile("week.json"), old_[0]);
  EXPECT_EQ(machine.dataFile("board_en.txt"), old_[3]);
  EXPECT_NE(machine.dataFile("board.txt"), old_[4]);
}

TEST_F(WeeklySync, aCopyThatCannotBeWrittenCountsAsUnreachable) {
  cache(old_);
  const e2e::HeldFile held(machine.data() / "week.json", FILE_SHARE_READ);
  std::filesystem::remove(machine.data() / "board.tsv");
  std::filesystem::create_directories(machine.data() / "board.tsv");
  EXPECT_EQ(maskedLog(play()),
            logOf({"week.json: server unreachable, using cached copy", "weekly seed = 4711",
                   "leaderboard.json updated from server", "board_data.txt updated from server",
                   "board_en.txt updated from server", "board.txt updated from server",
                   "board.tsv: server unreachable, using cached copy"}));
  EXPECT_EQ(server.requests("GET", "/leaderboard.tsv").size(), 1U);
  EXPECT_EQ(machine.dataFile("week.json"), old_[0]);
  EXPECT_EQ(seed(), "4711");
}

// Address ----------------------------------------------------------------------------------

TEST_F(WeeklySync, everySlashBehindTheAddressGoes) {
  set("server", server.url() + "/race//");
  server.answer("GET", "*", Reply::text("{\"seed\":5}"));
  EXPECT_EQ(maskedLog(play()), logOf(weeklyUpdated({"weekly seed = 5"})));
  Lines got;
  for (const stage::Request& request : server.requests()) {
    if (request.method == "GET") got.push_back(request.target);
  }
  Lines wanted;
  for (const std::string& target : kTargets) wanted.push_back("/race" + target);
  EXPECT_EQ(got, wanted);
}

TEST_F(WeeklySync, anAddressOfSlashesOnlyIsUnreachableHereAndSilentInTheQueueAndTheReport) {
  set("server", "///");
  cache(old_);
  writeFile(machine.data() / "pending" / "p_20261114_201500.json", "{\"status\":\"ending\"}");
  EXPECT_EQ(maskedLog(play()),
            logOf(weeklyUnreachable({"weekly seed = 4711"}), kUnreachableUpload));
  EXPECT_EQ(files(), old_);
  EXPECT_EQ(machine.dataFile("pending\\p_20261114_201500.json"), "{\"status\":\"ending\"}");
}

// Seed -------------------------------------------------------------------------------------

TEST_F(WeeklySync, theSeedsDigitsAreKeptAsTheyStandAndReplaceTheOldOnes) {
  server.answer("GET", "/week/current", Reply::json("{\"seed\":\t\t0042}"));
  writeFile(machine.data() / "rand_seed.txt", "20261146, and more");
  EXPECT_EQ(maskedLog(play()), logOf(weeklyUpdated({"weekly seed = 0042"})));
  EXPECT_EQ(seed(), "0042");
}

TEST_F(WeeklySync, aQuotedSeedIsNoneAndTheOldOneStays) {
  server.answer("GET", "/week/current", Reply::json("{\"seed\":\"12345\"}"));
  writeFile(machine.data() / "rand_seed.txt", "20261146");
  EXPECT_EQ(maskedLog(play()), logOf(weeklyUpdated({})));
  EXPECT_EQ(seed(), "20261146");
}

TEST_F(WeeklySync, aSeedThatCannotBeWrittenIsLoggedAllTheSame) {
  std::filesystem::create_directories(machine.data() / "rand_seed.txt");
  EXPECT_EQ(maskedLog(play()), logOf(weeklyUpdated()));
  EXPECT_EQ(machine.dataFile("rand_seed.txt"), std::nullopt);
}

}  // namespace
