#include <gtest/gtest.h>

#include <windows.h>

#include <vector>

#include "tests/e2e/support.h"

namespace {

using e2e::kStartLine;
using e2e::Lines;
using stage::textOf;

constexpr char kNoGame[] = "game not found in any steam library";

/// Looks for Steam and the game in a dry run.
class Discovery : public testing::Test {
 protected:
  /// What is logged between the start line and the settings of the dry run.
  Lines found(const stage::Ini& settings = {}) {
    stage::Ini ini = {{"receipt", "r"}, {"data", "d"}, {"dryrun", "1"}};
    ini.insert(ini.end(), settings.begin(), settings.end());
    machine_.writeIni(ini);
    Lines lines = machine_.runLauncher().logLines();
    EXPECT_EQ(lines.front(), kStartLine);
    EXPECT_GE(lines.size(), 8U);
    // Each line that tells of a find is the value that the run goes on with.
    steam_ = lines[lines.size() - 7];
    game_ = lines[lines.size() - 6];
    return Lines(lines.begin() + 1, lines.end() - 7);
  }

  /// Registry and file texts with forward slashes, as the game is then found below the path.
  void steamAt(const std::filesystem::path& folder) {
    machine_.setSteamPath(stage::replaceAll(textOf(folder), "\\", "/"));
  }
  static std::string below(const std::string& library) {
    return library +
           "\\steamapps\\common\\EscapeTheBackrooms\\EscapeTheBackrooms\\Binaries\\Win64\\"
           "Backrooms-Win64-Shipping.exe";
  }
  /// An empty file where the game's program is looked for.
  static void gameIn(const std::filesystem::path& library) {
    stage::writeFile(stage::Stage::gameExeIn(library), "");
  }
  [[nodiscard]] std::string steam() const { return textOf(machine_.steamFolder()); }
  [[nodiscard]] std::string library() const { return textOf(machine_.secondLibrary()); }
  [[nodiscard]] std::string steamDetected() const {
    return "steam detected: " + steam() + "\\steam.exe";
  }
  /// A library file with these path values as written.
  void libraries(const std::vector<std::string>& values) {
    std::string text = "\"libraryfolders\"\n{\n";
    for (const std::string& value : values) {
      text += "\t\"0\"\n\t{\n\t\t\"path\"\t\t\"" + value + "\"\n\t}\n";
    }
    machine_.writeRawLibraryFolders(text + "}\n");
  }

