// Single facts of whole runs for which a list of calls would say too much or too little: words
// that are compared exactly, files that are replaced, and what the next start puts right.

#include <gtest/gtest.h>

#include <map>
#include <optional>
#include <string>
#include <vector>

#include "rehearsal/stage/samples.h"
#include "tests/run/invariants.h"
#include "tests/run/world.h"

namespace worlds {
namespace {

using Lines = std::vector<std::string>;

/// True when the run went on as a dry run does.
bool isDryRun(const Scene& scene) {
  const Lines log = scene.log();
  return log.size() > 1 && log[1].starts_with("steam detected: ");
}

TEST(RunDetails, onlyTheExactWordsAreModes) {
  for (const char* argument :
       {"", "--Detect", "--PROFILE", "--Upload", "--detect=1", "--detects", "--uploads",
        "--upload ", " --profile", "-upload", "upload", "--", "--help"}) {
    World world;
    world.dryrun = true;
    world.argument = argument;
    Scene scene(world);
    EXPECT_EQ(scene.run(), 0) << argument;
    EXPECT_TRUE(isDryRun(scene)) << argument;
  }
}

TEST(RunDetails, onlyTheExactDifficultiesAreChoices) {
  stage::Receipt run = stage::finishedRun();
  run.difficulty.clear();
  const struct {
    const char* choice;
    const char* sent;
  } cases[] = {{"easy", "easy"},          {"normal \r\n", "normal"}, {"nightmare\n", "nightmare"},
               {"Nightmare", "settings"}, {" normal", "settings"},   {"normal\t", "settings"},
               {"normal x", "settings"},  {"", "settings"},          {"\r\n", "settings"}};
  for (const auto& one : cases) {
    World world;
    world.argument = "--upload";
    world.difficulty = "settings";
    Scene scene(world);
    scene.machine.files.put(scene.receipt(), run.text());
    scene.machine.files.put(scene.data() + "\\choice.txt", one.choice);
    EXPECT_EQ(scene.run(), 0);
    ASSERT_EQ(scene.machine.requests.size(), 1U);
    EXPECT_EQ(scene.machine.requests[0].body,
              "{\"player\":\"runner\",\"playerId\":\"76561198000000001\",\"difficulty\":\"" +
                  std::string(one.sent) + "\"," + run.text().substr(1))
        << one.choice;
  }
}

// Two runs within one second have one name: the later copy replaces the earlier.
TEST(RunDetails, copiesOfTheSameSecondAreReplaced) {
  Scene scene(namedWorld("offline"));
  const Lines names = {"receipts\\receipt_20261121_230007.json", "pending\\p_20261121_230009.json"};
  for (const std::string& name : names) {
    scene.machine.files.put(scene.data() + "\\" + name, std::string(5000, 'x'));
  }
  EXPECT_EQ(scene.run(), 0);
  for (const std::string& name : names) EXPECT_EQ(scene.dataFile(name), receiptOf(kRun)) << name;
}

TEST(RunDetails, shorterFilesReplaceLongerOnes) {
  const Lines names = {"week.json",    "leaderboard.json", "board_data.txt", "board_en.txt",
                       "board.txt",    "board.tsv",        "rand_seed.txt",  "timer.enabled",
                       "board.toggle", "launch.state",     "upload.state",   "profile_token.txt"};
  const auto filesAfterARun = [&names](bool overLongerOnes) {
    Scene scene{World{}};
    for (const std::string& name : names) {
      if (overLongerOnes)
        scene.machine.files.put(scene.data() + "\\" + name, std::string(5000, 'x'));
    }
    EXPECT_EQ(scene.run(), 0);
    Lines texts;
    for (const std::string& name : names) texts.push_back(scene.dataFile(name).value_or("(none)"));
    return texts;
  };
  EXPECT_EQ(filesAfterARun(true), filesAfterARun(false));
}

TEST(RunDetails, everyFileOfALargePackageIsCopiedAndCountedOnce) {
  constexpr int kFolders = 50;
  constexpr int kFilesInEach = 40;
  Scene scene{World{}};
  const std::string atlas = "\\ue4ss\\Mods\\Atlas\\";
  Lines expected;
  for (int folder = 10; folder < 10 + kFolders; ++folder) {
    for (int file = 10; file < 10 + kFilesInEach; ++file) {
      scene.machine.files.put(
          "C:\\kov\\pkg" + atlas + std::to_string(folder) + "\\" + std::to_string(file) + ".lua",
          std::to_string(folder * file));
    }
    expected.push_back("installed 40 files into " + scene.gameFolder() + atlas +
                       std::to_string(folder));
  }
  scene.machine.callLimit = 20000;
  const auto installed = [&scene](std::size_t from) {
    Lines lines;
    const Lines log = scene.log();
    for (std::size_t i = from; i < log.size(); ++i) {
      if (log[i].starts_with("installed ")) lines.push_back(log[i]);
    }
    return lines;
  };
  EXPECT_EQ(scene.run(), 0);
  EXPECT_EQ(installed(0), expected);
  EXPECT_EQ(scene.machine.files.bytesOf(scene.gameFolder() + atlas + "59\\49.lua"), "2891");
  const std::size_t first = scene.log().size();
  EXPECT_EQ(scene.run(), 0);
  EXPECT_EQ(installed(first), Lines{});
}

// What a stopped run left half done the next one does whole: the mod, the week, the flags and the
// login code. LiveSplit's settings, emptied and not yet written, have no layout to put right.
TEST(RunDetails, nextStartPutsRightWhatAStopLeftHalfDone) {
  World world = namedWorld("queued");
  world.mod = Mod::missing;
  const auto fixedFiles = [](const Scene& scene) {
    std::map<std::string, std::string> files;
    for (const char* name : {"week.json", "rand_seed.txt", "timer.enabled", "board.toggle",
                             "launch.state", "profile_token.txt"}) {
      files[name] = scene.dataFile(name).value_or("(none)");
    }
    files["settings.cfg"] =
        scene.machine.files.bytesOf(scene.world.root + "\\ls\\settings.cfg").value_or("(none)");
    for (const auto& [path, bytes] : scene.machine.files.below(scene.gameFolder())) {
      files[path] = bytes;
    }
    return files;
  };
  std::map<std::string, std::string> expected;
  std::vector<machine::Call> calls;
  {
    Scene whole(world);
    (void)play(whole);
    expected = fixedFiles(whole);
    calls = whole.machine.calls;
  }
  std::size_t emptied = 0;
  for (std::size_t call = 0; call < calls.size(); ++call) {
    for (const bool inMiddle : {false, true}) {
      if (inMiddle && !machine::hasMiddle(calls[call])) continue;
      Scene scene(world);
      scene.machine.stopAt = machine::Stop{call, inMiddle};
      (void)play(scene);
      scene.machine.stopAt.reset();
      const std::string settings = scene.world.root + "\\ls\\settings.cfg";
      const bool isEmptied = scene.machine.files.bytesOf(settings) == "";
      (void)play(scene);
      std::map<std::string, std::string> found = fixedFiles(scene);
      if (isEmptied) {
        ++emptied;
        EXPECT_EQ(found["settings.cfg"], "");
        found["settings.cfg"] = expected.at("settings.cfg");
      }
      EXPECT_EQ(found, expected) << "stop " << (inMiddle ? "in" : "before") << " call " << call;
    }
  }
  EXPECT_EQ(emptied, 1U);
}

}  // namespace
}  // namespace worlds
