#include "tests/steps/steps.h"

#include <gtest/gtest.h>

#include <cstring>
#include <string>

#include "server/weekly_files.h"
#include "steam/vdf.h"

// Whether the counter sees what it is there for. The fuzz targets bound the steps of every
// parser with it.

namespace {

constexpr std::size_t kFew = 4096;
constexpr std::size_t kMany = 16 * kFew;

template <class Work>
double stepsOf(Work work) {
  const std::uint64_t before = steps::taken();
  work();
  return static_cast<double>(steps::taken() - before);
}

class Steps : public testing::Test {
 protected:
  void SetUp() override {
    if (!steps::kCounted) GTEST_SKIP() << "this build does not count";
  }
};

TEST_F(Steps, ofOneScanAreInProportionToTheText) {
  const auto scan = [](std::size_t bytes) {
    const std::string text(bytes, '7');
    return stepsOf([&text] { (void)launcher::scanSeed(text); });
  };
  EXPECT_GE(scan(kFew), kFew);
  EXPECT_NEAR(scan(kMany) / scan(kFew), 16.0, 0.5);
}

TEST_F(Steps, ofTheTextLogicsOwnLoopsAreCounted) {
  const auto tokens = [](std::size_t count) {
    std::string text;
    for (std::size_t i = 0; i < count; ++i) text += "\"\"";
    return stepsOf([&text] { (void)launcher::tokenizeVdf(text); });
  };
  EXPECT_GE(tokens(kFew), 4 * kFew);
  EXPECT_NEAR(tokens(kMany) / tokens(kFew), 16.0, 2.0);
}

TEST_F(Steps, ofAScanThatStartsAgainAtEveryPlaceGrowWithTheSquare) {
  const auto scans = [](std::size_t bytes) {
    const std::string text(bytes, '7');
    return stepsOf([&text] {
      for (const char& byte : text) {
        EXPECT_EQ(std::memchr(&byte, 'x', static_cast<std::size_t>(text.data() + text.size() - &byte)),
                  nullptr);
      }
    });
  };
  EXPECT_NEAR(scans(kMany) / scans(kFew), 256.0, 8.0);
}

}  // namespace
