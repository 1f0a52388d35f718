// A timer whose answers are broken: what each of the four looks at it (probe, phase,
// cross-check, time choice) makes of them, and that the run is delivered all the same.

#include <gtest/gtest.h>

#include <ostream>
#include <string>
#include <vector>

#include "rehearsal/stage/stage.h"
#include "tests/e2e/upload_run.h"

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

std::string noise() {
  std::string bytes;
  for (unsigned i = 1; i <= 200; ++i) bytes += static_cast<char>(0x80U | (i * 37U));
  return bytes;
}

std::vector<TimerFault> timerFaults() {
  return {
      {"closesOnEachCommand", TimerReply::close(), "(none)"},
      {"resetsOnEachCommand", TimerReply::reset(), "(none)"},
      // The first segment is the whole reply: 12 s out of "00:12:34.56", and no more.
      {"replyInTwoSegments", TimerReply::inTwoSegments("00:12:", "34.5600000\n", 50), "00:12:",
       "12.00", "-742.56"},
      // The rest of one reply is taken for the next command's.
      {"replyCutBeforeItsColon", TimerReply::inTwoSegments("0", "0:12:34.5600000\n", 50), "0",
       "754.56", "0.00"},
      {"replyOf2000Bytes", TimerReply::raw("00:12:34.57" + std::string(2000 - 11, '0')),
       "00:12:34.57" + std::string(500, '0'), "754.57", "0.01"},
      {"garbageOf2000Bytes", TimerReply::raw(std::string(2000, 'x')), std::string(511, 'x')},
      {"noLineEnd", TimerReply::raw("00:12:34.5600000"), "00:12:34.5600000", "754.56", "0.00"},
      {"lineEndAlone", TimerReply::raw("\n"), "(none)"},
      {"binaryNoise", TimerReply::raw(noise()), noise()},
  };
}

class TimerFaults : public UploadTest, public ::testing::WithParamInterface<TimerFault> {
 protected:
  static Lines answeredLog(const TimerFault& fault) {
    const bool read = !fault.time.empty();
    Lines crossCheck;
    if (read) {
      crossCheck.push_back("cross-check: livesplit=" + fault.time +
                           " lastSplit=754.56 diff=" + fault.diff);
    }
    if (fault.diff.starts_with("-")) {
      crossCheck.push_back(
          "WARN: livesplit stopped before last split (likely early stop, review manually)");
    }
    return uploadLog(
        joined({{read ? "livesplit probe ok: " + fault.time : kNoProbe,
                 "livesplit phase: " + fault.phase,
                 "ending inferred from splits: main (map=ENDING:main t=754.56)"},
                crossCheck,
                {read ? "livesplit time used: " + fault.time + " (receipt said 754.560)"
                      : kReceiptTime,
                 "difficulty from game (receipt): normal",
                 std::string("upload response: ") + kAccepted}}),
        true);
  }
};

TEST_P(TimerFaults, runIsDelivered) {
  const TimerFault& fault = GetParam();
  stage::TimerServer timer;
  for (const char* command :
       {"getfinaltime", "getlastsplittime", "getcurrenttime", "getcurrenttimerphase"}) {
    timer.reply(command, std::vector<TimerReply>{fault.reply});
  }
  machine.writeReceipt(stage::finishedRun().text());
  const stage::RunResult run = upload();
  EXPECT_EQ(run.exitCode, 0U);
  EXPECT_EQ(run.logLines(), answeredLog(fault));
  EXPECT_EQ(timer.connections(), 4U);
  ASSERT_EQ(submissions().size(), 1U);
}

INSTANTIATE_TEST_SUITE_P(Each, TimerFaults, ::testing::ValuesIn(timerFaults()),
                         [](const auto& each) { return std::string(each.param.name); });

class TimerOddBytes : public UploadTest {
 protected:
  /// A timer that answers every time command with these bytes, and the phase with those.
  void answer(const std::string& time, const std::string& phase) {
    for (const char* command : {"getfinaltime", "getlastsplittime", "getcurrenttime"}) {
      timer.reply(command, std::vector<TimerReply>{TimerReply::raw(time)});
    }
    timer.reply("getcurrenttimerphase", std::vector<TimerReply>{TimerReply::raw(phase)});
  }

  stage::TimerServer timer;
};

// A time ends at a NUL, and so does what the log shows; but a phase with a NUL after it is
// not the phase "Ended" any more.
TEST_F(TimerOddBytes, nulBytesEndATimeAndSpoilAPhase) {
  answer(std::string("00:12:34.56\0" "99\n", 15), std::string("Ended\0\n", 7));
  machine.writeModResult("{\"status\":\"x\",\"ending\":\"main\",\"map\":\"Level 0\",\"t\":5}");
  const stage::RunResult run = upload();
  EXPECT_EQ(run.exitCode, 2U);
  EXPECT_EQ(run.logLines(),
            uploadLog({"livesplit probe ok: 754.56", kUsingModResult, "livesplit phase: Ended",
                       "run not finished, upload skipped (no ending map in splits)",
                       "skip reported: run not finished (no ending map)"},
                      false));
}

TEST_F(TimerOddBytes, replyThatBeginsWithANulIsEmptyInTheLogAndNoTime) {
  answer(std::string("\0" "00:12:34.56\n", 13), std::string("\0Ended\n", 7));
  machine.writeReceipt(stage::finishedRun().text());
  const stage::RunResult run = upload();
  EXPECT_EQ(run.exitCode, 0U);
  EXPECT_EQ(run.logLines(),
            uploadLog({kNoProbe, "livesplit phase: ",
                       "ending inferred from splits: main (map=ENDING:main t=754.56)",
                       kReceiptTime, "difficulty from game (receipt): normal",
                       std::string("upload response: ") + kAccepted},
                      true));
}

// A timer that goes away between two looks.
TEST_F(TimerOddBytes, timerThatEndsAfterTheProbeIsLikeNone) {
  timer.reply("getfinaltime", std::vector<TimerReply>{TimerReply::line("00:12:34.6000000"),
                                                      TimerReply::close()});
  timer.reply("getcurrenttimerphase", std::vector<TimerReply>{TimerReply::close()});
  machine.writeReceipt(stage::finishedRun().text());
  const stage::RunResult run = upload();
  EXPECT_EQ(run.exitCode, 0U);
  EXPECT_EQ(run.logLines(),
            uploadLog({"livesplit probe ok: 754.60", kNoPhase,
                       "ending inferred from splits: main (map=ENDING:main t=754.56)",
                       kReceiptTime, "difficulty from game (receipt): normal",
                       std::string("upload response: ") + kAccepted},
                      true));
}

}  // namespace
}  // namespace e2e
