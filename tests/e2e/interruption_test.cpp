// The launcher killed at any point of a full run, and what becomes of the run: whether the
// race server gets it when the launcher is started again, never, or twice.
//
// A run is first played under a debugger that stops it before every step that leaves a trace
// (see stop_points.h), and what lies on disk and on the server is noted at each stop. A kill
// leaves exactly that behind, so one kill for each state of disk and server tells of all the
// stops that share it. With the environment variable KOV_EVERY_STOP set, the sweeps kill at
// every single stop instead.

#include <gtest/gtest.h>

#include <windows.h>

#include <algorithm>
#include <cstdint>
#include <cstdio>
#include <filesystem>
#include <functional>
#include <initializer_list>
#include <map>
#include <memory>
#include <sstream>
#include <string>
#include <string_view>
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

/// The sweeps kill at every stop, not only at the first of each state.
bool everyStop() { return stage::environmentText("KOV_EVERY_STOP").has_value(); }

/// What a run meets.
struct World {
  bool serverUp = true;    ///< until the kill; afterwards it always is
  bool modResult = false;  ///< the game writes kovw_result.json beside the receipt
};

/// What the player does after the kill.
enum class Restart {
  nothingNew,  ///< starts the launcher; the game appears and closes without a receipt
  anotherRun,  ///< starts the launcher and finishes another run
  uploadOnly,  ///< starts it with --upload
  anotherRunThenQueued,  ///< finishes another run, then queues by hand what was never sent
};

/// What lies on disk and on the server.
struct State {
  std::map<std::string, std::string> files;  ///< content by name; time stamps masked
  int runAccepted = 0;                       ///< how often the server took the run
  int queuedAccepted = 0;                    ///< likewise the queued one

  bool operator==(const State&) const = default;

  /// Copies of the run that a later start finds and sends.
  [[nodiscard]] int copies(const char* seed) const {
    int found = 0;
    for (const auto& [name, content] : files) {
      const bool sent = name == "receipt.json" || name == "data\\kovw_result.json" ||
                        name.starts_with("data\\pending\\");
      if (sent && content.find(std::string("\"seed\":") + seed) != std::string::npos) ++found;
    }
    return found;
  }
};

/// What changed from one state to the next: "data\launch.state: 7 bytes".
std::string changes(const State& before, const State& after) {
  std::string text;
  const auto add = [&text](const std::string& what) {
    text += (text.empty() ? "" : "; ") + what;
  };
  for (const auto& [name, content] : after.files) {
    const auto old = before.files.find(name);
    if (old != before.files.end() && old->second == content) continue;
    add(name.ends_with('\\') ? name : name + ": " + std::to_string(content.size()) + " bytes");
  }
  for (const auto& file : before.files) {
    // A folder that is no longer empty is not listed as such.
    if (!after.files.contains(file.first) && !file.first.ends_with('\\')) {
      add(file.first + ": gone");
    }
  }
  if (after.queuedAccepted != before.queuedAccepted) add("queued run accepted");
  if (after.runAccepted != before.runAccepted) add("run accepted");
  return text;
}

/// One stop of the survey.
struct Noted {
  std::string change;   ///< since the stop before; empty: the same state
  State state;
  std::string log;      ///< masked
  std::string call;
};

/// What became of one kill.
struct Outcome {
  std::string change;    ///< that the kill point lies after
  int times = 0;         ///< how often the server accepted the run in all
  int queuedTimes = 0;   ///< likewise the queued one
  bool lost = false;     ///< one of both: never accepted, and no copy left that will be sent

  bool operator==(const Outcome&) const = default;
};

