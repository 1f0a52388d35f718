// The organiser's check of a race package: what it accepts, and that each mistake is reported.

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <filesystem>
#include <functional>
#include <string>
#include <utility>
#include <vector>

#include "rehearsal/package/mod_check.h"
#include "rehearsal/package/package_check.h"
#include "rehearsal/package/package_play.h"
#include "rehearsal/package/server_check.h"
#include "rehearsal/package/settings_check.h"
#include "rehearsal/package/sha256_win.h"
#include "rehearsal/package/timer_check.h"
#include "rehearsal/package/zip_file.h"
#include "rehearsal/stage/stage.h"

namespace rehearsal {
namespace {

namespace fs = std::filesystem;
using ::testing::AllOf;
using ::testing::Contains;
using ::testing::ElementsAre;
using ::testing::HasSubstr;
using ::testing::IsEmpty;
using ::testing::Not;

/// The findings that are not "OK", as lines.
std::vector<std::string> complaints(const Findings& findings) {
  std::vector<std::string> lines;
  for (const Finding& finding : findings) {
    if (finding.state != Finding::State::ok) lines.push_back(finding.what);
  }
  return lines;
}

// Settings -----------------------------------------------------------------------------------

constexpr char kGoodSettings[] =
    "# settings\r\n"
    "server=https://race.test\r\n"
    "site=https://race.test\r\n"
    "data=%APPDIR%..\\data\r\n"
    "receipt=%APPDIR%..\\data\\receipt.json\r\n"
    "install_from=%APPDIR%..\\mod\r\n"
    "livesplit=%APPDIR%..\\livesplit\\LiveSplit.exe\r\n"
    "livesplit_lss=%APPDIR%..\\livesplit\\race.lss\r\n";

std::vector<std::string> complaintsAbout(const std::string& more) {
  return complaints(checkSettings(kGoodSettings + more));
}

TEST(SettingsCheck, goodSettingsHaveNothingToComplainAbout) {
  EXPECT_THAT(complaintsAbout(""), IsEmpty());
  EXPECT_THAT(complaintsAbout("; a comment\n[section]\n\n  timer = 1  \n player=名字"), IsEmpty());
}

TEST(SettingsCheck, everyFailureSaysWhatToDo) {
  for (const Finding& finding : checkSettings("Server=x\ndata=%x%\ndata\ndryrun=1 # no\n")) {
    EXPECT_EQ(finding.todo.empty(), finding.state == Finding::State::ok) << finding.what;
  }
}

TEST(SettingsCheck, missingRequiredKeysAreTold) {
  EXPECT_THAT(complaints(checkSettings("server=https://race.test\nsite=https://race.test\n")),
              ElementsAre(HasSubstr("names no receipt"), HasSubstr("names no data")));
  EXPECT_THAT(complaintsAbout("data=\r\n"),
              ElementsAre(HasSubstr("names no data"), HasSubstr("\"data\" twice")));
}

TEST(SettingsCheck, unknownKeysAreToldWithTheirLine) {
  EXPECT_THAT(complaintsAbout("colour=red\n"),
              ElementsAre("launcher.ini has the unknown key \"colour\" (line 9)"));
  const Findings findings = checkSettings(std::string(kGoodSettings) + "LiveSplit LSS=x\n");
  EXPECT_THAT(asLines(findings), HasSubstr("(line 9): write it \"livesplit_lss\"\n"));
}

TEST(SettingsCheck, doubledKeysAreTold) {
  EXPECT_THAT(complaintsAbout("server=https://other.test\n"),
              ElementsAre("launcher.ini has \"server\" twice, in line 2 and line 9"));
}

TEST(SettingsCheck, commentsAfterValuesAreTold) {
  for (const std::string value : {"0 # off", "0\t; off", "0 // off"}) {
    EXPECT_THAT(complaintsAbout("timer=" + value + "\n"),
                Contains("launcher.ini has a comment behind the value of \"timer\" (line 9)"))
        << value;
  }
}

TEST(SettingsCheck, aSlashOrSignInsideAValueIsNoComment) {
  EXPECT_THAT(complaintsAbout("player=a#b;c//d\n"), IsEmpty());
}

TEST(SettingsCheck, pathsThatNoLauncherCouldUseAreTold) {
  EXPECT_THAT(complaintsAbout("game=\"C:\\game.exe\"\n"),
              ElementsAre(HasSubstr("\"game\" has quotes")));
  EXPECT_THAT(complaintsAbout("game=%appdir%game.exe\n"),
              ElementsAre(HasSubstr("\"game\" has %appdir%")));
  EXPECT_THAT(complaintsAbout("game=D:\\游戏\\game.exe\n"),
              ElementsAre(HasSubstr("characters outside of ASCII")));
  EXPECT_THAT(complaintsAbout("steam=%APPDIR%steam.exe\n"),
              ElementsAre(HasSubstr("\"steam\" has a placeholder")));
}

TEST(SettingsCheck, wordsThatNoLauncherKnowsAreTold) {
  for (const std::string line : {"dryrun=1", "dryrun=yes", "timer=on", "difficulty=hard",
                                 "difficulty=Easy", "appid=1943950x"}) {
    const std::string key = line.substr(0, line.find('='));
    EXPECT_THAT(complaintsAbout(line + "\n"),
                ElementsAre(HasSubstr("the value of \"" + key + "\" is ")))
        << line;
  }
}

TEST(SettingsCheck, addressesOfTheSampleAreTold) {
  const std::string text = stage::replaceAll(kGoodSettings, "race.test", "kov-race.example");
  EXPECT_THAT(complaints(checkSettings(text)),
              ElementsAre("server is \"https://kov-race.example\"",
                          "site is \"https://kov-race.example\""));
}

TEST(SettingsCheck, addressesWithoutASchemeAreTold) {
  EXPECT_THAT(complaints(checkSettings(
                  stage::replaceAll(kGoodSettings, "server=https://", "server="))),
              ElementsAre("server is \"race.test\""));
}

TEST(SettingsCheck, anOverlookedSiteLineIsTold) {
  EXPECT_THAT(complaints(checkSettings(stage::replaceAll(kGoodSettings, "site=", " site="))),
              ElementsAre(HasSubstr("a \"site\" line that the launcher overlooks (line 3)"),
                          "launcher.ini names no site"));
}

TEST(SettingsCheck, encodingsThatTheLauncherMisreadsAreTold) {
  EXPECT_THAT(complaints(checkSettings("\xFF\xFEs\0e\0")), Contains(HasSubstr("UTF-16")));
  EXPECT_THAT(complaintsAbout(std::string("a=\0", 3)),
              Contains(HasSubstr("a byte at which the launcher stops")));
  // Before a comment the mark does no harm.
  EXPECT_THAT(complaints(checkSettings(std::string("\xEF\xBB\xBF") + kGoodSettings)), IsEmpty());
  const std::string keyFirst = std::string(kGoodSettings).substr(12);
  EXPECT_THAT(complaints(checkSettings("\xEF\xBB\xBF" + keyFirst)),
              Contains(HasSubstr("its first key is lost")));
}

TEST(SettingsCheck, linesThatTheLauncherMisreadsAreTold) {
  EXPECT_THAT(complaintsAbout("game C:\\game.exe\n"),
              ElementsAre(HasSubstr("neither setting nor comment (line 9)")));
  EXPECT_THAT(complaintsAbout("#" + std::string(1023, 'x') + "\n"),
              ElementsAre(HasSubstr("more than 1023 bytes (line 9)")));
  EXPECT_THAT(complaintsAbout("#" + std::string(1022, 'x') + "\n"), IsEmpty());
}

TEST(WithSettings, replacesValuesAndKeepsTheRest) {
  EXPECT_EQ(withSettings("# a=b\n a = 1 \r\n\r\nb=2\na=3", {{"a", "x"}, {"c", "y"}}),
            "# a=b\na=x\r\n\r\nb=2\na=x\r\nc=y\r\n");
  EXPECT_EQ(withSettings("b=2", {{"a", "x"}}), "b=2\r\na=x\r\n");
  EXPECT_EQ(withSettings("", {}), "");
}

// The mod's names ----------------------------------------------------------------------------

TEST(ModCheck, filesOfAUe4ssPackageAreFine) {
  EXPECT_THAT(complaints(checkModNames({"dwmapi.dll", "README.txt", "UE4SS.dll",
                                        "UE4SS-settings.ini", "ue4ss\\UE4SS.dll",
                                        "ue4ss\\tools\\a.exe", "Mods\\x\\dlls\\main.dll"})),
              IsEmpty());
}

TEST(ModCheck, filesOfTheGameAreTold) {
  for (const std::string name : {"Backrooms-Win64-Shipping.exe", "CRASH.EXE", "Steam_API64.dll",
                                 "EOSSDK-Win64-Shipping.dll"}) {
    const Findings found = checkModNames({"dwmapi.dll", name});
    EXPECT_FALSE(noneFailed(found));
    EXPECT_THAT(complaints(found),
                ElementsAre("the mod folder's " + name + " would overwrite the game's own"));
  }
}

TEST(ModCheck, otherLibrariesBesideTheGameAreAWarning) {
  const Findings found = checkModNames({"tbb12.dll"});
  EXPECT_TRUE(noneFailed(found));
  EXPECT_THAT(complaints(found),
              ElementsAre("the mod folder's tbb12.dll is none that UE4SS brings"));
}

// LiveSplit's settings ------------------------------------------------------------------------

/// settings.cfg of a package, as LiveSplit wrote it and with three lines changed.
std::string packagedTimerSettings() {
  return stage::replaceAll(stage::liveSplitSettings({"halvorn.lsl"}, "race.lss"),
                           "<ServerStartup>0", "<ServerStartup>1");
}

std::vector<std::string> complaintsOfTimer(const std::string& from, const std::string& to) {
  return complaints(checkTimerSettings(stage::replaceAll(packagedTimerSettings(), from, to),
                                       "race.lss", "settings.cfg"));
}

TEST(TimerSettingsCheck, settingsOfTheRecipeAreFine) {
  EXPECT_THAT(complaints(checkTimerSettings(packagedTimerSettings(), "race.lss", "settings.cfg")),
              IsEmpty());
  EXPECT_THAT(complaintsOfTimer("race.lss", ".\\Race.LSS"), IsEmpty());
  EXPECT_THAT(complaintsOfTimer("<ServerPort>16834</ServerPort>", ""), IsEmpty());
  EXPECT_THAT(complaints(checkTimerSettings(
                  stage::replaceAll(packagedTimerSettings(), "race.lss", "..\\splits\\a.lss"),
                  "..\\splits\\a.lss", "settings.cfg")),
              IsEmpty());
}

TEST(TimerSettingsCheck, whatAPlayerWouldHaveToSetIsTold) {
  EXPECT_THAT(complaintsOfTimer("race.lss", "other.lss"),
              ElementsAre("settings.cfg opens other.lss"));
  EXPECT_THAT(complaintsOfTimer("<SplitsFile", "<Splits"), ElementsAre(HasSubstr("cannot use")));
  EXPECT_THAT(complaintsOfTimer("SplitsFile", "Splits"),
              ElementsAre("settings.cfg opens no splits"));
  EXPECT_THAT(complaintsOfTimer("<LayoutPath>halvorn.lsl</LayoutPath>", ""),
              ElementsAre("settings.cfg does not open the race's layout"));
  EXPECT_THAT(complaintsOfTimer("halvorn.lsl", "other.lsl"),
              ElementsAre("settings.cfg does not open the race's layout"));
  EXPECT_THAT(complaintsOfTimer("<ServerStartup>1", "<ServerStartup>0"),
              ElementsAre("settings.cfg does not start LiveSplit's server"));
  EXPECT_THAT(complaintsOfTimer("16834", "16835"),
              ElementsAre("settings.cfg puts LiveSplit's server on port 16835"));
}

TEST(TimerSettingsCheck, pathsOfTheOrganisersOwnAreTold) {
  for (const std::string path :
       {"C:\\Users\\me\\race.lss", "d:/a.lss", "\\\\box\\share\\race.lss"}) {
    EXPECT_THAT(complaintsOfTimer("race.lss", path),
                Contains("settings.cfg holds a path of your own machine, " + path));
    EXPECT_THAT(complaintsOfTimer("gameName=\"\"", "gameName=\"" + path + "\""),
                ElementsAre("settings.cfg holds a path of your own machine, " + path));
  }
  EXPECT_THAT(complaintsOfTimer("gameName=\"\"", "gameName=\"https://race.test\""), IsEmpty());
}

// Packages -----------------------------------------------------------------------------------

/// A package with nothing to complain about, on disk.
class PackageCheck : public ::testing::Test {
 protected:
  PackageCheck() {
    std::string sums;
    for (const char* name : {"launcher/kov_check.exe", "launcher/kov_result.exe",
                             "launcher/launcher.exe"}) {
      write(name, program());
      sums += sha256(program()) + "  " + name + "\n";
    }
    write("SHA256SUMS", sums);
    write("launcher/launcher.ini", kGoodSettings);
    write("mod/dwmapi.dll", "MZ");
    write("mod/ue4ss/UE4SS.dll", "MZ");
    write("mod/ue4ss/Mods/KOVWeekly/Scripts/main.lua", "--");
    write("mod/ue4ss/Mods/KOVWeekly/enabled.txt", "");
    write("livesplit/LiveSplit.exe", "MZ");
    write("livesplit/halvorn.lsl", "<Layout/>");
    write("livesplit/race.lss", stage::splitsFile());
    write("livesplit/settings.cfg", packagedTimerSettings());
    fs::create_directories(root / "data");
  }

