#include "server/weekly_files.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "tests/unit/fenced_text.h"

namespace launcher {
namespace {

using std::literals::string_view_literals::operator""sv;

TEST(WeeklyFiles, sixFilesAreFetchedInThisOrder) {
  std::vector<std::string> files;
  for (const WeeklyFile& file : kWeeklyFiles) {
    files.push_back(std::string(file.serverPath) + " -> " + file.name);
  }
  EXPECT_EQ(files, (std::vector<std::string>{
                       "/week/current -> week.json", "/leaderboard -> leaderboard.json",
                       "/board-data -> board_data.txt", "/board-en -> board_en.txt",
                       "/leaderboard.txt -> board.txt", "/leaderboard.tsv -> board.tsv"}));
  EXPECT_STREQ(kWeekFile.name, "week.json");
}

TEST(Seed, digitsAfterTheKeyAreTheSeed) {
  EXPECT_EQ(scanSeed("{\"week\":\"2026-W47\",\"seed\": 12345,\"map\":\"Level 0\"}"), "12345");
  EXPECT_EQ(scanSeed("{\"seed\":12345}"), "12345");
  EXPECT_EQ(scanSeed("\"seed\":7"), "7");
}

TEST(Seed, blanksAndTabsBeforeTheDigitsAreSkipped) {
  EXPECT_EQ(scanSeed("{\"seed\":\t\t987}"), "987");
  EXPECT_EQ(scanSeed("{\"seed\": \t 987}"), "987");
}

TEST(Seed, lineBreakBeforeTheDigitsGivesNoSeed) {
  EXPECT_EQ(scanSeed("{\"seed\":\n987}"), "");
  EXPECT_EQ(scanSeed("{\"seed\":\r\n987}"), "");
  EXPECT_EQ(scanSeed("{\"seed\": \v987}"), "");
}

TEST(Seed, digitsAreKeptAsTheyStand) {
  EXPECT_EQ(scanSeed("{\"seed\":0042}"), "0042");
  EXPECT_EQ(scanSeed("{\"seed\":0}"), "0");
  EXPECT_EQ(scanSeed("{\"seed\":12.5}"), "12");
  EXPECT_EQ(scanSeed("{\"seed\":1e9}"), "1");
  EXPECT_EQ(scanSeed("{\"seed\":12 34}"), "12");
}

TEST(Seed, everyDigitCounts) { EXPECT_EQ(scanSeed("\"seed\":9876543210/:"), "9876543210"); }

TEST(Seed, longRunOfDigitsIsKeptWhole) {
  const std::string digits(1'000'000, '9');
  EXPECT_TRUE(scanSeed("{\"seed\":" + digits + "}") == digits);
}

TEST(Seed, valueThatIsNoPlainNumberGivesNoSeed) {
  EXPECT_EQ(scanSeed("{\"seed\":\"12345\"}"), "");
  EXPECT_EQ(scanSeed("{\"seed\":-5}"), "");
  EXPECT_EQ(scanSeed("{\"seed\":+5}"), "");
  EXPECT_EQ(scanSeed("{\"seed\":null}"), "");
  EXPECT_EQ(scanSeed("{\"seed\":}"), "");
  EXPECT_EQ(scanSeed("{\"seed\":"), "");
  EXPECT_EQ(scanSeed("{\"seed\": \t"), "");
}

TEST(Seed, nothingAfterTheTextIsRead) {
  EXPECT_EQ(scanSeed(std::string_view("\"seed\":123456").substr(0, 9)), "12");
}

TEST(Seed, withoutTheKeyThereIsNoSeed) {
  EXPECT_EQ(scanSeed(""), "");
  EXPECT_EQ(scanSeed("{}"), "");
  EXPECT_EQ(scanSeed("{\"Seed\":1}"), "");
  EXPECT_EQ(scanSeed("{seed:1}"), "");
  EXPECT_EQ(scanSeed("{\"seeds\":1}"), "");
  EXPECT_EQ(scanSeed("\"seed"), "");
}

TEST(Seed, keyWithoutAColonGivesNoSeed) {
  EXPECT_EQ(scanSeed("\"seed\""), "");
  EXPECT_EQ(scanSeed("{\"a\":1,\"seed\" 5}"), "");
}

TEST(Seed, blanksBeforeTheColonDoNotMatter) { EXPECT_EQ(scanSeed("{\"seed\" :\t5}"), "5"); }

TEST(Seed, firstKeyCountsAlsoWhenItIsAValue) {
  EXPECT_EQ(scanSeed("{\"kind\":\"seed\",\"count\":3,\"seed\":12345}"), "3");
  EXPECT_EQ(scanSeed("{\"seed\":null,\"seed\":5}"), "");
  EXPECT_EQ(scanSeed("{\"seed\":1,\"seed\":2}"), "1");
}

TEST(Seed, errorPageGivesNoSeedUnlessItHoldsOne) {
  EXPECT_EQ(scanSeed("<html><body>404 not found: 12345</body></html>"), "");
  EXPECT_EQ(scanSeed("<html>\"seed\": 5</html>"), "5");
}

TEST(Seed, otherBytesAreNoDigits) {
  EXPECT_EQ(scanSeed("\"seed\":\xEF\xBC\x91"), "");
  EXPECT_EQ(scanSeed("\"seed\":1\0" "2"sv), "1");
  EXPECT_EQ(scanSeed("\0\xFF\x1A\"seed\":\0" "1"sv), "");
  EXPECT_EQ(scanSeed("\0\xFF\x1A\"seed\":1"sv), "1");
}

TEST(Seed, endsWithTheText) {
  const std::string_view text = "\"seed\":123456";
  EXPECT_EQ(scanSeed(text.substr(0, 9)), "12");
  EXPECT_EQ(scanSeed(text.substr(0, 7)), "");
  EXPECT_EQ(scanSeed(FencedText("\"seed\":12", Fence::after).text()), "12");
}

}  // namespace
}  // namespace launcher
