#include "livesplit/time_reply.h"

#include <gtest/gtest.h>

#include <optional>
#include <string>

namespace launcher {
namespace {

using std::literals::string_literals::operator""s;

void expectSeconds(const std::string& reply, double seconds) {
  const std::optional<double> read = parseTimeReply(reply);
  ASSERT_TRUE(read.has_value()) << reply;
  EXPECT_NEAR(*read, seconds, 1e-9) << reply;
}

void expectNoTime(const std::string& reply) {
  EXPECT_EQ(parseTimeReply(reply), std::nullopt) << reply;
}

TEST(TimeReply, threeFieldsAreHoursMinutesSeconds) {
  expectSeconds("1:02:03.5", 3723.5);
  expectSeconds("25:01:02.25", 90062.25);
  expectSeconds("0:00:01", 1.0);
}

TEST(TimeReply, twoFieldsAreMinutesSeconds) {
  expectSeconds("12:34.56", 754.56);
  expectSeconds("1:02", 62.0);
  expectSeconds("0:05.00", 5.0);
  expectSeconds("2:34.50", 154.5);
}

TEST(TimeReply, sevenDigitFractionsAreRead) {
  expectSeconds("00:12:34.5600000", 754.56);
  expectSeconds("00:00:02.2280113", 2.2280113);
  expectSeconds("00:00:00.9031716", 0.9031716);
  expectSeconds("01:23:45.6780000", 5025.678);
  expectSeconds("00:00:59", 59.0);
  expectSeconds("01:02:03", 3723.0);
}

TEST(TimeReply, secondsNeedNotStayBelowSixty) {
  expectSeconds("0:90.5", 90.5);
  expectSeconds("1:99:99", 9639.0);
}

TEST(TimeReply, replyWithoutColonIsNoTime) {
  expectNoTime("45.20");
  expectNoTime("45");
  expectNoTime("-");
  expectNoTime("");
  expectNoTime("NotRunning");
}

TEST(TimeReply, secondFieldThatIsNoNumberIsNoTime) {
  expectNoTime("1:xx");
  expectNoTime("1:");
  expectNoTime(":30");
  expectNoTime("x:30");
  expectNoTime("1::30");
}

TEST(TimeReply, thirdFieldThatIsNoNumberLeavesTheFirstTwo) {
  expectSeconds("1:02:xx", 62.0);
  expectSeconds("1:02:", 62.0);
}

TEST(TimeReply, fractionInTheSecondFieldEndsTheTime) {
  // "2.5" is no whole number of minutes, so the reply is one minute and 2.5 seconds.
  expectSeconds("1:2.5:30", 62.5);
}

TEST(TimeReply, daysBeforeHoursAreNoTime) {
  expectNoTime("1.02:03:04");
  expectNoTime("1.02:03:04.5000000");
}

TEST(TimeReply, zeroIsNoTime) {
  expectNoTime("0:00.00");
  expectNoTime("00:00:00");
  expectNoTime("0:00:00.0000000");
  expectNoTime("0.00");
}

TEST(TimeReply, anyTimeAboveZeroIsATime) {
  expectSeconds("00:00:00.0000001", 1e-7);
  expectSeconds("0:00.01", 0.01);
}

TEST(TimeReply, negativeTimesAreNoTime) {
  expectNoTime("-1:30");
  expectNoTime("-01:00:00");
  expectNoTime("0:-0:-5");
  expectNoTime("\xE2\x88\x92" "0:10.00");
}

TEST(TimeReply, minusBeforeAZeroIsLost) {
  expectSeconds("-0:30", 30.0);
  expectSeconds("-00:00:10", 10.0);
  expectSeconds("-00:00:09.5163381", 9.5163381);
}

TEST(TimeReply, fieldsHaveTheirOwnSigns) {
  expectSeconds("1:-30", 30.0);
  expectSeconds("-1:90", 30.0);
  expectSeconds("1:-1:00", 3540.0);
  expectSeconds("+1:+30", 90.0);
}

TEST(TimeReply, whatFollowsDoesNotMatter) {
  expectSeconds("1:02:03.5 (final)", 3723.5);
  expectSeconds("1:02:03.5:04", 3723.5);
  expectSeconds("12:34.56\r\n0:01", 754.56);
  expectSeconds("1:02\0:03"s, 62.0);
}

TEST(TimeReply, blanksAreSkippedBeforeNumbersOnly) {
  expectSeconds("  1: 02: 03.5", 3723.5);
  expectNoTime("1 :02");
}

TEST(TimeReply, failedThreeFieldReadLeavesNothingAfter) {
  // The hours and minutes of the first attempt must not slip into the second.
  expectSeconds("5:07.25", 307.25);
}

TEST(TimeReply, longReplyIsRead) {
  expectSeconds("0:01." + std::string(1'000'000, '0'), 1.0);
  expectNoTime(std::string(1'000'000, 'x'));
}

}  // namespace
}  // namespace launcher
