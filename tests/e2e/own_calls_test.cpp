// What the launcher asks of the system, call by call, where neither its log nor its files show
// it: see also the happy run's list in timeline_test.cpp.

#include <gtest/gtest.h>

#include <windows.h>

#include "tests/e2e/call_trace.h"
#include "tests/e2e/full_run.h"

namespace {

using e2e::Lines;
using stage::textOf;

// Whatever is named after the clock is named after the clock on the player's wall. That the
// other tests of those names can tell it from UTC is up to the machine.
TEST(OwnCallsZone, theTestsRunInAZoneThatIsNotUtc) {
  SYSTEMTIME local{};
  SYSTEMTIME utc{};
  FILETIME localTime{};
  FILETIME utcTime{};
  GetLocalTime(&local);
  GetSystemTime(&utc);
  SystemTimeToFileTime(&local, &localTime);
  SystemTimeToFileTime(&utc, &utcTime);
  const auto hours = [](const FILETIME& time) {
    return ((static_cast<std::uint64_t>(time.dwHighDateTime) << 32U) | time.dwLowDateTime) /
           36000000000U;
  };
  if (!stage::runsUnderWine() && hours(localTime) == hours(utcTime)) {
    GTEST_SKIP() << "this machine runs in UTC, so local time in names is not tested here";
  }
  EXPECT_NE(hours(localTime), hours(utcTime));
}

class OwnCallsTest : public e2e::FullRunTest {
 protected:
  OwnCallsTest() : FullRunTest("calls") {
    machine.installGame(e2e::staysAfterRun(machine, stage::finishedRun().text()));
    machine.installLiveSplit({.listens = false});
    timer_.replyState("NotRunning", std::nullopt, std::nullopt, 0.0);
    timer_.reply("getcurrenttimerphase", {stage::TimerReply::close(), stage::TimerReply::close(),
                                          stage::TimerReply::line("NotRunning")});
  }

  stage::TimerServer timer_;
};

TEST_F(OwnCallsTest, aRunWithoutSteamAndServer) {
  // There is no file of this name, so the early start leaves it; the second one tries.
  const std::string liveSplit = textOf(machine.liveSplitFolder() / "LiveSplit");
  set("steam", textOf(machine.root() / "no.exe"));
  set("livesplit", liveSplit);
  set("livesplit_lss", textOf(machine.splits()));
  set("server", stage::unreachableUrl());
  machine.writeIni(settings);
  stage::writeFile(machine.app() / "kov_result.exe", "not a program\n");
  const stage::MessageBoxWatcher boxes;
  const std::string state = textOf(machine.data() / "launch.state");
  e2e::CallTrace trace(machine.root(), machine.timeline(),
                       [&](std::string_view path, std::string_view bytes) {
                         if (path == state && bytes == "playing") machine.endGame();
                       });
  trace.ownCalls().before("Sleep", [](stage::Debugger::Call& call) {
    if (call.argument<std::uint32_t>(1) == 500) call.setArgument(1, 0);
  });
  ASSERT_EQ(trace.run(machine.launcher(), 60000), 0U);

  const auto unreachable = [](const std::string& request) {
    Lines calls = e2e::callsOfHttp(request);
    calls.erase(calls.begin() + 4, calls.begin() + 6);  // no answer is read
    return calls;
  };
  const std::string game = textOf(machine.gameExe());
  const std::string card = "\"" + textOf(machine.app() / "kov_result.exe") + "\"";
  const Lines asksInVain = e2e::joined({e2e::callsOfTimer("getcurrenttimerphase"), {"Sleep 500"}});
  EXPECT_EQ(
      e2e::asText(trace.ownCalls().linesWithoutRepeats()),
      e2e::asText(e2e::joined({
          e2e::callsOfStart("\"" + liveSplit + "\" \"" + textOf(machine.splits()) + "\""),
          {"CloseHandle LiveSplit thread", "CloseHandle LiveSplit process"},
          asksInVain,
          asksInVain,
          e2e::callsOfTimer("getcurrenttimerphase"),
          unreachable("GET /week/current"),
          unreachable("GET /leaderboard"),
          unreachable("GET /board-data"),
          unreachable("GET /board-en"),
          unreachable("GET /leaderboard.txt"),
          unreachable("GET /leaderboard.tsv"),
          e2e::callsOfStart("\"" + game + "\"", textOf(machine.gameFolder())),
          {"CloseHandle Backrooms-Win64-Shipping.exe thread",
           "CloseHandle Backrooms-Win64-Shipping.exe process", "Sleep 500",
           "OpenProcess 0x100000, inherits 0", "WaitForSingleObject opened process without limit",
           "CloseHandle opened process", "GetLocalTime"},
          e2e::callsOfStart(card + " --mode progress --state \"" +
                            textOf(machine.data() / "upload.state") + "\""),
          {"  failed"},
          // No time at all: each of the three is asked for.
          e2e::callsOfTimer("getfinaltime", {"getlastsplittime", "getcurrenttime"}),
          e2e::callsOfTimer("getcurrenttimerphase"),
          e2e::callsOfTimer("getfinaltime", {"getlastsplittime", "getcurrenttime"}),
          e2e::callsOfTimer("getfinaltime", {"getlastsplittime", "getcurrenttime"}),
          unreachable("POST /submit"),
          {"GetLocalTime"},
          e2e::callsOfStart(card + " --ok 0 --kind fail --total 0 --difficulty normal "
                                   "--ending main --rank 0 --points 0 --msg \"Network error. "
                                   "Result saved locally - it will retry next launch.\""),
          {"  failed"},
      })));
  EXPECT_EQ(boxes.boxes().size(), 1U);
}

}  // namespace