  stage::Stage machine_{"disc"};
  std::string steam_;
  std::string game_;
};

TEST_F(Discovery, withoutSteamNothingIsFoundAndTheSettingsStay) {
  EXPECT_EQ(found({{"steam", "X:\\no\\steam.exe"}, {"game", "X:\\no\\game.exe"}}),
            (Lines{kNoGame}));
  EXPECT_EQ(steam_, "DRYRUN steam=X:\\no\\steam.exe");
  EXPECT_EQ(game_, "DRYRUN game=X:\\no\\game.exe");
}

TEST_F(Discovery, whatExistsIsNotLookedFor) {
  steamAt(machine_.steamFolder());
  gameIn(machine_.steamFolder());
  const std::string program = textOf(machine_.launcher());
  EXPECT_EQ(found({{"steam", program}, {"game", program}}), Lines{});
  EXPECT_EQ(steam_, "DRYRUN steam=" + program);
  EXPECT_EQ(game_, "DRYRUN game=" + program);
}

TEST_F(Discovery, aFolderCountsAsExisting) {
  steamAt(machine_.steamFolder());
  gameIn(machine_.steamFolder());
  EXPECT_EQ(found({{"steam", textOf(machine_.data())}, {"game", textOf(machine_.data())}}),
            Lines{});
}

TEST_F(Discovery, steamIsReplacedWithoutALookWhetherItIsThere) {
  machine_.setSteamPath("x:/gone/Steam");
  EXPECT_EQ(found(), (Lines{"steam detected: x:\\gone\\Steam\\steam.exe", kNoGame}));
  EXPECT_EQ(steam_, "DRYRUN steam=x:\\gone\\Steam\\steam.exe");
}

TEST_F(Discovery, aTrailingSlashOfTheSteamPathStays) {
  steamAt(machine_.steamFolder() / "");
  EXPECT_EQ(found(), (Lines{"steam detected: " + steam() + "\\\\steam.exe", kNoGame}));
}

TEST_F(Discovery, theGameIsLookedForAlsoWhenSteamIsConfigured) {
  steamAt(machine_.steamFolder());
  gameIn(machine_.steamFolder());
  EXPECT_EQ(found({{"steam", textOf(machine_.launcher())}}),
            (Lines{"game detected: " + below(steam())}));
}

TEST_F(Discovery, withoutLibraryFileTheSteamFolderIsTheOnlyLibrary) {
  steamAt(machine_.steamFolder());
  gameIn(machine_.steamFolder());
  EXPECT_EQ(found(), (Lines{steamDetected(), "game detected: " + below(steam())}));
  EXPECT_EQ(game_, "DRYRUN game=" + below(steam()));
}

TEST_F(Discovery, theGameIsFoundInTheSecondLibraryInEveryFormOfTheFile) {
  steamAt(machine_.steamFolder());
  gameIn(machine_.secondLibrary());
  const Lines wanted = {steamDetected(), "game detected: " + below(library())};
  for (const bool crLf : {false, true}) {
    for (const bool mark : {false, true}) {
      machine_.writeLibraryFolders(stage::LibraryFileGeneration::current,
                                   {.crLf = crLf, .byteOrderMark = mark});
      EXPECT_EQ(found(), wanted) << crLf << mark;
    }
  }
}

TEST_F(Discovery, theFormBefore2021NamesNoLibraries) {
  steamAt(machine_.steamFolder());
  gameIn(machine_.secondLibrary());
  machine_.writeLibraryFolders(stage::LibraryFileGeneration::before2021);
  EXPECT_EQ(found(), (Lines{steamDetected(), kNoGame}));
}

TEST_F(Discovery, theFirstLibraryThatHoldsTheGameWinsAndTheSteamFolderIsFirst) {
  steamAt(machine_.steamFolder());
  const std::filesystem::path third = machine_.root() / "lib3";
  machine_.writeLibraryFolders({machine_.root() / "gone", machine_.secondLibrary(), third});
  gameIn(third);
  EXPECT_EQ(found()[1], "game detected: " + below(textOf(third)));
  gameIn(machine_.secondLibrary());
  EXPECT_EQ(found()[1], "game detected: " + below(library()));
  gameIn(machine_.steamFolder());
  EXPECT_EQ(found()[1], "game detected: " + below(steam()));
}

TEST_F(Discovery, slashesBecomeBackslashesAndOnlyDoubledBackslashesAreHalved) {
  steamAt(machine_.steamFolder());
  gameIn(machine_.secondLibrary());
  const std::string forward = stage::replaceAll(library(), "\\", "/");
  for (const std::string& value :
       {forward, stage::replaceAll(library(), "\\", "\\\\"), library()}) {
    libraries({value});
    EXPECT_EQ(found()[1], "game detected: " + below(library())) << value;
  }
  // Four become two, three become two; Windows takes them for one.
  libraries({stage::replaceAll(library(), "\\", "\\\\\\\\")});
  const std::string doubled = stage::replaceAll(library(), "\\", "\\\\");
  EXPECT_EQ(found()[1], "game detected: " + below(doubled));
  libraries({stage::replaceAll(library(), "\\", "\\\\\\")});
  EXPECT_EQ(found()[1], "game detected: " + below(doubled));
}

TEST_F(Discovery, anyTokenThatReadsPathMarksTheNextOne) {
  steamAt(machine_.steamFolder());
  gameIn(machine_.secondLibrary());
  const std::string value = "\"" + stage::replaceAll(library(), "\\", "/") + "\"";
  const Lines detected = {steamDetected(), "game detected: " + below(library())};
  machine_.writeRawLibraryFolders("\"label\" \"path\" " + value);
  EXPECT_EQ(found(), detected);
  machine_.writeRawLibraryFolders("\"path\" \"path\" " + value);  // the walk skips no token
  EXPECT_EQ(found(), detected);
  const Lines none = {steamDetected(), kNoGame};
  for (const std::string& text : {"\"Path\" " + value, "\"path \" " + value, value + " \"path\"",
                                  "path " + value, "\"path\" \"\" " + value, "\"path\" " +
                                  value.substr(0, value.size() - 1)}) {
    machine_.writeRawLibraryFolders(text);
    EXPECT_EQ(found(), none) << text;
  }
}

// Windows would end the path at the NUL and find the folder in front of it.
TEST_F(Discovery, aFolderBeforeANulIsNoGame) {
  steamAt(machine_.steamFolder());
  gameIn(machine_.secondLibrary());
  const std::string cut = textOf(machine_.data()) + std::string("\0x", 2);
  libraries({cut});
  EXPECT_EQ(found(), (Lines{steamDetected(), kNoGame}));
  libraries({cut, library()});
  EXPECT_EQ(found(), (Lines{steamDetected(), "game detected: " + below(library())}));
}

TEST_F(Discovery, aBackslashBeforeAQuoteEndsTheValueAndTurnsWhatFollowsInsideOut) {
  steamAt(machine_.steamFolder());
  gameIn(machine_.secondLibrary());
  const std::string value = "\"" + stage::replaceAll(library(), "\\", "/") + "\"";
  // The label closes at its first quote, so that "path" is no token but its outside is.
  machine_.writeRawLibraryFolders("\"label\" \"a\\\"b\" \"path\" " + value);
  EXPECT_EQ(found(), (Lines{steamDetected(), kNoGame}));
  machine_.writeRawLibraryFolders("\"label\" \"a\\\"\"b\" \"path\" " + value);
  EXPECT_EQ(found(), (Lines{steamDetected(), "game detected: " + below(library())}));
}

TEST_F(Discovery, theSteamPathMayFillItsBufferButNotMore) {
  const std::string longest = "x:/" + std::string(256, 'p');  // 259 characters and the end
  machine_.setSteamPath(longest);
  EXPECT_EQ(found(),
            (Lines{"steam detected: x:\\" + std::string(256, 'p') + "\\steam.exe", kNoGame}));
  machine_.setSteamPath(longest + "p");
  EXPECT_EQ(found(), (Lines{kNoGame}));
}

TEST_F(Discovery, anEmptySteamPathIsNoSteam) {
  machine_.setSteamPath("");
  EXPECT_EQ(found({{"steam", "s"}}), (Lines{kNoGame}));
  EXPECT_EQ(steam_, "DRYRUN steam=s");
}

TEST_F(Discovery, theRegistryValuesTypeDoesNotMatter) {
  machine_.setSteamPath("x:/steam");  // put back at the end
  const std::wstring value = L"x:/as/bytes";
  ASSERT_EQ(RegSetKeyValueW(HKEY_CURRENT_USER, L"Software\\Valve\\Steam", L"SteamPath", REG_BINARY,
                            value.c_str(),
                            static_cast<DWORD>((value.size() + 1) * sizeof(wchar_t))),
            ERROR_SUCCESS);
  EXPECT_EQ(found(), (Lines{"steam detected: x:\\as\\bytes\\steam.exe", kNoGame}));
}

TEST_F(Discovery, theSettingsFileIsNotChanged) {
  steamAt(machine_.steamFolder());
  gameIn(machine_.steamFolder());
  (void)found({{"game", "gone"}});
  EXPECT_EQ(stage::readFile(machine_.app() / "launcher.ini"),
            "receipt=r\r\ndata=d\r\ndryrun=1\r\ngame=gone\r\n");
}

TEST_F(Discovery, aRunWithAConfiguredGameAndNoSteamLogsNothingOfIt) {
  machine_.installGame(e2e::staysAfterRun(machine_, stage::unfinishedRun().text()));
  (void)machine_.startGame();
  machine_.installCard();
  machine_.writeIni({{"receipt", textOf(machine_.receipt())},
                     {"data", textOf(machine_.data())},
                     {"game", textOf(machine_.gameExe())}});
  const stage::RunResult run = e2e::runUntilGameEnds(machine_);
  const Lines log = run.logLines();
  ASSERT_GE(log.size(), 2U);
  EXPECT_EQ(Lines(log.begin(), log.begin() + 2),
            (Lines{kStartLine, "steam persona not found, using ini player: "}));
}

}  // namespace