class Interruption : public ::testing::Test {
 protected:
  Interruption() {
    SetEnvironmentVariableW(L"LOCALAPPDATA", machine.local().c_str());
    port = stage::RaceServer().port();
    machine.putUpStandardMachine("http://127.0.0.1:" + std::to_string(port));
    machine.setLiveSplit({.phase = "Ended",
                          .finalTime = 754.6,
                          .lastSplit = 754.6,
                          .currentTime = 754.6});
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
    if (!server) server = std::make_unique<stage::RaceServer>(stage::RaceServer::Options{
        .port = port});
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

  [[nodiscard]] State stateNow() const {
    State now;
    const auto take = [&now](const fs::path& folder, const std::string& prefix) {
      for (const std::string& name : stage::listFolder(folder)) {
        if (name.starts_with("Backrooms")) continue;  // the game itself and its script
        now.files[maskStamps(prefix + name)] =
            name.ends_with('\\') ? "" : stage::readFile(folder / name).value_or("(held)");
      }
    };
    take(machine.data(), "data\\");
    take(machine.gameFolder(), "game\\");
    now.files["ls\\settings.cfg"] =
        stage::readFile(machine.liveSplitFolder() / "settings.cfg").value_or("(none)");
    if (const auto receipt = stage::readFile(machine.receipt())) {
      now.files["receipt.json"] = *receipt;
    }
    now.runAccepted = accepted(kRunSeed);
    now.queuedAccepted = accepted(kQueuedSeed);
    return now;
  }

  [[nodiscard]] std::string logNow() const { return maskStamps(maskNumbers(machine.logBytes())); }

  StoppedRun runWithStops(const StopPoints::Decide& decide) {
    StopPoints run(machine.launcher(), machine.root() / "console.txt");
    const StoppedRun result = run.work(decide);
    EXPECT_FALSE(result.hang);
    return result;
  }

  /// Every line that has reached the console is in the log.
  void expectLogBesideConsole() const {
    std::string console = stage::readFile(machine.root() / "console.txt").value_or("");
    for (const char* print : {"LiveSplit loading in background, please wait 1-3s...\r\n",
                              "\r\n按回车键退出..."}) {
      console = stage::replaceAll(console, print, "");
    }
    EXPECT_TRUE(machine.logBytes().starts_with(console)) << console;
  }

  /// A whole run with every stop noted.
  std::vector<Noted> survey(const World& world) {
    reset(world);
    std::vector<Noted> noted;
    State before = stateNow();
    const StoppedRun run = runWithStops([&](const Stop& stop) {
      Noted now{"", stateNow(), logNow(), stop.call};
      now.change = changes(before, now.state);
      before = now.state;
      expectLogBesideConsole();
      noted.push_back(std::move(now));
      return false;
    });
    EXPECT_EQ(run.exitCode, 0U);
    const std::string whole = logNow();
    EXPECT_EQ(linesOf(whole).back(), kDoneLine);
    for (const Noted& stop : noted) EXPECT_TRUE(whole.starts_with(stop.log)) << stop.log;
    return noted;
  }

  /// Plays the scene once more and kills the launcher at this stop of the survey.
  void killAt(const World& world, const std::vector<Noted>& noted, std::size_t number) {
    reset(world);
    const Noted& expected = noted[number - 1];
    const StoppedRun run = runWithStops([&](const Stop& stop) { return stop.number == number; });
    EXPECT_TRUE(run.killed);
    EXPECT_EQ(logNow(), expected.log);  // every line up to the kill, and no other
    EXPECT_EQ(changes(expected.state, stateNow()), "");
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
    const State found = stateNow();
    const bool finished = found.runAccepted > 0 || found.copies(kRunSeed) > 0;
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

  [[nodiscard]] Outcome outcome(const Noted& killed) const {
    const State after = stateNow();
    Outcome result{killed.change, after.runAccepted, after.queuedAccepted};
    result.lost = (after.runAccepted == 0 && after.copies(kRunSeed) == 0) ||
                  (after.queuedAccepted == 0 && after.copies(kQueuedSeed) == 0);
    return result;
  }

  /// The second start has put right what the first left half done, LiveSplit's settings
  /// aside: without any text in them there is no layout to put right.
  void expectMended(const State& killed, const State& wholeRun) const {
    const Lines names = {"data\\week.json",     "data\\rand_seed.txt", "data\\timer.enabled",
                         "data\\board.toggle",  "data\\launch.state",
                         "data\\profile_token.txt"};
    const State after = stateNow();
    for (const auto& [name, whole] : wholeRun.files) {
      const bool isTimer = name == "ls\\settings.cfg";
      const bool same = isTimer || name.starts_with("game\\") ||
                        std::find(names.begin(), names.end(), name) != names.end();
      if (!same) continue;
      const auto found = after.files.find(name);
      const bool emptied = isTimer && killed.files.at(name).empty();
      EXPECT_EQ(found == after.files.end() ? "(none)" : found->second, emptied ? "" : whole)
          << name;
    }
  }

  /// Kills at the first stop of each state that `wanted` picks (where the log matters, at its
  /// last too), starts the launcher again, and prints the table. A state with two outcomes has
  /// one after the other in the result.
  std::vector<Outcome> sweep(const char* title, const World& world, Restart how,
                             const std::function<bool(const Noted&)>& wanted) {
    const std::vector<Noted> noted = survey(world);
    const State wholeRun = stateNow();
    std::vector<Outcome> outcomes;
    std::size_t kills = 0;
    std::printf("%s: %zu stops\n stop stops times queued  killed behind\n", title, noted.size());
    for (std::size_t first = 0; first < noted.size();) {
      std::size_t next = first + 1;
      while (next < noted.size() && noted[next].change.empty()) ++next;
      for (std::size_t i = first; i < next && wanted(noted[first]); ++i) {
        // The companion reads the log too, which can change what becomes of the run: at the
        // state's last stop all of its lines are there.
        const bool readsLog = how == Restart::anotherRunThenQueued;
        if (i > first && !everyStop() && !(readsLog && i + 1 == next)) continue;
        killAt(world, noted, i + 1);
        ++kills;
        (void)startAgain(how);
        const Outcome now = outcome(noted[first]);
        if (world.serverUp && how == Restart::nothingNew) expectMended(noted[i].state, wholeRun);
        const bool mayDiffer = readsLog && noted[i].log != noted[first].log;
        if (i == first || (mayDiffer && now != outcomes.back())) outcomes.push_back(now);
        EXPECT_EQ(now, outcomes.back()) << "stop " << i + 1;
        std::printf(" %4zu %5zu %5d %6d  %s%s\n", i + 1, next - first, now.times,
                    now.queuedTimes, now.lost ? "LOST: " : "", now.change.c_str());
        std::fflush(stdout);
      }
      first = next;
    }
    std::printf(" %zu kills\n", kills);
    return outcomes;
  }

  stage::Stage machine{"int"};
  unsigned short port = 0;
  std::unique_ptr<stage::RaceServer> server;
};

const Lines kNone = {};

/// What the kill points with a given outcome lie after.
Lines pointsWhere(const std::vector<Outcome>& outcomes,
                  const std::function<bool(const Outcome&)>& wanted) {
  Lines points;
  for (const Outcome& one : outcomes) {
    if (wanted(one)) points.push_back(one.change);
  }
  return points;
}

bool isLost(const Outcome& one) { return one.lost; }
bool isDoubled(const Outcome& one) { return one.times > 1; }
bool isQueuedDoubled(const Outcome& one) { return one.queuedTimes > 1; }

bool logHas(const Noted& stop, std::string_view line) {
  return stop.log.find(line) != std::string::npos;
}
bool gameLaunched(const Noted& stop) { return logHas(stop, "stage: launching game"); }
bool uploads(const Noted& stop) { return logHas(stop, "stage: uploading"); }

bool changeHas(const Noted& stop, std::initializer_list<const char*> names) {
  return std::any_of(names.begin(), names.end(), [&](const char* name) {
    return stop.change.find(name) != std::string::npos;
  });
}

TEST_F(Interruption, gameGoesOnWithoutTheLauncher) {
  reset({});
  machine.setGame(staysAfterRun(machine, runWithSeed(kRunSeed)));
  {
    stage::LauncherRun first = machine.startLauncher();
    ASSERT_TRUE(first.waitForLog("waiting for exit..."));
    ASSERT_TRUE(stage::endProcess(first.processId()));
    const stage::RunResult killed = first.wait();
    EXPECT_EQ(linesOf(maskNumbers(killed.log)).back(), "game running (pid #), waiting for exit...");
    EXPECT_EQ(killed.log, killed.console.substr(0, killed.log.size()));
  }
  const stage::RunResult second = runUntilGameEnds(machine);
  EXPECT_FALSE(second.hasLogLine("steam started with -applaunch 1943950"));
  EXPECT_TRUE(second.hasLogLine("stage: upload done (ok=1)"));
  EXPECT_EQ(accepted(kRunSeed), 1);
}

TEST_F(Interruption, killedDuringTheUploadIsDeliveredByUploadMode) {
  killWhen({}, [](const std::string& log) { return log.ends_with("stage: uploading\r\n"); });
  const stage::RunResult second = startAgain(Restart::uploadOnly);
  EXPECT_EQ(second.exitCode, 0U);
  EXPECT_EQ(accepted(kRunSeed), 1);
}

TEST_F(Interruption, killedBehindTheAnswerIsSentTwice) {
  killWhen({}, [this](const std::string&) { return accepted(kRunSeed) == 1; });
  EXPECT_FALSE(machine.dataFile("profile_token.txt").has_value());
  (void)startAgain(Restart::nothingNew);
  EXPECT_EQ(accepted(kRunSeed), 2);
  EXPECT_EQ(machine.dataFile("profile_token.txt"), "kq7-4821");
}

TEST_F(Interruption, killedBeforeItIsQueuedIsStillDelivered) {
  killWhen({.serverUp = false}, [](const std::string& log) {
    return log.ends_with("stage: upload failed, saving pending\r\n");
  });
  const stage::RunResult second = startAgain(Restart::nothingNew);
  EXPECT_TRUE(second.hasLogLine("pending flushed: 1"));  // the one from last week
  EXPECT_EQ(accepted(kQueuedSeed), 1);
  EXPECT_EQ(accepted(kRunSeed), 1);
}

// Without any kill: the queue's copy and the receipt itself are both sent.
TEST_F(Interruption, failedUploadIsSentTwiceWhenNothingNewIsPlayed) {
  reset({.serverUp = false});
  const stage::RunResult first = machine.runLauncher();
  EXPECT_TRUE(first.hasLogLine("stage: upload failed, saving pending"));
  (void)startAgain(Restart::nothingNew);
  EXPECT_EQ(accepted(kRunSeed), 2);
  EXPECT_FALSE(stage::pathExists(machine.receipt()));
  EXPECT_EQ(stage::listFolder(machine.data() / "pending"), kNone);
}

class InterruptionLong : public Interruption {};

// Before the game there is no run yet, which is then played in the second start. (The boards
// are fetched like the week, and left out here.)
TEST_F(InterruptionLong, beforeTheGame) {
  const auto outcomes =
      sweep("server up, before the game", {}, Restart::nothingNew, [](const Noted& stop) {
        return !gameLaunched(stop) &&
               (everyStop() || stop.change.empty() ||
                changeHas(stop, {"game\\", "settings.cfg", "week.json", "timer.enabled",
                                 "pending", "queued", "launch.state"}));
      });
  EXPECT_EQ(pointsWhere(outcomes, isLost), kNone);
  EXPECT_EQ(pointsWhere(outcomes, isDoubled), kNone);
  EXPECT_EQ(pointsWhere(outcomes, isQueuedDoubled),
            Lines{"data\\timer.enabled: 1 bytes; queued run accepted"});
}

TEST_F(InterruptionLong, fromTheGameOn) {
  const auto outcomes =
      sweep("server up, from the game on", {}, Restart::nothingNew, gameLaunched);
  EXPECT_EQ(pointsWhere(outcomes, isLost), kNone);
  EXPECT_EQ(pointsWhere(outcomes, isDoubled),
            (Lines{"run accepted", "data\\profile_token.txt: 0 bytes",
                   "data\\profile_token.txt: 8 bytes", "data\\profile_opened.flag: 0 bytes",
                   "data\\profile_opened.flag: 1 bytes"}));
  EXPECT_EQ(pointsWhere(outcomes, isQueuedDoubled), kNone);
}

// The run is in the queue and in its receipt; both are sent.
TEST_F(InterruptionLong, failingUpload) {
  const auto outcomes =
      sweep("server unreachable", {.serverUp = false}, Restart::nothingNew, uploads);
  EXPECT_EQ(pointsWhere(outcomes, isLost), kNone);
  EXPECT_EQ(pointsWhere(outcomes, isDoubled),
            (Lines{"data\\pending\\p_YYYYMMDD_hhmmss.json: 483 bytes",
                   "data\\launch.state: 0 bytes", "data\\launch.state: 4 bytes"}));
  EXPECT_EQ(pointsWhere(outcomes, isQueuedDoubled), kNone);
}

TEST_F(InterruptionLong, modResultBesideTheReceipt) {
  const auto outcomes =
      sweep("mod result, behind the answer", {.modResult = true}, Restart::nothingNew,
            [](const Noted& stop) {
              return uploads(stop) && changeHas(stop, {"run accepted", ".json: gone"});
            });
  EXPECT_EQ(pointsWhere(outcomes, isLost), kNone);
  EXPECT_EQ(pointsWhere(outcomes, isDoubled),
            (Lines{"run accepted", "data\\kovw_result.json: gone"}));
}

// The mod writes the next run's receipt over the last one's, which is sent only when the
// launcher is started before that without playing, or with --upload.
TEST_F(InterruptionLong, anotherRunIsPlayedNext) {
  const auto outcomes =
      sweep("server up, then another run", {}, Restart::anotherRun, [](const Noted& stop) {
        return gameLaunched(stop) && changeHas(stop, {"receipt.json: ", "receipts\\receipt_",
                                                      "upload.state: 9", "run accepted"});
      });
  EXPECT_EQ(pointsWhere(outcomes, isLost),
            (Lines{"data\\launch.state: 7 bytes; receipt.json: 483 bytes",
                   "data\\receipts\\receipt_YYYYMMDD_hhmmss.json: 0 bytes",
                   "data\\receipts\\receipt_YYYYMMDD_hhmmss.json: 483 bytes",
                   "data\\upload.state: 9 bytes"}));
  EXPECT_EQ(pointsWhere(outcomes, isDoubled), kNone);
  const auto failing = sweep("server unreachable, then another run", {.serverUp = false},
                             Restart::anotherRun, [](const Noted& stop) {
                               return changeHas(stop, {"upload.state: 4", "data\\pending\\"});
                             });
  EXPECT_EQ(pointsWhere(failing, isLost),
            (Lines{"data\\upload.state: 4 bytes",
                   "data\\pending\\p_YYYYMMDD_hhmmss.json: 0 bytes"}));
  EXPECT_EQ(pointsWhere(failing, isDoubled), kNone);
}

// The same kills, after which the player puts what was never sent into the queue: from the whole
// archive copy on nothing is lost.
TEST_F(InterruptionLong, anotherRunIsPlayedNextAndTheFirstQueuedByHand) {
  const auto outcomes =
      sweep("server up, another run, then queued by hand", {}, Restart::anotherRunThenQueued,
            [](const Noted& stop) {
              return gameLaunched(stop) && changeHas(stop, {"receipt.json: ", "receipts\\receipt_",
                                                            "upload.state: 9", "run accepted"});
            });
  EXPECT_EQ(pointsWhere(outcomes, isLost),
            (Lines{"data\\launch.state: 7 bytes; receipt.json: 483 bytes",
                   "data\\receipts\\receipt_YYYYMMDD_hhmmss.json: 0 bytes"}));
  EXPECT_EQ(pointsWhere(outcomes, isDoubled), Lines{"run accepted"});
  const auto failing =
      sweep("server unreachable, another run, then queued by hand", {.serverUp = false},
            Restart::anotherRunThenQueued, [](const Noted& stop) {
              return changeHas(stop, {"upload.state: 4", "data\\pending\\"});
            });
  EXPECT_EQ(pointsWhere(failing, isLost), kNone);
  // Queued already, but killed before the log said so: it is sent once more.
  EXPECT_EQ(pointsWhere(failing, isDoubled),
            Lines{"data\\pending\\p_YYYYMMDD_hhmmss.json: 483 bytes"});
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
    const std::uint64_t units =
        (std::uint64_t{time.dwHighDateTime} << 32U) | time.dwLowDateTime;
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
