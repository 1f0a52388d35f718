// The launcher killed in the middle of a full run, and what becomes of the run: whether the race
// server gets it when the launcher is started again, never, or twice. Every point is played on the
// machine in memory (tests/run/stops.h); here a handful of real kills checks it, and what the
// player can still do by hand.
//
// The run is played under a debugger that stops it before every step that leaves a trace (see
// stop_points.h), and killed at the first stop at which log, disk or server are as a test wants.

#include <gtest/gtest.h>

#include <windows.h>

#include <algorithm>
#include <cstdint>
#include <cstdio>
#include <filesystem>
#include <functional>
#include <memory>
#include <optional>
#include <sstream>
#include <string>
#include <vector>

#include "check/actions.h"
#include "check/report.h"
#include "rehearsal/stage/stage.h"
#include "tests/e2e/stop_points.h"
#include "tests/e2e/support.h"

namespace e2e {
namespace {

namespace fs = std::filesystem;

// Each run is known by the seed in its receipt.
constexpr char kRunSeed[] = "1001";     // played while the launcher is killed
constexpr char kQueuedSeed[] = "1002";  // queued by an earlier start
constexpr char kOtherSeed[] = "1003";   // played after the kill

std::string runWithSeed(const char* seed) {
  stage::Receipt run = stage::finishedRun();
  run.seed = seed;
  return run.text();
}

/// What a run meets.
struct World {
  bool serverUp = true;    ///< until the kill; afterwards it always is
  bool modResult = false;  ///< the game writes kovw_result.json beside the receipt
};

/// What the player does after the kill.
enum class Restart {
  nothingNew,            ///< starts the launcher; the game appears and closes without a receipt
  anotherRun,            ///< starts the launcher and finishes another run
  uploadOnly,            ///< starts it with --upload
  anotherRunThenQueued,  ///< finishes another run, then queues by hand what was never sent
};

class Interruption : public ::testing::Test {
 protected:
  Interruption() {
    SetEnvironmentVariableW(L"LOCALAPPDATA", machine.local().c_str());
    port = stage::RaceServer().port();
    machine.putUpStandardMachine("http://127.0.0.1:" + std::to_string(port));
    machine.setLiveSplit(
        {.phase = "Ended", .finalTime = 754.6, .lastSplit = 754.6, .currentTime = 754.6});
    machine.startLiveSplit();
  }

  /// The machine as it was before the first start, with one run in the queue.
  void reset(const World& world) {
    endPrograms();
    server.reset();
    fs::remove_all(machine.data());
    fs::remove(machine.receipt());
    fs::remove(machine.log());
    fs::remove(machine.gameFolder() / "dwmapi.dll");
    fs::remove_all(machine.gameFolder() / "ue4ss");
    stage::writeFile(machine.liveSplitFolder() / "settings.cfg",
                     stage::liveSplitSettings({"C:\\older.lsl"}));
    stage::writeFile(machine.data() / "pending" / "p_20261114_201500.json",
                     runWithSeed(kQueuedSeed));
    machine.setGame(playing(kRunSeed, world.modResult));
    if (world.serverUp) startServer();
  }

  [[nodiscard]] stage::GameScript playing(const char* seed, bool modResult = false) const {
    stage::GameScript script = machine.playsRun(runWithSeed(seed));
    script.waitMs = 0;
    if (modResult) script.writes.push_back({machine.modResult(), runWithSeed(seed)});
    return script;
  }

  void startServer() {
    if (!server)
      server = std::make_unique<stage::RaceServer>(stage::RaceServer::Options{.port = port});
  }

  void endPrograms() {
    for (const fs::path& folder : {machine.steamFolder(), machine.gameFolder(), machine.app()}) {
      for (const stage::RunningProcess& one : stage::processesBelow(folder)) {
        stage::endProcess(one.id);
      }
    }
  }

  [[nodiscard]] int accepted(const char* seed) const {
    if (!server) return 0;
    const auto submitted = server->requests("POST", "/submit");
    return static_cast<int>(
        std::count_if(submitted.begin(), submitted.end(), [&](const stage::Request& request) {
          return request.body.find(std::string("\"seed\":") + seed) != std::string::npos;
        }));
  }

  /// Whether a later start finds the run and sends it.
  [[nodiscard]] bool willBeSent(const char* seed) const {
    Lines sent = textsIn(machine.data() / "pending");
    for (const fs::path& file : {machine.receipt(), machine.modResult()}) {
      sent.push_back(stage::readFile(file).value_or(""));
    }
    return std::any_of(sent.begin(), sent.end(), [&](const std::string& text) {
      return text.find(std::string("\"seed\":") + seed) != std::string::npos;
    });
  }

