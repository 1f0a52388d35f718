// LiveSplit's real process: started once with the player's splits, left running, and its names in
// the code page's characters.

#include <gtest/gtest.h>

#include "tests/e2e/full_run.h"

namespace e2e {
namespace {

namespace fs = std::filesystem;
using stage::readFile;
using stage::textOf;

/// The launcher with LiveSplit's files and splits.
class LiveSplitStart : public FullRunTest {
 protected:
  LiveSplitStart() {
    machine.installLiveSplit({.listens = false});
    set("livesplit", textOf(machine.liveSplitExe()));
    set("livesplit_lss", textOf(machine.splits()));
  }

  /// settings.cfg as installed, with these recent layouts.
  [[nodiscard]] std::string settingsWith(const Lines& layouts) const {
    return stage::liveSplitSettings(layouts, textOf(machine.splits()));
  }
  static std::string fixed(const std::string& layout) {
    return "livesplit layout path fixed to " + layout;
  }
  /// The command lines of every LiveSplit that was started.
  [[nodiscard]] Lines started() const {
    EXPECT_TRUE(machine.timeline().waitFor("livesplit", "start"));
    Lines all;
    for (const stage::Event& event : machine.timeline().events("livesplit", "start")) {
      all.push_back(event.text);
    }
    return all;
  }
};

TEST_F(LiveSplitStart, itIsStartedOnceWithTheSplitsAndLeftRunning) {
  // Its server comes up late and is waited for.
  machine.setLiveSplit({.listens = true, .delayMs = 1200});
  const std::string layout = textOf(machine.liveSplitFolder() / "halvorn.lsl");
  const stage::RunResult run = play();
  EXPECT_EQ(maskedLog(run), wholeLog({.early = {fixed(layout), kTimerStartedEarly},
                                      .timer = {kTimerRuns, kTimerReachable}}));
  EXPECT_EQ(started(), Lines{"\"" + textOf(machine.liveSplitExe()) + "\" \"" +
                             textOf(machine.splits()) + "\""});
  const std::vector<stage::RunningProcess> running = stage::findProcesses("LiveSplit.exe");
  ASSERT_EQ(running.size(), 1U);
  EXPECT_TRUE(run.hasLogLine("livesplit already running (pid " + std::to_string(running[0].id) +
                             "), not opening another"));
  EXPECT_EQ(readFile(machine.liveSplitFolder() / "settings.cfg"), settingsWith({layout, layout}));
  // What the player reads meanwhile is on the console alone, right after the line.
  const std::string line = std::string(kTimerStartedEarly) + "\r\n";
  std::string console = run.log + kEnterPrompt;
  console.insert(console.find(line) + line.size(), kTimerLoading);
  EXPECT_EQ(run.console, console);
}

/// LiveSplit below a folder with such a name, and splits with such a name.
class InAnsiFolder : public LiveSplitStart {
 protected:
  InAnsiFolder() { timer_.replyState("NotRunning", std::nullopt, std::nullopt, 0.0); }

  void expectStartedIn(const std::string& name) {
    const fs::path folder = machine.root() / stage::pathOf(name);
    fs::rename(machine.liveSplitFolder(), folder);
    const std::string program = textOf(folder / "LiveSplit.exe");
    const std::string splits = textOf(folder) + "\\" + name + ".lss";
    set("livesplit", stage::toAnsi(program));
    set("livesplit_lss", stage::toAnsi(splits));
    const std::string layout = stage::toAnsi(textOf(folder / "halvorn.lsl"));
    EXPECT_EQ(maskedLog(play()), wholeLog({.early = {fixed(layout), kTimerStartedEarly},
                                           .timer = {kTimerRuns, kTimerReachable}}));
    EXPECT_EQ(started(), Lines{"\"" + program + "\" \"" + splits + "\""});
    // Raw bytes of the code page, whatever the file says about its encoding.
    EXPECT_EQ(readFile(folder / "settings.cfg"), settingsWith({layout, layout}));
  }

 private:
  stage::TimerServer timer_;
};

class LiveSplitStartAnsi : public InAnsiFolder {};

TEST_F(LiveSplitStartAnsi, westernNamesReachLiveSplitAsCharacters) {
  ASSERT_EQ(stage::ansiCodePage(), 1252U);
  expectStartedIn("chrono d'été");
}

class LiveSplitStartCp936 : public InAnsiFolder {};

TEST_F(LiveSplitStartCp936, chineseNamesReachLiveSplitAsCharacters) {
  ASSERT_EQ(stage::ansiCodePage(), 936U);
  expectStartedIn("计时器");
}

}  // namespace
}  // namespace e2e
