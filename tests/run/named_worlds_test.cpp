// A run in each named world, compared whole: log, console, requests, programs started,
// boxes, files. What is compared with stands in tests/data/runs/, one file for each world;
// with KOV_WRITE_RUNS set the test writes these files instead, to be read before they are
// committed.

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdlib>
#include <fstream>
#include <iterator>
#include <string>

#include "tests/run/transcript.h"
#include "tests/run/world.h"

namespace worlds {
namespace {

std::string fileFor(const World& world) {
  std::string name = world.name;
  std::replace(name.begin(), name.end(), ' ', '_');
  return std::string(KOV_SOURCE_DIR) + "/tests/data/runs/" + name + ".txt";
}

class NamedWorlds : public ::testing::TestWithParam<World> {};

TEST_P(NamedWorlds, runIsExactlyThis) {
  Scene scene(GetParam());
  const std::int64_t startedAt = scene.machine.now();
  const int exitCode = scene.run();
  const std::string transcript = transcriptOf(scene, exitCode, startedAt);
  if (std::getenv("KOV_WRITE_RUNS")) {
    std::ofstream(fileFor(GetParam()), std::ios::binary) << transcript;
    GTEST_SKIP() << "written: " << fileFor(GetParam());
  }
  std::ifstream file(fileFor(GetParam()), std::ios::binary);
  const std::string expected{std::istreambuf_iterator<char>(file), {}};
  EXPECT_EQ(transcript, expected);
}

INSTANTIATE_TEST_SUITE_P(Every, NamedWorlds, ::testing::ValuesIn(namedWorlds()),
                         [](const auto& world) { return testName(world.param); });

}  // namespace
}  // namespace worlds