  StoppedRun runWithStops(const StopPoints::Decide& decide) {
    StopPoints run(machine.launcher(), machine.root() / "console.txt");
    const StoppedRun result = run.work(decide);
    EXPECT_FALSE(result.hang);
    return result;
  }

  /// Every line that has reached the console is in the log.
  void expectLogBesideConsole() const {
    std::string console = stage::readFile(machine.root() / "console.txt").value_or("");
    for (const char* print : {kTimerLoading, kEnterPrompt}) {
      console = stage::replaceAll(console, print, "");
    }
    EXPECT_TRUE(machine.logBytes().starts_with(console)) << console;
  }

  /// Plays the scene and kills the launcher at the first stop at which the log (or anything
  /// else) is as wished.
  void killWhen(const World& world, const std::function<bool(const std::string& log)>& wished) {
    reset(world);
    std::string log;
    const StoppedRun run = runWithStops([&](const Stop&) {
      log = machine.logBytes();
      expectLogBesideConsole();
      return wished(log);
    });
    EXPECT_TRUE(run.killed);
    EXPECT_EQ(machine.logBytes(), log);
  }

  /// What the killed launcher had started goes on by itself.
  void letGameGoOn() {
    ASSERT_TRUE(stage::waitForNoProcess("steam.exe"));
    if (machine.dataFile("launch.state") == "playing") {
      ASSERT_TRUE(stage::waitForNoProcess("Backrooms-Win64-Shipping.exe"));
    }
  }

  /// Copies of receipts are named by the second; two real runs never lie within one.
  static void waitForNextSecond() {
    SYSTEMTIME start;
    SYSTEMTIME now;
    GetLocalTime(&start);
    do {
      Sleep(10);
      GetLocalTime(&now);
    } while (now.wSecond == start.wSecond);
  }

  /// Starts the launcher again. A run that was not finished yet is finished now.
  stage::RunResult startAgain(Restart how) {
    startServer();
    letGameGoOn();
    const bool finished = accepted(kRunSeed) > 0 || willBeSent(kRunSeed);
    if (how == Restart::uploadOnly) return machine.runLauncher("--upload");
    if (finished) {
      const bool plays = how == Restart::anotherRun || how == Restart::anotherRunThenQueued;
      machine.setGame(plays ? playing(kOtherSeed)
                            : stage::GameScript{.waitsForLauncher = true, .waitMs = 0});
    }
    if (how == Restart::anotherRunThenQueued) waitForNextSecond();
    if (stage::findProcesses("Backrooms-Win64-Shipping.exe").empty()) machine.startGame();
    stage::RunResult run = machine.runLauncher();
    EXPECT_FALSE(run.hang);
    EXPECT_EQ(run.exitCode, 0U);
    EXPECT_TRUE(run.hasLogLine(kDoneLine));
    if (how == Restart::anotherRunThenQueued) queueWhatWasNeverSent();
    return run;
  }

  /// What the companion's two buttons do, for every run that it says was never sent.
  void queueWhatWasNeverSent() {
    namespace check = launcher::check;
    const check::Machine looked = check::readMachineAt(machine.app().wstring() + L"\\");
    for (const check::RunRow& row : check::readRuns(looked, check::Language::english)) {
      if (row.queueSource.empty()) continue;
      EXPECT_EQ(row.fate, check::Fate::neverSent);
      EXPECT_TRUE(check::putIntoQueue(looked, row, check::Language::english).done);
    }
    (void)check::resendQueue(looked, check::Language::english);
  }

  [[nodiscard]] std::size_t pendingEntries() const {
    return stage::listFolder(machine.data() / "pending").size();
  }
  [[nodiscard]] std::uintmax_t pendingBytes() const {
    std::uintmax_t bytes = 0;
    for (const std::string& text : textsIn(machine.data() / "pending")) bytes += text.size();
    return bytes;
  }
  const std::uintmax_t wholeRun_ = runWithSeed(kRunSeed).size();

