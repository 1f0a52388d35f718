// A player's machine on an odd day: two launchers at once, a game that runs already, restarts
// itself or lets no one near it, a clock that went back.

#include <gtest/gtest.h>

#include <windows.h>

#include <aclapi.h>

#include <algorithm>
#include <atomic>
#include <filesystem>
#include <set>
#include <string>
#include <thread>

#include "rehearsal/stage/stage.h"
#include "tests/e2e/full_run.h"

namespace e2e {
namespace {

namespace fs = std::filesystem;
using stage::Reply;
using stage::textOf;

class OddWorld : public FullRunTest {
 protected:
  OddWorld() {
    server.answer("GET", "*", Reply::text("{\"rows\":[]}"));
    withServer();
  }

  [[nodiscard]] Lines archives() const { return textsIn(machine.data() / "receipts"); }
  [[nodiscard]] Lines queue() const { return textsIn(machine.data() / "pending"); }
  const std::string receipt_ = stage::finishedRun().text();
};

// --- two launchers --------------------------------------------------------------------------

// Both watch the same game and both send its run; nothing keeps them apart. Whoever comes
// second may find the receipt gone. The run arrives at least once, and each launcher's own
// lines stand whole in the log that both write.
//
// Windows appends a line in one step. Wine finds the end of the file first and writes there
// afterwards, so that two lines of one moment can cost one of them (3 of 10,000 in a program
// that does nothing else). There, one whole log of three runs is asked for.
TEST_F(OddWorld, twoLaunchersAtOnceDeliverTheRunAtLeastOnce) {
  const auto times = [](const std::string& log, const std::string& line) {
    int found = 0;
    for (std::size_t at = log.find(line); at != std::string::npos; at = log.find(line, at + 1)) {
      ++found;
    }
    return found;
  };
  std::string log;
  const auto logIsWhole = [&] {
    return log.ends_with("\r\n") && times(log, std::string(kStartLine) + "\r\n") == 2 &&
           times(log, std::string(kExited) + "\r\n") == 2 &&
           times(log, std::string(kDoneLine) + "\r\n") == 2;
  };
  const int runs = stage::runsUnderWine() ? 3 : 1;
  for (int run = 1; run <= runs && !logIsWhole(); ++run) {
    SCOPED_TRACE(run);
    fs::remove(machine.log());
    fs::remove_all(machine.data() / "receipts");
    const std::size_t sentBefore = bodies(server, "/submit").size();
    machine.writeReceipt(receipt_);
    stage::LauncherRun one = start();
    stage::LauncherRun two = machine.startLauncher();
    ASSERT_TRUE(one.waitForConsole("waiting for exit..."));
    ASSERT_TRUE(two.waitForConsole("waiting for exit..."));
    machine.endGame();
    for (stage::LauncherRun* launcher : {&one, &two}) {
      const stage::RunResult result = launcher->wait();
      EXPECT_FALSE(result.hang);
      EXPECT_EQ(result.exitCode, 0U);
    }
    const Lines sent = bodies(server, "/submit");
    EXPECT_GE(sent.size(), sentBefore + 1);
    EXPECT_LE(sent.size(), sentBefore + 2);
    for (const std::string& body : sent) EXPECT_EQ(body, payload("runner", receipt_));
    const Lines archive = archives();
    ASSERT_GE(archive.size(), 1U);
    for (const std::string& text : archive) EXPECT_EQ(text, receipt_);
    EXPECT_EQ(queue(), Lines{});
    EXPECT_FALSE(stage::pathExists(machine.receipt()));
    log = machine.logBytes();
  }
  EXPECT_TRUE(logIsWhole()) << log;
}

// The queue: an entry may be sent by both, and is gone in the end.
TEST_F(OddWorld, twoLaunchersAtOnceEmptyTheQueue) {
  std::set<std::string> wanted;
  for (int i = 0; i < 20; ++i) {
    const std::string entry = "{\"number\":" + std::to_string(i) + "}";
    stage::writeFile(machine.data() / "pending" / ("p_" + std::to_string(100 + i) + ".json"),
                     entry);
    wanted.insert("{\"player\":\"runner\",\"difficulty\":\"normal\"," + entry.substr(1));
  }
  stage::LauncherRun one = start();
  stage::LauncherRun two = machine.startLauncher();
  ASSERT_TRUE(one.waitForConsole("waiting for exit..."));
  ASSERT_TRUE(two.waitForConsole("waiting for exit..."));
  machine.endGame();
  EXPECT_EQ(one.wait().exitCode, 0U);
  EXPECT_EQ(two.wait().exitCode, 0U);
  const Lines sent = submissions();
  EXPECT_EQ(std::set<std::string>(sent.begin(), sent.end()), wanted);
  EXPECT_LE(sent.size(), 2 * wanted.size());
  EXPECT_EQ(queue(), Lines{});
}

// Without a server both keep the run: the same one, under one name or two.
TEST_F(OddWorld, twoLaunchersAtOnceQueueTheRun) {
  machine.writeReceipt(receipt_);
  set("server", stage::unreachableUrl());
  stage::LauncherRun one = start();
  stage::LauncherRun two = machine.startLauncher();
  ASSERT_TRUE(one.waitForConsole("waiting for exit..."));
  ASSERT_TRUE(two.waitForConsole("waiting for exit..."));
  machine.endGame();
  EXPECT_EQ(one.wait().exitCode, 0U);
  EXPECT_EQ(two.wait().exitCode, 0U);
  const Lines queued = queue();
  ASSERT_GE(queued.size(), 1U);
  EXPECT_LE(queued.size(), 2U);
  for (const std::string& text : queued) EXPECT_EQ(text, receipt_);
  EXPECT_EQ(stage::readFile(machine.receipt()), receipt_);
}

// Two by hand at the same time.
TEST_F(OddWorld, twoUploadsAtOnceEachEndWithAVerdict) {
  machine.writeReceipt(receipt_);
  machine.writeIni(settings);
  stage::LauncherRun one = machine.startLauncher("--upload");
  stage::LauncherRun two = machine.startLauncher("--upload");
  const std::uint32_t first = one.wait().exitCode;
  const std::uint32_t second = two.wait().exitCode;
  EXPECT_EQ(std::min(first, second), 0U);
  EXPECT_TRUE(std::max(first, second) == 0U || std::max(first, second) == 2U);
  const Lines sent = submissions();
  EXPECT_GE(sent.size(), 1U);
  for (const std::string& body : sent) EXPECT_EQ(body, payload("runner", receipt_));
  EXPECT_FALSE(stage::pathExists(machine.receipt()));
}

// --- the game -------------------------------------------------------------------------------

// The first of the two processes is the one that is watched: the launcher takes the run for
// over when it ends, while the second plays on. What that one leaves waits for the next start.
TEST_F(OddWorld, gameThatRestartsItselfIsJudgedTooEarlyAndItsRunSentByTheNextStart) {
  stage::GameScript script;
  script.restartsItself = true;
  script.firstLivesMs = 1500;
  script.waitMs = 0;
  script.untilEnded = true;
  machine.installGame(script);
  machine.writeIni(settings);
  machine.startGame();
  const stage::RunResult first = machine.runLauncher();
  EXPECT_FALSE(first.hang);
  EXPECT_EQ(first.exitCode, 0U);
  EXPECT_EQ(maskedLog(first),
            wholeLog({.weekly = weeklyUpdated({}), .upload = kNothingToUpload}));
  EXPECT_EQ(machine.timeline().events("game", "restart").size(), 1U);

  // The second process plays the run to its end, unwatched.
  machine.writeReceipt(receipt_);
  machine.endGame();
  ASSERT_TRUE(stage::waitForNoProcess("Backrooms-Win64-Shipping.exe"));
  EXPECT_EQ(stage::readFile(machine.receipt()), receipt_);

  EXPECT_EQ(maskedLog(play()),
            wholeLog({.weekly = weeklyUpdated({}),
                      .receipt = archived(kFinishedSummary),
                      .upload = judged(kAccepted),
                      .result = {kDelivered, kCardOk}}));
  EXPECT_EQ(submissions(), Lines{payload("runner", receipt_)});
}

/// Takes every right to a process away from everybody, for the time of a test.
class LockedProcess {
 public:
  explicit LockedProcess(std::uint32_t id) : process_(OpenProcess(WRITE_DAC, FALSE, id)) {
    ACL nobody{};
    locked_ = process_ != nullptr && InitializeAcl(&nobody, sizeof nobody, ACL_REVISION) &&
              setList(&nobody);
  }
  ~LockedProcess() {
    if (locked_) (void)setList(nullptr);
    if (process_ != nullptr) CloseHandle(process_);
  }
  LockedProcess(const LockedProcess&) = delete;
  LockedProcess& operator=(const LockedProcess&) = delete;

