#include "card/card_layout.h"

#include <gtest/gtest.h>

#include <cmath>
#include <string>
#include <vector>

#include "card/card_paint.h"
#include "card/numerals.h"

namespace launcher::card {
namespace {

class PlainMeasure final : public TextMeasure {
 public:
  explicit PlainMeasure(float size) : size_(size) {}
  [[nodiscard]] int width(std::u16string_view text) const override {
    float width = 0;
    for (const char16_t unit : text) width += unit < 0x2000 ? size_ * 0.58F : size_;
    return static_cast<int>(width);
  }

 private:
  float size_;
};

// Letters as wide as those of an ordinary face.
class PlainFonts final : public FontSet {
 public:
  explicit PlainFonts(float scale) : scale_(scale) {
    for (int font = 0; font < kFontCount; ++font) {
      measures_.emplace_back(fontSpec(static_cast<Font>(font)).size * scale);
    }
  }
  [[nodiscard]] const TextMeasure& measure(Font font) const override {
    return measures_[static_cast<std::size_t>(font)];
  }
  [[nodiscard]] int lineHeight(Font font) const override {
    return static_cast<int>(fontSpec(font).size * scale_ * 1.45F);
  }

 private:
  float scale_;
  std::vector<PlainMeasure> measures_;
};

std::vector<CardContent> allContents() {
  const std::u16string endless(10000, u'字');
  const std::u16string word(10000, u'w');
  return {
      describeResult({u"1", u"ok", u"754.56", u"normal", u"main", u"3", u"120", u""}),
      describeResult({u"1", u"ok", u"3599999.99", u"nightmare", u"true", u"100000", u"-99999999",
                      u"login code: K7Q2-9XFM"}),
      describeResult({u"1", u"ok", endless, endless, word, word, endless,
                      u"login code: " + word}),
      describeResult({u"0", u"fail", u"0", u"normal", u"main", u"0", u"0",
                      u"Network error. Result saved locally - it will retry next launch."}),
      describeResult({u"0", u"fail", u"5", word, endless, u"", u"", endless}),
      describeResult({u"0", u"none", u"0", u"normal", u"main", u"0", u"0", word}),
      describeResult({u"", word, u"12", u"", u"", u"", u"", endless}),
      describeResult({}),
      describeIdle(),
  };
}

bool isInside(const Box& box, const CardLayout& layout) {
  return box.left >= 0 && box.top >= 0 && box.right <= layout.width &&
         box.bottom <= layout.height && box.left <= box.right && box.top <= box.bottom;
}

bool doOverlap(const Box& one, const Box& other) {
  return one.left < other.right && other.left < one.right && one.top < other.bottom &&
         other.top < one.bottom;
}

class CardLayoutAtScale : public testing::TestWithParam<float> {};

TEST_P(CardLayoutAtScale, nothingLeavesTheCardOrLiesOnSomethingElse) {
  const PlainFonts fonts(GetParam());
  for (const CardContent& content : allContents()) {
    const CardLayout layout = layOutResult(content, GetParam(), fonts);
    std::vector<Box> boxes = {layout.countdown, layout.closeButton, layout.timeRail};
    if (layout.copyButton.width() > 0) boxes.push_back(layout.copyButton);
    if (layout.podium.width() > 0) boxes.push_back(layout.podium);
    for (const Piece& piece : layout.pieces) boxes.push_back(piece.box);
    for (const Mark& mark : layout.marks) boxes.push_back(mark.box);
    for (std::size_t one = 0; one < boxes.size(); ++one) {
      EXPECT_TRUE(isInside(boxes[one], layout)) << one;
      for (std::size_t other = 0; other < one; ++other) {
        EXPECT_FALSE(doOverlap(boxes[one], boxes[other])) << one << " and " << other;
      }
    }
  }
}

TEST_P(CardLayoutAtScale, everyLineFitsItsBox) {
  const PlainFonts fonts(GetParam());
  for (const CardContent& content : allContents()) {
    for (const Piece& piece : layOutResult(content, GetParam(), fonts).pieces) {
      const auto height = static_cast<float>(piece.box.height());
      if (piece.look == Piece::Look::time) {
        EXPECT_LE(timeWidth(piece.text, height), static_cast<float>(piece.box.width()));
        continue;
      }
      if (piece.look == Piece::Look::numerals) {
        EXPECT_LE(numeralsWidth(piece.text, height), static_cast<float>(piece.box.width()));
        continue;
      }
      for (const std::u16string& line : piece.lines) {
        EXPECT_LE(fonts.measure(piece.font).width(line), piece.box.width());
      }
    }
  }
}

TEST_P(CardLayoutAtScale, progressTextsFit) {
  const PlainFonts fonts(GetParam());
  for (const auto state : {UploadState::uploading, UploadState::done, UploadState::failed}) {
    const CardLayout layout = layOutProgress(describeProgress(state), GetParam(), fonts);
    for (const Piece& piece : layout.pieces) {
      EXPECT_TRUE(isInside(piece.box, layout));
      ASSERT_EQ(piece.lines.size(), 1U);
      EXPECT_EQ(piece.lines[0], piece.text);
    }
    EXPECT_TRUE(isInside(layout.timeRail, layout));
  }
}

INSTANTIATE_TEST_SUITE_P(Scales, CardLayoutAtScale,
                         testing::Values(1.0F, 1.25F, 1.5F, 1.75F, 2.0F, 2.5F, 3.0F));

TEST(CardLayout, ordinaryTextsAreNotCut) {
  const PlainFonts fonts(1);
  const std::vector<CardContent> contents = {
      describeResult({u"1", u"ok", u"754.56", u"normal", u"main", u"3", u"120",
                      u"login code: K7Q2-9XFM"}),
      describeResult({u"0", u"fail", u"0", u"normal", u"main", u"0", u"0",
                      u"Hard difficulty is not part of the race. Result saved locally - it "
                      u"will retry next launch."}),
      describeResult({u"0", u"none", u"0", u"normal", u"main", u"0", u"0",
                      u"No finish detected - this run will not count."}),
      describeIdle(),
  };
  for (const CardContent& content : contents) {
    for (const Piece& piece : layOutResult(content, 1, fonts).pieces) {
      for (const std::u16string& line : piece.lines) {
        EXPECT_EQ(line.find(u'…'), std::u16string::npos);
      }
    }
  }
}

TEST(CardLayout, timeIsTheLargestThing) {
  const PlainFonts fonts(1);
  const CardLayout layout = layOutResult(
      describeResult({u"1", u"ok", u"754.56", u"normal", u"main", u"3", u"120", u""}), 1, fonts);
  int time = 0;
  int others = 0;
  for (const Piece& piece : layout.pieces) {
    int& tallest = piece.look == Piece::Look::time ? time : others;
    tallest = std::max(tallest, piece.box.height());
  }
  EXPECT_GT(time, 2 * others);
}

TEST(CardLayout, tallCardIsScaledIntoTheRoom) {
  EXPECT_FLOAT_EQ(fittingScale(2, 1000, 1200), 2);
  EXPECT_FLOAT_EQ(fittingScale(2, 1000, 500), 1);
  EXPECT_GT(fittingScale(2, 1000, 0), 0);
}

// Contrast of two colours as web accessibility guidelines define it.
double luminance(Color color) {
  const auto linear = [](std::uint8_t channel) {
    const double share = channel / 255.0;
    return share <= 0.03928 ? share / 12.92 : std::pow((share + 0.055) / 1.055, 2.4);
  };
  return 0.2126 * linear(color.red) + 0.7152 * linear(color.green) + 0.0722 * linear(color.blue);
}

double contrast(Color one, Color other) {
  const double first = luminance(one);
  const double second = luminance(other);
  return (std::max(first, second) + 0.05) / (std::min(first, second) + 0.05);
}

TEST(CardPalette, everyTextIsReadableOnItsSurface) {
  constexpr double kReadable = 4.5;
  for (const Kind kind :
       {Kind::ok, Kind::fail, Kind::none, Kind::unknown, Kind::progress}) {
    for (const bool isDark : {true, false}) {
      const Palette palette = paletteFor(kind, isDark);
      for (const Color surface : {palette.paper, palette.panel}) {
        for (const Ink ink : {Ink::normal, Ink::soft, Ink::faint, Ink::accent}) {
          EXPECT_GE(contrast(inkColor(palette, ink), surface), kReadable)
              << "kind " << static_cast<int>(kind) << " dark " << isDark << " ink "
              << static_cast<int>(ink);
        }
      }
      EXPECT_GE(contrast(palette.onAccent, palette.accent), kReadable);
    }
  }
}

TEST(CardPalette, contrastThemeUsesNothingButTheSystemsColours) {
  const Palette palette = contrastPalette({{0, 0, 0}, {255, 255, 255}, {26, 235, 255}, {0, 0, 0}});
  EXPECT_TRUE(palette.isPlain);
  EXPECT_EQ(palette.ink.red, 255);
  EXPECT_EQ(palette.faintInk.red, 255);
  EXPECT_EQ(palette.accent.green, 235);
}

}  // namespace
}  // namespace launcher::card
