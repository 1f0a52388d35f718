#include "core/settings_faults.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

namespace launcher {
namespace {

using std::literals::string_literals::operator""s;

using Kind = SettingsFault::Kind;
using Lines = std::vector<std::string>;

const char* nameOf(Kind kind) {
  switch (kind) {
    case Kind::utf16: return "utf16";
    case Kind::stopByte: return "stopByte";
    case Kind::byteOrderMark: return "byteOrderMark";
    case Kind::longLine: return "longLine";
    case Kind::noSetting: return "noSetting";
    case Kind::missingKey: return "missingKey";
    case Kind::unknownKey: return "unknownKey";
    case Kind::siteOverlooked: return "siteOverlooked";
    case Kind::doubledKey: return "doubledKey";
    case Kind::trailingComment: return "trailingComment";
    case Kind::quotedPath: return "quotedPath";
    case Kind::foreignPath: return "foreignPath";
    case Kind::unknownPlaceholder: return "unknownPlaceholder";
    case Kind::placeholderInSteam: return "placeholderInSteam";
    case Kind::dryRun: return "dryRun";
    case Kind::oddDryRun: return "oddDryRun";
    case Kind::oddTimer: return "oddTimer";
    case Kind::oddDifficulty: return "oddDifficulty";
    case Kind::oddAppId: break;
  }
  return "oddAppId";
}

/// "kind line key=value (detail) after earlier line" of each fault.
Lines faultsOf(const std::string& bytes) {
  Lines lines;
  for (const SettingsFault& fault : settingsFaults(bytes)) {
    std::string line = nameOf(fault.kind);
    if (fault.line != 0) line += " " + std::to_string(fault.line);
    if (!fault.key.empty()) line += " " + fault.key;
    if (!fault.value.empty()) line += "=" + fault.value;
    if (!fault.detail.empty()) line += " (" + fault.detail + ")";
    if (fault.earlierLine != 0) line += " after " + std::to_string(fault.earlierLine);
    lines.push_back(line);
  }
  return lines;
}

const std::string kGood = "receipt=r\ndata=d\n";

/// The faults of lines after a good file's two.
Lines faultsAfterGood(const std::string& bytes) { return faultsOf(kGood + bytes); }

TEST(SettingsFaults, goodFileHasNone) {
  EXPECT_EQ(faultsOf(kGood), Lines{});
  EXPECT_EQ(faultsAfterGood("\n \t\r\n# a\n; b\n[section]\n  # c\n\t; d\n [e]\n"), Lines{});
}

TEST(SettingsFaults, requiredKeysAreMissedWithoutAValue) {
  EXPECT_EQ(faultsOf(""), (Lines{"missingKey receipt", "missingKey data"}));
  EXPECT_EQ(faultsOf("receipt=r\n"), (Lines{"missingKey data"}));
  EXPECT_EQ(faultsOf("receipt=\ndata=d\n"), (Lines{"missingKey receipt"}));
}

TEST(SettingsFaults, utf16OfEitherOrderIsKnownByItsMark) {
  for (const std::string& mark : {"\xFF\xFE"s, "\xFE\xFF"s}) {
    EXPECT_EQ(faultsOf(mark + "\n" + kGood), (Lines{"utf16", "noSetting 1"})) << mark;
  }
  for (const std::string& half : {"\xFF"s, "\xFE"s, "\xFFx"s, "\xFEx"s}) {
    EXPECT_EQ(faultsOf(half + "\n" + kGood), (Lines{"noSetting 1"})) << half;
  }
}

TEST(SettingsFaults, byteThatEndsTheTextIsNamedByItsPlace) {
  EXPECT_EQ(faultsAfterGood("# \x1A\n"), (Lines{"stopByte (19)"}));
  EXPECT_EQ(faultsAfterGood("# \0 \x1A\n"s), (Lines{"stopByte (19)"}));
}

TEST(SettingsFaults, byteOrderMarkCountsWhereItHidesASetting) {
  const std::string mark = "\xEF\xBB\xBF";
  EXPECT_EQ(faultsOf(mark + "player=x\n" + kGood), (Lines{"byteOrderMark"}));
  EXPECT_EQ(faultsOf(mark + "# settings\n" + kGood), Lines{});
  EXPECT_EQ(faultsOf(mark + "\n" + kGood), Lines{});
  EXPECT_EQ(faultsOf(mark + "no setting\n" + kGood), (Lines{"noSetting 1"}));
  EXPECT_EQ(faultsOf(mark), (Lines{"missingKey receipt", "missingKey data"}));
  // Half a mark, and a whole one elsewhere, are letters of a key.
  EXPECT_EQ(faultsOf("\xEF\xBBplayer=x\n" + kGood), (Lines{"unknownKey 1 \xEF\xBBplayer=x"}));
  EXPECT_EQ(faultsAfterGood(mark + "player=x\n"),
            (Lines{"unknownKey 3 \xEF\xBB\xBFplayer=x"}));
}

TEST(SettingsFaults, lineOfMoreThan1023BytesIsLong) {
  const std::string value(1023 - 7, 'x');
  EXPECT_EQ(faultsAfterGood("player=" + value + "\n"), Lines{});
  EXPECT_EQ(faultsAfterGood("player=" + value + "y\n"),
            (Lines{"longLine 3 player=" + value + "y"}));
  EXPECT_EQ(faultsAfterGood(std::string(1024, '#') + "\n"), (Lines{"longLine 3"}));
}

TEST(SettingsFaults, lineWithoutASettingIsNone) {
  EXPECT_EQ(faultsAfterGood("player\n"), (Lines{"noSetting 3"}));
  EXPECT_EQ(faultsAfterGood("=x\n"), (Lines{"noSetting 3=x"}));
  EXPECT_EQ(faultsAfterGood("x # y\n"), (Lines{"noSetting 3"}));
}

TEST(SettingsFaults, unknownKeyIsNamedWithTheOneThatWasMeant) {
  EXPECT_EQ(faultsAfterGood("nobody=x\n"), (Lines{"unknownKey 3 nobody=x"}));
  EXPECT_EQ(faultsAfterGood("PLAYER=x\n"), (Lines{"unknownKey 3 PLAYER=x (player)"}));
  EXPECT_EQ(faultsAfterGood("install from=C:\\a\n"),
            (Lines{"unknownKey 3 install from=C:\\a (install_from)"}));
  EXPECT_EQ(faultsAfterGood("Install-From=C:\\a\n"),
            (Lines{"unknownKey 3 Install-From=C:\\a (install_from)"}));
  EXPECT_EQ(faultsAfterGood("LIVESPLIT.LSS=x\n"), (Lines{"unknownKey 3 LIVESPLIT.LSS=x"}));
  // Every letter of the alphabet's ends that a key has.
  EXPECT_EQ(faultsAfterGood("APPID=1\n"), (Lines{"unknownKey 3 APPID=1 (appid)"}));
  EXPECT_EQ(faultsAfterGood("@ppid=1\n"), (Lines{"unknownKey 3 @ppid=1"}));
  EXPECT_EQ(faultsAfterGood("pl[yer=1\n"), (Lines{"unknownKey 3 pl[yer=1"}));
}

TEST(SettingsFaults, siteLineMustBeginAtItsKey) {
  EXPECT_EQ(faultsAfterGood("site=https://a\n"), Lines{});
  EXPECT_EQ(faultsAfterGood("site  =https://a\n"), Lines{});
  EXPECT_EQ(faultsAfterGood(" site=https://a\n"), (Lines{"siteOverlooked 3 site=https://a"}));
  EXPECT_EQ(faultsAfterGood("site\t=https://a\n"), (Lines{"siteOverlooked 3 site=https://a"}));
  EXPECT_EQ(faultsAfterGood(" player=x\n"), Lines{});
}

TEST(SettingsFaults, laterOfTwoAlikeIsNamed) {
  EXPECT_EQ(faultsAfterGood("player=x\n\n\nplayer=y\nplayer=z\n"),
            (Lines{"doubledKey 6 player=y after 3", "doubledKey 7 player=z after 3"}));
}

TEST(SettingsFaults, commentAfterAValueIsFoundByItsSign) {
  for (const char* sign : {" #", "\t#", " ;", "\t;", " //", "\t//"}) {
    const std::string line = "player=x"s + sign + " me";
    EXPECT_EQ(faultsAfterGood(line + "\n"), (Lines{"trailingComment 3 " + line})) << sign;
  }
  for (const char* value : {"x#y", "x;y", "http://y", "x y", "x\ty", "x / y", "x\t/ y"}) {
    EXPECT_EQ(faultsAfterGood("player="s + value + "\n"), Lines{}) << value;
  }
  EXPECT_EQ(faultsAfterGood("player=x # y ; z\n"),
            (Lines{"trailingComment 3 player=x # y ; z"}));
}

TEST(SettingsFaults, quotesAndForeignLettersCountInPathsAlone) {
  EXPECT_EQ(faultsAfterGood("game=\"C:\\a.exe\"\n"),
            (Lines{"quotedPath 3 game=\"C:\\a.exe\""}));
  EXPECT_EQ(faultsAfterGood("player=\"x\"\n"), Lines{});
  for (const char* odd : {"\x7F", "\x80", "\x1F", "\t"}) {
    const std::string line = "game=C:\\a"s + odd + "b";
    EXPECT_EQ(faultsAfterGood(line + "\n"), (Lines{"foreignPath 3 " + line}));
    EXPECT_EQ(faultsAfterGood("player=a"s + odd + "b\n"), Lines{});
  }
  EXPECT_EQ(faultsAfterGood("game=C:\\a b~c\n"), Lines{});
}

TEST(SettingsFaults, placeholdersAreTheTwoThatTheLauncherKnows) {
  EXPECT_EQ(faultsAfterGood("game=%APPDIR%a%LOCALDATA%b\n"), Lines{});
  EXPECT_EQ(faultsAfterGood("game=%APPDATA%\\a\n"),
            (Lines{"unknownPlaceholder 3 game=%APPDATA%\\a (%APPDATA%)"}));
  EXPECT_EQ(faultsAfterGood("game=%LOCALDATA%%TEMP%a\n"),
            (Lines{"unknownPlaceholder 3 game=%LOCALDATA%%TEMP%a (%TEMP%)"}));
  EXPECT_EQ(faultsAfterGood("game=%%\n"), (Lines{"unknownPlaceholder 3 game=%% (%%)"}));
  EXPECT_EQ(faultsAfterGood("game=100% of it\n"), Lines{});
  EXPECT_EQ(faultsAfterGood("player=%TEMP%\n"), Lines{});
}

TEST(SettingsFaults, steamTakesNoPlaceholder) {
  for (const char* value : {"%APPDIR%s.exe", "%TEMP%s.exe", "s%.exe"}) {
    EXPECT_EQ(faultsAfterGood("steam="s + value + "\n"),
              (Lines{"placeholderInSteam 3 steam="s + value}));
  }
  EXPECT_EQ(faultsAfterGood("steam=C:\\s.exe\n"), Lines{});
}

TEST(SettingsFaults, wordsAreThoseThatTheLauncherKnows) {
  for (const char* line :
       {"dryrun=", "dryrun=0", "timer=", "timer=0", "timer=1", "difficulty=", "difficulty=easy",
        "difficulty=normal", "difficulty=nightmare", "appid=", "appid=0123456789", "player=hard"}) {
    EXPECT_EQ(faultsAfterGood(line + "\n"s), Lines{}) << line;
  }
  EXPECT_EQ(faultsAfterGood("dryrun=1\n"), (Lines{"dryRun 3 dryrun=1"}));
  for (const char* value : {"yes", "2", "?"}) {
    EXPECT_EQ(faultsAfterGood("dryrun="s + value + "\n"), (Lines{"oddDryRun 3 dryrun="s + value}));
    EXPECT_EQ(faultsAfterGood("timer="s + value + "\n"), (Lines{"oddTimer 3 timer="s + value}));
    EXPECT_EQ(faultsAfterGood("difficulty="s + value + "\n"),
              (Lines{"oddDifficulty 3 difficulty="s + value}));
  }
  EXPECT_EQ(faultsAfterGood("appid=12a\n"), (Lines{"oddAppId 3 appid=12a"}));
}

TEST(SettingsFaults, faultsAreInTheOrderOfTheirKindsAndThenOfTheLines) {
  EXPECT_EQ(faultsOf("\xFF\xFE\n"
                     "receipt=r # x\n"
                     "timer=x\n"
                     "nobody=\n"
                     "game=%X%\n"
                     "dryrun=1\n"
                     "receipt=s # y\n"),
            (Lines{"utf16", "noSetting 1", "missingKey data", "unknownKey 4 nobody",
                   "doubledKey 7 receipt=s # y after 2", "trailingComment 2 receipt=r # x",
                   "trailingComment 7 receipt=s # y", "unknownPlaceholder 5 game=%X% (%X%)",
                   "oddTimer 3 timer=x", "dryRun 6 dryrun=1"}));
}

TEST(SettingsFaults, linesEndAtLineFeeds) {
  const std::vector<SettingsLine> lines = settingsLines("a=1\n\r\n#b=2\r\n = c \nlast=3");
  ASSERT_EQ(lines.size(), 5U);
  EXPECT_EQ(lines[1].raw, "");
  EXPECT_EQ(lines[2].raw, "#b=2");
  EXPECT_EQ(lines[2].key + lines[2].value, "");
  EXPECT_EQ(lines[3].key + "|" + lines[3].value, "|c");
  EXPECT_EQ(lines[4].key + "|" + lines[4].value, "last|3");
  EXPECT_TRUE(settingsLines("").empty());
  EXPECT_EQ(settingsLines("a=1\n").size(), 1U);
}

}  // namespace
}  // namespace launcher
