// Operations called with what no run passes them: each must still keep to what its header
// says.

#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "server/pending_queue.h"
#include "steam/game_launch.h"
#include "steam/mod_install.h"
#include "tests/machine/machine.h"

namespace launcher {
namespace {

using Lines = std::vector<std::string>;

TEST(GameLaunch, withoutAGameSettingNothingIsStartedDirectly) {
  machine::Machine machine;
  EXPECT_FALSE(launchAndWait(Settings()));
  EXPECT_TRUE(machine.starts.empty());
  EXPECT_EQ(machine.logged, Lines{"game process did not appear within 120s"});
}

TEST(ModInstall, withoutAGameNothingIsLooked) {
  machine::Machine machine;
  machine.recording = true;
  Settings settings;
  settings.install_from = "C:\\package";
  installMod(settings);
  EXPECT_EQ(machine.record, Lines{});
}

TEST(ModInstall, missingGameFolderIsSkipped) {
  machine::Machine machine;
  machine.files.makeFolder("C:\\package");
  Settings settings;
  settings.install_from = "C:\\package";
  settings.game = "C:\\gone\\game.exe";
  installMod(settings);
  EXPECT_EQ(machine.logged, Lines{"install skipped (game or package path missing)"});
}

TEST(ModInstall, treeThatIsNoneMakesNoFolder) {
  machine::Machine machine;
  copyTree("C:\\gone", "C:\\target");
  EXPECT_TRUE(machine.files.below("C:\\target").empty());
  EXPECT_EQ(machine.logged, Lines{});
}

/// "path|sendable|accepted|reply" of each.
Lines shown(const std::vector<Resent>& results) {
  Lines lines;
  for (const Resent& result : results) {
    lines.push_back(result.path + "|" + (result.sendable ? "sendable" : "no run") + "|" +
                    (result.accepted ? "accepted" : "kept") + "|" + result.reply);
  }
  return lines;
}

TEST(PendingQueue, saysWhatBecameOfEachRun) {
  machine::Machine machine;
  machine.files.put("C:\\data\\pending\\a.json", "{\"seed\":1}");
  machine.files.put("C:\\data\\pending\\b.json", "no run");
  machine.files.put("C:\\data\\pending\\c.json", "{\"seed\":3}");
  machine.servers["race.example:80"] = [](machine::Machine&, const machine::Request& request) {
    const bool first = request.body.find("\"seed\":1") != std::string::npos;
    return machine::Reply{.body = first ? "{\"accepted\":true}" : "{\"accepted\":false}"};
  };
  Settings settings;
  settings.data = "C:\\data";
  settings.server = "http://race.example";
  std::vector<Resent> results;
  flushPending(settings, &results);
  EXPECT_EQ(shown(results), (Lines{"C:\\data\\pending\\a.json|sendable|accepted|{\"accepted\":true}",
                                   "C:\\data\\pending\\b.json|no run|kept|",
                                   "C:\\data\\pending\\c.json|sendable|kept|{\"accepted\":false}"}));
  EXPECT_FALSE(machine.files.bytesOf("C:\\data\\pending\\a.json").has_value());
}

}  // namespace
}  // namespace launcher
