#include "tests/hosted/verdict.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace {

using hosted::outcomeOf;
using hosted::reasonToSkip;
using hosted::testNames;
using hosted::Verdict;
using testing::ElementsAre;
using testing::IsEmpty;

TEST(HostedTestNames, areTakenFromTheList) {
  EXPECT_THAT(testNames("Running main() from gtest_main.cc\r\nQueue.\r\n  isFlushed\r\n  isKept\r\n"
                        "Programs/Hardening.  # TypeParam = x\r\n"
                        "  isSmall/launcher  # GetParam() = \"launcher.exe\"\r\n"),
              ElementsAre("Queue.isFlushed", "Queue.isKept", "Programs/Hardening.isSmall/launcher"));
}

TEST(HostedTestNames, disabledTestsAreNone) {
  EXPECT_THAT(testNames("Queue.\n  DISABLED_isFlushed\nDISABLED_Log.\n  isWritten\n"), IsEmpty());
}

TEST(HostedOutcome, isWhatTheTestReports) {
  EXPECT_EQ(outcomeOf("[  PASSED  ] 1 test.\r\n", 0).verdict, Verdict::passed);
  EXPECT_EQ(outcomeOf("[  FAILED  ] 1 test, listed below:\n", 1).verdict, Verdict::failed);
}

TEST(HostedOutcome, aSkippedTestHasItsReason) {
  const auto outcome = outcomeOf("a.cpp:3: Skipped\r\nno such disk\r\n\r\n[  SKIPPED ] A.b (1 ms)\r\n"
                                 "[  PASSED  ] 0 tests.\r\n[  SKIPPED ] 1 test, listed below:\r\n",
                                 0);
  EXPECT_EQ(outcome.verdict, Verdict::skipped);
  EXPECT_EQ(outcome.why, "no such disk");
}

TEST(HostedOutcome, aTestThatNeedsAPersonIsSkipped) {
  const auto outcome = outcomeOf("C++ exception with description \"needs a person: choose it\"\r\n"
                                 "[  FAILED  ] 1 test, listed below:\r\n",
                                 1);
  EXPECT_EQ(outcome.verdict, Verdict::skipped);
  EXPECT_EQ(outcome.why, "needs a person: choose it\"");
}

TEST(HostedOutcome, aTestWithoutAVerdictFailed) {
  EXPECT_EQ(outcomeOf("[ RUN      ] A.b\n", 0).verdict, Verdict::failed);
  EXPECT_EQ(outcomeOf("[  PASSED  ] 1 test.\n", 3).why, "ended with exit code 3 before its verdict");
}

TEST(HostedOutcome, ofAPlainProgramIsItsExitCode) {
  EXPECT_EQ(hosted::plainOutcomeOf("[  FAILED  ] 1 test", 0).verdict, Verdict::passed);
  EXPECT_EQ(hosted::plainOutcomeOf("", 1).why, "exit code 1");
  EXPECT_EQ(hosted::plainOutcomeOf("needs a person: x\n", 1).verdict, Verdict::skipped);
}

TEST(HostedReason, chineseSuitesNeedTheirCodePage) {
  EXPECT_EQ(reasonToSkip("CodePageCp936.isGbk", 936), "");
  EXPECT_NE(reasonToSkip("CodePageCp936.isGbk", 1252), "");
  EXPECT_EQ(reasonToSkip("CodePage.cp936IsNamedHereOnly", 1252), "");
  EXPECT_EQ(reasonToSkip("Queue.isKept", 1252), "");
}

}  // namespace
