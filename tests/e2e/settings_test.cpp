#include <gtest/gtest.h>

#include <optional>

#include "tests/e2e/support.h"

namespace {

using e2e::kStartLine;
using e2e::Lines;
using stage::textOf;

/// Settings as a dry run shows them. The stage has no Steam, so nothing is detected.
class SettingsFile : public testing::Test {
 protected:
  /// The log of a run with this settings file, after the start line.
  Lines read(std::string_view ini) {
    machine_.writeRawIni(ini);
    return behindStart(machine_.runLauncher({}, options_).log);
  }
  static Lines behindStart(std::string_view log) {
    Lines lines = e2e::linesOf(log);
    EXPECT_FALSE(lines.empty());
    EXPECT_EQ(lines.front(), kStartLine);
    lines.erase(lines.begin());
    return lines;
  }
  /// What a dry run logs with these values.
  static Lines shown(const std::string& receipt, const std::string& data,
                     const std::string& livesplit = "", const std::string& installFrom = "",
                     const std::string& steam = "", const std::string& game = "") {
    return {"game not found in any steam library",
            "DRYRUN steam=" + steam,
            "DRYRUN game=" + game,
            "DRYRUN receipt=" + receipt,
            "DRYRUN data=" + data,
            "DRYRUN livesplit=" + livesplit,
            "DRYRUN install_from=" + installFrom,
            "DRYRUN steam_id= persona="};
  }
  static Lines incomplete() {
    return {"launcher.ini missing or incomplete (need receipt and data fields)"};
  }

  [[nodiscard]] std::string folder() const { return textOf(machine_.app()) + "\\"; }

