#include "card/canvas.h"

#include <gtest/gtest.h>

#include <array>
#include <cstdint>
#include <set>
#include <string>
#include <vector>

#include "card/card_paint.h"
#include "card/numerals.h"
#include "tests/unit/card_picture.h"

namespace launcher::card {
namespace {

constexpr Color kWhite{255, 255, 255};

TEST(CardCanvas, fillCoversExactlyItsBox) {
  Picture picture(10, 8);
  picture.canvas.fill({2, 3, 5, 7}, {0x12, 0x34, 0x56});
  EXPECT_EQ(picture.painted(), 12U);
  EXPECT_EQ(picture.at(2, 3), 0x123456U);
  EXPECT_EQ(picture.at(4, 6), 0x123456U);
  EXPECT_EQ(picture.at(5, 6), 0U);
}

TEST(CardCanvas, everythingIsClipped) {
  Picture picture(10, 8);
  picture.canvas.fill({-5, -5, 100, 1}, kWhite);
  EXPECT_EQ(picture.painted(), 10U);
  picture.canvas.fill({20, 20, 30, 30}, kWhite);
  picture.canvas.fill({5, 5, 2, 2}, kWhite);
  picture.canvas.fillCircle({-20, 4}, 3, kWhite);
  EXPECT_EQ(picture.painted(), 10U);
  const std::array strokes = {line({-50, -50}, {60, 60}), arc({5, 4}, 40, 0, 360)};
  picture.canvas.draw(strokes, 3, kWhite);
  picture.canvas.strokeRounded({-3, -3, 14, 12}, 4, 2, kWhite);
  EXPECT_EQ(picture.at(5, 5), 0xFFFFFFU);
}

TEST(CardCanvas, circleIsRoundWithSmoothEdge) {
  Picture picture(20, 20);
  picture.canvas.fillCircle({10, 10}, 8, kWhite);
  EXPECT_EQ(picture.at(10, 10), 0xFFFFFFU);
  EXPECT_EQ(picture.at(2, 2), 0U);
  const std::set<std::uint32_t> shades(picture.pixels.begin(), picture.pixels.end());
  EXPECT_GT(shades.size(), 4U);
}

TEST(CardCanvas, arcCoversItsSweepAlone) {
  Picture picture(40, 40);
  const std::array quarter = {arc({20, 20}, 15, 0, 90)};  // lower right
  picture.canvas.draw(quarter, 4, kWhite);
  EXPECT_EQ(picture.at(30, 30), 0xFFFFFFU);
  EXPECT_EQ(picture.at(9, 30), 0U);
  EXPECT_EQ(picture.at(9, 9), 0U);
  EXPECT_EQ(picture.at(30, 9), 0U);
}

TEST(CardCanvas, anglesAFullTurnApartAreTheSame) {
  const auto painted = [](float angle) {
    Picture picture(40, 40);
    const std::array quarter = {arc({20, 20}, 15, angle, 90)};
    picture.canvas.draw(quarter, 4, kWhite);
    return picture.pixels;
  };
  EXPECT_EQ(painted(90), painted(-270));
  EXPECT_EQ(painted(90), painted(450));
  EXPECT_NE(painted(90), painted(180));
}

TEST(CardCanvas, circlesOfOnePixelAndLessAreRings) {
  Picture picture(15, 7);
  const std::array large = {arc({3.5F, 3.5F}, 1, 0, 360)};
  picture.canvas.draw(large, 2, kWhite);
  const std::array small = {arc({10.25F, 3.5F}, 0.75F, 0, 360)};
  picture.canvas.draw(small, 1.25F, kWhite);
  EXPECT_EQ(inThirds(picture), R"(
...............
...+...........
..###....+#....
.+#+#+...#++...
..###....+#....
...+...........
...............
)");
  EXPECT_EQ(fingerprint(picture), 0x852F4F9FA5928E3CU);
}

// Both ends of two degrees of a large circle, whose middle is far to the left.
TEST(CardCanvas, arcEndsWhereItsSweepDoes) {
  const auto painted = [](float angle) {
    Picture picture(12, 20);
    const std::array ends = {arc({-294, 4.5F}, 300, angle, 2)};
    picture.canvas.draw(ends, 3, kWhite);
    return picture;
  };
  EXPECT_EQ(inThirds(painted(0)), R"(
............
............
............
.....##.....
....+##+....
....+##+....
....+##+....
....+##+....
....+##+....
....+##+....
....+##+....
....+##+....
....+##+....
....+##+....
....###+....
....+##.....
.....+......
............
............
............
)");
  EXPECT_EQ(fingerprint(painted(0)), 0x0F76CC9830815538U);
  EXPECT_EQ(painted(-360).pixels, painted(0).pixels);
  EXPECT_EQ(painted(-720).pixels, painted(0).pixels);
}

TEST(CardCanvas, thickLineIsAsThickAsItSays) {
  Picture picture(50, 40);
  const std::array strokes = {line({20, 20}, {30, 20})};
  picture.canvas.draw(strokes, 12, kWhite);
  for (int y = 0; y < 40; ++y) EXPECT_EQ(picture.at(25, y) != 0, y >= 14 && y < 26) << y;
  for (int x = 0; x < 50; ++x) EXPECT_EQ(picture.at(x, 20) != 0, x >= 14 && x < 36) << x;
}

TEST(CardCanvas, noStrokesPaintNothing) {
  Picture picture(10, 10);
  picture.canvas.draw({}, 4, kWhite);
  EXPECT_EQ(picture.painted(), 0U);
}

TEST(CardCanvas, opacityMixes) {
  Picture picture(4, 4);
  picture.canvas.fillRounded({0, 0, 4, 4}, 0, kWhite, 0.5F);
  EXPECT_EQ(picture.at(1, 1), 0x808080U);
}

TEST(CardNumerals, digitsAreOfOneWidthAndDiffer) {
  std::set<std::vector<std::uint32_t>> pictures;
  for (const char16_t digit : std::u16string(u"0123456789")) {
    const std::u16string text(1, digit);
    EXPECT_FLOAT_EQ(numeralsWidth(text, 40), numeralsWidth(u"0", 40));
    Picture picture(40, 48);
    drawNumerals(picture.canvas, text, {4, 4}, 40, kWhite);
    EXPECT_GT(picture.painted(), 100U);
    pictures.insert(picture.pixels);
  }
  EXPECT_EQ(pictures.size(), 10U);
}

TEST(CardNumerals, stayInsideTheirBox) {
  const std::u16string text = u"0123456789:.#-+";
  ASSERT_TRUE(areNumerals(text));
  const int width = static_cast<int>(numeralsWidth(text, 40)) + 1;
  Picture exact(width + 4, 44);
  drawNumerals(exact.canvas, text, {2, 2}, 40, kWhite);
  for (int x = 0; x < exact.width; ++x) {
    EXPECT_EQ(exact.at(x, 0), 0U) << x;
    EXPECT_EQ(exact.at(x, 43), 0U) << x;
  }
  for (int y = 0; y < exact.height; ++y) {
    EXPECT_EQ(exact.at(0, y), 0U) << y;
    EXPECT_EQ(exact.at(exact.width - 1, y), 0U) << y;
  }
}

TEST(CardNumerals, otherCharactersHaveNone) {
  EXPECT_FALSE(areNumerals(u""));
  EXPECT_FALSE(areNumerals(u"12a"));
  EXPECT_FALSE(areNumerals(u"—"));
}

TEST(CardNumerals, timeIsNarrowerThanOneInFullSize) {
  EXPECT_LT(timeWidth(u"12:34.56", 50), numeralsWidth(u"12:34.56", 50));
  EXPECT_FLOAT_EQ(timeWidth(u"12:34", 50), numeralsWidth(u"12:34", 50));
}

TEST(CardPaint, railShowsWhatIsLeft) {
  Picture picture(100, 4);
  const Palette palette = paletteFor(Kind::ok, true);
  paintTimeRail(picture.canvas, {0, 0, 100, 4}, palette, 0.25F);
  EXPECT_EQ(picture.at(24, 1), 0xF5D547U);
  EXPECT_NE(picture.at(26, 1), 0xF5D547U);
}

}  // namespace
}  // namespace launcher::card
