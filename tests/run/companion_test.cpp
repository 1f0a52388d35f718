// The companion's pages and buttons on the machine in memory.

#include <gtest/gtest.h>

#include <algorithm>
#include <string>
#include <vector>

#include "check/actions.h"
#include "check/report.h"
#include "tests/run/companion.h"
#include "tests/run/invariants.h"
#include "tests/run/world.h"

namespace worlds {
namespace {

namespace check = launcher::check;

constexpr check::Language kEnglish = check::Language::english;

class Companion : public ::testing::TestWithParam<World> {};

/// Every page, with its slow questions; what it says in all.
std::string look() {
  const check::Machine looked = check::readMachine();
  check::Findings page = check::quickFindings(looked, kEnglish);
  for (const check::Question question : check::kQuestions) {
    check::putAnswer(page, question, check::ask(question, looked, kEnglish));
  }
  return check::supportText(looked, page, check::readRuns(looked, kEnglish), kEnglish);
}

std::ptrdiff_t posts(const machine::Machine& machine) {
  return std::count_if(machine.requests.begin(), machine.requests.end(),
                       [](const machine::Request& request) { return request.method == "POST"; });
}

TEST_P(Companion, lookingChangesNothing) {
  Scene scene(GetParam());
  for (int starts = 0; starts < 2; ++starts) {
    const auto before = scene.machine.files.below("C:\\");
    const std::size_t programs = scene.machine.starts.size();
    const std::ptrdiff_t sent = posts(scene.machine);
    scene.machine.logPath.reset();
    const std::string text = look();
    EXPECT_NE(text.find("kov_check "), std::string::npos);
    EXPECT_EQ(text.find("kq7-4821"), std::string::npos);  // the login code
    EXPECT_EQ(scene.machine.files.below("C:\\"), before);
    EXPECT_EQ(scene.machine.starts.size(), programs);
    EXPECT_EQ(posts(scene.machine), sent);
    (void)play(scene);
  }
}

INSTANTIATE_TEST_SUITE_P(Every, Companion, ::testing::ValuesIn(namedWorlds()),
                         [](const auto& world) { return testName(world.param); });

TEST(CompanionButtons, gamesPathIsWrittenAsALine) {
  Scene scene{World()};
  const std::string ini = scene.app() + "\\launcher.ini";
  const std::string before = scene.machine.files.bytesOf(ini).value_or("");
  const auto pathOf = [](const std::string& path) {
    return machine::toWide(machine::fromUtf8(path));
  };
  const check::Machine looked = check::readMachine();
  EXPECT_FALSE(check::writeGame(looked, pathOf("C:\\Steam\\steam.exe"), kEnglish).done);
  EXPECT_EQ(scene.machine.files.bytesOf(ini), before);
  EXPECT_TRUE(check::writeGame(looked, pathOf(scene.gameExe()), kEnglish).done);
  EXPECT_EQ(scene.machine.files.bytesOf(ini), before + "game=" + scene.gameExe() + "\r\n");
  EXPECT_EQ(check::readMachine().settings.game, scene.gameExe());
}

TEST(CompanionButtons, heldSettingsStayAsTheyAre) {
  Scene scene{World()};
  const std::string ini = scene.app() + "\\launcher.ini";
  const auto before = scene.machine.files.below("C:\\");
  scene.machine.files.at(ini)->sharing = machine::Sharing::readOnly;
  const check::Machine looked = check::readMachine();
  const std::wstring game = machine::toWide(machine::fromUtf8(scene.gameExe()));
  EXPECT_FALSE(check::writeGame(looked, game, kEnglish).done);
  EXPECT_EQ(scene.machine.files.below("C:\\"), before);
}

TEST(CompanionButtons, queuedRunIsNotQueuedAgain) {
  Scene scene{namedWorld("upload")};  // with a receipt that was never delivered
  const check::Machine looked = check::readMachine();
  const check::RunRows runs = check::readRuns(looked, kEnglish);
  const auto run = std::find_if(runs.begin(), runs.end(), [](const check::RunRow& row) {
    return !row.queueSource.empty();
  });
  ASSERT_NE(run, runs.end());
  EXPECT_TRUE(check::putIntoQueue(looked, *run, kEnglish).done);
  EXPECT_TRUE(scene.isQueued(kOld));
  EXPECT_FALSE(check::putIntoQueue(looked, *run, kEnglish).done);
  EXPECT_EQ(check::queuedRuns(looked), 1);
  EXPECT_TRUE(check::resendQueue(looked, kEnglish).done);
  EXPECT_EQ(scene.accepted(kOld), 1);
  EXPECT_EQ(check::queuedRuns(looked), 0);
}

TEST(CompanionButtons, entryNeverReplacesAnother) {
  Scene scene{namedWorld("upload")};
  const std::string taken = scene.data() + "\\pending\\p_20261114_201501.json";
  scene.machine.files.put(taken, receiptOf(kOther));
  const ByHand done = queueByHand(scene, false);
  EXPECT_EQ(done.broken, std::vector<std::string>());
  EXPECT_EQ(done.queued, 1U);
  EXPECT_EQ(scene.machine.files.bytesOf(taken), receiptOf(kOther));
  EXPECT_EQ(scene.machine.files.bytesOf(scene.data() + "\\pending\\p_20261114_201502.json"),
            receiptOf(kOld));
}

}  // namespace
}  // namespace worlds
