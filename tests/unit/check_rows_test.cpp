#include <gtest/gtest.h>

#include "check/data_rows.h"
#include "check/http_date.h"
#include "check/livesplit_rows.h"
#include "check/mod_rows.h"
#include "check/place_rows.h"
#include "check/queue_rows.h"
#include "check/server_rows.h"
#include "check/steam_rows.h"

// What each stage's rows say, from plain facts.

namespace launcher::check {
namespace {

constexpr Language kEnglish = Language::english;
using Lines = std::vector<std::string>;

/// "state: sentence" of each row.
Lines lines(const Findings& rows) {
  Lines all;
  for (const Finding& row : rows) {
    all.push_back(std::string(stateWord(row.state, kEnglish)) + ": " + row.what);
  }
  return all;
}

// Place ------------------------------------------------------------------------------------

PlaceFacts goodPlace() {
  PlaceFacts facts;
  facts.folder = "D:\\KOV-Race\\launcher\\";
  facts.ansiBytes = facts.folder.size();
  facts.temporaryFolder = "C:\\Users\\x\\AppData\\Local\\Temp\\";
  facts.programFiles = "C:\\Program Files\\";
  facts.programFilesX86 = "C:\\Program Files (x86)\\";
  return facts;
}

Lines place(const PlaceFacts& facts) { return lines(placeRows(facts, kEnglish)); }

TEST(CheckPlaceRows, aGoodPlaceIsNamed) {
  EXPECT_EQ(place(goodPlace()), (Lines{"good: The programs are in D:\\KOV-Race\\launcher\\"}));
}

TEST(CheckPlaceRows, insideAZipIsBad) {
  PlaceFacts facts = goodPlace();
  facts.folder = "c:\\users\\x\\appdata\\local\\temp\\Temp1_kov.zip\\KOV-Race\\launcher\\";
  EXPECT_EQ(place(facts), (Lines{"bad: The programs are still inside the zip (in Windows' "
                                 "temporary folder), which is emptied afterwards."}));
}

TEST(CheckPlaceRows, charactersThatTheCodePageLacksAreBad) {
  PlaceFacts facts = goodPlace();
  facts.folder = "D:\\ไทย\\";
  facts.inAnsi = false;
  EXPECT_EQ(place(facts),
            (Lines{"bad: The folder's name has characters that Windows' ANSI code page lacks; the "
                   "launcher cannot read its settings: D:\\ไทย\\"}));
}

TEST(CheckPlaceRows, aPathIsTooLongWhenItsOwnFilesDoNotFit) {
  PlaceFacts facts = goodPlace();
  facts.ansiBytes = 259 - 17;
  EXPECT_EQ(place(facts).front().substr(0, 4), "good");
  ++facts.ansiBytes;
  EXPECT_EQ(place(facts), (Lines{"bad: The folder's path is too long, the launcher uses at most "
                                 "259 bytes: D:\\KOV-Race\\launcher\\"}));
}

TEST(CheckPlaceRows, poorChoicesAreWorthKnowing) {
  PlaceFacts facts = goodPlace();
  facts.folder = "c:\\program files\\KOV\\";
  EXPECT_EQ(place(facts), (Lines{"worth knowing: The programs are below Program Files, where a "
                                 "usual user cannot write."}));
  for (const char* folder : {"OneDrive", "OneDrive - Home", "BaiduSyncdisk", "Dropbox"}) {
    facts.folder = std::string("D:\\") + folder + "\\KOV\\";
    EXPECT_EQ(place(facts),
              (Lines{std::string("worth knowing: The folder \"") + folder +
                     "\" is synced with a cloud, which can lock or exchange result files."}));
  }
  facts.folder = "D:\\坚果云\\KOV\\";
  EXPECT_EQ(place(facts).size(), 2U);
  facts.folder = "D:\\比赛\\";
  EXPECT_EQ(place(facts),
            (Lines{"worth knowing: The folder's path has characters other than plain ASCII; "
                   "LiveSplit may not be able to read its settings: D:\\比赛\\"}));
}

TEST(CheckPlaceRows, missingAndMarkedProgramsAreTold) {
  PlaceFacts facts = goodPlace();
  facts.hasLauncher = facts.hasCard = false;
  facts.isMarked = true;
  EXPECT_EQ(place(facts),
            (Lines{"bad: There is no launcher.exe here.",
                   "worth knowing: There is no kov_result.exe here; results come in a plain box "
                   "only.",
                   "worth knowing: The programs are marked as downloaded; Windows asks each "
                   "time."}));
  EXPECT_EQ(placeRows(facts, kEnglish).back().button, Button::removeMark);
}

// Data folder ------------------------------------------------------------------------------

DataFacts goodData() {
  DataFacts facts;
  facts.data = "D:\\d";
  facts.ansiBytes = 4;
  facts.freeBytes = 1ULL << 40;
  facts.receiptFile = "D:\\d\\r.json";
  facts.receiptFolder = "D:\\d";
  return facts;
}

Lines data(const DataFacts& facts) { return lines(dataRows(facts, kEnglish)); }

TEST(CheckDataRows, aFolderThatCanBeUsedIsGood) {
  DataFacts facts = goodData();
  EXPECT_EQ(data(facts), (Lines{"good: The data folder can be written and read: D:\\d"}));
  facts.exists = false;
  EXPECT_EQ(data(facts), (Lines{"good: The data folder will be created at the start: D:\\d"}));
}

TEST(CheckDataRows, aFolderThatCannotBeUsedIsBad) {
  DataFacts facts = goodData();
  facts.canWrite = false;
  EXPECT_EQ(data(facts), (Lines{"bad: The data folder cannot be written to, so results cannot be "
                                "kept: D:\\d"}));
  facts = goodData();
  facts.exists = facts.canCreate = false;
  EXPECT_EQ(data(facts), (Lines{"bad: The data folder does not exist and cannot be created (only "
                                "its last level is): D:\\d"}));
  facts = goodData();
  facts.isFile = true;
  EXPECT_EQ(data(facts), (Lines{"bad: A file stands where the data folder goes: D:\\d"}));
  facts = goodData();
  facts.ansiBytes = 259 - 38;
  EXPECT_EQ(data(facts).front().substr(0, 4), "good");
  ++facts.ansiBytes;
  EXPECT_EQ(data(facts), (Lines{"bad: The data folder's path is too long to keep results in it: "
                                "D:\\d"}));
  facts.isSet = false;
  EXPECT_EQ(data(facts), (Lines{"bad: No data folder is set."}));
}

TEST(CheckDataRows, littleRoomIsToldAndNoRoomIsBad) {
  DataFacts facts = goodData();
  facts.freeBytes = (100ULL << 20) - 1;
  EXPECT_EQ(data(facts),
            (Lines{"worth knowing: The disk of the data folder is nearly full (99 MB left)."}));
  facts.freeBytes = (1ULL << 20) - 1;
  EXPECT_EQ(data(facts), (Lines{"bad: The disk of the data folder is nearly full (0 MB left)."}));
}

TEST(CheckDataRows, filesOfAnEarlierRunAreTold) {
  DataFacts facts = goodData();
  facts.modResult = Leftover::finished;
  facts.receipt = Leftover::finished;
  EXPECT_EQ(data(facts),
            (Lines{"worth knowing: A kovw_result.json of an earlier run is still there; a next run "
                   "that writes none sends it again.",
                   "worth knowing: The receipt of an earlier run is still there; the next run "
                   "overwrites it: D:\\d\\r.json"}));
  facts.modResult = Leftover::unfinished;
  facts.receipt = Leftover::unfinished;
  EXPECT_EQ(data(facts),
            (Lines{"worth knowing: A kovw_result.json of an unfinished run is still there and "
                   "would hide a later receipt."}));
}

// Steam and game ---------------------------------------------------------------------------

Lines steam(const SteamFacts& facts) {
  Lines all = lines(steamRows(facts, kEnglish));
  EXPECT_EQ(all.size(), 2U);
  all.erase(all.begin());
  return all;
}

SteamFacts withAccount(const AccountChoice& choice) {
  return {"C:\\Steam\\steam.exe", true, choice, "ini"};
}

TEST(CheckSteamRows, theAccountAndItsReasonAreTold) {
  EXPECT_EQ(lines(steamRows(withAccount({{"76561198000004321", "me"}, 1, true, false}), kEnglish)),
            (Lines{"good: Steam: C:\\Steam\\steam.exe",
                   "good: The account will be me (SteamID ending in 4321)."}));
  EXPECT_EQ(steam(withAccount({{"76561198000004321", "me"}, 3, true, false})),
            (Lines{"good: The account will be me (SteamID ending in 4321): of Steam's 3 accounts "
                   "the one marked as the most recent."}));
  EXPECT_EQ(steam(withAccount({{"76561198000004321", "me"}, 2, false, false})),
            (Lines{"worth knowing: The account will be me (SteamID ending in 4321): Steam has "
                   "recorded 2 and marks none as the most recent, so the first is taken."}));
  EXPECT_EQ(steam(withAccount({{"76561198000004321", "me"}, 2, true, true})),
            (Lines{"worth knowing: The name will be me, with the SteamID (ending in 4321) of "
                   "another account."}));
}

TEST(CheckSteamRows, aNameThatBreaksJsonIsBad) {
  EXPECT_EQ(steam(withAccount({{"76561198000004321", "a\"b"}, 1, true, false})),
            (Lines{"bad: The name has a quote or a backslash; the server cannot read the result: "
                   "a\"b"}));
  SteamFacts facts = withAccount({});
  facts.iniPlayer = "a\\b";
  EXPECT_EQ(steam(facts).front().substr(0, 3), "bad");
}

TEST(CheckSteamRows, withoutAnAccountTheSettingsCount) {
  SteamFacts facts = withAccount({});
  EXPECT_EQ(steam(facts), (Lines{"worth knowing: There is no Steam name; the name of launcher.ini "
                                 "is used: ini"}));
  facts.iniPlayer = "";
  facts.exists = false;
  EXPECT_EQ(lines(steamRows(facts, kEnglish)),
            (Lines{"worth knowing: Steam was not found; the game will be started directly.",
                   "worth knowing: There is no Steam name and no player= in launcher.ini: the "
                   "result will be anonymous."}));
}

Lines game(const GameFacts& facts) { return lines(gameRows(facts, kEnglish)); }

TEST(CheckGameRows, aGameThatIsThereIsGood) {
  EXPECT_EQ(game({.game = "D:\\g.exe", .exists = true}), (Lines{"good: Game: D:\\g.exe"}));
  EXPECT_EQ(game({.game = "D:\\g.exe", .written = "E:\\old.exe", .exists = true, .searched = true}),
            (Lines{"worth knowing: game= of launcher.ini does not exist; the one in the Steam "
                   "library is used: D:\\g.exe"}));
}

TEST(CheckGameRows, aMissingGameIsBadAndCanBeChosen) {
  EXPECT_EQ(game({}), (Lines{"bad: The game was not found; the launcher will end."}));
  EXPECT_EQ(game({.written = "E:\\old.exe"}),
            (Lines{"bad: The game was not found, and game= of launcher.ini does not exist: "
                   "E:\\old.exe"}));
  EXPECT_EQ(gameRows({}, kEnglish).front().button, Button::chooseGame);
}

TEST(CheckGameRows, doubtsAreTold) {
  EXPECT_EQ(game({.game = "D:\\x.exe", .exists = true, .hasRightName = false}).back(),
            "worth knowing: game= is not the file Backrooms-Win64-Shipping.exe; the launcher would "
            "wait for it in vain: D:\\x.exe");
  EXPECT_EQ(game({.game = "D:\\g.exe", .exists = true, .runs = true}).back(),
            "worth knowing: The game runs already; the launcher will wait for its end.");
  EXPECT_EQ(game({.game = "D:\\游戏\\g.exe", .exists = true, .steamExists = false}).back(),
            "bad: Without Steam the launcher cannot start a game whose path is not plain ASCII: "
            "D:\\游戏\\g.exe");
}

// Mod --------------------------------------------------------------------------------------

Lines mod(const ModFacts& facts) { return lines(modRows(facts, kEnglish)); }

TEST(CheckModRows, whatAStartWillFindIsForetold) {
  EXPECT_EQ(mod({}), (Lines{"good: The mod is installed (4/4 files)."}));
  EXPECT_EQ(mod({.missingInGame = {"\\a"}}),
            (Lines{"worth knowing: These files of the mod are not in the game's folder yet; the "
                   "start copies them: \\a"}));
  EXPECT_EQ(mod({.missingInPackage = {"\\a"}, .missingInGame = {"\\a", "\\b"}}),
            (Lines{"worth knowing: Missing in the mod's folder of the package: \\a",
                   "bad: The game's folder lacks files of the mod; a run would not be timed: "
                   "\\a"}));
  EXPECT_EQ(mod({.missingInPackage = {"\\a"}}),
            (Lines{"worth knowing: Missing in the mod's folder of the package: \\a",
                   "good: The mod is installed (4/4 files)."}));
  EXPECT_EQ(mod({.differingInGame = {"\\a"}}),
            (Lines{"good: The mod is installed; the start updates: \\a"}));
}

TEST(CheckModRows, withoutAPackageTheGamesFolderCounts) {
  EXPECT_EQ(mod({.isSet = false, .missingInPackage = {"\\a"}, .missingInGame = {"\\a"}}),
            (Lines{"worth knowing: launcher.ini has no install_from=: the mod is neither installed "
                   "nor checked.",
                   "bad: The game's folder lacks files of the mod; a run would not be timed: "
                   "\\a"}));
  EXPECT_EQ(mod({.package = "D:\\mod", .packageExists = false}),
            (Lines{"worth knowing: The mod's folder does not exist: the mod is neither installed "
                   "nor checked: D:\\mod",
                   "good: The mod is installed (4/4 files)."}));
  EXPECT_EQ(mod({.gameExists = false}),
            (Lines{"unknown: Without the game the mod cannot be seen."}));
}

TEST(CheckModRows, antivirusProgramsAreNamed) {
  EXPECT_EQ(lines(antivirusRows({}, kEnglish)),
            (Lines{"unknown: Windows does not say which antivirus programs are installed."}));
  EXPECT_EQ(lines(antivirusRows({true, {}}, kEnglish)),
            (Lines{"good: Windows Security Center names no antivirus program."}));
  EXPECT_EQ(antivirusRows({true, {"A", "B"}}, Language::chinese).front().what,
            "Windows 安全中心登记的杀毒软件：A、B。它删了 mod 文件时，在它里面加排除项。");
  EXPECT_EQ(antivirusRows({}, kEnglish).front().question, Question::antivirus);
}

// LiveSplit --------------------------------------------------------------------------------

const std::string kConfig =
    "\xEF\xBB\xBF<Settings>\r\n  <ServerPort>16834</ServerPort>\r\n"
    "  <ServerStartup>0</ServerStartup>\r\n</Settings>\r\n";

TEST(CheckServerStartup, isReadFromTheSettings) {
  EXPECT_EQ(serverStartup(std::nullopt), ServerStartup::noFile);
  EXPECT_EQ(serverStartup("<Settings />"), ServerStartup::noElement);
  EXPECT_EQ(serverStartup("<ServerStartup>1"), ServerStartup::noElement);
  EXPECT_EQ(serverStartup(kConfig), ServerStartup::off);
  EXPECT_EQ(serverStartup("<ServerStartup>1</ServerStartup>"), ServerStartup::tcp);
  EXPECT_EQ(serverStartup("<ServerStartup>2</ServerStartup>"), ServerStartup::webSocket);
  EXPECT_EQ(serverStartup("<ServerStartup>3</ServerStartup>"), ServerStartup::asBefore);
}

TEST(CheckServerStartup, onlyThatElementChanges) {
  std::string wanted = kConfig;
  wanted.replace(wanted.find(">0<") + 1, 1, "1");
  EXPECT_EQ(withServerStartup(kConfig), wanted);
  EXPECT_EQ(withServerStartup(wanted), std::nullopt);
  EXPECT_EQ(withServerStartup("<Settings />"), std::nullopt);
}

LivesplitFacts goodLivesplit() {
  LivesplitFacts facts;
  facts.program = "D:\\ls\\LiveSplit.exe";
  facts.splits = "D:\\ls\\race.lss";
  return facts;
}

Lines livesplit(const LivesplitFacts& facts) { return lines(livesplitRows(facts, kEnglish)); }

TEST(CheckLivesplitRows, whatIsWrongWithItsFilesIsTold) {
  EXPECT_EQ(livesplit(goodLivesplit()), (Lines{"good: LiveSplit: D:\\ls\\LiveSplit.exe"}));
  LivesplitFacts facts = goodLivesplit();
  facts.exists = false;
  EXPECT_EQ(livesplit(facts),
            (Lines{"worth knowing: LiveSplit was not found: D:\\ls\\LiveSplit.exe"}));
  facts = goodLivesplit();
  facts.isUsualPlace = true;
  facts.splitsExist = facts.hasLayout = false;
  EXPECT_EQ(livesplit(facts),
            (Lines{"worth knowing: livesplit= of launcher.ini does not exist; D:\\ls\\LiveSplit.exe "
                   "is used, whose layout is not set to the race's.",
                   "worth knowing: The splits file does not exist: D:\\ls\\race.lss",
                   "worth knowing: The race's layout halvorn.lsl is not beside LiveSplit."}));
  facts = goodLivesplit();
  facts.hasSplitsSetting = false;
  facts.program = "D:\\l&s\\LiveSplit.exe";
  EXPECT_EQ(livesplit(facts),
            (Lines{"worth knowing: LiveSplit's path has characters other than plain ASCII, or an "
                   "&; it may not be able to read its settings: D:\\l&s\\LiveSplit.exe",
                   "worth knowing: launcher.ini has no livesplit_lss=: the launcher does not open "
                   "LiveSplit."}));
  EXPECT_EQ(livesplit({.isSet = false}).size(), 1U);
}

TEST(CheckLivesplitRows, aServerThatDoesNotStartByItselfHasAButton) {
  LivesplitFacts facts = goodLivesplit();
  for (const ServerStartup startup :
       {ServerStartup::off, ServerStartup::webSocket, ServerStartup::asBefore}) {
    facts.startup = startup;
    const Findings rows = livesplitRows(facts, kEnglish);
    ASSERT_EQ(rows.size(), 1U);
    EXPECT_EQ(rows.front().what, "LiveSplit's server is not set to start with it.");
    EXPECT_EQ(rows.front().button, Button::startTimerServer);
    EXPECT_EQ(rows.front().todo, "Switch it on with the button.");
  }
  facts.runs = true;
  EXPECT_EQ(livesplitRows(facts, kEnglish).front().todo, "Close LiveSplit, then use the button.");
  facts.startup = ServerStartup::noElement;
  EXPECT_EQ(livesplitRows(facts, kEnglish).front().button, Button::none);
  facts.startup = ServerStartup::noFile;
  EXPECT_EQ(livesplit(facts), (Lines{"worth knowing: LiveSplit has no settings.cfg yet; its server "
                                     "does not start by itself."}));
}

std::string timer(const TimerFacts& facts) {
  const Findings rows = timerRows(facts, kEnglish);
  EXPECT_EQ(rows.size(), 1U);
  EXPECT_EQ(rows.front().question, Question::livesplit);
  return lines(rows).front();
}

TEST(CheckTimerRows, everyAnswerHasItsSentence) {
  EXPECT_EQ(timer({.runs = true, .phase = "NotRunning", .holder = "LiveSplit.exe"}),
            "good: LiveSplit's server answers (NotRunning).");
  EXPECT_EQ(timer({.runs = true, .phase = "NotRunning", .silentOnSplit = true}),
            "bad: LiveSplit is too old (1.8.28 or before): it does not answer before the first "
            "split, where an upload would stop.");
  EXPECT_EQ(timer({.phase = "HTTP/1.1 400", .holder = "x.exe"}),
            "bad: The program on port 16834 (x.exe) is not LiveSplit; it answers: HTTP/1.1 400");
  EXPECT_EQ(timer({.silent = true, .holder = "x.exe"}),
            "bad: A program (x.exe) holds LiveSplit's port 16834 and does not answer; the launcher "
            "would stop there and wait.");
  EXPECT_EQ(timer({.holder = "x.exe"}), "bad: Another program (x.exe) holds LiveSplit's port 16834.");
  EXPECT_EQ(timer({.runs = true, .holder = ""}),
            "worth knowing: LiveSplit runs, but its server does not.");
  EXPECT_EQ(timer({.startup = ServerStartup::tcp}),
            "good: LiveSplit does not run now; the launcher starts it, and its server starts too.");
  EXPECT_EQ(timer({.startup = ServerStartup::off}),
            "worth knowing: LiveSplit does not run now; the launcher starts it, but its server "
            "does not start by itself.");
  EXPECT_EQ(timer({.willBeStarted = false}),
            "worth knowing: LiveSplit does not run and the launcher does not start it; without it "
            "the mod's own time counts.");
  EXPECT_EQ(timer({.isSet = false}), "good: LiveSplit is not used and was not asked.");
}

// Server -----------------------------------------------------------------------------------

TEST(CheckHttpDate, isReadInItsOneForm) {
  EXPECT_EQ(httpDateSeconds("Thu, 01 Jan 1970 00:00:00 GMT"), 0);
  EXPECT_EQ(httpDateSeconds("Sun, 06 Nov 1994 08:49:37 GMT"), 784111777);
  EXPECT_EQ(httpDateSeconds("Thu, 29 Feb 2024 23:59:59 GMT"), 1709251199);
  EXPECT_EQ(httpDateSeconds("Fri, 01 Mar 2024 00:00:00 GMT"), 1709251200);
  for (const char* text : {"", "Sun, 06 Nov 1994 08:49:37 UTC", "Sunday, 06-Nov-94 08:49:37 GMT",
                           "Sun, 06 xxx 1994 08:49:37 GMT", "Sun, 0x Nov 1994 08:49:37 GMT"}) {
    EXPECT_EQ(httpDateSeconds(text), std::nullopt) << text;
  }
}

ServerFacts goodServer() {
  ServerFacts facts;
  facts.server = "https://race.test";
  facts.reached = true;
  facts.status = 200;
  facts.week = "{\"week\":\"2026-W47\",\"seed\":20261147,\"open\":true}";
  facts.serverTime = facts.ownTime = 1000000;
  return facts;
}

Lines server(const ServerFacts& facts) { return lines(serverRows(facts, kEnglish)); }

TEST(CheckServerRows, theWeekIsTold) {
  EXPECT_EQ(server(goodServer()), (Lines{"good: The race server answers: 2026-W47, seed 20261147."}));
  ServerFacts facts = goodServer();
  facts.week = "{\"week\":\"2026-W47\",\"seed\":20261147,\"open\":false}";
  EXPECT_EQ(server(facts),
            (Lines{"bad: The server says that the race of this week (2026-W47) is not open."}));
  facts.week = "{\"week\":\"2026-W47\",\"seed\":\"1\"}";
  EXPECT_EQ(server(facts), (Lines{"bad: The server answers, but without this week's seed; the game "
                                  "would use an old one."}));
}

TEST(CheckServerRows, redirectsAndErrorPagesAreBad) {
  ServerFacts facts = goodServer();
  facts.status = 301;
  facts.location = "https://other.test/week/current";
  EXPECT_EQ(server(facts),
            (Lines{"bad: The server https://race.test redirects to another address "
                   "(https://other.test/week/current); no submission arrives that way."}));
  facts.status = 404;
  EXPECT_EQ(server(facts),
            (Lines{"bad: The server https://race.test answers with an error page (404)."}));
}

TEST(CheckServerRows, everyFailureHasItsReason) {
  const auto failed = [](ServerFailure failure) {
    ServerFacts facts;
    facts.server = "https://race.test";
    facts.failure = failure;
    facts.error = 12345;
    return server(facts);
  };
  EXPECT_EQ(failed(ServerFailure::nameUnknown),
            (Lines{"bad: The server's name https://race.test is not known, or there is no "
                   "network."}));
  EXPECT_EQ(failed(ServerFailure::noConnection),
            (Lines{"bad: The server https://race.test does not take the connection."}));
  EXPECT_EQ(failed(ServerFailure::timedOut),
            (Lines{"bad: The server https://race.test did not answer in time."}));
  EXPECT_EQ(failed(ServerFailure::certificate),
            (Lines{"bad: Windows does not accept the certificate of the server "
                   "https://race.test."}));
  EXPECT_EQ(failed(ServerFailure::badAddress),
            (Lines{"bad: server= is no address that can be used: https://race.test"}));
  EXPECT_EQ(failed(ServerFailure::other),
            (Lines{"bad: The server https://race.test cannot be asked (error 12345)."}));
  EXPECT_EQ(server({.isSet = false}), (Lines{"bad: No race server is set: nothing is uploaded."}));
}

TEST(CheckServerRows, aClockThatIsFarOffIsWorthKnowing) {
  ServerFacts facts = goodServer();
  facts.ownTime += 120;
  EXPECT_EQ(server(facts).size(), 1U);
  ++facts.ownTime;
  EXPECT_EQ(server(facts).back(), "worth knowing: This computer's clock is 2 minute(s) ahead of "
                                  "the server's.");
  facts.ownTime = *facts.serverTime - 3600;
  EXPECT_EQ(server(facts).back(), "worth knowing: This computer's clock is 60 minute(s) behind the "
                                  "server's.");
}

// Queue ------------------------------------------------------------------------------------

TEST(CheckQueueRows, whatWaitsIsCountedSinceItsOldest) {
  EXPECT_EQ(lines(queueRows({}, 7, kEnglish)),
            (Lines{"good: No result waits to be sent; 7 receipt(s) are kept."}));
  const Findings rows = queueRows({{"p_20250302_010203.json"}, {"p_20250301_214502.json"},
                                   {"other.json"}, {"p_20250101_000000.json", false}},
                                  7, kEnglish);
  EXPECT_EQ(lines(rows),
            (Lines{"worth knowing: 3 result(s) wait to be sent, the oldest since 2025-03-01 "
                   "21:45:02.",
                   "worth knowing: p_20250101_000000.json in the queue is empty or broken and is "
                   "never sent."}));
  EXPECT_EQ(rows.front().button, Button::resendQueue);
}

TEST(CheckQueueRows, aStampIsReadFromItsExactForm) {
  EXPECT_EQ(stampOf("receipt_20250301_214502.json"), "2025-03-01 21:45:02");
  for (const char* name : {"", "p_20250301_21450.json", "p_2025030a_214502.json",
                           "p_20250301-214502.json", "p_20250301_214502.txt"}) {
    EXPECT_EQ(stampOf(name), "") << name;
  }
}

}  // namespace
}  // namespace launcher::check
