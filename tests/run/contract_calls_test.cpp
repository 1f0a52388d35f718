// The scripts of the contract (tests/machine/contract_test.cpp) meet every call of the seam, so
// that no body of one is held against nothing.

#include <gtest/gtest.h>

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <set>
#include <string>

#include "tests/machine/machine.h"

namespace machine {
namespace {

// Of these a script would change its whole process, ask a person, or wait without an end.
const std::set<std::string> kNoScript = {
    "programPath", "programPathWide", "loadLibrariesFromSystemOnly", "prepareConsole",
    "waitForCharacter", "localAppData", "waitForEnd", "showMessage", "showPlainMessage",
    "openInBrowser"};

std::set<std::string> callsOfTheScripts() {
  std::set<std::string> names;
  const std::string folder = std::string(KOV_SOURCE_DIR) + "/tests/data/contract";
  for (const auto& entry : std::filesystem::directory_iterator(folder)) {
    std::ifstream file(entry.path());
    for (std::string line; std::getline(file, line);) names.insert(line.substr(0, line.find(' ')));
  }
  return names;
}

TEST(ContractCalls, everyCallOfTheSeamIsInAScript) {
  std::set<std::string> all;
  for (int call = 0; call <= static_cast<int>(Call::readSteamRoot); ++call) {
    all.insert(nameOf(static_cast<Call>(call)));
  }
  std::set<std::string> scripted;
  std::set_difference(all.begin(), all.end(), kNoScript.begin(), kNoScript.end(),
                      std::inserter(scripted, scripted.end()));
  EXPECT_EQ(callsOfTheScripts(), scripted);
}

}  // namespace
}  // namespace machine
