// The launcher on a disk that fails it: folders that are missing, read-only, full or files,
// files that are folders or held by somebody else, names of every kind. It goes on to its end,
// and a finished run is still there afterwards, in the receipt at least.

#include <gtest/gtest.h>

#include <windows.h>

#include <filesystem>
#include <string>

#include "rehearsal/stage/stage.h"
#include "tests/e2e/full_run.h"
#include "tests/e2e/small_disk.h"

namespace e2e {
namespace {

namespace fs = std::filesystem;
using stage::Reply;
using stage::textOf;

constexpr DWORD kNobodyElse = 0;

/// A machine whose game leaves a finished run that the server refuses.
class DiskFault : public FullRunTest {
 protected:
  DiskFault() {
    // A progress card that finds no upload.state does not hold up the test.
    stage::CardScript card;
    card.progressLimitMs = 50;
    machine.installCard(card);
    machine.writeReceipt(receipt_);
    server.answer("GET", "*", Reply::text("{\"rows\":[]}"));
    server.answer("POST", "*", Reply::json(kRefusal));
    withServer();
  }

  /// The run is where the game left it, and a server that is willing gets it by hand.
  void expectRunStillThere() {
    EXPECT_EQ(stage::readFile(machine.receipt()), receipt_);
    stage::RaceServer willing;
    willing.answer("POST", "/submit", Reply::json(kAccepted));
    set("server", willing.url());
    machine.writeIni(settings);
    EXPECT_EQ(machine.runLauncher("--upload").exitCode, 0U);
    EXPECT_EQ(bodies(willing, "/submit"), Lines{payload("runner", receipt_)});
  }

  const std::string receipt_ = stage::finishedRun().text();
};

// --- the data folder ------------------------------------------------------------------------

TEST_F(DiskFault, readOnlyDataFolder) {
  const fs::path folder = machine.root() / "ro";
  SmallDisk disk(folder);
  if (const std::string why = disk.mount("size=64k"); !why.empty()) GTEST_SKIP() << why;
  stage::writeFile(folder / "week.json", "{\"seed\": 4711}");
  stage::writeFile(folder / "pending" / "p_20261114_210000.json", "{\"old\":1}");
  disk.makeReadOnly();
  set("data", textOf(folder));
  const Lines kept = stage::listFolder(folder);
  EXPECT_EQ(maskedLog(play()), wholeLog({.weekly = weeklyUnreachable({"weekly seed = 4711"}),
                                         .flush = {"pending flushed: 0"},
                                         .receipt = {"failed to archive receipt"},
                                         .upload = judged(kRefusal),
                                         .result = {kQueueing, kNotDelivered, kCardFail}}));
  EXPECT_EQ(stage::listFolder(folder), kept);
  expectRunStillThere();
}

// Whether the bytes arrived is asked nowhere, so the log speaks of an archive and of a queued
// run that are empty. The game's own receipt is what is left then.
TEST_F(DiskFault, fullDataFolder) {
  const fs::path folder = machine.root() / "full";
  SmallDisk disk(folder);
  if (const std::string why = disk.mount("size=64k"); !why.empty()) GTEST_SKIP() << why;
  stage::writeFile(folder / "week.json", std::string(100, 'w'));
  set("data", textOf(folder));
  disk.fill();
  EXPECT_EQ(maskedLog(play()),
            wholeLog({.weekly = weeklyUpdated({}),
                      .receipt = archived(kFinishedSummary, textOf(folder)),
                      .upload = judged(kRefusal),
                      .result = queued(textOf(folder))}));
  // The old copy's page is used again for the first file that comes; the others are empty.
  EXPECT_EQ(stage::readFile(folder / "week.json"), "{\"rows\":[]}");
  EXPECT_EQ(stage::readFile(folder / "leaderboard.json"), "");
  for (const char* name : {"receipts", "pending"}) {
    const Lines files = stage::listFolder(folder / name);
    ASSERT_EQ(files.size(), 1U) << name;
    EXPECT_EQ(stage::readFile(folder / name / files[0]), "") << name;
  }
  expectRunStillThere();

  // An empty entry is never sent.
  const std::size_t before = server.requests("POST", "/submit").size();
  withServer();
  (void)play();
  EXPECT_EQ(server.requests("POST", "/submit").size(), before);
}

// --- files that somebody else holds ---------------------------------------------------------

TEST_F(DiskFault, receiptThatAnotherProgramHolds) {
  {
    const HeldFile held(machine.receipt(), kNobodyElse);
    EXPECT_EQ(maskedLog(play()),
              wholeLog({.weekly = weeklyUpdated({}), .upload = kNothingToUpload}));
  }
  expectRunStillThere();
}

TEST_F(DiskFault, stateFilesThatAnotherProgramHoldsStayAsTheyAre) {
  const Lines names = {"launch.state", "upload.state", "timer.enabled", "board.toggle"};
  for (const std::string& name : names) stage::writeFile(machine.data() / name, "old");
  {
    // Others may read them, as the game's overlay does.
    const HeldFile first(machine.data() / names[0], FILE_SHARE_READ);
    const HeldFile second(machine.data() / names[1], FILE_SHARE_READ);
    const HeldFile third(machine.data() / names[2], FILE_SHARE_READ);
    const HeldFile fourth(machine.data() / names[3], FILE_SHARE_READ);
    EXPECT_EQ(maskedLog(play()), wholeLog({.weekly = weeklyUpdated({}),
                                           .receipt = archived(kFinishedSummary),
                                           .upload = judged(kRefusal),
                                           .result = queued()}));
  }
  for (const std::string& name : names) EXPECT_EQ(machine.dataFile(name), "old") << name;
  expectRunStillThere();
}

// --- the program folder ---------------------------------------------------------------------

class DiskFaultProgram : public UploadTest {
 protected:
  DiskFaultProgram() { machine.writeReceipt(stage::finishedRun().text()); }

