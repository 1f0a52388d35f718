// The rows that run programs: the launcher, the empty program, the bare calls.
#include "tests/bench/rows_win.h"

#include <winsock2.h>
#include <windows.h>

#include <array>
#include <cmath>
#include <optional>
#include <stdexcept>
#include <string>
#include <vector>

#include "rehearsal/stage/stage.h"
#include "tests/bench/bare_request_win.h"
#include "tests/bench/loopback_server_win.h"
#include "tests/bench/measure.h"
#include "tests/bench/programs_win.h"

namespace bench {
namespace {

namespace fs = std::filesystem;

constexpr int kStarts = 100;
constexpr int kRuns = 8;
constexpr int kSubmissions = 20;
constexpr double kSettleMs = 250.0;  // which each connection to the timer waits by design
constexpr int kTimerConnections = 4;
constexpr double kTimerWaitsMs = kSettleMs * kTimerConnections;

std::string ms(double value) { return fixed(value, 1) + " ms"; }
std::string megabytes(double bytes) { return fixed(bytes / 1e6, 1) + " MB"; }

std::string spread(const std::vector<double>& values) {
  const Quartiles half = quartiles(values);
  return fixed(half.lower, 1) + " to " + fixed(half.upper, 1) + " ms";
}

fs::path copied(const stage::Stage& machine, const char* name) {
  fs::path copy = machine.app() / name;
  fs::copy_file(benchProgram(name), copy, fs::copy_options::overwrite_existing);
  return copy;
}

void require(bool good, const char* what) {
  if (!good) throw std::runtime_error(what);
}

// A whole run -------------------------------------------------------------------------------

/// What a run did, as far as others can see.
struct Deeds {
  std::vector<std::string> requests;
  std::vector<std::string> commands;
  std::vector<std::string> files;
  bool operator==(const Deeds&) const = default;
};

struct WholeRun {
  Ended ended;
  Deeds deeds;
  std::string log;
};

Deeds deedsOf(const stage::Stage& machine, const LoopbackServer& server) {
  Deeds deeds;
  for (const LoopbackServer::Request& request : server.requests()) {
    deeds.requests.push_back(request.line);
  }
  for (const stage::Event& event : machine.timeline().events("timer", "command")) {
    deeds.commands.push_back(event.text);
  }
  for (const std::string& name : machine.dataFiles()) {
    // The archive's name is a time.
    deeds.files.push_back(name.starts_with("receipts\\") ? "receipts" : name);
  }
  return deeds;
}

/// The scene of a finished run, played by a program in the launcher's place. `lines` is the
/// log that the bare calls write.
WholeRun playScene(const char* program, const std::string& lines) {
  LoopbackServer server;
  stage::Stage machine("full");
  machine.putUpStandardMachine(server.url());
  stage::writeFile(machine.root() / "bin" / "lines.txt", lines);
  SetEnvironmentVariableW(L"LOCALAPPDATA", machine.local().c_str());
  WholeRun run;
  run.ended = runProgram(copied(machine, program),
                         stage::textOf(machine.root()) + " " + std::to_string(server.port()));
  require(run.ended.exitCode == 0, "a whole run failed");
  require(!stage::pathExists(machine.receipt()), "the run was not accepted");
  run.deeds = deedsOf(machine, server);
  run.log = stage::readFile(machine.log()).value_or("");
  return run;
}

stage::RunOptions waitingForKey() {
  stage::RunOptions options;
  options.standardInput.clear();
  options.keepInputOpen = true;
  return options;
}

// Runs whose game is already there -----------------------------------------------------------

/// The game, which stays until it is told to end and leaves a finished run's receipt.
void installGameToBeEnded(stage::Stage& machine) {
  stage::GameScript script;
  script.waitMs = 0;
  script.untilEnded = true;
  script.writes.push_back({machine.receipt(), stage::finishedRun().text()});
  machine.installGame(script);
}

/// Ends the game; the moment in which it is seen to have ended.
Ticks endOfGame(stage::Stage& machine, std::uint32_t gameId) {
  const HANDLE game = OpenProcess(SYNCHRONIZE, FALSE, gameId);
  machine.endGame();
  require(WaitForSingleObject(game, 20000) == WAIT_OBJECT_0, "the game does not end");
  const Ticks ended = ticksNow();
  (void)CloseHandle(game);
  return ended;
}

/// A launcher that watches the game. The timer answers.
class Watched {
 public:
  explicit Watched(bool withCard) : machine_("watch") {
    if (withCard) machine_.installCard();
    installGameToBeEnded(machine_);
    machine_.writeIni({{"receipt", stage::textOf(machine_.receipt())},
                       {"data", stage::textOf(machine_.data())},
                       {"steam", stage::textOf(machine_.root())},
                       {"game", stage::textOf(machine_.gameExe())},
                       {"server", server_.url()},
                       {"player", "runner"}});
    timer_.replyEnded(754.6);
    gameId_ = machine_.startGame();
    launcher_.emplace(machine_.startLauncher({}, waitingForKey()));
    require(launcher_->waitForLog("waiting for exit..."), "the launcher does not watch the game");
  }

