// The card as a process: started by two paths, followed by its state file, waited for, and left
// when it stays.

#include <gtest/gtest.h>

#include "tests/e2e/call_trace.h"
#include "tests/e2e/full_run.h"

namespace e2e {
namespace {

namespace fs = std::filesystem;
using stage::Reply;
using stage::textOf;

/// A finished run that the server accepts.
class ResultCard : public FullRunTest {
 protected:
  ResultCard() {
    withServer();
    machine.writeReceipt(stage::finishedRun().text());
  }

  [[nodiscard]] std::string card() const {
    return "\"" + textOf(machine.app() / "kov_result.exe") + "\"";
  }
  [[nodiscard]] std::string progressOf(const fs::path& data) const {
    return card() + " --mode progress --state \"" + textOf(data) + "\\upload.state\"";
  }
  static constexpr char kValues[] =
      " --ok 1 --kind ok --total 754.560 --difficulty normal --ending main --rank 3 --points 90";
  /// The log of the accepted run with these last lines.
  [[nodiscard]] Lines logOf(const Lines& result) const {
    return wholeLog({.weekly = weeklyUpdated(),
                     .receipt = archived(kFinishedSummary),
                     .upload = judged(kAccepted),
                     .result = result});
  }
};

TEST_F(ResultCard, theProgressCardFollowsTheUploadAndGoesBeforeTheResult) {
  const fs::path data = machine.root() / "my data";
  set("data", textOf(data));
  machine.installCard({.progressStayMs = 700});
  server.answer("POST", "/submit", Reply::json(kAccepted).after(1000));
  stage::LauncherRun run = start();
  ASSERT_TRUE(run.waitForLog("waiting for exit..."));
  machine.endGame();
  EXPECT_TRUE(run.wait().hasLogLine(kCardOk));
  Lines events;
  for (const stage::Event& event : machine.timeline().events("card")) {
    events.push_back(event.what + " " + event.text);
  }
  EXPECT_EQ(events, (Lines{"start " + progressOf(data), "state uploading", "state done", "exit 0",
                           "start " + card() + kValues, "exit 0"}));
}

TEST_F(ResultCard, theLauncherWaitsForTheResultCardsEnd) {
  machine.installCard({.stayMs = 1500});
  stage::LauncherRun run = start();
  ASSERT_TRUE(run.waitForLog("waiting for exit..."));
  machine.endGame();
  ASSERT_TRUE(machine.timeline().waitFor("card", "start", 2));
  EXPECT_EQ(machine.dataFile("launch.state"), "uploading");
  ASSERT_TRUE(run.waitForLog(kDoneLine));
  EXPECT_EQ(machine.timeline().events("card", "exit").size(), 2U);
  EXPECT_EQ(run.wait().exitCode, 0U);
}

// The waits of 4 and 15 seconds are cut here; their lengths stand in the calls of a run.
TEST_F(ResultCard, cardsThatStayAreLeftRunning) {
  machine.installCard({.stayMs = 120000, .progressStayMs = 120000});
  machine.writeIni(settings);
  machine.setGame({.waitMs = 0, .untilEnded = true});
  machine.startGame();
  const std::string state = textOf(machine.data() / "launch.state");
  CallTrace trace(machine.root(), machine.timeline(),
                  [&](std::string_view path, std::string_view bytes) {
                    if (path == state && bytes == "playing") machine.endGame();
                  });
  Lines waits;
  trace.ownCalls().before("WaitForSingleObject", [&](stage::Debugger::Call& call) {
    const auto limit = call.argument<std::uint32_t>(2);
    if (limit == INFINITE) return;
    waits.push_back(std::to_string(limit));
    // The card has come up before the wait for it ends.
    EXPECT_TRUE(machine.timeline().waitFor("card", "start", waits.size()));
    call.setArgument(2, 50);
  });
  EXPECT_EQ(trace.run(machine.launcher(), 60000), 0U);
  EXPECT_EQ(waits, (Lines{"4000", "15000"}));
  EXPECT_EQ(maskedLines(machine.logBytes()), logOf({kDelivered, kCardOk}));
  EXPECT_EQ(stage::findProcesses("kov_result.exe").size(), 2U);
}

/// The program folder has a letter that the ANSI code page only knows without its accent, so
/// the narrow path of the program names another folder than the wide one.
TEST_F(ResultCard, theProgressCardHasTheNarrowPathAndTheResultCardTheWide) {
  ASSERT_EQ(stage::ansiCodePage(), 1252U);
  const fs::path wide = machine.root() / stage::pathOf("āpp");
  const fs::path launcher = copyLauncher(machine, wide);
  for (const char* file : {"kov_result.exe", "kov_result.json"}) {
    fs::copy_file(machine.app() / file, wide / file);
  }
  machine.writeIni(settings);  // found in the narrow folder
  machine.setGame({.waitMs = 0, .untilEnded = true});
  machine.startGame();
  stage::RunOptions options;
  options.environment["LOCALAPPDATA"] = textOf(machine.local());
  stage::LauncherRun run(launcher, {}, options);
  if (run.waitForConsole("waiting for exit...")) machine.endGame();
  EXPECT_EQ(run.wait().exitCode, 0U);
  EXPECT_EQ(cards(), (Lines{progressOf(machine.data()),
                            "\"" + textOf(wide / "kov_result.exe") + "\"" + kValues}));
}

}  // namespace
}  // namespace e2e
