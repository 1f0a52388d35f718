#include "check/settings_rows.h"

#include <gtest/gtest.h>

#include "core/settings_faults.h"

namespace launcher::check {
namespace {

const std::string kGood =
    "receipt=%APPDIR%r.json\r\ndata=%APPDIR%d\r\nserver=https://race.test\r\n";

std::string upper(const std::string& text) { return "<" + text + ">"; }

Findings rows(std::string_view bytes, unsigned codePage = 936) {
  return settingsRows(bytes, true, codePage, upper, Language::english);
}

/// The only row, as "state: sentence".
std::string only(std::string_view bytes, unsigned codePage = 936) {
  const Findings found = rows(bytes, codePage);
  EXPECT_EQ(found.size(), 1U);
  std::string text;
  for (const Finding& row : found) {
    text += std::string(stateWord(row.state, Language::english)) + ": " + row.what;
  }
  return text;
}

TEST(CheckSettingsRows, aGoodFileHasOneGoodRow) {
  EXPECT_EQ(only(kGood), "good: launcher.ini is in order.");
  EXPECT_EQ(settingsRows(kGood, true, 936, upper, Language::chinese).front().what,
            "launcher.ini 没有问题。");
}

TEST(CheckSettingsRows, aMissingFileIsBad) {
  const Findings found = settingsRows("", false, 936, upper, Language::english);
  ASSERT_EQ(found.size(), 1U);
  EXPECT_EQ(found.front().state, State::bad);
}

TEST(CheckSettingsRows, whatStopsARaceIsBad) {
  EXPECT_EQ(only("data=d\r\nserver=https://race.test\r\n"),
            "bad: launcher.ini has no receipt=; the launcher ends at once.");
  EXPECT_EQ(only(kGood + "dryrun=1\r\n"),
            "bad: launcher.ini has dryrun=1: the launcher only looks at its settings and starts "
            "no game.");
  EXPECT_EQ(only("receipt=\"r\"\r\ndata=d\r\nserver=https://race.test\r\n"),
            "bad: The path in line 1 of launcher.ini (receipt) has quotes, which become part of "
            "it.");
  EXPECT_EQ(only("receipt=r\r\ndata=d\r\n"),
            "bad: server= is empty in launcher.ini: nothing is uploaded.");
  EXPECT_EQ(only("receipt=r\r\ndata=d\r\nserver=race.test\r\n"),
            "bad: server= in launcher.ini is no address: race.test");
  EXPECT_EQ(only("receipt=r\r\ndata=d\r\nserver=https://race.test:x\r\n"),
            "bad: server= in launcher.ini is no address that the launcher can use: "
            "https://race.test:x");
  EXPECT_EQ(only("receipt=r\r\ndata=d\r\nserver=https://kov-race.example\r\n"),
            "bad: server= in launcher.ini is still the sample's: https://kov-race.example");
}

TEST(CheckSettingsRows, utf16IsReadAsNothing) {
  const Findings found = rows(std::string_view("\xFF\xFEr\0=\0", 6));
  ASSERT_FALSE(found.empty());
  EXPECT_EQ(found.front().what,
            "launcher.ini is saved as UTF-16; the launcher reads nothing of it.");
}

TEST(CheckSettingsRows, whatTheLauncherReadsOtherwiseIsWorthKnowing) {
  EXPECT_EQ(only("\xEF\xBB\xBFplayer=x\r\n" + kGood),
            "worth knowing: launcher.ini begins with a byte-order mark, which hides its first "
            "setting.");
  EXPECT_EQ(only(kGood + "Player=x\r\n"),
            "worth knowing: Line 4 of launcher.ini has the unknown key \"Player\" and has no "
            "effect.");
  EXPECT_EQ(only(kGood + "player=x\r\nplayer=y\r\n"),
            "worth knowing: launcher.ini has player= twice (lines 4 and 5); the last one counts.");
  EXPECT_EQ(only(kGood + "player=x # me\r\n"),
            "worth knowing: Line 4 of launcher.ini seems to have a comment after its value; it "
            "becomes part of the value: x # me");
  EXPECT_EQ(only(kGood + "player\r\n"),
            "worth knowing: Line 4 of launcher.ini is neither a setting nor a comment and has no "
            "effect.");
  EXPECT_EQ(only(kGood + "game=%GAME%\\x.exe\r\n"),
            "worth knowing: Line 4 of launcher.ini (game) has %GAME%, which the launcher does not "
            "know and leaves in the path.");
  EXPECT_EQ(only(kGood + "appid=steam\r\n"),
            "worth knowing: The value in line 4 of launcher.ini looks wrong: appid=steam");
}

TEST(CheckSettingsRows, textInUtf8IsWorthKnowingWhereTheCodePageIsAnother) {
  const std::string utf8 = kGood + "game=D:\\游戏\\x.exe\r\n";
  EXPECT_EQ(only(utf8),
            "worth knowing: Line 4 of launcher.ini (game) is UTF-8; the launcher reads it as "
            "ANSI, as other characters.");
  EXPECT_EQ(only(utf8, 65001), "good: launcher.ini is in order.");
  EXPECT_EQ(only(kGood + "game=D:\\\xD3\xCE\xCF\xB7\\x.exe\r\n"),
            "good: launcher.ini is in order.");
  EXPECT_EQ(only(kGood + "player=竞速\r\n"),
            "worth knowing: Line 4 of launcher.ini (player) is UTF-8; the launcher reads it as "
            "ANSI, as other characters.");
}

TEST(SettingsFaults, linesAreThoseOfAnEditor) {
  const std::vector<SettingsLine> lines = settingsLines("a = b=c \r\n\r\n# x=y\n z");
  ASSERT_EQ(lines.size(), 4U);
  EXPECT_EQ(lines[0].key, "a");
  EXPECT_EQ(lines[0].value, "b=c");
  EXPECT_EQ(lines[0].raw, "a = b=c ");
  EXPECT_EQ(lines[3].number, 4U);
  EXPECT_EQ(lines[3].key, "");
}

}  // namespace
}  // namespace launcher::check