  [[nodiscard]] std::uint32_t launcherId() const { return launcher_->processId(); }

  /// Ends the game and returns the milliseconds from its end to the submission.
  double endGame() {
    server_.forget();
    const Ticks ended = endOfGame(machine_, gameId_);
    const Ticks submitted = server_.waitForSubmission(20000);
    require(submitted != 0, "no submission came");
    // Where nothing but a box would show the result, that box has no reader here.
    (void)stage::endProcess(launcherId());
    return millisecondsBetween(ended, submitted);
  }

 private:
  LoopbackServer server_;
  stage::TimerServer timer_;
  stage::Stage machine_;
  std::uint32_t gameId_ = 0;
  std::optional<stage::LauncherRun> launcher_;
};

// The same requests, bare --------------------------------------------------------------------

void askTimerBare(const std::string& command) {
  const SOCKET socket = ::socket(AF_INET, SOCK_STREAM, IPPROTO_TCP);
  sockaddr_in address = {};
  address.sin_family = AF_INET;
  address.sin_port = htons(stage::kTimerPort);
  address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
  (void)connect(socket, reinterpret_cast<const sockaddr*>(&address), sizeof address);
  Sleep(static_cast<DWORD>(kSettleMs));
  (void)send(socket, command.data(), static_cast<int>(command.size()), 0);
  char reply[512] = {};
  (void)recv(socket, reply, sizeof reply, 0);
  (void)closesocket(socket);
}

/// Milliseconds from the end of a game, whose remains the system clears away meanwhile as in
/// a launcher's run, to the first byte of the submission.
double submitBare() {
  LoopbackServer server;
  stage::TimerServer timer;
  stage::Stage machine("bare");
  timer.replyEnded(754.6);
  installGameToBeEnded(machine);
  const std::uint32_t game = machine.startGame();
  // The launcher has spoken to this server before too.
  (void)bareRequest(server.port(), L"GET", L"/week/current", {});
  const std::string body = stage::finishedRun().text();
  const Ticks start = endOfGame(machine, game);
  for (const char* command : {"getfinaltime\r\n", "getcurrenttimerphase\r\n", "getfinaltime\r\n",
                              "getfinaltime\r\n"}) {
    askTimerBare(command);
  }
  (void)bareRequest(server.port(), L"POST", L"/submit", body);
  return millisecondsBetween(start, server.waitForSubmission(5000));
}

/// The peak of a program that has come to its last wait, for a key.
double peakWhenIdle(const stage::LauncherRun& run, std::string_view programName) {
  std::uint64_t last = 0;
  for (int tries = 0; tries < 100; ++tries) {
    const std::uint64_t now = peakMemory(run.processId(), programName);
    if (now != 0 && now == last) break;
    last = now;
    Sleep(200);
  }
  return static_cast<double>(last);
}

double peakOfFullRun(const char* program) {
  LoopbackServer server;
  stage::Stage machine("memory");
  machine.putUpStandardMachine(server.url());
  SetEnvironmentVariableW(L"LOCALAPPDATA", machine.local().c_str());
  const fs::path copy = machine.app() / program;
  if (!stage::pathExists(copy)) (void)copied(machine, program);
  stage::LauncherRun run(copy, stage::textOf(machine.root()) + " " + std::to_string(server.port()),
                         waitingForKey());
  for (int tries = 0; tries < 300 && machine.dataFile("launch.state") != "done"; ++tries) {
    require(run.running(), "a whole run ended early");
    Sleep(100);
  }
  return peakWhenIdle(run, program);
}

double peakOfOneRequest() {
  LoopbackServer server;
  const stage::Stage machine("request");
  const stage::LauncherRun run(copied(machine, "one_request.exe"),
                               "x " + std::to_string(server.port()), waitingForKey());
  return peakWhenIdle(run, "one_request.exe");
}

double peakOfEmptyProgram() {
  const stage::Stage machine("idle");
  const stage::LauncherRun idle(copied(machine, "idle.exe"), {}, waitingForKey());
  return peakWhenIdle(idle, "idle.exe");
}

}  // namespace

void measureStart() {
  // Programs that have a console of their own would wait for its start. These share one.
  (void)FreeConsole();
  (void)AllocConsole();
  stage::Stage machine("start");
  machine.installSteam();
  machine.writeLoginUsers();
  const fs::path empty = copied(machine, "empty.exe");
  std::vector<double> own;
  std::vector<double> base;
  for (int i = 0; i < kStarts; ++i) {
    base.push_back(runProgram(empty, {}).milliseconds);
    own.push_back(runProgram(machine.launcher(), "--detect").milliseconds);
  }
  // Below Wine the end of a third to a half of all programs is seen 16 ms late, the empty one's
  // as well, so a median is now one kind of run and now the other.
  const double fastOwn = quartiles(own).lower;
  const double fastBase = quartiles(base).lower;
  const double ratio = fastOwn / fastBase;
  print({"start to exit of `--detect`", ms(fastOwn), "empty program: " + ms(fastBase),
         fixed(ratio, 2), "at most 1.3", ratio <= 1.3});
  note("`--detect`: lower quartiles of " + std::to_string(kStarts) +
       " runs each in turn in one console (a third to a half of all programs, the empty one as "
       "well, are seen to end 16 ms late here, which makes medians a matter of chance); half of "
       "them took " + spread(own) + ", of the empty program's " + spread(base) + ".");
}

void measureFullRun() {
  const WholeRun first = playScene("timed_launcher.exe", {});
  const std::string& lines = first.log;
  std::vector<double> own;
  std::vector<double> base;
  std::vector<double> waited;
  for (int i = 0; i < kRuns; ++i) {
    const WholeRun bare = playScene("bare_run.exe", lines);
    const WholeRun launcher = playScene("timed_launcher.exe", {});
    require(bare.deeds == launcher.deeds, "the bare calls are not those of the launcher");
    base.push_back(bare.ended.milliseconds - bare.ended.waitedMs);
    own.push_back(launcher.ended.milliseconds - launcher.ended.waitedMs);
    waited.push_back(launcher.ended.waitedMs);
  }
  const double ratio = median(own) / median(base);
  print({"full run, happy scene, without its waits", ms(median(own)),
         "its bare system calls: " + ms(median(base)), fixed(ratio, 2), "at most 1.5",
         ratio <= 1.5});
  note("Full run: " + std::to_string(kRuns) + " runs each in turn; half of them took " +
       spread(own) + ", of the bare calls' " + spread(base) +
       ". Both are linked with timed_calls_win.cpp, which takes out sleeps, ends of processes "
       "and answers of the timer and the server (median " + ms(median(waited)) +
       " of a run). Requests, timer commands and files left are the same, which is checked.");
}

void measurePlaying() {
  constexpr DWORD kSettle = 2000;
  constexpr DWORD kWindow = 10000;
  const Watched run(true);
  Sleep(kSettle);
  const Activity before = activityOf(run.launcherId(), "launcher.exe");
  Sleep(kWindow);
  const Activity after = activityOf(run.launcherId(), "launcher.exe");
  const double time = after.processorMs - before.processorMs;
  print({"CPU while the game runs", fixed(time, 3) + " ms in 10 s", "none", "-", "0", time < 0.1});
  if (!before.mainWakeUps) return;
  const std::int64_t wakes = *after.mainWakeUps - *before.mainWakeUps;
  const std::int64_t others = *after.otherWakeUps - *before.otherWakeUps;
  print({"wake-ups while the game runs",
         std::to_string(wakes) + " in 10 s, and " + std::to_string(others) + " of Wine's threads",
         "none", "-", "0", wakes == 0});
}

void measureSubmission() {
  std::vector<double> own;
  std::vector<double> ownWithCard;
  std::vector<double> base;
  for (int i = 0; i < kSubmissions; ++i) {
    base.push_back(submitBare() - kTimerWaitsMs);
    own.push_back(Watched(false).endGame() - kTimerWaitsMs);
    ownWithCard.push_back(Watched(true).endGame() - kTimerWaitsMs);
  }
  const double ratio = median(own) / median(base);
  print({"game exit to first byte of the submission", ms(median(own)),
         "bare round trips: " + ms(median(base)), fixed(ratio, 2), "at most 2", ratio <= 2.0});
  const double cardRatio = median(ownWithCard) / median(base);
  print({"the same, the progress card is started first", ms(median(ownWithCard)),
         "bare round trips: " + ms(median(base)), fixed(cardRatio, 2), "", false});
  note("Game exit to submission: the 4 times 250 ms that the launcher waits by design after "
       "connecting to the timer are taken out of both. Starting the progress card, which "
       "comes before the upload, is another program's start; that row shows what it adds. " +
       std::to_string(kSubmissions) + " runs each in turn; half of them took " + spread(own) +
       ", with the card " + spread(ownWithCard) + ", bare " + spread(base) + ".");
}

void measureMemory() {
  const double own = peakOfFullRun("launcher.exe");
  const double bare = peakOfFullRun("bare_run.exe");
  const double base = peakOfEmptyProgram();
  const double ratio = own / base;
  print({"peak memory of a full run", megabytes(own), "empty program: " + megabytes(base),
         fixed(ratio, 2), "at most 1.5", ratio <= 1.5});
  print({"the same beside its bare calls", megabytes(own),
         "its bare system calls: " + megabytes(bare), fixed(own / bare, 2), "", false});
  const double request = peakOfOneRequest();
  print({"an empty program that makes one bare GET", megabytes(request),
         "empty program: " + megabytes(base), fixed(request / base, 2), "", false});
  note("Peak memory: Linux' VmHWM of the process, pages of shared libraries included (on Windows "
       "PeakWorkingSetSize), asked while the program waits for its last key.");
}

}  // namespace bench