  /// The console of a run that went well.
  static std::string acceptedConsole() {
    Lines lines = uploadLog(judged(kAccepted), true);
    const std::string last = lines.back();
    lines.pop_back();
    return asWritten(lines) + "\r\n上传成功\r\n" + last + "\r\n";
  }
};

TEST_F(DiskFaultProgram, logThatAnotherProgramHolds) {
  stage::writeFile(machine.log(), "an earlier run\r\n");
  stage::RunResult run;
  {
    const HeldFile held(machine.log(), kNobodyElse);
    run = upload();
  }
  EXPECT_EQ(run.exitCode, 0U);
  EXPECT_EQ(run.console, acceptedConsole());
  EXPECT_EQ(machine.logBytes(), "an earlier run\r\n");
}

TEST_F(DiskFaultProgram, fullDiskUnderTheLog) {
  const fs::path folder = machine.root() / "fullapp";
  SmallDisk disk(folder);
  // The program itself has to fit; what is left is filled.
  const std::uintmax_t pages = fs::file_size(machine.launcher()) / 4096 + 16;
  if (const std::string why = disk.mount("size=" + std::to_string(pages * 4) + "k");
      !why.empty()) {
    GTEST_SKIP() << why;
  }
  const fs::path program = copyLauncher(machine, folder);
  machine.writeIni(settings);
  fs::copy_file(machine.app() / "launcher.ini", folder / "launcher.ini");
  stage::writeFile(folder / "launcher.log", "");
  disk.fill();
  stage::LauncherRun launcher(program, "--upload", {});
  const stage::RunResult run = launcher.wait();
  EXPECT_FALSE(run.hang);
  EXPECT_EQ(run.exitCode, 0U);
  EXPECT_EQ(run.console, acceptedConsole());
  EXPECT_EQ(stage::readFile(folder / "launcher.log"), "");
}

// --- names ----------------------------------------------------------------------------------

/// Folders whose names make trouble, each as the folder above receipt, data and program.
class DiskNames : public DiskFault {
 protected:
  /// A whole run that is refused and then one by hand that is accepted, all below `name`.
  void playBelow(const std::string& name) { playBelow(name, name); }
  /// On the disk the folder has another name.
  void playBelow(const std::string& name, const std::string& nameOnDisk) {
    const fs::path folder = machine.root() / stage::pathOf(nameOnDisk);
    const fs::path data = folder / "data";
    stage::writeFile(folder / "receipt.json", receipt_);
    const std::string here = stage::toAnsi(textOf(machine.root()) + "\\" + name);
    set("receipt", here + "\\receipt.json");
    set("data", here + "\\data");
    withServer();
    // Paths stand in the log as in the settings: in bytes of the ANSI code page.
    EXPECT_EQ(maskedLog(play()),
              wholeLog({.weekly = weeklyUpdated({}),
                        .receipt = archived(kFinishedSummary, here + "\\data"),
                        .upload = judged(kRefusal),
                        .result = queued(here + "\\data")}));
    EXPECT_EQ(stage::listFolder(data / "receipts").size(), 1U);
    EXPECT_EQ(textsIn(data / "pending"), Lines{receipt_});
    EXPECT_EQ(stage::readFile(data / "upload.state"), "fail");
    EXPECT_EQ(stage::readFile(data / "board.tsv"), "{\"rows\":[]}");

    stage::RaceServer willing;
    willing.answer("POST", "/submit", Reply::json(kAccepted));
    set("server", willing.url());
    machine.writeIni(settings);
    EXPECT_EQ(machine.runLauncher("--upload").exitCode, 0U);
    EXPECT_FALSE(stage::pathExists(folder / "receipt.json"));
  }
};

TEST_F(DiskNames, charactersOfACommandLine) { playBelow("a & b (1), [2]; #3 ^$!=+~`@{}"); }

class DiskNamesCp936 : public DiskNames {};

// Characters whose second byte is a backslash.
TEST_F(DiskNamesCp936, chineseWithBackslashBytes) {
  ASSERT_EQ(stage::ansiCodePage(), 936U);
  const std::string name = "誠實";
  ASSERT_NE(stage::toAnsi(name).find('\\'), std::string::npos);
  playBelow(name);
}

// Windows drops the dots after each name of a path, and so finds what it wrote.
TEST_F(DiskNames, dotsAtTheEnd) { playBelow("race.", "race"); }

// --- lengths --------------------------------------------------------------------------------

/// Removes a folder with all that is in it, also beyond 260 characters, where the C++
/// library's own way ends.
void removeLong(const std::wstring& folder) {
  WIN32_FIND_DATAW found;
  const HANDLE listing = FindFirstFileW((folder + L"\\*").c_str(), &found);
  if (listing == INVALID_HANDLE_VALUE) return;
  do {
    const std::wstring name = found.cFileName;
    if (name == L"." || name == L"..") continue;
    if ((found.dwFileAttributes & FILE_ATTRIBUTE_DIRECTORY) != 0) {
      removeLong(folder + L"\\" + name);
    } else {
      (void)DeleteFileW((folder + L"\\" + name).c_str());
    }
  } while (FindNextFileW(listing, &found));
  FindClose(listing);
  (void)RemoveDirectoryW(folder.c_str());
}

class DiskPaths : public DiskNames {
 protected:
  ~DiskPaths() override {
    removeLong(L"\\\\?\\" + (machine.root() / std::string(150, 'n')).wstring());
  }

