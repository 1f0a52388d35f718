// LiveSplit's answers as they come over a real connection, through the whole program: in pieces,
// cut, reset, late. Each look at the timer is one connection.

#include <gtest/gtest.h>

#include <ostream>
#include <string>
#include <vector>

#include "rehearsal/stage/stage.h"
#include "tests/e2e/full_run.h"

namespace e2e {
namespace {

using stage::TimerReply;

/// One fault: how every command is answered, and what the launcher makes of it.
struct TimerFault {
  const char* name;
  TimerReply reply;       ///< to the phase and to each of the three times
  std::string phase;      ///< as logged
  std::string time = {};  ///< that is read; empty: none
  std::string diff = {};  ///< to the last split
};

void PrintTo(const TimerFault& fault, std::ostream* out) { *out << fault.name; }

std::vector<TimerFault> timerFaults() {
  return {
      {"resetsOnEachCommand", TimerReply::reset(), "(none)"},
      // The first segment is the whole reply: 12 s out of "00:12:34.56", and no more.
      {"replyInTwoSegments", TimerReply::inTwoSegments("00:12:", "34.5600000\n", 50),
       "00:12:", "12.00", "-742.56"},
      // The rest of one reply is taken for the next command's.
      {"replyCutBeforeItsColon", TimerReply::inTwoSegments("0", "0:12:34.5600000\n", 50), "0",
       "754.56", "0.00"},
      {"replyOf2000Bytes", TimerReply::raw("00:12:34.57" + std::string(2000 - 11, '0')),
       "00:12:34.57" + std::string(500, '0'), "754.57", "0.01"},
  };
}

class TimerTest : public UploadTest {
 protected:
  TimerTest() { machine.writeReceipt(stage::finishedRun().text()); }

  /// The log of a delivered run that read this time, or none.
  static Lines deliveredLog(const std::string& phase, const std::string& time,
                            const std::string& diff) {
    const bool read = !time.empty();
    Lines crossCheck;
    if (read) {
      crossCheck.push_back("cross-check: livesplit=" + time + " lastSplit=754.56 diff=" + diff);
    }
    if (diff.starts_with("-")) {
      crossCheck.push_back(
          "WARN: livesplit stopped before last split (likely early stop, review manually)");
    }
    return uploadLog(
        joined({{read ? "livesplit probe ok: " + time : kNoProbe, "livesplit phase: " + phase,
                 kEndingMain},
                crossCheck,
                {read ? "livesplit time used: " + time + " (receipt said 754.560)" : kReceiptTime,
                 kNormal, std::string("upload response: ") + kAccepted}}),
        true);
  }
};

class TimerFaults : public TimerTest, public ::testing::WithParamInterface<TimerFault> {};

TEST_P(TimerFaults, runIsDelivered) {
  const TimerFault& fault = GetParam();
  stage::TimerServer timer;
  for (const char* command :
       {"getfinaltime", "getlastsplittime", "getcurrenttime", "getcurrenttimerphase"}) {
    timer.reply(command, std::vector<TimerReply>{fault.reply});
  }
  const stage::RunResult run = upload();
  EXPECT_EQ(run.exitCode, 0U);
  EXPECT_EQ(run.logLines(), deliveredLog(fault.phase, fault.time, fault.diff));
  EXPECT_EQ(timer.connections(), 4U);
  ASSERT_EQ(submissions().size(), 1U);
}

INSTANTIATE_TEST_SUITE_P(Each, TimerFaults, ::testing::ValuesIn(timerFaults()),
                         [](const auto& each) { return std::string(each.param.name); });

// LiveSplit opens the splits of its own settings, not those of launcher.ini: with a best in
// them, a timer that was not ended submits that best.
TEST_F(TimerTest, bestOfTheSplitsThatLiveSplitOpenedIsReadAsTheRunsTime) {
  machine.installLiveSplit({.phase = "Running", .currentTime = 760.0});
  const std::filesystem::path other = machine.liveSplitFolder() / "other.lss";
  stage::writeFile(other, stage::splitsFile("01:23:45.6780000"));
  stage::writeFile(machine.liveSplitFolder() / "settings.cfg",
                   stage::liveSplitSettings({}, stage::textOf(other)));
  machine.startLiveSplit();
  EXPECT_EQ(upload().logLines(), deliveredLog("Running", "5025.68", "4271.12"));
  machine.endLiveSplit();
}

class TimerTestLong : public TimerTest {};

// There is no time-out: however long the timer thinks, its answer is waited for.
TEST_F(TimerTestLong, answerAfterTwentySecondsStillCounts) {
  stage::TimerServer timer;
  timer.replyEnded(754.6);
  TimerReply late = TimerReply::line("00:12:34.6000000");
  late.delayMs = 20000;
  timer.reply("getfinaltime", {late, TimerReply::line("00:12:34.6000000")});
  const stage::RunResult run = upload();
  EXPECT_EQ(run.logLines(), deliveredLog("Ended", "754.60", "0.04"));
  EXPECT_GE(run.elapsedMs, 20000U);
}

}  // namespace
}  // namespace e2e
