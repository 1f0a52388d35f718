#include "card/card_layout.h"

#include <gtest/gtest.h>

#include <cmath>
#include <string>
#include <utility>
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
    if (layout.detailRail.width() > 0) boxes.push_back(layout.detailRail);
    if (layout.tearLine.width() > 0) boxes.push_back(layout.tearLine);
    for (std::size_t one = 0; one < boxes.size(); ++one) {
      EXPECT_TRUE(isInside(boxes[one], layout)) << one;
      for (std::size_t other = 0; other < one; ++other) {
        EXPECT_FALSE(doOverlap(boxes[one], boxes[other])) << one << " and " << other;
      }
    }
  }
}

TEST_P(CardLayoutAtScale, panelsLieBesideEachOther) {
  for (const CardContent& content : allContents()) {
    const CardLayout layout = layOutResult(content, GetParam(), PlainFonts(GetParam()));
    const Box panels[] = {layout.statPanel, layout.detailRail, layout.tearLine, layout.codeField,
                          layout.copyButton};
    for (const Box& one : panels) {
      for (const Box& other : panels) EXPECT_TRUE(&one == &other || !doOverlap(one, other));
    }
    // The line between the panel's halves is to the right of the podium.
    EXPECT_LE(2 * layout.podium.right, layout.statPanel.left + layout.statPanel.right);
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

std::string placed(const Box& box) {
  return std::to_string(box.left) + " " + std::to_string(box.top) + " " +
         std::to_string(box.right) + " " + std::to_string(box.bottom);
}

std::string narrow(std::u16string_view text) {
  std::string narrowed;
  for (const char16_t unit : text) narrowed += unit < 0x80 ? static_cast<char>(unit) : '*';
  return narrowed;
}

// A line for everything that is on the card: where, how, and what of texts (a star for each
// character beyond ASCII).
std::string described(const CardLayout& layout) {
  std::string text = "\ncard " + std::to_string(layout.width) + " " +
                     std::to_string(layout.height) + "\n";
  for (const Mark& mark : layout.marks) {
    text += "mark " + placed(mark.box) + " sign " + std::to_string(static_cast<int>(mark.sign)) +
            (mark.isFilled ? " filled\n" : "\n");
  }
  for (const Box& tag : layout.tags) text += "tag " + placed(tag) + "\n";
  for (const Piece& piece : layout.pieces) {
    text += piece.look == Piece::Look::time       ? "time "
            : piece.look == Piece::Look::numerals ? "numerals "
                                                  : "text ";
    text += placed(piece.box) + " font " + std::to_string(static_cast<int>(piece.font)) + " ink " +
            std::to_string(static_cast<int>(piece.ink)) + (piece.isCentered ? " centred" : "");
    if (piece.look != Piece::Look::text) text += " | " + narrow(piece.text);
    for (const std::u16string& line : piece.lines) text += " | " + narrow(line);
    text += "\n";
  }
  const std::pair<const char*, Box> boxes[] = {
      {"panel", layout.statPanel},      {"podium", layout.podium},
      {"detail rail", layout.detailRail}, {"tear line", layout.tearLine},
      {"code", layout.codeField},       {"copy", layout.copyButton},
      {"close", layout.closeButton},    {"countdown", layout.countdown},
      {"time rail", layout.timeRail},
  };
  for (const auto& [name, box] : boxes) {
    if (box.width() != 0) text += std::string(name) + " " + placed(box) + "\n";
  }
  if (layout.place != 0) text += "place " + std::to_string(layout.place) + "\n";
  return text;
}

std::string laidOut(const ResultArguments& arguments, float scale = 1) {
  return described(layOutResult(describeResult(arguments), scale, PlainFonts(scale)));
}

TEST(CardLayout, acceptedRunWithEverything) {
  EXPECT_EQ(laidOut({u"1", u"ok", u"754.56", u"normal", u"main", u"3", u"120",
                     u"login code: K7Q2-9XFM"}),
            R"(
card 440 593
mark 28 65 60 97 sign 0 filled
tag 28 253 108 281
tag 116 253 168 281
text 28 26 220 47 font 0 ink 2 | KOV **
text 72 63 412 99 font 1 ink 0 | *****
text 28 121 412 139 font 2 ink 2 | **
time 28 149 412 233 font 5 ink 0 | 12:34.56
text 40 257 96 277 font 3 ink 1 centred | ****
text 128 257 156 277 font 3 ink 1 centred | **
text 46 319 149 337 font 2 ink 2 | **
numerals 46 345 149 373 font 5 ink 3 | #3
text 238 319 394 337 font 2 ink 2 | **
numerals 238 345 394 373 font 5 ink 0 | 120
text 28 433 67 451 font 2 ink 0 | ***
text 77 433 412 451 font 2 ink 2 | ***************
text 42 465 306 492 font 7 ink 0 | K7Q2-9XFM
panel 28 303 412 389
podium 157 339 202 373
tear line 0 413 440 415
code 28 459 320 499
copy 328 459 412 499
close 292 525 412 565
countdown 28 536 280 554
time rail 0 589 440 593
place 3
)");
}

TEST(CardLayout, timeWithHoursWideTagsAndNumbersThatAreTexts) {
  EXPECT_EQ(laidOut({u"1", u"ok", u"3599999.99", u"a difficulty of the game", u"an ending of the mod",
                     u"first of many", u"-99999999999999", u""},
                    1.5F),
            R"(
card 660 691
mark 42 98 90 146 sign 0 filled
tag 42 345 321 387
tag 333 345 615 387
text 42 39 330 71 font 0 ink 2 | KOV **
text 108 95 618 149 font 1 ink 0 | *****
text 42 182 618 210 font 2 ink 2 | **
time 42 225 618 315 font 5 ink 0 | 999:59:59.99
text 60 351 303 381 font 3 ink 1 centred | an ending of the mod
text 351 351 597 381 font 3 ink 1 centred | a difficulty of th*
text 69 444 303 472 font 2 ink 2 | **
text 69 477 303 533 font 4 ink 3 | first of*
text 357 444 591 472 font 2 ink 2 | **
text 357 477 591 533 font 4 ink 0 | -9999999*
panel 42 420 618 550
close 438 589 618 649
countdown 42 605 420 633
time rail 0 685 660 691
)");
}

TEST(CardLayout, timeThatIsNoClock) {
  EXPECT_EQ(laidOut({u"1", u"ok", u"-12.5", u"", u"", u"2", u"0", u"a message"}), R"(
card 440 427
mark 28 65 60 97 sign 0 filled
text 28 26 220 47 font 0 ink 2 | KOV **
text 72 63 412 99 font 1 ink 0 | *****
text 28 121 412 139 font 2 ink 2 | **
text 28 149 412 185 font 1 ink 0 | -12.5
text 46 223 149 241 font 2 ink 2 | **
numerals 46 249 149 277 font 5 ink 3 | #2
text 238 223 394 241 font 2 ink 2 | **
numerals 238 249 394 277 font 5 ink 0 | 0
text 42 315 412 333 font 6 ink 2 | a message
panel 28 207 412 293
podium 157 243 202 277
detail rail 28 315 31 333
close 292 359 412 399
countdown 28 370 280 388
time rail 0 423 440 427
place 2
)");
}

TEST(CardLayout, failedUpload) {
  EXPECT_EQ(laidOut({u"0", u"fail", u"0", u"normal", u"main", u"0", u"0",
                     u"Hard difficulty is not part of the race. Result saved locally - it will "
                     u"retry next launch."}),
            R"(
card 440 368
mark 28 65 60 97 sign 1 filled
mark 28 123 50 145 sign 1
mark 28 158 50 180 sign 4
mark 28 193 50 215 sign 5
text 28 26 220 47 font 0 ink 2 | KOV **
text 72 63 412 99 font 1 ink 0 | *******
text 62 123 412 146 font 5 ink 0 | ******************
text 62 158 412 181 font 5 ink 1 | *************
text 62 193 412 216 font 5 ink 1 | ********************
text 42 238 412 274 font 6 ink 2 | Hard difficulty is not part of the race. Result | saved locally - it will retry next launch.
detail rail 28 238 31 274
close 292 300 412 340
countdown 28 311 280 329
time rail 0 364 440 368
)");
}

TEST(CardLayout, failedUploadOfATimedRun) {
  EXPECT_EQ(laidOut({u"0", u"fail", u"61.5", u"easy", u"true", u"0", u"0", u"no"}, 1.25F), R"(
card 550 668
mark 35 83 75 123 sign 1 filled
mark 35 382 63 410 sign 1
mark 35 426 63 454 sign 4
mark 35 470 63 498 sign 5
tag 35 319 117 354
tag 127 319 192 354
text 35 33 275 60 font 0 ink 2 | KOV **
text 90 81 515 126 font 1 ink 0 | *******
text 35 153 515 176 font 2 ink 2 | ****
time 35 189 515 294 font 5 ink 0 | 1:01.50
text 50 324 102 349 font 3 ink 1 centred | ***
text 142 324 177 349 font 3 ink 1 centred | **
text 78 382 515 411 font 5 ink 0 | *********************
text 78 426 515 455 font 5 ink 1 | *************
text 78 470 515 499 font 5 ink 1 | ********************
text 53 527 515 550 font 6 ink 2 | no
detail rail 35 527 39 550
close 365 583 515 633
countdown 35 596 350 619
time rail 0 663 550 668
)");
}

TEST(CardLayout, unfinishedRun) {
  EXPECT_EQ(laidOut({u"0", u"none", u"0", u"normal", u"main", u"0", u"0",
                     std::u16string(400, u'w')}),
            R"(
card 440 386
mark 28 65 60 97 sign 2 filled
mark 28 123 50 145 sign 2
mark 28 158 50 180 sign 4
mark 28 193 50 215 sign 5
text 28 26 220 47 font 0 ink 2 | KOV **
text 72 63 412 99 font 1 ink 0 | ******
text 62 123 412 146 font 5 ink 0 | *****************
text 62 158 412 181 font 5 ink 1 | ********************
text 62 193 412 216 font 5 ink 1 | *********************
text 42 238 412 292 font 6 ink 2 | wwwwwwwwwwwwwwwwwwwwwwwwwwwwwwwwwwwwwwwwwwwwwwwww | wwwwwwwwwwwwwwwwwwwwwwwwwwwwwwwwwwwwwwwwwwwwwwwww | wwwwwwwwwwwwwwwwwwwwwwwwwwwwwwwwwwwwwwwwwwwwwww*
detail rail 28 238 31 292
close 292 318 412 358
countdown 28 329 280 347
time rail 0 382 440 386
)");
}

TEST(CardLayout, unknownKind) { EXPECT_EQ(laidOut({u"", u"else", u"", u"", u"", u"", u"", u""}), R"(
card 440 298
mark 28 65 60 97 sign 3 filled
mark 28 123 50 145 sign 3
mark 28 158 50 180 sign 5
text 28 26 220 47 font 0 ink 2 | KOV **
text 72 63 412 99 font 1 ink 0 | *****else
text 62 123 412 146 font 5 ink 0 | ****************
text 62 158 412 204 font 5 ink 1 | ************ | *launcher.log**
close 292 230 412 270
countdown 28 241 280 259
time rail 0 294 440 298
)"); }

TEST(CardLayout, winnerWithoutPoints) {
  EXPECT_EQ(laidOut({u"1", u"ok", u"60", u"", u"", u"1", u"0", u""}), R"(
card 440 435
mark 28 65 60 97 sign 0 filled
text 28 26 220 47 font 0 ink 2 | KOV **
text 72 63 412 99 font 1 ink 0 | *****
text 28 121 412 139 font 2 ink 2 | **
time 28 149 412 233 font 5 ink 0 | 1:00.00
text 46 271 149 289 font 2 ink 2 | **
numerals 46 297 149 325 font 5 ink 3 | #1
text 238 271 394 289 font 2 ink 2 | **
numerals 238 297 394 325 font 5 ink 0 | 0
panel 28 255 412 341
podium 157 291 202 325
close 292 367 412 407
countdown 28 378 280 396
time rail 0 431 440 435
place 1
)");
}

TEST(CardLayout, acceptedRunThatHasNeitherRankNorPoints) {
  EXPECT_EQ(laidOut({u"1", u"ok", u"60", u"", u"", u"0", u"0", u""}), R"(
card 440 435
mark 28 65 60 97 sign 0 filled
text 28 26 220 47 font 0 ink 2 | KOV **
text 72 63 412 99 font 1 ink 0 | *****
text 28 121 412 139 font 2 ink 2 | **
time 28 149 412 233 font 5 ink 0 | 1:00.00
text 46 271 202 289 font 2 ink 2 | **
text 46 293 202 330 font 4 ink 3 | *
text 238 271 394 289 font 2 ink 2 | **
text 238 293 394 330 font 4 ink 0 | *
panel 28 255 412 341
close 292 367 412 407
countdown 28 378 280 396
time rail 0 431 440 435
)");
}

// At this scale eight numerals are exactly as wide as there is room for, and nine too wide.
TEST(CardLayout, numberThatJustFitsIsOfNumerals) {
  const auto pointsAt = [](const char16_t* points) {
    constexpr float kScale = 0.705F;
    const CardLayout layout =
        layOutResult(describeResult({u"1", u"ok", u"60", u"", u"", u"4", points, u""}), kScale,
                     PlainFonts(kScale));
    const Piece& piece = layout.pieces.back();
    EXPECT_EQ(piece.text, points);
    return piece;
  };
  const Piece fits = pointsAt(u"12345678");
  EXPECT_EQ(numeralsWidth(fits.text, static_cast<float>(fits.box.height())),
            static_cast<float>(fits.box.width()));
  EXPECT_EQ(fits.look, Piece::Look::numerals);
  EXPECT_EQ(pointsAt(u"123456789").look, Piece::Look::text);
}

// More than any result has, in the order of the card.
TEST(CardLayout, everythingAtOnce) {
  CardContent content = describeResult(
      {u"1", u"ok", u"60", u"normal", u"main", u"3", u"5", u"login code: K7Q2-9XFM"});
  content.notes = {{Note::Sign::what, std::u16string(400, u'n')}, {Note::Sign::next, u"next"}};
  content.detail = u"a detail";
  EXPECT_EQ(described(layOutResult(content, 1, PlainFonts(1))), R"(
card 440 759
mark 28 65 60 97 sign 0 filled
mark 28 411 50 433 sign 0
mark 28 492 50 514 sign 5
tag 28 253 108 281
tag 116 253 168 281
text 28 26 220 47 font 0 ink 2 | KOV **
text 72 63 412 99 font 1 ink 0 | *****
text 28 121 412 139 font 2 ink 2 | **
time 28 149 412 233 font 5 ink 0 | 1:00.00
text 40 257 96 277 font 3 ink 1 centred | ****
text 128 257 156 277 font 3 ink 1 centred | **
text 46 319 149 337 font 2 ink 2 | **
numerals 46 345 149 373 font 5 ink 3 | #3
text 238 319 394 337 font 2 ink 2 | **
numerals 238 345 394 373 font 5 ink 0 | 5
text 62 411 412 480 font 5 ink 0 | nnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnn | nnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnn | nnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnn*
text 62 492 412 515 font 5 ink 1 | next
text 42 537 412 555 font 6 ink 2 | a detail
text 28 599 67 617 font 2 ink 0 | ***
text 77 599 412 617 font 2 ink 2 | ***************
text 42 631 306 658 font 7 ink 0 | K7Q2-9XFM
panel 28 303 412 389
podium 157 339 202 373
detail rail 28 537 31 555
tear line 0 579 440 581
code 28 625 320 665
copy 328 625 412 665
close 292 691 412 731
countdown 28 702 280 720
time rail 0 755 440 759
place 3
)");
}

TEST(CardLayout, longLoginCodeIsReadOutUpToItsTwoHundredthLetter) {
  const CardContent content = describeResult(
      {u"1", u"ok", u"60", u"", u"", u"1", u"1", u"login code: " + std::u16string(300, u'x')});
  const CardLayout layout = layOutResult(content, 1, PlainFonts(1));
  EXPECT_EQ(layout.pieces.back().text, std::u16string(199, u'x') + u"…");
}

// Fonts of less height than the signs.
class LowFonts final : public FontSet {
 public:
  [[nodiscard]] const TextMeasure& measure(Font font) const override {
    return fonts_.measure(font);
  }
  [[nodiscard]] int lineHeight(Font /*font*/) const override { return 10; }

 private:
  PlainFonts fonts_{1};
};

TEST(CardLayout, noteStandsInTheMiddleOfItsSign) {
  const CardLayout layout = layOutResult(describeIdle(), 1, LowFonts());
  const Box& sign = layout.marks[1].box;
  const Box& note = layout.pieces[2].box;
  EXPECT_EQ(note.top - sign.top, 6);
  EXPECT_EQ(sign.bottom - note.bottom, 6);
}

TEST(CardLayout, progressCards) {
  const auto shown = [](UploadState state, float scale) {
    return described(layOutProgress(describeProgress(state), scale, PlainFonts(scale)));
  };
  EXPECT_EQ(shown(UploadState::uploading, 1), R"(
card 336 102
text 20 16 316 34 font 2 ink 2 | KOV **
text 20 40 191 63 font 5 ink 0 | *******
text 199 43 316 61 font 2 ink 2 | *********
time rail 20 78 316 84
)");
  EXPECT_EQ(shown(UploadState::done, 2), R"(
card 672 205
mark 40 81 88 129 sign 0 filled
text 40 32 632 69 font 2 ink 2 | KOV **
text 108 82 434 128 font 5 ink 0 | ****
text 450 86 632 123 font 2 ink 2 | *******
time rail 40 157 632 169
)");
  EXPECT_EQ(shown(UploadState::failed, 1), R"(
card 336 102
mark 20 40 44 64 sign 1 filled
text 20 16 316 34 font 2 ink 2 | KOV **
text 54 40 217 63 font 5 ink 0 | ******
text 225 43 316 61 font 2 ink 2 | *******
time rail 20 78 316 84
)");
}

TEST(CardLayout, fontsOfTheCard) {
  std::string text;
  for (int font = 0; font <= kFontCount; ++font) {
    const FontSpec spec = fontSpec(static_cast<Font>(font));
    text += std::to_string(static_cast<int>(spec.size)) + (spec.isBold ? " bold" : "") +
            (spec.isMono ? " mono" : "") + "\n";
  }
  // The last line is for what is none of them.
  EXPECT_EQ("\n" + text, R"(
15 bold
25 bold
13
14
26 bold
16
13
19 mono
15 bold
16
)");
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
  EXPECT_FLOAT_EQ(fittingScale(2, 1000, 1000), 2);
  EXPECT_FLOAT_EQ(fittingScale(2, 1000, 1), 0.002F);
  EXPECT_FLOAT_EQ(fittingScale(2, 1000, 0), 0.002F);
  EXPECT_FLOAT_EQ(fittingScale(2, 1, 0), 2);
  EXPECT_FLOAT_EQ(fittingScale(2, 0, -5), 2);
}

TEST(CardLayout, cardThatJustFitsKeepsItsScaleExactly) {
  EXPECT_NE(1.4F * 366 / 366, 1.4F);  // scaling by the height and back would not
  EXPECT_EQ(fittingScale(1.4F, 366, 366), 1.4F);
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

std::string hex(Color color) {
  constexpr char kDigits[] = "0123456789ABCDEF";
  std::string text;
  for (const std::uint8_t channel : {color.red, color.green, color.blue}) {
    text += kDigits[channel >> 4];
    text += kDigits[channel & 0xF];
  }
  return text;
}

// The colours in the order of their declaration.
std::string described(const Palette& palette) {
  std::string text;
  for (const Color color :
       {palette.paper, palette.edge, palette.ink, palette.softInk, palette.faintInk,
        palette.accent, palette.onAccent, palette.accentInk, palette.panel, palette.panelEdge,
        palette.rail}) {
    text += (text.empty() ? "" : " ") + hex(color);
  }
  return text + (palette.isPlain ? " plain" : "");
}

TEST(CardPalette, coloursAreThoseOfTheDesign) {
  std::string text = "\n";
  for (const bool isDark : {true, false}) {
    for (const Kind kind : {Kind::ok, Kind::fail, Kind::none, Kind::unknown, Kind::progress,
                            static_cast<Kind>(99)}) {
      text += described(paletteFor(kind, isDark)) + "\n";
    }
  }
  // Ok, fail, none, unknown and progress, and what is none of them: dark, then light.
  EXPECT_EQ(text, R"(
111316 2C3036 F6F4EC C3C5C7 92969B F5D547 15171A F5D547 1A1D21 2B2F35 24282D
111316 2C3036 F6F4EC C3C5C7 92969B FF8A5B 15171A FF9D75 1A1D21 2B2F35 24282D
111316 2C3036 F6F4EC C3C5C7 92969B 9DB2C9 15171A A9BDD2 1A1D21 2B2F35 24282D
111316 2C3036 F6F4EC C3C5C7 92969B 9DB2C9 15171A A9BDD2 1A1D21 2B2F35 24282D
111316 2C3036 F6F4EC C3C5C7 92969B F5D547 15171A F5D547 1A1D21 2B2F35 24282D
111316 2C3036 F6F4EC C3C5C7 92969B 000000 15171A 000000 1A1D21 2B2F35 24282D
FBFAF5 CFCDC3 15171A 43474C 666A70 F2C91D 15171A 7A5E00 F1EFE6 DEDBCF E4E1D6
FBFAF5 CFCDC3 15171A 43474C 666A70 FF8A5B 15171A A83A0C F1EFE6 DEDBCF E4E1D6
FBFAF5 CFCDC3 15171A 43474C 666A70 A9BDD2 15171A 3D556E F1EFE6 DEDBCF E4E1D6
FBFAF5 CFCDC3 15171A 43474C 666A70 A9BDD2 15171A 3D556E F1EFE6 DEDBCF E4E1D6
FBFAF5 CFCDC3 15171A 43474C 666A70 F2C91D 15171A 7A5E00 F1EFE6 DEDBCF E4E1D6
FBFAF5 CFCDC3 15171A 43474C 666A70 000000 15171A 000000 F1EFE6 DEDBCF E4E1D6
)");
}

TEST(CardPalette, contrastThemeUsesNothingButTheSystemsColours) {
  const Palette palette = contrastPalette({{0, 0, 0}, {255, 255, 255}, {26, 235, 255}, {0, 0, 0}});
  EXPECT_TRUE(palette.isPlain);
  EXPECT_EQ(palette.ink.red, 255);
  EXPECT_EQ(palette.faintInk.red, 255);
  EXPECT_EQ(palette.accent.green, 235);
  EXPECT_EQ(described(contrastPalette({{1, 1, 1}, {2, 2, 2}, {3, 3, 3}, {4, 4, 4}})), R"(010101 020202 020202 020202 020202 030303 040404 020202 010101 020202 010101 plain)");
}

}  // namespace
}  // namespace launcher::card