  /// The size of the one file in a folder of the data folder; nothing: there is none.
  [[nodiscard]] std::optional<std::uintmax_t> sizeIn(const char* folder) const {
    const Lines names = stage::listFolder(machine.data() / folder);
    if (names.size() != 1) return std::nullopt;
    return fs::file_size(machine.data() / folder / names[0]);
  }
  stage::Stage machine{"int"};
  unsigned short port = 0;
  std::unique_ptr<stage::RaceServer> server;
};

TEST_F(Interruption, gameGoesOnWithoutTheLauncher) {
  reset({});
  machine.setGame(staysAfterRun(machine, runWithSeed(kRunSeed)));
  {
    stage::LauncherRun first = machine.startLauncher();
    ASSERT_TRUE(first.waitForLog("waiting for exit..."));
    ASSERT_TRUE(stage::endProcess(first.processId()));
    const stage::RunResult killed = first.wait();
    EXPECT_EQ(maskedLog(killed).back(), kWaiting);
    EXPECT_EQ(killed.log, killed.console.substr(0, killed.log.size()));
  }
  const stage::RunResult second = runUntilGameEnds(machine);
  EXPECT_FALSE(second.hasLogLine(kSteamStarted));
  EXPECT_TRUE(second.hasLogLine(kDelivered));
  EXPECT_EQ(accepted(kRunSeed), 1);
}

TEST_F(Interruption, killedDuringTheUploadIsDeliveredByUploadMode) {
  killWhen({}, [](const std::string& log) { return log.ends_with(asWritten({kUploading})); });
  const stage::RunResult second = startAgain(Restart::uploadOnly);
  EXPECT_EQ(second.exitCode, 0U);
  EXPECT_EQ(accepted(kRunSeed), 1);
}

TEST_F(Interruption, killedAfterTheAnswerIsSentTwice) {
  killWhen({}, [this](const std::string&) { return accepted(kRunSeed) == 1; });
  EXPECT_FALSE(machine.dataFile("profile_token.txt").has_value());
  (void)startAgain(Restart::nothingNew);
  EXPECT_EQ(accepted(kRunSeed), 2);
  EXPECT_EQ(machine.dataFile("profile_token.txt"), "kq7-4821");
}

TEST_F(Interruption, killedBeforeItIsQueuedIsStillDelivered) {
  killWhen({.serverUp = false},
           [](const std::string& log) { return log.ends_with(asWritten({kQueueing})); });
  const stage::RunResult second = startAgain(Restart::nothingNew);
  EXPECT_TRUE(second.hasLogLine("pending flushed: 1"));  // the one from last week
  EXPECT_EQ(accepted(kQueuedSeed), 1);
  EXPECT_EQ(accepted(kRunSeed), 1);
}

// Without any kill: the queue's copy and the receipt itself are both sent.
TEST_F(Interruption, failedUploadIsSentTwiceWhenNothingNewIsPlayed) {
  reset({.serverUp = false});
  const stage::RunResult first = machine.runLauncher();
  EXPECT_TRUE(first.hasLogLine(kQueueing));
  (void)startAgain(Restart::nothingNew);
  EXPECT_EQ(accepted(kRunSeed), 2);
  EXPECT_FALSE(stage::pathExists(machine.receipt()));
  EXPECT_EQ(stage::listFolder(machine.data() / "pending"), Lines{});
}

// A queued run that the server has, and whose entry is still there.
TEST_F(Interruption, killedBeforeAnEntryIsDeletedSendsItTwice) {
  killWhen({}, [this](const std::string&) { return accepted(kQueuedSeed) == 1; });
  EXPECT_TRUE(willBeSent(kQueuedSeed));
  (void)startAgain(Restart::nothingNew);
  EXPECT_EQ(accepted(kQueuedSeed), 2);
  EXPECT_EQ(accepted(kRunSeed), 1);
}

TEST_F(Interruption, killedWhileAnEntryIsWrittenIsDeliveredFromTheReceipt) {
  killWhen({.serverUp = false}, [this](const std::string& log) {
    return log.find(kQueueing) != std::string::npos && pendingEntries() == 2;
  });
  (void)startAgain(Restart::nothingNew);
  EXPECT_EQ(accepted(kRunSeed), 1);
  EXPECT_EQ(accepted(kQueuedSeed), 1);
}

TEST_F(Interruption, killedBetweenTheTwoFilesOfARunSendsTheOther) {
  killWhen({.modResult = true}, [this](const std::string&) {
    return accepted(kRunSeed) == 1 && !stage::pathExists(machine.modResult());
  });
  EXPECT_TRUE(stage::pathExists(machine.receipt()));
  (void)startAgain(Restart::nothingNew);
  EXPECT_EQ(accepted(kRunSeed), 2);
}

// The game writes the next run's receipt over the last one's. What is whole in the archive by then
// the player can still queue by hand, with the companion's button.
TEST_F(Interruption, killedBeforeTheArchiveIsWholeIsLostWhenAnotherRunIsPlayed) {
  killWhen({}, [this](const std::string&) { return sizeIn("receipts") == 0U; });
  (void)startAgain(Restart::anotherRunThenQueued);
  EXPECT_EQ(accepted(kOtherSeed), 1);
  EXPECT_EQ(accepted(kRunSeed), 0);
  EXPECT_FALSE(willBeSent(kRunSeed));
}

TEST_F(Interruption, killedAfterTheArchiveIsDeliveredByHandWhenAnotherRunIsPlayed) {
  killWhen({}, [this](const std::string&) { return sizeIn("receipts").value_or(0) > 0U; });
  (void)startAgain(Restart::anotherRun);
  EXPECT_EQ(accepted(kOtherSeed), 1);
  EXPECT_EQ(accepted(kRunSeed), 0);
  queueWhatWasNeverSent();
  EXPECT_EQ(accepted(kRunSeed), 1);
}

// Queued already, but killed before the log said so: by hand it is sent once more.
TEST_F(Interruption, killedAfterItWasQueuedIsSentTwiceByHand) {
  killWhen({.serverUp = false}, [this](const std::string& log) {
    return log.find(kQueueing) != std::string::npos && pendingBytes() == 2 * wholeRun_;
  });
  (void)startAgain(Restart::anotherRunThenQueued);
  EXPECT_EQ(accepted(kRunSeed), 2);
  EXPECT_EQ(accepted(kOtherSeed), 1);
}

// ---- while the game runs ---------------------------------------------------------------------

/// Processor time that a process has used, in milliseconds, as Windows has it.
double windowsProcessorTime(DWORD processId) {
  const stage::WinHandle process =
      stage::ownHandle(OpenProcess(PROCESS_QUERY_INFORMATION, FALSE, processId));
  FILETIME start{};
  FILETIME end{};
  FILETIME kernel{};
  FILETIME user{};
  EXPECT_TRUE(GetProcessTimes(process.get(), &start, &end, &kernel, &user));
  const auto milliseconds = [](const FILETIME& time) {
    const std::uint64_t units = (std::uint64_t{time.dwHighDateTime} << 32U) | time.dwLowDateTime;
    return static_cast<double>(units) / 1e4;
  };
  return milliseconds(kernel) + milliseconds(user);
}

/// The folder in which the system below Wine tells of the process that runs this program.
/// (Wine itself gives every process its caller's times.)
fs::path hostProcess(const fs::path& program) {
  for (const auto& entry : fs::directory_iterator("Z:\\proc")) {
    const std::string command = stage::readFile(entry.path() / "cmdline").value_or("");
    if (command.starts_with(stage::textOf(program))) return entry.path();
  }
  return {};
}

/// Likewise; fields 14 and 15 of the process's line, in hundredths of a second.
double hostProcessorTime(const fs::path& process) {
  std::istringstream line(stage::readFile(process / "stat").value_or(""));
  line.ignore(1 << 16, ')');  // number and name
  std::string field;
  for (int i = 3; i < 14; ++i) line >> field;
  double user = 0;
  double kernel = 0;
  EXPECT_TRUE(line >> user >> kernel);
  return (user + kernel) * 10;
}

/// A process that works shows it: this one.
bool workShows() {
  const auto used = [] {
    return stage::runsUnderWine() ? hostProcessorTime("Z:\\proc\\self")
                                  : windowsProcessorTime(GetCurrentProcessId());
  };
  const double before = used();
  const std::uint64_t limit = GetTickCount64() + 10000;
  while (used() < before + 50 && GetTickCount64() < limit) {
  }
  return used() >= before + 50;
}

TEST(IdleLong, noProcessorTimeIsUsedWhileTheGameRuns) {
  constexpr double kOneTickMs = 15.7;
  constexpr unsigned kGameMs = 10000;
  stage::Stage machine{"idle"};
  machine.installGame({.waitMs = 0, .untilEnded = true});
  machine.installCard();
  machine.writeIni({{"receipt", stage::textOf(machine.receipt())},
                    {"data", stage::textOf(machine.data())},
                    {"steam", stage::textOf(machine.root())},
                    {"game", stage::textOf(machine.gameExe())}});
  machine.startGame();
  stage::LauncherRun run = machine.startLauncher();
  ASSERT_TRUE(run.waitForLog("waiting for exit..."));
  const std::uint64_t limit = GetTickCount64() + 5000;
  while (machine.dataFile("launch.state") != "playing" && GetTickCount64() < limit) Sleep(10);

  EXPECT_TRUE(workShows());
  const fs::path host = stage::runsUnderWine() ? hostProcess(machine.launcher()) : fs::path();
  ASSERT_EQ(host.empty(), !stage::runsUnderWine());
  const auto usedMs = [&] {
    return host.empty() ? windowsProcessorTime(run.processId()) : hostProcessorTime(host);
  };
  const double before = usedMs();
  for (const std::uint64_t end = GetTickCount64() + kGameMs; GetTickCount64() < end;) {
    ASSERT_TRUE(run.running());
    Sleep(250);
  }
  const double after = usedMs();
  EXPECT_LE(after - before, kOneTickMs);
  std::printf("processor time: %.0f ms until the game ran, %.0f ms in the 10 s after that\n",
              before, after - before);
  machine.endGame();
  EXPECT_EQ(run.wait().exitCode, 0U);
}

}  // namespace
}  // namespace e2e
