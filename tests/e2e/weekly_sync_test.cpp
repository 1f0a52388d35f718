// The six weekly files as they come over the wire and lie on the disk.

#include <gtest/gtest.h>

#include "tests/e2e/full_run.h"

namespace e2e {
namespace {

using stage::Reply;

const Lines kFiles = {"week.json",    "leaderboard.json", "board_data.txt",
                      "board_en.txt", "board.txt",        "board.tsv"};
const Lines kTargets = {"/week/current", "/leaderboard",     "/board-data",
                        "/board-en",     "/leaderboard.txt", "/leaderboard.tsv"};

class WeeklySync : public FullRunTest {};

TEST_F(WeeklySync, sixFilesAreFetchedInTheirOrderAndKeptByteForByte) {
  std::string table;
  while (table.size() < 300'000) table += std::to_string(table.size()) + "\trunner\n";
  const Lines contents = {"{\"week\":\"2026-W47\",\"seed\":20261147}\r\n",
                          "{\"rows\":[{\"player\":\"竞速玩家\"}]}",
                          std::string("a\0b\x1A\xFF", 5),
                          "1 runner 12:34.56\n",
                          "第一名\r\r\n",
                          table};
  const Lines old = {std::string(5000, 'x'), std::string(5000, 'x'), "", "", "", "x"};
  for (std::size_t i = 0; i < kFiles.size(); ++i) {
    stage::writeFile(machine.data() / kFiles[i], old[i]);
    server.answer("GET", kTargets[i], Reply::text(contents[i]));
  }
  withServer();
  EXPECT_EQ(maskedLog(play()), wholeLog({.weekly = weeklyUpdated(), .upload = kNothingToUpload}));
  for (std::size_t i = 0; i < kFiles.size(); ++i) {
    EXPECT_TRUE(machine.dataFile(kFiles[i]) == contents[i]) << kFiles[i];
  }
  EXPECT_EQ(machine.dataFile("rand_seed.txt"), "20261147");
  Lines got;
  for (const stage::Request& request : server.requests()) {
    got.push_back(request.method + " " + request.target + request.body);
  }
  Lines wanted;
  for (const std::string& target : kTargets) wanted.push_back("GET " + target);
  wanted.emplace_back("POST /client/log{\"player\":\"runner\",\"reason\":\"no receipt file\"}");
  EXPECT_EQ(got, wanted);
}

}  // namespace
}  // namespace e2e
