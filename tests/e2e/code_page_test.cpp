#include <gtest/gtest.h>

#include <windows.h>

#include "tests/e2e/full_run.h"

namespace {

using e2e::kStartLine;
using e2e::Lines;
using e2e::linesOf;
using stage::textOf;
using stage::toAnsi;

/// The path that a narrow call takes for this UTF-8 text: its bytes read in the ANSI code page.
std::filesystem::path readAsAnsi(std::string_view utf8) {
  wchar_t wide[1024];
  const int units = MultiByteToWideChar(CP_ACP, 0, utf8.data(), static_cast<int>(utf8.size()), wide,
                                        static_cast<int>(std::size(wide)));
  return std::wstring(wide, static_cast<std::size_t>(units));
}

/// The code page that a test is about, and words that it can write.
struct CodePage {
  unsigned number;
  std::string word;             ///< UTF-8
  std::string foreign = "ไทย";  ///< what neither code page can write
};

class CodePageTest : public e2e::FullRunTest {
 protected:
  explicit CodePageTest(CodePage page) : FullRunTest("cp"), page_(std::move(page)) {
    EXPECT_EQ(stage::ansiCodePage(), page_.number);
    EXPECT_EQ(readAsAnsi(toAnsi(page_.word)).wstring(), stage::toWide(page_.word));
  }

  /// The lines of a dry run after the start line.
  Lines dryRun(std::string_view ini) {
    machine.writeRawIni(std::string(ini) + "dryrun=1\r\n");
    Lines lines = machine.runLauncher().logLines();
    lines.erase(lines.begin());
    return lines;
  }
  /// launcher.ini in the ANSI code page, as a text editor writes it.
  void ansiIni(std::string_view utf8) { machine.writeRawIni(toAnsi(utf8)); }

  void playerIsConvertedForTheServerAndLoggedAsItIs() {
    machine.installGame(e2e::staysAfterRun(machine, stage::unfinishedRun().text()));
    ansiIni("receipt=" + textOf(machine.receipt()) + "\r\ndata=" + textOf(machine.data()) +
            "\r\ngame=" + textOf(machine.gameExe()) + "\r\nserver=" + server.url() +
            "\r\nplayer=" + page_.word + " x\r\n");
    (void)machine.startGame();
    const stage::RunResult run = e2e::runUntilGameEnds(machine);
    EXPECT_EQ(run.logLines()[1], e2e::kPlayerOfTheSettings + toAnsi(page_.word + " x"));
    ASSERT_EQ(server.requests("POST", "/client/log").size(), 1U);
    EXPECT_EQ(
        server.requests("POST", "/client/log").front().body,
        "{\"player\":\"" + page_.word + " x\",\"reason\":\"run not finished (no ending screen)\"}");
  }

  void foldersOfTheSettingsMayHaveSuchNames() {
    const std::filesystem::path folder = machine.root() / stage::pathOf(page_.word);
    const std::string text = textOf(folder);
    stage::GameScript game = e2e::staysAfterRun(machine, "");
    game.writes[0] = {folder / "receipt.json", stage::unfinishedRun().text()};
    machine.installGame(game);
    std::filesystem::create_directories(folder);
    ansiIni("receipt=" + text + "\\receipt.json\r\ndata=" + text + "\\" + page_.word +
            "\r\ngame=" + textOf(machine.gameExe()) + "\r\n");
    (void)machine.startGame();
    const stage::RunResult run = e2e::runUntilGameEnds(machine);
    EXPECT_TRUE(e2e::maskStamps(run.log).find(
                    "receipt archived: " +
                    toAnsi(text + "\\" + page_.word + "\\receipts\\receipt_YYYYMMDD_hhmmss.json") +
                    "\r\n") != std::string::npos);
    Lines files = stage::listFolder(folder / stage::pathOf(page_.word));
    for (std::string& file : files) file = e2e::maskStamps(file);
    EXPECT_EQ(files,
              (Lines{"board.toggle", "launch.state", "receipts\\receipt_YYYYMMDD_hhmmss.json",
                     "timer.enabled", "upload.state"}));
  }

  void programFolderMayHaveSuchAName() {
    const std::filesystem::path program =
        e2e::copyLauncher(machine, machine.root() / stage::pathOf(page_.word));
    const std::filesystem::path folder = program.parent_path();
    stage::writeFile(folder / "launcher.ini", "receipt=%APPDIR%r\ndata=d\ndryrun=1\n");
    stage::writeFile(folder / "profile_token.txt", "abc");
    stage::RunOptions options;
    stage::LauncherRun run(program, {}, options);
    (void)run.wait();
    EXPECT_EQ(
        linesOf(stage::readFile(folder / "launcher.log").value_or("")),
        (Lines{kStartLine, "profile token preloaded (3 bytes)", e2e::kGameNotFound, "DRYRUN steam=",
               "DRYRUN game=", "DRYRUN receipt=" + toAnsi(textOf(folder)) + "\\r", "DRYRUN data=d",
               "DRYRUN livesplit=", "DRYRUN install_from=", "DRYRUN steam_id= persona="}));
  }

