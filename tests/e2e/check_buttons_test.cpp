// The companion's buttons where what they write to does not let them: folders that refuse, disks
// that are full, files that another program holds. Each says so and leaves everything as it was.

#include <gtest/gtest.h>

#include <windows.h>

#include <filesystem>
#include <string>

#include "check/actions.h"
#include "check/report.h"
#include "tests/e2e/full_run.h"
#include "tests/e2e/small_disk.h"

namespace e2e {
namespace {

namespace fs = std::filesystem;
namespace check = launcher::check;
using check::ActionResult;
using check::Language;
using stage::textOf;

constexpr DWORD kNobodyElse = 0;
constexpr char kFile[] = "receipt_20250301_214502.json";

class CheckButtons : public ::testing::Test {
 protected:
  CheckButtons() {
    SetEnvironmentVariableW(L"LOCALAPPDATA", machine.local().c_str());
    machine.putUpStandardMachine(server.url());
  }

  /// The machine as its launcher in this folder finds it; in the stage's own without one.
  check::Machine look(const fs::path& folder) {
    return check::readMachineAt(folder.wstring() + L"\\");
  }
  check::Machine look() { return look(machine.app()); }

  /// Adds settings to the standard ones.
  void set(const stage::Ini& more) {
    stage::Ini ini = machine.standardIni(server.url());
    ini.insert(ini.end(), more.begin(), more.end());
    machine.writeIni(ini);
  }

  /// A finished run in the data folder that the log shows as never sent.
  void leaveRun(const fs::path& data) {
    stage::writeFile(data / "receipts" / kFile, run);
    stage::writeFile(machine.log(), std::string(kStartLine) +
                                        "\r\nstage: launching game\r\nreceipt archived: " +
                                        textOf(data) + "\\receipts\\" + kFile +
                                        "\r\nstage: uploading\r\n");
  }
  check::RunRow neverSent() {
    const check::RunRows rows = check::readRuns(look(), Language::english);
    EXPECT_EQ(rows.size(), 1U);
    EXPECT_EQ(rows.at(0).fate, check::Fate::neverSent);
    return rows.at(0);
  }

  static void expectRefused(const ActionResult& result, const std::string& name) {
    EXPECT_FALSE(result.done);
    EXPECT_EQ(result.text, name + " cannot be written: the folder refuses it, or another program "
                                  "has the file open.");
  }