  [[nodiscard]] bool locked() const { return locked_; }

 private:
  bool setList(ACL* list) const {
    return SetSecurityInfo(process_, SE_KERNEL_OBJECT, DACL_SECURITY_INFORMATION, nullptr, nullptr,
                           list, nullptr) == ERROR_SUCCESS;
  }

  HANDLE process_;
  bool locked_ = false;
};

bool canBeWaitedFor(std::uint32_t id) {
  const HANDLE process = OpenProcess(SYNCHRONIZE, FALSE, id);
  if (process != nullptr) CloseHandle(process);
  return process != nullptr;
}

TEST_F(OddWorld, gameThatCannotBeOpenedIsNotWaitedFor) {
  machine.writeReceipt(receipt_);
  machine.writeIni(settings);
  machine.setGame({.waitMs = 0, .untilEnded = true});
  const std::uint32_t game = machine.startGame();
  const LockedProcess locked(game);
  ASSERT_TRUE(locked.locked());
  if (canBeWaitedFor(game)) GTEST_SKIP() << "Wine lets everybody wait for every process";
  const stage::RunResult run = machine.runLauncher();
  EXPECT_FALSE(run.hang);
  EXPECT_EQ(run.exitCode, 0U);
  Lines expected =
      wholeLog({.weekly = weeklyUpdated({}),
                .receipt = archived(kFinishedSummary),
                .upload = judged(kAccepted),
                .result = {kDelivered, kCardOk}});
  std::erase(expected, kExited);
  std::replace(expected.begin(), expected.end(),
               std::string(kWaiting),
               std::string("cannot open game process (pid #)"));
  std::replace(expected.begin(), expected.end(),
               std::string(kClosed),
               std::string(kNotWatched));
  EXPECT_EQ(maskedLog(run), expected);
}

// --- the clock ------------------------------------------------------------------------------

/// Sets a file's times to this many days from now.
void setAge(const fs::path& file, int days) {
  const HANDLE handle =
      CreateFileW(file.c_str(), FILE_WRITE_ATTRIBUTES, FILE_SHARE_READ | FILE_SHARE_WRITE, nullptr,
                  OPEN_EXISTING, FILE_FLAG_BACKUP_SEMANTICS, nullptr);
  ASSERT_NE(handle, INVALID_HANDLE_VALUE);
  FILETIME now;
  GetSystemTimeAsFileTime(&now);
  ULARGE_INTEGER ticks;
  ticks.LowPart = now.dwLowDateTime;
  ticks.HighPart = now.dwHighDateTime;
  constexpr long long kTicksPerDay = 864'000'000'000;
  ticks.QuadPart += static_cast<ULONGLONG>(days * kTicksPerDay);
  const FILETIME then{ticks.LowPart, ticks.HighPart};
  EXPECT_TRUE(SetFileTime(handle, &then, &then, &then));
  CloseHandle(handle);
}

// What the clock's way back leaves on the disk: settings, receipt, queue, archive and state
// from a year ahead. (The machine's clock itself is everybody's and is left alone.) Nothing
// is judged by its age: all is read, sent and kept as ever, and the new files get their own
// names.
TEST_F(OddWorld, filesFromAYearAheadAreTakenLikeAnyOther) {
  SYSTEMTIME now;
  GetLocalTime(&now);
  const std::string ahead = std::to_string(now.wYear + 1) + "0101_000000";
  const fs::path entry = machine.data() / "pending" / ("p_" + ahead + ".json");
  const fs::path archive = machine.data() / "receipts" / ("receipt_" + ahead + ".json");
  stage::writeFile(entry, "{\"from\":\"next year\"}");
  stage::writeFile(archive, "next year's archive");
  stage::writeFile(machine.data() / "week.json", "{\"week\":\"next year\"}");
  stage::writeFile(machine.data() / "launch.state", "playing");
  machine.writeReceipt(receipt_);
  machine.writeIni(settings);
  for (const fs::path& file :
       {entry, archive, machine.data() / "week.json", machine.data() / "launch.state",
        machine.receipt(), machine.app() / "launcher.ini", machine.data()}) {
    setAge(file, 366);
  }
  EXPECT_EQ(maskedLog(play()),
            wholeLog({.weekly = weeklyUpdated({}),
                      .flush = {"pending flushed: 1"},
                      .receipt = archived(kFinishedSummary),
                      .upload = judged(kAccepted),
                      .result = {kDelivered, kCardOk}}));
  EXPECT_EQ(submissions(),
            (Lines{"{\"player\":\"runner\",\"difficulty\":\"normal\",\"from\":\"next year\"}",
                   payload("runner", receipt_)}));
  EXPECT_EQ(archives(), (Lines{receipt_, "next year's archive"}));
  EXPECT_EQ(machine.dataFile("week.json"), "{\"rows\":[]}");
  EXPECT_EQ(machine.dataFile("launch.state"), "done");
  EXPECT_EQ(queue(), Lines{});
}

// --- a receipt that changes -----------------------------------------------------------------

// A mod that is still writing while the run is sent by hand: two complete receipts that take
// each other's place. What is sent is one or the other, whole.
TEST_F(OddWorld, receiptThatIsReplacedMeanwhileIsSentAsOneOrTheOther) {
  constexpr int kUploads = 10;
  const std::string other = stage::runWithSplits(40, "true").text();
  server.clearAnswers();
  server.answer("POST", "*", Reply::json(kRefusal));
  machine.writeReceipt(receipt_);
  machine.writeIni(settings);
  std::atomic<bool> stopping = false;
  std::atomic<int> replaced = 0;
  std::thread writer([&] {
    for (bool second = true; !stopping; second = !second) {
      stage::writeFile(machine.root() / "new.json", second ? other : receipt_);
      while (!stopping &&
             !MoveFileExW((machine.root() / "new.json").c_str(), machine.receipt().c_str(),
                          MOVEFILE_REPLACE_EXISTING)) {
        Sleep(0);
      }
      ++replaced;
    }
  });
  for (int i = 0; i < kUploads; ++i) {
    const stage::RunResult run = machine.runLauncher("--upload");
    EXPECT_FALSE(run.hang);
    EXPECT_EQ(run.exitCode, 2U);
  }
  stopping = true;
  writer.join();
  EXPECT_GE(replaced, kUploads);
  const Lines sent = submissions();
  const std::size_t missed = bodies(server, "/client/log").size();
  EXPECT_EQ(sent.size() + missed, static_cast<std::size_t>(kUploads));
  for (const std::string& body : sent) {
    EXPECT_TRUE(body == payload("runner", receipt_) || body == payload("runner", other)) << body;
  }
}

}  // namespace
}  // namespace e2e