  /// A folder name with which a path below the stage has this length.
  [[nodiscard]] std::string nameFor(std::size_t length, const std::string& rest) const {
    const std::size_t others = textOf(machine.root()).size() + 1 + rest.size();
    std::string name(length - others, 'n');
    if (name.size() > 200) name[150] = '\\';  // no single name may be that long
    return name;
  }
};

// 259 characters are what Windows takes without more ado.
TEST_F(DiskPaths, longestArchiveAndReceipt) {
  playBelow(nameFor(259, "\\data\\receipts\\receipt_YYYYMMDD_hhmmss.json"));
}

// Beyond that Windows refuses; Wine knows no such limit.
TEST_F(DiskPaths, receiptBeyond) {
  const fs::path folder = machine.root() / nameFor(300, "\\receipt.json");
  fs::create_directories(folder);
  const fs::path receipt = folder / "receipt.json";
  fs::rename(machine.receipt(), receipt);
  set("receipt", textOf(receipt));
  const Lines log = maskedLog(play());
  EXPECT_EQ(stage::readFile(receipt), receipt_);
  if (stage::runsUnderWine()) {
    EXPECT_EQ(log, wholeLog({.weekly = weeklyUpdated({}),
                             .receipt = archived(kFinishedSummary),
                             .upload = judged(kRefusal),
                             .result = queued()}));
  } else {
    EXPECT_EQ(log, wholeLog({.weekly = weeklyUpdated({}),
                             .receipt = {"no receipt file found at " + textOf(receipt)},
                             .upload = kNothingToUpload}));
  }
}

// A program whose own path is longer starts neither on Windows nor under Wine.
class DiskPathsProgram : public DiskPaths {
 protected:
  /// `--upload` by a launcher whose own path has this length.
  stage::RunResult uploadFrom(std::size_t length) {
    folder_ = machine.root() / nameFor(length, "\\launcher.exe");
    const fs::path program = copyLauncher(machine, folder_);
    machine.writeIni(settings);
    fs::copy_file(machine.app() / "launcher.ini", folder_ / "launcher.ini");
    stage::LauncherRun run(program, "--upload", {});
    const stage::RunResult result = run.wait();
    EXPECT_FALSE(result.hang);
    return result;
  }

  fs::path folder_;
};

TEST_F(DiskPathsProgram, longestOfItsOwn) {
  server.clearAnswers();
  server.answer("POST", "/submit", Reply::json(kAccepted));
  const stage::RunResult run = uploadFrom(259);
  EXPECT_EQ(run.exitCode, 0U);
  EXPECT_EQ(run.logLines(), uploadLog(judged(kAccepted), true));
}

}  // namespace
}  // namespace e2e
