// Runs of --upload as the outside sees them, step by step: what is asked before what, what is
// deleted before what, and which of several members of a receipt counts.

#include <gtest/gtest.h>

#include "tests/e2e/call_trace.h"
#include "tests/e2e/support.h"

namespace {

using e2e::Lines;
using e2e::logged;
using stage::textOf;

class UploadOrder : public testing::Test {
 protected:
  UploadOrder() { timer_.replyEnded(754.6); }

  /// Runs --upload with these settings after `receipt` and `data`. Its exit code.
  std::optional<std::uint32_t> upload(const std::string& settings) {
    machine_.writeRawIni("receipt=" + textOf(machine_.receipt()) +
                         "\r\ndata=" + textOf(machine_.data()) + "\r\nserver=" + server_.url() +
                         "\r\nplayer=runner\r\n" + settings);
    e2e::CallTrace trace(machine_.root(), machine_.timeline());
    return trace.run(machine_.launcher(), 60000, L"--upload");
  }
  /// What happened between the first line of the mode and the last.
  [[nodiscard]] std::string steps() const {
    Lines lines = e2e::linesInStep(machine_);
    lines.erase(lines.begin(), lines.begin() + 2);
    return e2e::asText(lines);
  }
  /// One question to the timer and its answer.
  static Lines asked(int connection, const std::string& command, const std::string& reply) {
    return {"timer connect " + std::to_string(connection), "timer command " + command,
            "timer reply " + reply};
  }
  /// The launcher's probe, which comes before anything is judged.
  static Lines probed() {
    return e2e::joined(
        {asked(1, "getfinaltime", "00:12:34.6000000"), {"log livesplit probe ok: 754.60"}});
  }
  stage::Stage machine_{"order"};
  stage::RaceServer server_{{.timeline = machine_.timeline()}};
  stage::TimerServer timer_{{.timeline = machine_.timeline()}};
};

// The last time is not the ending's, the first difficulty is not in the game's form, and the
// settings hold the byte at which a text file ends.
TEST_F(UploadOrder, anAcceptedRunOfTheMod) {
  machine_.installBrowser();
  timer_.reply("getcurrenttimerphase", "Endedx");
  server_.answer("POST", "/submit", stage::Reply::json(R"({"accepted":true,"token":"k4-17"})"));
  const std::string run =
      R"({"status":"running","splits":[{"i":0,"map":"Level 0","t":1.50},)"
      R"({"i":1,"map":"ENDING:main","t":9.50},{"i":2,"map":"Level 9","t":750.25}],)"
      R"("ending":"main","total":9.50,"difficulty": "easy","more":{"difficulty":"nightmare"}})";
  machine_.writeReceipt("{\"the\":\"receipt\"}");
  machine_.writeModResult(run);
  ASSERT_EQ(upload("note=\x1A\r\nsite=https://after.example\r\n"), 0U);
  EXPECT_EQ(steps(),
            e2e::asText(e2e::joined({
                probed(),
                {"log using kovw_result.json (in-game timer)"},
                asked(2, "getcurrenttimerphase", "Endedx"),
                {"log livesplit phase: Endedx",
                 "log ending inferred from splits: main (map=ENDING:main t=9.50)"},
                asked(3, "getfinaltime", "00:12:34.6000000"),
                {"log cross-check: livesplit=754.60 lastSplit=750.25 diff=4.35",
                 "log mod in-game time is authoritative, livesplit only cross-checked",
                 "log difficulty from game (receipt): nightmare",
                 R"(server request POST /submit {"player":"runner",)" +
                     stage::replaceAll(run.substr(1), "running", "ending"),
                 R"(server reply 200 {"accepted":true,"token":"k4-17"})",
                 R"(launcher write @\data\profile_token.txt k4-17)", "log profile token saved",
                 R"(launcher start "@\bin\browser.exe" "https://after.example/profile?token=k4-17")"
                 R"( in @\app\)",
                 R"(launcher write @\data\profile_opened.flag 1)", logged(e2e::kPageOpened),
                 R"(log upload response: {"accepted":true,"token":"k4-17"})",
                 R"(launcher delete @\data\kovw_result.json)", R"(launcher delete @\receipt.json)",
                 logged(e2e::kUploadModeOk), "launcher exit 0"},
            })));
}

}  // namespace
