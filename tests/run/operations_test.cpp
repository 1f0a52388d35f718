// Operations called with what no run passes them: each must still keep to what its header
// says.

#include <gtest/gtest.h>

#include <string>
#include <vector>

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

}  // namespace
}  // namespace launcher