  /// The least that counts as a 64-bit program.
  static std::string program() {
    std::string bytes = "MZ" + std::string(62, '\0');
    bytes[0x3C] = 0x40;
    return bytes + std::string("PE\0\0\x64\x86", 6);
  }

  void write(const std::string& name, const std::string& bytes) {
    stage::writeFile((root / stage::pathOf(name)).make_preferred(), bytes);
  }
  void set(const std::string& key, const std::string& value) {
    write("launcher/launcher.ini", withSettings(kGoodSettings, {{key, value}}));
  }
  /// Without the one line that stands in every check of a package with LiveSplit in it.
  [[nodiscard]] std::vector<std::string> found(const fs::path& folder) const {
    std::vector<std::string> lines = complaints(checkPackage(openPackage(folder, {})));
    std::erase(lines, "where players unpack this is up to them");
    return lines;
  }
  [[nodiscard]] std::vector<std::string> found() const { return found(root); }

  stage::Stage machine{"check"};
  fs::path root = machine.root() / "KOV-Race";
};

TEST_F(PackageCheck, goodPackageHasNothingToComplainAbout) { EXPECT_THAT(found(), IsEmpty()); }

TEST_F(PackageCheck, programFolderItselfIsAPackage) {
  EXPECT_THAT(found(root / "launcher"), IsEmpty());
}

TEST_F(PackageCheck, missingModFilesAreTold) {
  for (const std::string name :
       {"dwmapi.dll", "ue4ss\\UE4SS.dll", "ue4ss\\Mods\\KOVWeekly\\Scripts\\main.lua",
        "ue4ss\\Mods\\KOVWeekly\\enabled.txt"}) {
    const fs::path path = root / "mod" / stage::pathOf(name);
    fs::rename(path, root / "elsewhere");
    EXPECT_THAT(found(), ElementsAre("mod file " + name + " is missing"));
    fs::rename(root / "elsewhere", path);
  }
  write("mod/dwmapi.dll", "");
  EXPECT_THAT(found(), ElementsAre("mod file dwmapi.dll is empty"));
}

TEST_F(PackageCheck, modOutsideOfThePackageIsTold) {
  set("install_from", "");
  EXPECT_THAT(found(), ElementsAre(HasSubstr("install_from is empty")));
  set("install_from", "C:\\mod");
  EXPECT_THAT(found(), ElementsAre(HasSubstr("does not lead into the package")));
}

TEST_F(PackageCheck, missingSplitsAndLayoutAreTold) {
  fs::remove(root / "livesplit" / "race.lss");
  fs::remove(root / "livesplit" / "halvorn.lsl");
  EXPECT_THAT(found(), ElementsAre("the splits file livesplit\\race.lss is missing",
                                   "halvorn.lsl is not beside LiveSplit"));
}

TEST_F(PackageCheck, whatUnpackingElsewhereCostsIsSaid) {
  const Findings findings = checkPackage(openPackage(root, {}));
  EXPECT_THAT(asLines(findings),
              HasSubstr("?       where players unpack this is up to them: tell them to keep to "
                        "plain letters and digits; with other characters, & or < in the path LiveSplit "
                        "cannot read its settings.cfg and loses all settings for good, hotkeys "
                        "too\n"));
}

TEST_F(PackageCheck, splitsThatSpoilTimesAreAWarning) {
  write("livesplit/race.lss", stage::splitsFile("01:23:45.6780000"));
  EXPECT_THAT(found(),
              ElementsAre("the splits file livesplit\\race.lss has times of earlier runs"));
  write("livesplit/race.lss",
        stage::replaceAll(stage::splitsFile(), "<Segments>",
                          "<Offset>-00:00:10</Offset><Segments>"));
  EXPECT_THAT(found(),
              ElementsAre("the splits file livesplit\\race.lss starts the timer at -10.00 s"));
  EXPECT_TRUE(noneFailed(checkPackage(openPackage(root, {}))));
}

TEST_F(PackageCheck, splitsThatLiveSplitCannotReadAreAWarning) {
  for (const std::string text :
       {"", "no splits", "<Layout/>", "<Run><GameName>R&D</GameName></Run>"}) {
    write("livesplit/race.lss", text);
    EXPECT_THAT(found(),
                ElementsAre("LiveSplit cannot read the splits file livesplit\\race.lss"))
        << text;
  }
  EXPECT_TRUE(noneFailed(checkPackage(openPackage(root, {}))));
}

TEST_F(PackageCheck, aPlayerForEverybodyIsAWarning) {
  set("player", "runner");
  EXPECT_THAT(found(), ElementsAre("player is runner for everybody"));
  EXPECT_TRUE(noneFailed(checkPackage(openPackage(root, {}))));
  set("player", "");
  EXPECT_THAT(found(), IsEmpty());
}

TEST_F(PackageCheck, aModThatOverwritesTheGameIsTold) {
  write("mod/Backrooms-Win64-Shipping.exe", "MZ");
  EXPECT_THAT(found(),
              ElementsAre("the mod folder's Backrooms-Win64-Shipping.exe would overwrite the"
                          " game's own"));
}

TEST_F(PackageCheck, liveSplitInAFolderThatCostsItItsSettingsIsTold) {
  for (const std::string folder : {"Live & Split", "Live<Split", "\xE8\xAE\xA1\xE6\x97\xB6"}) {
    set("livesplit", "C:\\" + folder + "\\LiveSplit.exe");
    const Findings findings = checkPackage(openPackage(root, {}));
    EXPECT_FALSE(noneFailed(findings));
    EXPECT_THAT(asLines(findings), HasSubstr("FAILED  LiveSplit is C:\\" + folder +
                                             "\\LiveSplit.exe: keep to plain letters"));
  }
}

TEST_F(PackageCheck, aPackageFolderThatCostsLiveSplitItsSettingsIsTold) {
  fs::rename(root / "livesplit", root / "R&D");
  set("livesplit", "%APPDIR%..\\R&D\\LiveSplit.exe");
  EXPECT_THAT(found(), Contains("LiveSplit is R&D\\LiveSplit.exe"));
  // A folder of the package's own counts, too.
  const fs::path whole = root;
  fs::rename(root / "R&D", root / "livesplit");
  write("launcher/launcher.ini", kGoodSettings);
  fs::create_directories(machine.root() / "zip");
  fs::rename(whole, machine.root() / "zip" / "KOV & Race");
  EXPECT_THAT(found(machine.root() / "zip"),
              Contains("LiveSplit is KOV & Race\\livesplit\\LiveSplit.exe"));
}

TEST_F(PackageCheck, aLiveSplitWithoutSettingsIsAWarning) {
  fs::remove(root / "livesplit" / "settings.cfg");
  EXPECT_THAT(found(), ElementsAre("LiveSplit has no settings.cfg in the package"));
  EXPECT_TRUE(noneFailed(checkPackage(openPackage(root, {}))));
}

TEST_F(PackageCheck, settingsOfTheOrganisersOwnLiveSplitAreTold) {
  write("livesplit/settings.cfg",
        stage::replaceAll(packagedTimerSettings(), "race.lss", "C:\\me\\race.lss"));
  EXPECT_THAT(found(),
              ElementsAre("livesplit\\settings.cfg holds a path of your own machine, "
                          "C:\\me\\race.lss",
                          "livesplit\\settings.cfg opens C:\\me\\race.lss"));
}

TEST_F(PackageCheck, warningsAreCountedAndLabelled) {
  const Findings findings = {passed("a"), warned("b", "c"), warned("d", "e"), unseen("f", "g")};
  EXPECT_EQ(asLines(findings), "OK      a\nWARNING b: c\nWARNING d: e\n?       f: g\n");
  EXPECT_EQ(summary(findings), "4 checks: 1 OK, 0 failed, 2 warnings, 1 cannot be seen from here.");
  EXPECT_EQ(summary({warned("b", "c")}), "1 checks: 0 OK, 0 failed, 1 warning.");
}

TEST_F(PackageCheck, whatLiesOnThePlayersMachineCannotBeSeen) {
  set("livesplit", "C:\\Program Files\\LiveSplit\\LiveSplit.exe");
  EXPECT_THAT(found(), ElementsAre("LiveSplit is C:\\Program Files\\LiveSplit\\LiveSplit.exe"));
  EXPECT_TRUE(noneFailed(checkPackage(openPackage(root, {}))));
  set("receipt", "%LOCALDATA%\\receipt.json");
  EXPECT_THAT(found(), ElementsAre("the receipt is written to %LOCALDATA%\\receipt.json"));
  EXPECT_TRUE(noneFailed(checkPackage(openPackage(root, {}))));
}

TEST_F(PackageCheck, withoutLiveSplitThereIsNothingToMiss) {
  fs::remove_all(root / "livesplit");
  write("launcher/launcher.ini",
        withSettings(kGoodSettings, {{"livesplit", ""}, {"livesplit_lss", ""}}));
  EXPECT_THAT(found(), IsEmpty());
}

TEST_F(PackageCheck, dataFolderThatLosesTheLoginCodeIsTold) {
  for (const std::string value : {"%LOCALDATA%", "%APPDIR%data", "C:\\data", "data"}) {
    write("launcher/launcher.ini",
          withSettings(kGoodSettings, {{"data", value}, {"receipt", "C:\\receipt.json"}}));
    EXPECT_THAT(found(), Contains(HasSubstr("finds no login code"))) << value;
  }
  set("data", "%APPDIR%\\..\\data\\");
  EXPECT_THAT(found(), IsEmpty());
}

TEST_F(PackageCheck, receiptThatNothingCanWriteIsTold) {
  set("receipt", "%APPDIR%..\\receipts\\receipt.json");
  EXPECT_THAT(found(), ElementsAre(HasSubstr("the receipt is written to")));
  EXPECT_FALSE(noneFailed(checkPackage(openPackage(root, {}))));
  set("receipt", "%APPDIR%..\\data\\kovw_result.json");
  EXPECT_THAT(found(), ElementsAre(HasSubstr("the name of the mod's own result file")));
}

TEST_F(PackageCheck, otherProgramsThanTheReleasesAreTold) {
  write("launcher/kov_result.exe", program() + "x");
  EXPECT_THAT(found(), ElementsAre("kov_result.exe is not the release's (SHA256SUMS)"));
  write("launcher/kov_result.exe", "a text");
  EXPECT_THAT(found(), ElementsAre("kov_result.exe is no 64-bit Windows program"));
  fs::remove(root / "launcher" / "kov_result.exe");
  fs::remove(root / "launcher" / "kov_check.exe");
  EXPECT_THAT(found(), ElementsAre("kov_result.exe is missing", "kov_check.exe is missing"));
}

TEST_F(PackageCheck, missingLauncherAndSettingsAreTold) {
  fs::remove(root / "launcher" / "launcher.ini");
  EXPECT_THAT(found(), ElementsAre("launcher.ini is missing or empty"));
  write("old/launcher.exe", program());
  EXPECT_THAT(found(), ElementsAre("the package has more than one launcher.exe"));
  fs::remove(root / "old" / "launcher.exe");
  fs::remove(root / "launcher" / "launcher.exe");
  EXPECT_THAT(found(), ElementsAre("the package has no launcher.exe"));
}

TEST_F(PackageCheck, filesOfTheOrganisersOwnRunsAreTold) {
  for (const std::string name :
       {"data\\profile_token.txt", "data\\profile_opened.flag", "launcher\\launcher.log",
        "data\\receipt.json", "data\\kovw_result.json", "data\\choice.txt",
        "data\\pending\\p_20261114_201500.json",
        "data\\receipts\\receipt_20261114_201500.json"}) {
    write(name, "x");
    EXPECT_THAT(found(), ElementsAre(name + " is in the package"));
    fs::remove(root / stage::pathOf(name));
  }
}

TEST_F(PackageCheck, settingsAreTurnedToTheStageAndKeptOtherwise) {
  set("appid", "777");
  const Package package = openPackage(root, {});
  writePackageSettings(package, machine, "http://127.0.0.1:1", {{"dryrun", "1"}});
  const launcher::Settings settings = launcher::parseSettings(
      stage::readFile(machine.app() / "launcher.ini").value_or(""));
  EXPECT_EQ(settings.server, "http://127.0.0.1:1");
  EXPECT_EQ(settings.data, stage::textOf(machine.data()));
  EXPECT_EQ(settings.receipt, stage::textOf(machine.receipt()));
  EXPECT_EQ(settings.install_from, "");  // the stage has no package yet
  EXPECT_EQ(settings.livesplit, "");
  EXPECT_EQ(settings.appid, "777");
  EXPECT_TRUE(settings.dryrun);
  EXPECT_EQ(expectedOf(package, "steam started with -applaunch 1943950"),
            "steam started with -applaunch 777");
  EXPECT_EQ(expectedOf(package, "https://kov-race.example/profile?token=x"),
            "https://race.test/profile?token=x");
}

// The server -----------------------------------------------------------------------------------

TEST(ServerCheck, sixAnswersAreFine) {
  const stage::RaceServer server;
  const Findings findings = checkServer(server.url() + "/");
  EXPECT_EQ(findings.size(), 6U);
  EXPECT_THAT(complaints(findings), IsEmpty());
  EXPECT_EQ(server.requests().size(), 6U);
}

TEST(ServerCheck, wrongAnswersAreTold) {
  stage::RaceServer server;
  server.answer("GET", "/week/current", stage::Reply::json("{\"seed\":\"123\"}"));
  server.answer("GET", "/board-en", stage::Reply::text("<html>", 404));
  server.answer("GET", "/leaderboard.tsv", stage::Reply::closeConnection());
  const Findings findings = checkServer(server.url());
  EXPECT_EQ(findings.size(), 6U);
  EXPECT_THAT(complaints(findings),
              ElementsAre("the server's week has no seed that the launcher can read",
                          "the server answers /board-en with status 404",
                          "the server does not answer /leaderboard.tsv"));
  EXPECT_FALSE(noneFailed(findings));
}

TEST(ServerCheck, aSeedAfterBlanksIsRead) {
  stage::RaceServer server;
  server.answer("GET", "/week/current", stage::Reply::json("{\"seed\" :\t 7}"));
  EXPECT_THAT(complaints(checkServer(server.url())), IsEmpty());
}

TEST(ServerCheck, aServerThatCannotBeReachedIsNoFailure) {
  const Findings findings = checkServer(stage::unreachableUrl());
  EXPECT_THAT(complaints(findings), ElementsAre(HasSubstr("cannot be reached from here")));
  EXPECT_TRUE(noneFailed(findings));
}

TEST(ServerCheck, noServerIsNotAsked) { EXPECT_THAT(checkServer("///"), IsEmpty()); }

// Zips -----------------------------------------------------------------------------------------

/// A zip that stores one file, as its makers lay it out.
std::string zipOf(const std::string& name, const std::string& bytes, unsigned sum,
                  unsigned flags = 0) {
  const auto number = [](std::size_t value, int size) {
    std::string text;
    for (int i = 0; i < size; ++i) text += static_cast<char>(value >> (8 * i) & 0xFF);
    return text;
  };
  const std::string common = number(flags, 2) + number(0, 2) + number(0, 4) + number(sum, 4) +
                             number(bytes.size(), 4) + number(bytes.size(), 4) +
                             number(name.size(), 2) + number(0, 2);
  const std::string file = "PK\x03\x04" + number(20, 2) + common + name + bytes;
  const std::string list = "PK\x01\x02" + number(20, 2) + number(20, 2) + common +
                           number(0, 10) + number(0, 4) + name;
  return file + list + std::string("PK\x05\x06", 4) + number(0, 4) + number(1, 2) +
         number(1, 2) + number(list.size(), 4) + number(file.size(), 4) + number(0, 2);
}

constexpr unsigned kSumOfAbc = 0x352441C2;  // CRC-32 of "abc"

TEST(ZipFile, aStoredFileIsRead) {
  const std::vector<ZipEntry> entries = readZip(zipOf("a/b.txt", "abc", kSumOfAbc));
  ASSERT_EQ(entries.size(), 1U);
  EXPECT_EQ(entries[0].name, "a/b.txt");
  EXPECT_EQ(entries[0].bytes, "abc");
}

TEST(ZipFile, backslashesOfOldProgramsAreFolders) {
  EXPECT_EQ(readZip(zipOf("a\\b.txt", "abc", kSumOfAbc))[0].name, "a/b.txt");
}

TEST(ZipFile, namesThatLeadOutAreRefused) {
  for (const std::string name :
       {"../x", "a/../../x", "..\\x", "/x", "C:/x", "x:y", ".. /x", "a/..."}) {
    EXPECT_THAT(zipProblem(zipOf(name, "abc", kSumOfAbc)), HasSubstr("leads out")) << name;
  }
  EXPECT_EQ(zipProblem(zipOf("a..b/.x", "abc", kSumOfAbc)), "");
}

TEST(ZipFile, damageIsTold) {
  EXPECT_THAT(zipProblem(zipOf("x", "abc", kSumOfAbc + 1)), HasSubstr("wrong checksum"));
  EXPECT_THAT(zipProblem(zipOf("x", "abc", kSumOfAbc, 1)), HasSubstr("password"));
  EXPECT_THAT(zipProblem("no zip at all"), HasSubstr("it is no zip"));
  // Cut or changed anywhere, it is read or refused, but never read past its end.
  const std::string whole = zipOf("x", "abc", kSumOfAbc);
  for (std::size_t size = 0; size < whole.size(); ++size) {
    EXPECT_NE(zipProblem(whole.substr(0, size)), "") << size;
  }
  for (std::size_t at = 0; at < whole.size(); ++at) {
    for (const char byte : {'\0', '\x7F', '\xFF'}) {
      std::string changed = whole;
      changed[at] = byte;
      (void)zipProblem(changed);  // must come back
    }
  }
}

}  // namespace
}  // namespace rehearsal
