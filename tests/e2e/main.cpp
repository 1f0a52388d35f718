#include <gtest/gtest.h>
#include <windows.h>

#include <string>

#include "rehearsal/stage/process.h"
#include "rehearsal/stage/text.h"

namespace {

/// Fails a test that leaves a program running: it would disturb the tests after it.
class NothingIsLeftRunning : public testing::EmptyTestEventListener {
 public:
  void OnTestEnd(const testing::TestInfo& /*test*/) override {
    // A program that was told to end may take a moment.
    std::string left = leftovers();
    for (int tries = 0; !left.empty() && tries < 20; ++tries) {
      Sleep(100);
      left = leftovers();
    }
    if (!left.empty()) ADD_FAILURE() << "left running: " << left;
  }

 private:
  /// The paths of the programs that run, in a lane of our own; other machines run more.
  static std::string leftovers() {
    std::string all;
    if (!stage::runsUnderWine()) return all;
    for (const stage::RunningProcess& process : stage::processesOutsideWindows()) {
      all += (all.empty() ? "" : ", ") + stage::textOf(process.path);
    }
    return all;
  }
};

}  // namespace

int main(int argc, char** argv) {
  testing::InitGoogleTest(&argc, argv);
  testing::UnitTest::GetInstance()->listeners().Append(new NothingIsLeftRunning);
  return RUN_ALL_TESTS();
}
