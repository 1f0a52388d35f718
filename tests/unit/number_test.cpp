#include "core/number.h"

#include <gtest/gtest.h>

#include <cmath>
#include <cstdlib>
#include <cstring>
#include <limits>
#include <string_view>

#include "tests/unit/fenced_text.h"

namespace {

using launcher::readDecimal;
using launcher::readInteger;

TEST(ReadDecimal, readsDecimalNumbers) {
  EXPECT_EQ(readDecimal("12.5,\"map\""), 12.5);
  EXPECT_EQ(readDecimal("-0.25}"), -0.25);
  EXPECT_EQ(readDecimal("+3"), 3.0);
  EXPECT_EQ(readDecimal(".5"), 0.5);
  EXPECT_EQ(readDecimal("5."), 5.0);
  EXPECT_EQ(readDecimal("1,5"), 1.0);
}

TEST(ReadDecimal, skipsWhatTheCLibraryTakesForBlanks) {
  EXPECT_EQ(readDecimal(" \t\n\v\f\r7"), 7.0);
  EXPECT_EQ(readDecimal("\xA0" "7"), 0.0);
}

TEST(ReadDecimal, readsExponentsWrittenWithEOrD) {
  EXPECT_EQ(readDecimal("1e2"), 100.0);
  EXPECT_EQ(readDecimal("1.5E+1x"), 15.0);
  EXPECT_EQ(readDecimal(" 1d2"), 100.0);
  EXPECT_EQ(readDecimal("-1.5D-1,"), -0.15);
  EXPECT_EQ(readDecimal("1d2e3"), 100.0);
  EXPECT_EQ(readDecimal("1.d2"), 100.0);
}

TEST(ReadDecimal, anExponentWithoutDigitsIsNone) {
  EXPECT_EQ(readDecimal("1e"), 1.0);
  EXPECT_EQ(readDecimal("1e+"), 1.0);
  EXPECT_EQ(readDecimal("1d"), 1.0);
  EXPECT_EQ(readDecimal("1d-x"), 1.0);
}

TEST(ReadDecimal, whatIsNoNumberIsZero) {
  for (const char* text : {"", "-", ".", "-.", "+-5", "- 5", "e5", ".e5", "null", "\"12.5\""}) {
    EXPECT_EQ(readDecimal(text), 0.0) << text;
    EXPECT_FALSE(std::signbit(readDecimal(text))) << text;
  }
}

// With these, C libraries differ; msvcrt.dll reads no more of them than the zero in front.
TEST(ReadDecimal, hexadecimalIsTheZeroInFrontOfIt) {
  EXPECT_EQ(readDecimal("0x10"), 0.0);
  EXPECT_EQ(readDecimal("0X1p3"), 0.0);
  EXPECT_EQ(readDecimal("0x"), 0.0);
  EXPECT_FALSE(std::signbit(readDecimal("0x10")));
  EXPECT_EQ(readDecimal("-0x10"), 0.0);
  EXPECT_TRUE(std::signbit(readDecimal("-0x10")));
  EXPECT_EQ(readDecimal("5x10"), 5.0);
}

TEST(ReadDecimal, infinityAndNanAreNoNumbers) {
  for (const char* text : {"inf", "-inf", "INF", "infinity", "nan", "NAN(1)", "1.#INF"}) {
    EXPECT_EQ(readDecimal(text), text[0] == '1' ? 1.0 : 0.0) << text;
  }
}

TEST(ReadDecimal, beyondTheRangeIsInfiniteOrZero) {
  EXPECT_EQ(readDecimal("1e999"), std::numeric_limits<double>::infinity());
  EXPECT_EQ(readDecimal("-1e999"), -std::numeric_limits<double>::infinity());
  EXPECT_EQ(readDecimal("1e-999"), 0.0);
}

TEST(ReadDecimal, readsNothingAfterTheEndOfTheText) {
  for (const char* text :
       {"", " ", "-", "+", ".", "-.", "0", "0x", "1", "1.", "1d", "1d-", "1d2", "d", ".d", "n"}) {
    const launcher::FencedText fenced(std::string_view(text, std::strlen(text) + 1),
                                      launcher::Fence::after);
    EXPECT_EQ(readDecimal(fenced.text().data()), readDecimal(text)) << text;
  }
}

#ifdef _WIN32
// The library that this is written after: the Windows build of this test is linked with it.
TEST(ReadDecimal, isWhatMsvcrtReads) {
  for (const char* text :
       {"", "-", ".", "-.", "12.5", " \v5", "+5", "+-5", "1e2", "1d2", "1.5D-1", "1d", "1d+",
        "0d3", "0x10", "-0x10", "0x1p3", "inf", "-inf", "nan", "1.#INF", "1e999", "-1e999",
        "1e-999", "4.9e-324", "1e99999999999", ".5d1", "5.d1", ".d1", "007", "1_0"}) {
    EXPECT_EQ(readDecimal(text), std::atof(text)) << text;
    EXPECT_EQ(std::signbit(readDecimal(text)), std::signbit(std::atof(text))) << text;
  }
}
#endif

TEST(ReadInteger, endsAtTheFirstByteThatIsNoDigit) {
  EXPECT_EQ(readInteger("7,\"points\":3"), 7);
  EXPECT_EQ(readInteger(" \t\n\v\f\r-5}"), -5);
  EXPECT_EQ(readInteger("+3.9"), 3);
  EXPECT_EQ(readInteger("1e3"), 1);
  EXPECT_EQ(readInteger("0x10"), 0);
  EXPECT_EQ(readInteger("010"), 10);
  EXPECT_EQ(readInteger("1:5"), 1);
}

TEST(ReadInteger, isZeroWithoutADigit) {
  for (const char* text : {"", "-", "+", "- 5", "+-5", "x5", "\"5\"", "null", "\xA0" "7"}) {
    EXPECT_EQ(readInteger(text), 0) << text;
  }
}

TEST(ReadInteger, beyondItsRangeTheLowest32BitsAreLeft) {
  EXPECT_EQ(readInteger("2147483647"), 2147483647);
  EXPECT_EQ(readInteger("-2147483648"), std::numeric_limits<int>::min());
  EXPECT_EQ(readInteger("2147483648"), std::numeric_limits<int>::min());
  EXPECT_EQ(readInteger("-2147483649"), 2147483647);
  EXPECT_EQ(readInteger("4294967297"), 1);
  EXPECT_EQ(readInteger("-4294967297"), -1);
  EXPECT_EQ(readInteger("18446744073709551616000000003"), 3);
}

#ifdef _WIN32
TEST(ReadInteger, isWhatMsvcrtReads) {
  for (const char* text :
       {"", "-", " \v5", "+5", "+-5", "- 5", "12.9", "1e2", "0x10", "010", "2147483647",
        "-2147483648", "2147483648", "-2147483649", "4294967297", "-4294967297",
        "18446744073709551616000000003"}) {
    EXPECT_EQ(readInteger(text), std::atoi(text)) << text;
  }
}
#endif

}  // namespace