  stage::Stage machine_{"set"};
  stage::RunOptions options_;
};

TEST_F(SettingsFile, everyPathKeyIsReadAndTheLastValueOfAKeyWins) {
  EXPECT_EQ(read("game=g0\r\nreceipt=r0\r\ndata=d0\r\nsteam=s0\r\ninstall_from=i0\r\n"
                 "livesplit=l0\r\nlivesplit_lss=x\r\ndryrun=0\r\n"
                 "game=g\r\nreceipt=r\r\ndata=d\r\nsteam=s\r\ninstall_from=\r\n"
                 "livesplit=l\r\ndryrun=1\r\n"),
            shown("r", "d", "l", "", "s", "g"));
}

TEST_F(SettingsFile, blanksAreTrimmedAndFurtherEqualSignsBelongToTheValue) {
  EXPECT_EQ(read(" \t receipt \t=  a = b=c \t \r\n\tdata\t=\td d\r\n dryrun =\t1 \r\n"),
            shown("a = b=c", "d d"));
}

TEST_F(SettingsFile, commentsSectionsAndUnknownKeysAreSkipped) {
  EXPECT_EQ(read("[kov]\n# receipt=no\n  ; data=no\n\n \t\nreceipt=r # not a comment\n"
                 "Receipt=capital\nsite=https://x\ndata=d\nDATA=capital\nno equal sign\n=novalue\n"
                 "dryrun=1"),
            shown("r # not a comment", "d"));
}

TEST_F(SettingsFile, onlyAPlainOneMakesADryRun) {
  machine_.writeIni({});
  stage::MessageBoxWatcher boxes;
  for (const std::string value : {"true", "yes", "01", "1 1", ""}) {
    SCOPED_TRACE(value);
    EXPECT_EQ(read("receipt=r\ndata=d\ndryrun=1\ndryrun=" + value + "\n"),
              (Lines{"game not found in any steam library", "game not found, aborting"}));
  }
}

TEST_F(SettingsFile, aLineOfMoreThan1023BytesIsTwoLines) {
  const std::string filler(1500, 'x');
  EXPECT_EQ(read("receipt=" + filler + "\ndata=d\ndryrun=1\n"),
            shown(filler.substr(0, 1023 - 8), "d"));
  // The second piece is a line of its own: with "=" in it, it sets a key.
  const std::string first = "receipt=r" + std::string(1023 - 9, ' ');
  EXPECT_EQ(read(first + "data=second piece\ndryrun=1\n"), shown("r", "second piece"));
  EXPECT_EQ(read("data=d\n#" + std::string(1022, 'x') + "receipt=no comment any more\ndryrun=1\n"),
            shown("no comment any more", "d"));
}

TEST_F(SettingsFile, aByteOrderMarkMakesTheFirstKeyUnknown) {
  EXPECT_EQ(read("\xEF\xBB\xBFreceipt=r\r\ndata=d\r\ndryrun=1\r\n"), incomplete());
  EXPECT_EQ(read("\xEF\xBB\xBF\r\nreceipt=r\r\ndata=d\r\ndryrun=1\r\n"), shown("r", "d"));
}

TEST_F(SettingsFile, theOldEndOfTextByteEndsTheFileAndANulCutsItsLine) {
  EXPECT_EQ(read("receipt=r\r\ndata=d\r\ndryrun=1\r\n\x1A\r\nreceipt=behind\r\n"), shown("r", "d"));
  using namespace std::string_view_literals;
  EXPECT_EQ(read("receipt=r\0tail\r\ndata=d\r\ndryrun=1\r\n"sv), shown("r", "d"));
}

TEST_F(SettingsFile, aFolderOfItsNameIsNoSettingsFile) {
  std::filesystem::create_directories(machine_.app() / "launcher.ini");
  EXPECT_EQ(behindStart(machine_.runLauncher().log), incomplete());
}

TEST_F(SettingsFile, itIsTheOneBesideTheProgramWhateverTheCurrentFolder) {
  stage::writeFile(machine_.local() / "launcher.ini", "receipt=wrong\ndata=wrong\ndryrun=1\n");
  options_.currentFolder = machine_.local();
  EXPECT_EQ(read("receipt=r\ndata=d\ndryrun=1\n"), shown("r", "d"));
}

// Placeholders -----------------------------------------------------------------------------

class SettingsPlaceholders : public SettingsFile {};

TEST_F(SettingsPlaceholders, theSixPathsAreExpandedAndNothingElse) {
  const std::string app = folder();
  EXPECT_EQ(read("game=%APPDIR%g\nreceipt=%APPDIR%r\ndata=%APPDIR%d\nlivesplit=%APPDIR%l\n"
                 "install_from=%APPDIR%i\nsteam=%APPDIR%s\ndryrun=1\n"),
            shown(app + "r", app + "d", app + "l", app + "i", "%APPDIR%s", app + "g"));
}

TEST_F(SettingsPlaceholders, everyOccurrenceIsReplacedAndBackslashesAreLeftAlone) {
  const std::string app = folder();
  const std::string local = textOf(machine_.local()) + "\\KOV-Race";
  EXPECT_EQ(read("receipt=%APPDIR%\\r;%APPDIR%%APPDIR%x\ndata=%LOCALDATA%\nlivesplit=%LOCALDATA%\\a"
                 "%LOCALDATA%\ninstall_from=%appdir%%LocalData%%APPDIR\ndryrun=1\n"),
            shown(app + "\\r;" + app + app + "x", local, local + "\\a" + local,
                  "%appdir%%LocalData%%APPDIR"));
}

TEST_F(SettingsPlaceholders, withoutLocalAppDataThatPlaceholderIsEmpty) {
  const std::string ini = "receipt=%LOCALDATA%\\name\ndata=d%LOCALDATA%\ndryrun=1\n";
  for (const std::optional<std::string>& value :
       {std::optional<std::string>(), std::optional(std::string(260, 'v')),
        std::optional(std::string(400, 'v'))}) {
    SCOPED_TRACE(value.value_or("not set").size());
    options_.environment["LOCALAPPDATA"] = value;
    EXPECT_EQ(read(ini), shown("\\name", "d"));
  }
  options_.environment["LOCALAPPDATA"] = std::string(259, 'v');
  EXPECT_EQ(read(ini), shown(std::string(259, 'v') + "\\KOV-Race\\name",
                             "d" + std::string(259, 'v') + "\\KOV-Race"));
}

TEST_F(SettingsPlaceholders, aPlaceholderInTheProgramFoldersNameIsSeenByTheSecondPass) {
  const std::filesystem::path program =
      e2e::copyLauncher(machine_, machine_.root() / "%APPDIR%x%LOCALDATA%");
  stage::writeFile(program.parent_path() / "launcher.ini",
                   "receipt=%APPDIR%r\ndata=d\ndryrun=1\n");
  options_.environment["LOCALAPPDATA"] = "L";
  stage::LauncherRun run(program, {}, options_);
  EXPECT_EQ(behindStart(run.wait().log),
            shown(textOf(machine_.root()) + "\\%APPDIR%xL\\KOV-Race\\r", "d"));
}

TEST_F(SettingsPlaceholders, theUploadExpandsReceiptAndData) {
  stage::RaceServer server;
  machine_.installBrowser();
  const std::string receipt = stage::finishedRun().text();
  stage::writeFile(machine_.app() / "r.json", receipt);
  std::filesystem::create_directories(machine_.local() / "KOV-Race");
  machine_.writeRawIni("receipt=%APPDIR%r.json\ndata=%LOCALDATA%\nserver=" + server.url() + "\n");
  const stage::RunResult run = machine_.runLauncher("--upload");
  EXPECT_EQ(run.exitCode, 0U);
  EXPECT_FALSE(stage::pathExists(machine_.app() / "r.json"));
  EXPECT_EQ(stage::listFolder(machine_.local() / "KOV-Race"),
            (Lines{"profile_opened.flag", "profile_token.txt"}));
}

TEST_F(SettingsPlaceholders, theProfileModeExpandsData) {
  machine_.installBrowser();
  stage::writeFile(machine_.local() / "KOV-Race" / "profile_token.txt", "t1");
  machine_.writeRawIni("data=%LOCALDATA%\n");
  (void)machine_.runLauncher("--profile");
  ASSERT_TRUE(machine_.timeline().waitFor("browser", "open"));
  EXPECT_EQ(machine_.openedUrls(), (Lines{"https://kov-race.example/profile?token=t1"}));
}

}  // namespace
