#include "core/settings.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <array>
#include <sstream>
#include <string>
#include <vector>

#include "tests/source_tree.h"

namespace launcher {
namespace {

using std::literals::string_view_literals::operator""sv;

/// Every value in one text, so that a test compares the whole record. A record of more
/// fields does not compile here; `file` alone is no setting.
std::string whole(const Settings& settings) {
  const auto& [file, game, receipt, data, server, steam, appid, player, difficulty, fromSteam,
               timer, install_from, dryrun, livesplit, livesplit_lss] = settings;
  EXPECT_EQ(file, "");
  return "game=" + game + "|receipt=" + receipt + "|data=" + data + "|server=" + server +
         "|steam=" + steam + "|appid=" + appid + "|player=" + player +
         "|difficulty=" + difficulty + "|fromSteam=" + (fromSteam ? "1" : "0") +
         "|timer=" + timer + "|install_from=" + install_from + "|dryrun=" + (dryrun ? "1" : "0") +
         "|livesplit=" + livesplit + "|livesplit_lss=" + livesplit_lss;
}

std::string parsed(std::string_view bytes) { return whole(parseSettings(bytes)); }

/// The record of a file that sets `player` alone.
std::string onlyPlayer(const std::string& name) {
  Settings settings;
  settings.player = name;
  return whole(settings);
}

const std::string kNothing = onlyPlayer("");

TEST(Settings, recordStartsEmpty) {
  EXPECT_EQ(whole(Settings{}),
            "game=|receipt=|data=|server=|steam=|appid=|player=|difficulty=|fromSteam=0|timer=|"
            "install_from=|dryrun=0|livesplit=|livesplit_lss=");
}

// A key without a field, such as "site", writes nowhere.
TEST(Settings, nothingBesideTheRecordIsWritten) {
  using Frame = std::array<char, 8>;
  struct Framed {
    Frame before;
    Settings settings;
    Frame after;
  };
  constexpr Frame kFrame = {'f', 'f', 'f', 'f', 'f', 'f', 'f', 'f'};
  for (const char* value : {"", "0", "1"}) {
    std::string text;
    for (const SettingKey& key : kSettingKeys) {
      text.append(key.name).append("=").append(value).append("\n");
    }
    const Framed framed = {kFrame, parseSettings(text), kFrame};
    EXPECT_EQ(framed.before, kFrame) << value;
    EXPECT_EQ(framed.after, kFrame) << value;
  }
}

TEST(Settings, everyKeyFillsItsOwnField) {
  EXPECT_EQ(parsed("game=1\nreceipt=2\ndata=3\nserver=4\nsteam=5\nappid=6\nplayer=7\n"
                   "difficulty=8\ntimer=9\ninstall_from=10\ndryrun=1\nlivesplit=11\n"
                   "livesplit_lss=12\n"),
            "game=1|receipt=2|data=3|server=4|steam=5|appid=6|player=7|difficulty=8|fromSteam=0|"
            "timer=9|install_from=10|dryrun=1|livesplit=11|livesplit_lss=12");
}

TEST(Settings, everyKeyOfTheTableIsReadIntoItsOwnFieldAlone) {
  for (const SettingKey& key : kSettingKeys) {
    Settings expected;
    if (key.text != nullptr) expected.*key.text = "1";
    if (key.flag != nullptr) expected.*key.flag = true;
    EXPECT_EQ(parsed(std::string(key.name) + "=1\n"), whole(expected)) << key.name;
    // What whole() leaves out would be compared nowhere.
    const bool isOfTheRecord = key.text != nullptr || key.flag != nullptr;
    EXPECT_EQ(whole(expected) != kNothing, isOfTheRecord) << key.name;
  }
}

TEST(Settings, keysOfTheTableAreFoundByTheirExactName) {
  for (const SettingKey& key : kSettingKeys) EXPECT_EQ(findSettingKey(key.name), &key);
  for (const char* name : {"", "Game", "games", "playerFromSteam"}) {
    EXPECT_EQ(findSettingKey(name), nullptr) << name;
  }
}

/// The record whose every text holds both placeholders.
Settings withPlaceholders() {
  Settings settings;
  for (const SettingKey& key : kSettingKeys) {
    if (key.text != nullptr) settings.*key.text = "%APPDIR%%LOCALDATA%";
  }
  return settings;
}

/// What expandPaths() makes of it.
std::string expandedIn(Expansion run) {
  Settings settings = withPlaceholders();
  expandPaths(settings, run, "P\\", "L");
  return whole(settings);
}

TEST(Settings, raceRunExpandsSixPaths) {
  Settings expected = withPlaceholders();
  expected.game = expected.receipt = expected.data = "P\\L";
  expected.livesplit = expected.livesplit_lss = expected.install_from = "P\\L";
  EXPECT_EQ(expandedIn(Expansion::race), whole(expected));
}

TEST(Settings, uploadExpandsThreePaths) {
  Settings expected = withPlaceholders();
  expected.game = expected.receipt = expected.data = "P\\L";
  EXPECT_EQ(expandedIn(Expansion::upload), whole(expected));
}

TEST(Settings, profileExpandsTheDataFolderAlone) {
  Settings expected = withPlaceholders();
  expected.data = "P\\L";
  EXPECT_EQ(expandedIn(Expansion::everyMode), whole(expected));
}

TEST(Settings, sampleFileListsEveryKeyOnce) {
  std::vector<std::string> listed;
  std::istringstream sample(source_tree::read("packaging/launcher.ini"));
  for (std::string line; std::getline(sample, line);) {
    if (!line.starts_with('#') && line.find('=') != std::string::npos) {
      listed.push_back(line.substr(0, line.find('=')));
    }
  }
  std::vector<std::string> keys;
  for (const SettingKey& key : kSettingKeys) keys.emplace_back(key.name);
  EXPECT_THAT(listed, testing::UnorderedElementsAreArray(keys));
}

TEST(Settings, emptyFileGivesTheEmptyRecord) { EXPECT_EQ(parsed(""), kNothing); }

TEST(Settings, keyAndValueAreTrimmedAndFurtherEqualsSignsKept) {
  EXPECT_EQ(parsed(" \t player \t=\t a = b=c \t \r\n"), onlyPlayer("a = b=c"));
  EXPECT_EQ(parsed("player==\n"), onlyPlayer("="));
}

TEST(Settings, commentLinesAreSkipped) {
  EXPECT_EQ(parsed("#player=a\n;player=b\n  #player=c\n\t;player=d\n"), kNothing);
}

TEST(Settings, commentAfterAValueIsPartOfIt) {
  EXPECT_EQ(parsed("player=a # b ; c\n"), onlyPlayer("a # b ; c"));
}

TEST(Settings, linesWithoutEqualsSignAreSkipped) {
  EXPECT_EQ(parsed("[player]\nplayer\n\n \t\r\n"), kNothing);
}

TEST(Settings, bracketedLineWithEqualsSignIsAnUnknownKey) {
  EXPECT_EQ(parsed("[player=x]\nplayer=a\n"), onlyPlayer("a"));
}

TEST(Settings, keysAreExactInLetterCase) {
  EXPECT_EQ(parsed("Player=a\nPLAYER=b\nplayeR=c\nDryrun=1\n"), kNothing);
}

TEST(Settings, keysAreComparedWhole) {
  EXPECT_EQ(parsed("play=a\nplayers=b\nplayer x=c\n=d\nlivesplit_=e\n"), kNothing);
}

TEST(Settings, unknownKeysAreIgnored) {
  EXPECT_EQ(parsed("site=https://a\nplayerFromSteam=1\nplayer=a\nname=b\n"), onlyPlayer("a"));
}

TEST(Settings, lastOccurrenceWinsAlsoAnEmptyOne) {
  EXPECT_EQ(parsed("player=a\nplayer=b\n"), onlyPlayer("b"));
  EXPECT_EQ(parsed("player=a\nplayer=\n"), kNothing);
  EXPECT_EQ(parsed("player=a\nplayer =  \t\n"), kNothing);
}

TEST(Settings, dryrunIsSetByExactlyOne) {
  EXPECT_TRUE(parseSettings("dryrun=1").dryrun);
  EXPECT_TRUE(parseSettings("dryrun = \t1 \r\n").dryrun);
  for (const char* value : {"", "0", "true", "yes", "11", "01", "1.0", "1 1", "\"1\""}) {
    EXPECT_FALSE(parseSettings(std::string("dryrun=") + value).dryrun) << value;
  }
}

TEST(Settings, laterDryrunOverridesTheEarlier) {
  EXPECT_FALSE(parseSettings("dryrun=1\ndryrun=0\n").dryrun);
  EXPECT_FALSE(parseSettings("dryrun=1\ndryrun=\n").dryrun);
  EXPECT_FALSE(parseSettings("dryrun=1\ndryrun=true\n").dryrun);
  EXPECT_TRUE(parseSettings("dryrun=0\ndryrun=1\n").dryrun);
}

TEST(Settings, lineEndsOfEveryKindAreTrimmed) {
  EXPECT_EQ(parsed("player=a\r\nappid=1\ndata=d\r\r\ntimer=1"),
            "game=|receipt=|data=d|server=|steam=|appid=1|player=a|difficulty=|fromSteam=0|"
            "timer=1|install_from=|dryrun=0|livesplit=|livesplit_lss=");
}

TEST(Settings, carriageReturnAloneEndsNoLine) {
  EXPECT_EQ(parsed("player=a\rappid=1\r"), onlyPlayer("a\rappid=1"));
}

TEST(Settings, controlZEndsTheFile) {
  EXPECT_EQ(parsed("player=a\x1A" "b\nappid=1\n"), onlyPlayer("a"));
  EXPECT_EQ(parsed("\x1Aplayer=a\n"), kNothing);
}

TEST(Settings, nulCutsItsLine) {
  EXPECT_EQ(parsed("player=a\0b\nplayer\0=c\n"sv), onlyPlayer("a"));
}

TEST(Settings, byteOrderMarkMakesTheFirstKeyUnknown) {
  EXPECT_EQ(parsed("\xEF\xBB\xBFplayer=a\nplayer=b\n"), onlyPlayer("b"));
  EXPECT_EQ(parsed("\xEF\xBB\xBFplayer=a\n"), kNothing);
}

TEST(Settings, valuesAreBytes) {
  EXPECT_EQ(parsed("player=竞速玩家\n"), onlyPlayer("竞速玩家"));
  EXPECT_EQ(parsed("player=\xBE\xBA\xCB\xD9\xFF\n"), onlyPlayer("\xBE\xBA\xCB\xD9\xFF"));
  EXPECT_EQ(parsed("player=\"quoted\"\n"), onlyPlayer("\"quoted\""));
}

TEST(Settings, valuesAreNotExpanded) {
  EXPECT_EQ(parsed("player=%APPDIR%%LOCALDATA%\\n\n"), onlyPlayer("%APPDIR%%LOCALDATA%\\n"));
}

TEST(Settings, longestLineInOnePieceHas1023Bytes) {
  const std::string name(1023 - 7, 'x');
  EXPECT_EQ(parsed("player=" + name), onlyPlayer(name));
  EXPECT_EQ(parsed("player=" + name + "\n"), onlyPlayer(name));
  EXPECT_EQ(parsed("player=" + name + "y\n"), onlyPlayer(name));
}

TEST(Settings, lineOf1500BytesIsTwoLines) {
  const std::string name(1500 - 7, 'x');
  EXPECT_EQ(parsed("player=" + name + "\n"), onlyPlayer(std::string(1023 - 7, 'x')));
}

TEST(Settings, secondPieceOfALongLineIsALineOfItsOwn) {
  const std::string filler(1023, 'x');
  EXPECT_EQ(parsed(filler + "player=a\n"), onlyPlayer("a"));
  EXPECT_EQ(parsed("#" + filler.substr(1) + "player=a\n"), onlyPlayer("a"));
  EXPECT_EQ(parsed(filler + "#player=a\n"), kNothing);
  EXPECT_EQ(parsed(filler + filler + " player = a \n"), onlyPlayer("a"));
}

TEST(Settings, lineEndIsOneByteWhenPiecesAreCounted) {
  // Read in text mode, "\r\n" is one byte, so this line fits with it ...
  const std::string name(1022 - 7, 'x');
  EXPECT_EQ(parsed("player=" + name + "\r\nplayer=a\r\n"), onlyPlayer("a"));
  // ... and a carriage return inside a long line still counts.
  EXPECT_EQ(parsed(std::string(1022, 'x') + "\r" + "player=a\n"), onlyPlayer("a"));
}

TEST(Settings, megabyteOfOneLineIsRead) {
  const std::string bytes = "player=a\n" + std::string(1'000'000, '=') + "\nappid=7\n";
  EXPECT_EQ(parsed(bytes),
            "game=|receipt=|data=|server=|steam=|appid=7|player=a|difficulty=|fromSteam=0|timer=|"
            "install_from=|dryrun=0|livesplit=|livesplit_lss=");
}

TEST(SiteLine, withoutOneTheBuiltInSiteStays) {
  EXPECT_EQ(siteBaseFrom("", "https://b"), "https://b");
  EXPECT_EQ(siteBaseFrom("server=https://a\n# site\nsite\n", "https://b"), "https://b");
}

TEST(SiteLine, valueReplacesTheBuiltInSite) {
  EXPECT_EQ(siteBaseFrom("game=x\r\nsite=https://a\r\ntimer=1\r\n", "https://b"), "https://a");
  EXPECT_EQ(siteBaseFrom("site=https://a", "https://b"), "https://a");
  EXPECT_EQ(siteBaseFrom("site = https://a  \n", "https://b"), "https://a");
}

TEST(SiteLine, keyAllowsTrailingBlanksOnly) {
  EXPECT_EQ(siteBaseFrom("site \r =a\n", "b"), "a");
  EXPECT_EQ(siteBaseFrom(" site=a\n", "b"), "b");
  EXPECT_EQ(siteBaseFrom("\tsite=a\n", "b"), "b");
  EXPECT_EQ(siteBaseFrom("site\t=a\n", "b"), "b");
  EXPECT_EQ(siteBaseFrom("\xEF\xBB\xBFsite=a\n", "b"), "b");
}

TEST(SiteLine, keyIsExact) {
  EXPECT_EQ(siteBaseFrom("Site=a\nSITE=c\nsites=d\nsit=e\n#site=f\n=g\n", "b"), "b");
}

TEST(SiteLine, lastValidLineWins) {
  EXPECT_EQ(siteBaseFrom("site=a\nsite=c\n", "b"), "c");
  EXPECT_EQ(siteBaseFrom("site=a\nsite=\nsite=  \r\nsite=\"\"\n", "b"), "a");
}

TEST(SiteLine, quotesAreTakenOff) {
  EXPECT_EQ(siteBaseFrom("site=\"https://a\"\r\n", "b"), "https://a");
  EXPECT_EQ(siteBaseFrom("site= \" https://a \" \n", "b"), "https://a");
  EXPECT_EQ(siteBaseFrom("site=https://a\"\"\n", "b"), "https://a");
}

TEST(SiteLine, remainingQuoteCutsWhatStandsBeforeIt) {
  EXPECT_EQ(siteBaseFrom("site=x\"https://a\"\n", "b"), "https://a");
  EXPECT_EQ(siteBaseFrom("site=\"a\"c\n", "b"), "a\"c");
}

TEST(SiteLine, onlyBlanksAreTrimmedInFrontAndTabsNowhere) {
  EXPECT_EQ(siteBaseFrom("site=\ta\n", "b"), "\ta");
  EXPECT_EQ(siteBaseFrom("site=a\t\n", "b"), "a\t");
  EXPECT_EQ(siteBaseFrom("site=  a\n", "b"), "a");
  EXPECT_EQ(siteBaseFrom("site=\r a\n", "b"), "\r a");
}

TEST(SiteLine, trailingSlashAndFurtherEqualsSignStay) {
  EXPECT_EQ(siteBaseFrom("site=https://a/?x=y/\n", "b"), "https://a/?x=y/");
}

TEST(SiteLine, linesHave511Bytes) {
  const std::string value(511 - 5, 'x');
  EXPECT_EQ(siteBaseFrom("site=" + value + "\n", "b"), value);
  EXPECT_EQ(siteBaseFrom("site=" + value + "yz\n", "b"), value);
  EXPECT_EQ(siteBaseFrom(std::string(511, 'x') + "site=a\n", "b"), "a");
  EXPECT_EQ(siteBaseFrom(std::string(510, 'x') + "site=a\n", "b"), "b");
}

TEST(SiteLine, fileIsReadInBinary) {
  EXPECT_EQ(siteBaseFrom("x\x1Ay\nsite=a\n", "b"), "a");
  // Here the carriage return fills a byte of the line.
  EXPECT_EQ(siteBaseFrom(std::string(510, 'x') + "\r\nsite=a\n", "b"), "a");
  EXPECT_EQ(siteBaseFrom(std::string(510, 'x') + "\rsite=a\n", "b"), "a");
}

TEST(SiteLine, nulCutsItsLine) {
  EXPECT_EQ(siteBaseFrom("site=a\0c\n"sv, "b"), "a");
  EXPECT_EQ(siteBaseFrom("site\0=c\n"sv, "b"), "b");
}

}  // namespace
}  // namespace launcher
