#include "card/time_text.h"

#include <gtest/gtest.h>

#include <string>

namespace launcher::card {
namespace {

std::u16string shown(std::u16string_view seconds) {
  return formatTime(seconds).value_or(u"none");
}

TEST(CardTimeText, minutesSecondsHundredths) {
  EXPECT_EQ(shown(u"754.56"), u"12:34.56");
  EXPECT_EQ(shown(u"125.5"), u"2:05.50");
  EXPECT_EQ(shown(u"5"), u"0:05.00");
  EXPECT_EQ(shown(u"59.994"), u"0:59.99");
  EXPECT_EQ(shown(u"3599.99"), u"59:59.99");
}

TEST(CardTimeText, hoursFromAnHourOn) {
  EXPECT_EQ(shown(u"3600"), u"1:00:00.00");
  EXPECT_EQ(shown(u"3754.561"), u"1:02:34.56");
  EXPECT_EQ(shown(u"36000.01"), u"10:00:00.01");
  EXPECT_EQ(shown(u"3599999.99"), u"999:59:59.99");
}

TEST(CardTimeText, roundingCarriesOver) {
  EXPECT_EQ(shown(u"59.995"), u"1:00.00");
  EXPECT_EQ(shown(u"3599.999"), u"1:00:00.00");
  EXPECT_EQ(shown(u"0.005"), u"0:00.01");
  EXPECT_EQ(shown(u"1.0049999"), u"0:01.00");
}

TEST(CardTimeText, blanksAndQuotesAroundDoNotMatter) {
  EXPECT_EQ(shown(u" 12.5\r\n"), u"0:12.50");
  EXPECT_EQ(shown(u"\"12.5\""), u"0:12.50");
}

TEST(CardTimeText, incompleteNumbersAreRead) {
  EXPECT_EQ(shown(u".5"), u"0:00.50");
  EXPECT_EQ(shown(u"12."), u"0:12.00");
  EXPECT_EQ(shown(u"007.123456789123456789"), u"0:07.12");
}

TEST(CardTimeText, zeroIsNoTime) {
  EXPECT_EQ(shown(u"0"), u"none");
  EXPECT_EQ(shown(u"0.000"), u"none");
  EXPECT_EQ(shown(u"0.004"), u"none");
  EXPECT_EQ(shown(u""), u"none");
}

TEST(CardTimeText, whatIsNoPlainNumberIsNoTime) {
  for (const auto* text : {u"-5", u"+5", u"1e3", u"abc", u".", u"1.2.3", u"nan", u"inf", u"0x10",
                           u"1 2", u"12,5", u"\"", u"１２"}) {
    EXPECT_EQ(shown(text), u"none");
  }
}

TEST(CardTimeText, endlessNumbersAreNoTime) {
  EXPECT_EQ(shown(u"3600000"), u"none");
  EXPECT_EQ(shown(u"3599999.995"), u"none");
  EXPECT_EQ(shown(std::u16string(10000, u'9')), u"none");
  // 754 more than 64 bits hold.
  EXPECT_EQ(shown(u"18446744073709552370"), u"none");
  EXPECT_EQ(shown(u"1." + std::u16string(10000, u'9')), u"0:02.00");
}

TEST(CardTimeText, colonIsNoDigit) {
  EXPECT_EQ(shown(u"1:"), u"none");
  EXPECT_EQ(shown(u"1.:"), u"none");
}

}  // namespace
}  // namespace launcher::card