  stage::Stage machine{"chb"};
  stage::RaceServer server;
  const std::string run = stage::finishedRun().text();
};

// The game's path ----------------------------------------------------------------------------

TEST_F(CheckButtons, gameInAFolderThatRefuses) {
  const fs::path folder = machine.root() / "ro";
  SmallDisk disk(folder);
  if (const std::string why = disk.mount("size=64k"); !why.empty()) GTEST_SKIP() << why;
  fs::copy_file(machine.app() / "launcher.ini", folder / "launcher.ini");
  const std::string before = stage::readFile(folder / "launcher.ini").value_or("");
  disk.makeReadOnly();
  expectRefused(check::writeGame(look(folder), machine.gameExe().wstring(), Language::english),
                "launcher.ini");
  EXPECT_EQ(stage::readFile(folder / "launcher.ini"), before);
  EXPECT_EQ(stage::listFolder(folder), Lines{"launcher.ini"});
}

TEST_F(CheckButtons, gameOnAFullDisk) {
  const fs::path folder = machine.root() / "full";
  SmallDisk disk(folder);
  if (const std::string why = disk.mount("size=64k"); !why.empty()) GTEST_SKIP() << why;
  fs::copy_file(machine.app() / "launcher.ini", folder / "launcher.ini");
  const std::string before = stage::readFile(folder / "launcher.ini").value_or("");
  disk.fill();
  expectRefused(check::writeGame(look(folder), machine.gameExe().wstring(), Language::english),
                "launcher.ini");
  EXPECT_EQ(stage::readFile(folder / "launcher.ini"), before);
  EXPECT_EQ(stage::listFolder(folder), (Lines{"filler.bin", "launcher.ini"}));
}

TEST_F(CheckButtons, gameInSettingsThatNobodyElseMayRead) {
  const std::string before = stage::readFile(machine.app() / "launcher.ini").value_or("");
  const check::Machine seen = look();
  {
    const HeldFile held(machine.app() / "launcher.ini", kNobodyElse);
    expectRefused(check::writeGame(seen, machine.gameExe().wstring(), Language::english),
                  "launcher.ini");
  }
  EXPECT_EQ(stage::readFile(machine.app() / "launcher.ini"), before);
}

// LiveSplit's server ---------------------------------------------------------------------------

TEST_F(CheckButtons, timerServerInAFolderThatRefuses) {
  const fs::path folder = machine.root() / "ro";
  SmallDisk disk(folder);
  if (const std::string why = disk.mount("size=64k"); !why.empty()) GTEST_SKIP() << why;
  const std::string before = stage::liveSplitSettings({"C:\\older.lsl"});
  stage::writeFile(folder / "settings.cfg", before);
  stage::writeFile(folder / "LiveSplit.exe", "MZ");
  set({{"livesplit", textOf(folder / "LiveSplit.exe")}});
  disk.makeReadOnly();
  expectRefused(check::startTimerServer(look(), Language::english), "settings.cfg");
  EXPECT_EQ(stage::readFile(folder / "settings.cfg"), before);
  EXPECT_EQ(stage::listFolder(folder), (Lines{"LiveSplit.exe", "settings.cfg"}));
}

TEST_F(CheckButtons, timerServerInSettingsThatNobodyElseMayRead) {
  const fs::path config = machine.liveSplitFolder() / "settings.cfg";
  const std::string before = stage::readFile(config).value_or("");
  {
    const HeldFile held(config, kNobodyElse);
    expectRefused(check::startTimerServer(look(), Language::english), "settings.cfg");
  }
  EXPECT_EQ(stage::readFile(config), before);
  EXPECT_FALSE(stage::pathExists(machine.liveSplitFolder() / "settings.cfg.kov-backup"));
}

// The queue --------------------------------------------------------------------------------------

TEST_F(CheckButtons, queueInAFolderThatRefuses) {
  const fs::path data = machine.root() / "ro";
  SmallDisk disk(data);
  if (const std::string why = disk.mount("size=64k"); !why.empty()) GTEST_SKIP() << why;
  set({{"data", textOf(data)}});
  leaveRun(data);
  disk.makeReadOnly();
  expectRefused(check::putIntoQueue(look(), neverSent(), Language::english), "pending");
  EXPECT_EQ(stage::listFolder(data), Lines{std::string("receipts\\") + kFile});
  EXPECT_EQ(stage::readFile(data / "receipts" / kFile), run);
}

// An empty entry would never be sent, and would look like one that waits.
TEST_F(CheckButtons, queueOnAFullDisk) {
  const fs::path data = machine.root() / "full";
  SmallDisk disk(data);
  if (const std::string why = disk.mount("size=64k"); !why.empty()) GTEST_SKIP() << why;
  set({{"data", textOf(data)}});
  leaveRun(data);
  disk.fill();
  expectRefused(check::putIntoQueue(look(), neverSent(), Language::english), "pending");
  EXPECT_EQ(stage::listFolder(data / "pending"), Lines{});
  EXPECT_EQ(stage::readFile(data / "receipts" / kFile), run);
}

TEST_F(CheckButtons, queueOfARunThatNobodyElseMayRead) {
  leaveRun(machine.data());
  const check::RunRow row = neverSent();
  {
    const HeldFile held(machine.data() / "receipts" / kFile, kNobodyElse);
    const ActionResult result = check::putIntoQueue(look(), row, Language::english);
    EXPECT_FALSE(result.done);
    EXPECT_EQ(result.text, "This receipt cannot be read, or reached no ending.");
  }
  EXPECT_FALSE(stage::pathExists(machine.data() / "pending"));
  EXPECT_TRUE(check::putIntoQueue(look(), row, Language::english).done);
}

TEST_F(CheckButtons, sendingAnEntryThatNobodyElseMayRead) {
  const fs::path entry = machine.data() / "pending" / "p_20250301_214502.json";
  stage::writeFile(entry, run);
  {
    const HeldFile held(entry, kNobodyElse);
    const ActionResult result = check::resendQueue(look(), Language::english);
    EXPECT_FALSE(result.done);
    EXPECT_EQ(result.text, "0 of 1 sent and accepted.");
  }
  EXPECT_TRUE(server.requests("POST", "/submit").empty());
  EXPECT_EQ(stage::readFile(entry), run);
}

// What was accepted and cannot be removed goes out again; page 2 says that it waits.
TEST_F(CheckButtons, sendingAnEntryThatCannotBeRemoved) {
  const fs::path entry = machine.data() / "pending" / "p_20250301_214502.json";
  stage::writeFile(entry, run);
  const HeldFile held(entry, FILE_SHARE_READ);
  const ActionResult result = check::resendQueue(look(), Language::english);
  EXPECT_TRUE(result.done);
  EXPECT_EQ(result.text, "1 of 1 sent and accepted.");
  EXPECT_EQ(stage::readFile(entry), run);
  EXPECT_EQ(check::queuedRuns(look()), 1);
}

// The support file --------------------------------------------------------------------------------

TEST_F(CheckButtons, supportFileInAFolderThatRefuses) {
  const fs::path folder = machine.root() / "ro";
  SmallDisk disk(folder);
  if (const std::string why = disk.mount("size=64k"); !why.empty()) GTEST_SKIP() << why;
  disk.makeReadOnly();
  const fs::path file = folder / "kov_support.txt";
  expectRefused(check::writeSupportFile(file.wstring(), "text\r\n", Language::english),
                textOf(file));
  EXPECT_EQ(stage::listFolder(folder), Lines{});
}

TEST_F(CheckButtons, supportFileThatAnotherProgramHolds) {
  const fs::path file = machine.root() / "kov_support.txt";
  stage::writeFile(file, "older\r\n");
  for (const DWORD share : {kNobodyElse, static_cast<DWORD>(FILE_SHARE_READ)}) {
    const HeldFile held(file, share);
    expectRefused(check::writeSupportFile(file.wstring(), "text\r\n", Language::english),
                  textOf(file));
  }
  EXPECT_EQ(stage::readFile(file), "older\r\n");
}

// The mark ------------------------------------------------------------------------------------------

TEST_F(CheckButtons, markOfAProgramThatAnotherProgramHolds) {
  const fs::path mark = machine.launcher().wstring() + L":Zone.Identifier";
  {
    const HANDLE file = CreateFileW(mark.c_str(), GENERIC_WRITE, 0, nullptr, CREATE_ALWAYS, 0,
                                    nullptr);
    if (file == INVALID_HANDLE_VALUE) GTEST_SKIP() << "this drive keeps no marks (a file system without streams)";
    CloseHandle(file);
  }
  {
    const HeldFile held(mark, FILE_SHARE_READ);
    expectRefused(check::removeMarks(look(), Language::english), textOf(machine.app()) + "\\");
  }
  EXPECT_TRUE(check::removeMarks(look(), Language::english).done);
  EXPECT_FALSE(stage::pathExists(mark));
}

// While LiveSplit runs ---------------------------------------------------------------------------------

// Its own settings alone wait for its end.
TEST_F(CheckButtons, everythingElseCanBeDoneWhileLivesplitRuns) {
  const fs::path config = machine.liveSplitFolder() / "settings.cfg";
  const std::string before = stage::readFile(config).value_or("");
  leaveRun(machine.data());
  machine.startLiveSplit();
  EXPECT_TRUE(check::writeGame(look(), machine.gameExe().wstring(), Language::english).done);
  EXPECT_TRUE(check::putIntoQueue(look(), neverSent(), Language::english).done);
  EXPECT_TRUE(check::resendQueue(look(), Language::english).done);
  EXPECT_TRUE(check::writeSupportFile((machine.root() / "kov_support.txt").wstring(), "text",
                                      Language::english)
                  .done);
  const ActionResult refused = check::startTimerServer(look(), Language::english);
  EXPECT_FALSE(refused.done);
  EXPECT_EQ(refused.text,
            "LiveSplit runs and would write its old settings back when it closes. Close it first.");
  EXPECT_EQ(stage::readFile(config), before);
  machine.endLiveSplit();
  EXPECT_TRUE(check::startTimerServer(look(), Language::english).done);
}

}  // namespace
}  // namespace e2e
