#include "livesplit/start_text.h"
#include "tests/unit/one_scan.h"

#include <gtest/gtest.h>

#include <optional>
#include <string>

namespace launcher {
namespace {

constexpr char kRace[] = "C:\\LiveSplit\\halvorn.lsl";

std::string element(const std::string& value) {
  return "<LayoutPath>" + value + "</LayoutPath>";
}

std::string settingsFile(const std::string& first, const std::string& second) {
  return "\xEF\xBB\xBF<Settings version=\"1.8.17\">\r\n"
         "  <RecentSplits><SplitsFile gameName=\"\" lastTimingMethod=\"RealTime\">C:\\a.lss"
         "</SplitsFile></RecentSplits>\r\n"
         "  <RecentLayouts>\r\n"
         "    <LayoutPath>" + first + "</LayoutPath>\r\n"
         "    <LayoutPath>" + second + "</LayoutPath>\r\n"
         "  </RecentLayouts>\r\n"
         "  <ServerPort>16834</ServerPort>\r\n"
         "</Settings>\r\n";
}

TEST(Layout, everyElementIsRewrittenAndTheRestKept) {
  EXPECT_EQ(withLayoutPath(settingsFile("C:\\older.lsl", "C:\\loaded-at-start.lsl"), kRace),
            settingsFile(kRace, kRace));
}

TEST(Layout, oneWrongElementIsEnough) {
  EXPECT_EQ(withLayoutPath(settingsFile(kRace, "C:\\x.lsl"), kRace), settingsFile(kRace, kRace));
  EXPECT_EQ(withLayoutPath(settingsFile("C:\\x.lsl", kRace), kRace), settingsFile(kRace, kRace));
}

TEST(Layout, rightLayoutIsNoChange) {
  EXPECT_EQ(withLayoutPath(settingsFile(kRace, kRace), kRace), std::nullopt);
  EXPECT_EQ(withLayoutPath(element(kRace), kRace), std::nullopt);
}

TEST(Layout, withoutAnElementNothingChangesOrIsAdded) {
  EXPECT_EQ(withLayoutPath("", kRace), std::nullopt);
  EXPECT_EQ(withLayoutPath("<Settings><RecentLayouts /></Settings>", kRace), std::nullopt);
  EXPECT_EQ(withLayoutPath("<LayoutPath />", kRace), std::nullopt);
  EXPECT_EQ(withLayoutPath("</LayoutPath>", kRace), std::nullopt);
}

TEST(Layout, emptyElementGetsThePath) {
  EXPECT_EQ(withLayoutPath(element(""), kRace), element(kRace));
}

TEST(Layout, pathsAreComparedByteForByte) {
  EXPECT_EQ(withLayoutPath(element("c:\\livesplit\\halvorn.lsl"), kRace), element(kRace));
  EXPECT_EQ(withLayoutPath(element(" " + std::string(kRace)), kRace), element(kRace));
  EXPECT_EQ(withLayoutPath(element(std::string(kRace) + "\r\n"), kRace), element(kRace));
}

TEST(Layout, tagsAreExact) {
  const std::string config =
      "<layoutpath>a</layoutpath><LayoutPath x=\"1\">b</LayoutPath><LayoutPath >c</LayoutPath>";
  EXPECT_EQ(withLayoutPath(config, kRace), std::nullopt);
}

TEST(Layout, unclosedElementEndsTheScan) {
  EXPECT_EQ(withLayoutPath("<LayoutPath>a", kRace), std::nullopt);
  EXPECT_EQ(withLayoutPath("<LayoutPath>a</layoutpath>", kRace), std::nullopt);
}

TEST(Layout, changesBeforeAnUnclosedElementStay) {
  EXPECT_EQ(withLayoutPath(element("a") + "<LayoutPath>b", kRace),
            element(kRace) + "<LayoutPath>b");
}

TEST(Layout, elementRunsToTheNextClosingTag) {
  EXPECT_EQ(withLayoutPath("<LayoutPath>a<LayoutPath>b</LayoutPath>c", kRace),
            element(kRace) + "c");
  EXPECT_EQ(withLayoutPath("</LayoutPath><LayoutPath>a</LayoutPath></LayoutPath>", kRace),
            "</LayoutPath>" + element(kRace) + "</LayoutPath>");
}

TEST(Layout, pathIsInsertedRawAndNeverScanned) {
  EXPECT_EQ(withLayoutPath(element("a"), "C:\\R&D <x>\\l.lsl"), element("C:\\R&D <x>\\l.lsl"));
  EXPECT_EQ(withLayoutPath(element("a") + element("b"), "<LayoutPath>"),
            element("<LayoutPath>") + element("<LayoutPath>"));
}

TEST(Layout, pathMayBeShorterThanTheOld) {
  EXPECT_EQ(withLayoutPath("x" + element("a long old path") + "y" + element("b") + "z", "p"),
            "x" + element("p") + "y" + element("p") + "z");
}

TEST(Layout, bytesAreKept) {
  EXPECT_EQ(withLayoutPath("\xFF" + element("旧布局.lsl") + std::string(1, '\0') + "\x1A",
                           "C:\\布局.lsl"),
            "\xFF" + element("C:\\布局.lsl") + std::string(1, '\0') + "\x1A");
}

TEST(Layout, manyElementsAreRewrittenInOneScan) {
  std::string config;
  std::string expected;
  for (int i = 0; i < 20'000; ++i) {
    config += element("");
    expected += element(kRace);
  }
  expectOneScan(expected.size(), [&] { EXPECT_TRUE(withLayoutPath(config, kRace) == expected); });
}

TEST(StartText, commandLineQuotesBothPaths) {
  EXPECT_EQ(livesplitCommandLine(L"C:\\Program Files\\LiveSplit\\LiveSplit.exe",
                                 L"D:\\周赛\\race splits.lss"),
            L"\"C:\\Program Files\\LiveSplit\\LiveSplit.exe\" \"D:\\周赛\\race splits.lss\"");
  EXPECT_EQ(livesplitCommandLine(L"", L""), L"\"\" \"\"");
  EXPECT_EQ(livesplitCommandLine(L"a\"b", L"c\\"), L"\"a\"b\" \"c\\\"");
}

TEST(StartText, reminderOfTheTimerServer) {
  EXPECT_EQ(livesplitReminder(),
            L"提醒：还没连上 LiveSplit 的计时服务器。\n\n现在就可以去开：\n右键 LiveSplit → Control → "
            L"Start TCP Server\n\n这个不影响启动游戏，你可以在跑之前随时开。\n不开的话成绩不会自动上传。"
            L"\n\n点「确定」继续进入游戏。");
}

TEST(Layout, pathEndsAtItsWholeTag) {
  EXPECT_EQ(withLayoutPath("<LayoutPath>a</LayoutPaths>b</LayoutPath>", "c"),
            "<LayoutPath>c</LayoutPath>");
}

}  // namespace
}  // namespace launcher
