#pragma once

#include <string>
#include <string_view>
#include <vector>

namespace hosted {

/// The tests in what a GoogleTest program prints for --gtest_list_tests, as "Suite.test":
///
///     Running main() from gtest_main.cc
///     Suite.
///       test
///     Programs/Hardening.  # GetParam() = ...
///       test/launcher  # GetParam() = "launcher.exe"
///
/// Disabled ones are left out.
[[nodiscard]] std::vector<std::string> testNames(std::string_view list);

enum class Verdict { passed, failed, skipped };

struct Outcome {
  Verdict verdict = Verdict::failed;
  std::string why;  ///< of a skipped or failed test, one line; may be empty
};

/// What became of one test that ran as a process of its own. A test that says "needs a
/// person: ..." failed for want of one and counts as skipped; everything else that did not
/// report its success failed.
[[nodiscard]] Outcome outcomeOf(std::string_view output, unsigned long exitCode);

/// The same for a program without GoogleTest, whose exit code says it all.
[[nodiscard]] Outcome plainOutcomeOf(std::string_view output, unsigned long exitCode);

/// Why this test is not run on a machine with that ANSI code page; empty when it is.
[[nodiscard]] std::string reasonToSkip(std::string_view test, unsigned codePage);

}  // namespace hosted