  /// Nothing beside the program can be opened by its narrow name, so there is no log either.
  void programFolderOfForeignCharactersLeavesTheConsole() {
    const std::filesystem::path program =
        e2e::copyLauncher(machine, machine.root() / stage::pathOf(page_.foreign));
    stage::writeFile(program.parent_path() / "launcher.ini", "receipt=r\ndata=d\ndryrun=1\n");
    stage::RunOptions options;
    stage::LauncherRun run(program, {}, options);
    const stage::RunResult result = run.wait();
    EXPECT_EQ(result.exitCode, 1U);
    EXPECT_EQ(result.console, e2e::asWritten({kStartLine, e2e::kIncomplete}) + e2e::kEnterPrompt);
    EXPECT_FALSE(stage::pathExists(program.parent_path() / "launcher.log"));
  }

  /// Existence is asked with a narrow call on UTF-8 text: the game is found exactly where that
  /// looks.
  void libraryValueIsConvertedFromAnsi(std::string_view ansiValue, const std::string& utf8) {
    const std::string game =
        utf8 +
        "\\steamapps\\common\\EscapeTheBackrooms\\EscapeTheBackrooms\\Binaries\\Win64\\"
        "Backrooms-Win64-Shipping.exe";
    stage::writeFile(readAsAnsi(game), "");
    writeLibrary(ansiValue);
    EXPECT_EQ(dryRun("receipt=r\r\ndata=d\r\n")[1], "game detected: " + game);
  }

  void writeLibrary(std::string_view ansiValue) {
    machine.setSteamPath();
    machine.writeRawLibraryFolders("\"libraryfolders\" { \"0\" { \"path\" \"" +
                                   std::string(ansiValue) + "\" } }");
  }

  void steamPathOfTheRegistryIsLoggedInUtf8() {
    machine.setSteamPath("x:/" + page_.word + "/" + page_.foreign);
    EXPECT_EQ(dryRun("receipt=r\r\ndata=d\r\n")[0],
              "steam detected: x:\\" + page_.word + "\\" + page_.foreign + "\\steam.exe");
  }

  /// Each byte of the path is widened on its own, as a signed one.
  void gameOfSuchANameCannotBeStartedDirectly() {
    const std::filesystem::path game =
        machine.root() / stage::pathOf(page_.word) / "Backrooms-Win64-Shipping.exe";
    machine.installGame(e2e::staysAfterRun(machine, stage::unfinishedRun().text()));
    std::filesystem::create_directories(game.parent_path());
    std::filesystem::copy_file(machine.gameExe(), game);
    std::wstring widened;
    for (const char byte : toAnsi(textOf(game))) {
      widened.push_back(static_cast<wchar_t>(static_cast<signed char>(byte)));
    }
    const std::wstring folder = widened.substr(0, widened.rfind(L'\\'));
    std::wstring commandLine = L"\"" + widened + L"\"";
    STARTUPINFOW startup{};
    startup.cb = sizeof startup;
    PROCESS_INFORMATION info{};
    ASSERT_FALSE(CreateProcessW(nullptr, commandLine.data(), nullptr, nullptr, FALSE, 0, nullptr,
                                folder.c_str(), &startup, &info));
    const DWORD error = GetLastError();
    ansiIni("receipt=" + textOf(machine.receipt()) + "\r\ndata=" + textOf(machine.data()) +
            "\r\nsteam=x:\\no.exe\r\ngame=" + textOf(game) + "\r\n");
    stage::LauncherRun run = machine.startLauncher();
    ASSERT_TRUE(run.waitForLog("direct launch failed"));
    (void)machine.startGame();
    ASSERT_TRUE(run.waitForLog("waiting for exit..."));
    machine.endGame();
    EXPECT_TRUE(run.wait().hasLogLine("direct launch failed (err " + std::to_string(error) + ")"));
  }

