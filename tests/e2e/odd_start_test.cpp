// Full runs on machines that are put up in an odd way: a start without any standard handle, a
// folder that may not be read, a registry value without its end.

#include <gtest/gtest.h>

#include <windows.h>

#include "tests/e2e/full_run.h"
#include "tests/unix_shell.h"

namespace {

using e2e::Lines;
using e2e::maskedLog;
using stage::textOf;

class OddStart : public e2e::FullRunTest {};

// As a program without a console starts others: nothing to read from, nothing to write to.
TEST_F(OddStart, aRunWithoutStandardHandlesIsAWholeRun) {
  machine.writeIni(settings);
  machine.setGame(machine.playsRun(stage::finishedRun().text()));
  machine.startGame();
  EXPECT_EQ(stage::runAndWait(machine.launcher(), {}, 60000), 0);
  EXPECT_EQ(e2e::maskedLines(machine.logBytes()),
            wholeLog({.receipt = archived(e2e::kFinishedSummary), .result = queued()}));
}

TEST_F(OddStart, aFolderOfThePackageThatNobodyMayReadIsLeftOut) {
  if (!unix_shell::available()) GTEST_SKIP() << "rights are taken away below Wine only";
  set("install_from", textOf(machine.package()));
  machine.writePackage();
  const std::filesystem::path locked = machine.package() / "a locked one";
  stage::writeFile(locked / "file.txt", "x");
  const auto allow = [&](const std::string& mode) {
    const auto done = unix_shell::run(
        machine.root(), "chmod " + mode + " '" + unix_shell::pathOf(locked) + "'");
    return done && done->exitCode == 0;
  };
  ASSERT_TRUE(allow("000"));
  if (stage::pathExists(locked / "file.txt")) {
    EXPECT_TRUE(allow("755"));
    GTEST_SKIP() << "this machine's user may read everything";
  }
  const std::string game = textOf(machine.gameFolder());
  EXPECT_EQ(maskedLog(play()),
            wholeLog({.install = {
                          e2e::kInstalling,
                          "installed 1 files into " + game + "\\ue4ss\\Mods\\KOVWeekly\\Scripts",
                          "installed 1 files into " + game + "\\ue4ss\\Mods\\KOVWeekly",
                          "installed 1 files into " + game + "\\ue4ss",
                          "installed 1 files into " + game,
                          e2e::kModVerified}}));
  EXPECT_FALSE(stage::pathExists(machine.gameFolder() / "a locked one"));
  EXPECT_TRUE(allow("755"));
}

// The longest SteamPath that is read: it fills the buffer, so no zero follows it.
TEST_F(OddStart, aSteamPathOf520BytesWithoutAnEndIsReadWhole) {
  machine.installSteam();
  std::string path = stage::replaceAll(textOf(machine.steamFolder()), "\\", "/") + "/";
  while (path.size() < 259) path += "./";
  path.resize(260, '/');
  machine.setSteamPath(path);  // puts back at the end what was there
  HKEY key = nullptr;
  ASSERT_EQ(RegOpenKeyExW(HKEY_CURRENT_USER, L"Software\\Valve\\Steam", 0, KEY_WRITE, &key), 0);
  // A zero right after the bytes would be taken along.
  const std::wstring value = stage::toWide(path + "x");
  EXPECT_EQ(RegSetValueExW(key, L"SteamPath", 0, REG_SZ,
                           reinterpret_cast<const BYTE*>(value.data()), 520),
            0);
  RegCloseKey(key);
  set("steam", "");
  set("game", "");
  set("dryrun", "1");
  machine.writeLibraryFolders();
  machine.writeIni(settings);
  const stage::RunResult run = machine.runLauncher();
  const std::string steam = stage::replaceAll(path, "/", "\\") + "\\steam.exe";
  const std::string game = textOf(stage::Stage::gameExeIn(machine.root() / "lib2"));
  EXPECT_EQ(run.logLines(),
            (Lines{e2e::kStartLine, "steam detected: " + steam, "game detected: " + game,
                   "DRYRUN steam=" + steam, "DRYRUN game=" + game,
                   "DRYRUN receipt=" + textOf(machine.receipt()),
                   "DRYRUN data=" + textOf(machine.data()), "DRYRUN livesplit=",
                   "DRYRUN install_from=", "DRYRUN steam_id= persona="}));
}

TEST_F(OddStart, aSteamPathOfAnotherTypeIsReadAllTheSame) {
  machine.setSteamPath("x:/steam");  // put back at the end
  const std::wstring value = L"x:/as/bytes";
  ASSERT_EQ(RegSetKeyValueW(HKEY_CURRENT_USER, L"Software\\Valve\\Steam", L"SteamPath", REG_BINARY,
                            value.c_str(),
                            static_cast<DWORD>((value.size() + 1) * sizeof(wchar_t))),
            ERROR_SUCCESS);
  set("steam", "");
  set("game", "");
  set("dryrun", "1");
  machine.writeIni(settings);
  const stage::RunResult run = machine.runLauncher();
  ASSERT_GE(run.logLines().size(), 3U);
  EXPECT_EQ(run.logLines()[1], "steam detected: x:\\as\\bytes\\steam.exe");
  EXPECT_EQ(run.logLines()[2], e2e::kGameNotFound);
}

}  // namespace