  void steamOfSuchANameStartsTheGame() {
    const std::filesystem::path folder = machine.root() / stage::pathOf(page_.word);
    machine.installGame(e2e::staysAfterRun(machine, stage::unfinishedRun().text()));
    machine.installSteam();
    std::filesystem::rename(machine.steamFolder(), folder);
    ansiIni("receipt=" + textOf(machine.receipt()) + "\r\ndata=" + textOf(machine.data()) +
            "\r\nsteam=" + textOf(folder) + "\\steam.exe\r\ngame=" + textOf(machine.gameExe()) +
            "\r\n");
    const stage::RunResult run = e2e::runUntilGameEnds(machine);
    EXPECT_TRUE(run.hasLogLine(e2e::kSteamStarted));
    EXPECT_TRUE(run.hasLogLine(e2e::kClosed));
    const std::vector<stage::Event> starts = machine.timeline().events("steam", "start");
    ASSERT_EQ(starts.size(), 1U);
    EXPECT_EQ(starts[0].text, "\"" + textOf(folder) + "\\steam.exe\" -applaunch 1943950");
  }

  CodePage page_;
};

// Western Europe ---------------------------------------------------------------------------

class CodePage1252 : public CodePageTest {
 protected:
  CodePage1252() : CodePageTest({1252, "Zoë Müller"}) {}
};

TEST_F(CodePage1252, playerIsConvertedForTheServerAndLoggedAsItIs) {
  playerIsConvertedForTheServerAndLoggedAsItIs();
}
TEST_F(CodePage1252, foldersOfTheSettingsMayHaveSuchNames) {
  foldersOfTheSettingsMayHaveSuchNames();
}
TEST_F(CodePage1252, programFolderMayHaveSuchAName) { programFolderMayHaveSuchAName(); }
TEST_F(CodePage1252, programFolderOfForeignCharactersLeavesTheConsole) {
  programFolderOfForeignCharactersLeavesTheConsole();
}
TEST_F(CodePage1252, libraryValueIsConvertedFromAnsi) {
  const std::string root = textOf(machine.root());
  libraryValueIsConvertedFromAnsi(stage::replaceAll(root, "\\", "\\\\") + "\\\\M\xFCller",
                                  root + "\\Müller");
}
TEST_F(CodePage1252, steamPathOfTheRegistryIsLoggedInUtf8) {
  steamPathOfTheRegistryIsLoggedInUtf8();
}
TEST_F(CodePage1252, gameOfSuchANameCannotBeStartedDirectly) {
  gameOfSuchANameCannotBeStartedDirectly();
}
TEST_F(CodePage1252, steamOfSuchANameStartsTheGame) { steamOfSuchANameStartsTheGame(); }

// China ------------------------------------------------------------------------------------

class CodePageCp936 : public CodePageTest {
 protected:
  CodePageCp936() : CodePageTest({936, "竞速玩家"}) {}
};

TEST_F(CodePageCp936, playerIsConvertedForTheServerAndLoggedAsItIs) {
  playerIsConvertedForTheServerAndLoggedAsItIs();
}
TEST_F(CodePageCp936, foldersOfTheSettingsMayHaveSuchNames) {
  foldersOfTheSettingsMayHaveSuchNames();
}
TEST_F(CodePageCp936, programFolderMayHaveSuchAName) { programFolderMayHaveSuchAName(); }
TEST_F(CodePageCp936, programFolderOfForeignCharactersLeavesTheConsole) {
  programFolderOfForeignCharactersLeavesTheConsole();
}
TEST_F(CodePageCp936, libraryValueIsConvertedBeforeItsBackslashesAreHalved) {
  // The second byte of this character is a backslash, and a single one follows it.
  const std::string root = textOf(machine.root());
  ASSERT_EQ(toAnsi("運"), "\xDF\x5C");
  libraryValueIsConvertedFromAnsi(stage::replaceAll(root, "\\", "\\\\") + "\\\\\xDF\x5C\\lib",
                                  root + "\\運\\lib");
}
TEST_F(CodePageCp936, steamPathOfTheRegistryIsLoggedInUtf8) {
  steamPathOfTheRegistryIsLoggedInUtf8();
}
TEST_F(CodePageCp936, gameOfSuchANameCannotBeStartedDirectly) {
  gameOfSuchANameCannotBeStartedDirectly();
}
TEST_F(CodePageCp936, steamOfSuchANameStartsTheGame) { steamOfSuchANameStartsTheGame(); }

TEST_F(CodePageCp936, aProgramFolderThatEndsInABackslashByteIsReadWhole) {
  // The folder's name ends in a character whose second byte is a backslash.
  const std::filesystem::path program =
      e2e::copyLauncher(machine, machine.root() / stage::pathOf("運"));
  stage::writeFile(program.parent_path() / "launcher.ini", "receipt=r\ndata=d\ndryrun=1\n");
  stage::RunOptions options;
  stage::LauncherRun run(program, {}, options);
  EXPECT_EQ(run.wait().exitCode, 0U);
}

}  // namespace
