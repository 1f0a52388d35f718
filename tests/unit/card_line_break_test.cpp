#include "card/line_break.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

namespace launcher::card {
namespace {

using Lines = std::vector<std::u16string>;

// Ten pixels for a Latin unit, twenty for everything else.
class PlainMeasure final : public TextMeasure {
 public:
  [[nodiscard]] int width(std::u16string_view text) const override {
    ++calls;
    int width = 0;
    for (const char16_t unit : text) width += unit < 0x100 ? 10 : 20;
    return width;
  }
  mutable int calls = 0;
};

Lines broken(std::u16string_view text, int width, std::size_t lines = 9) {
  return breakLines(text, width, lines, PlainMeasure());
}

TEST(CardLineBreak, textThatFitsStaysWhole) {
  EXPECT_EQ(broken(u"a line", 60), (Lines{u"a line"}));
  EXPECT_EQ(broken(u"", 60), Lines{});
  EXPECT_EQ(broken(u"   ", 60), Lines{});
}

TEST(CardLineBreak, wordsBreakAtBlanks) {
  EXPECT_EQ(broken(u"one two three", 70), (Lines{u"one two", u"three"}));
  EXPECT_EQ(broken(u"one   two", 60), (Lines{u"one", u"two"}));
}

TEST(CardLineBreak, chineseBreaksAnywhereButBeforePunctuation) {
  EXPECT_EQ(broken(u"成绩已保存", 40), (Lines{u"成绩", u"已保", u"存"}));
  EXPECT_EQ(broken(u"成绩已，保存", 60), (Lines{u"成绩", u"已，保", u"存"}));
  EXPECT_EQ(broken(u"成绩（保存）", 60), (Lines{u"成绩", u"（保", u"存）"}));
}

TEST(CardLineBreak, longWordsAreCutWhereTheLineEnds) {
  EXPECT_EQ(broken(u"abcdefghij", 40), (Lines{u"abcd", u"efgh", u"ij"}));
}

TEST(CardLineBreak, whatDoesNotFitEndsInAnEllipsis) {
  EXPECT_EQ(broken(u"one two three four", 70, 2), (Lines{u"one two", u"three…"}));
  EXPECT_EQ(fitLine(u"abcdefgh", 60, PlainMeasure()), u"abcd…");
  EXPECT_EQ(fitLine(u"abcdef", 60, PlainMeasure()), u"abcdef");
  EXPECT_EQ(fitLine(u"   ab   ", 20, PlainMeasure()), u"ab");
}

TEST(CardLineBreak, pairsStayWhole) {
  EXPECT_EQ(broken(u"😀😀", 50), (Lines{u"😀", u"😀"}));
  EXPECT_EQ(broken(u"😀a", 10), (Lines{u"😀", u"a"}));
}

TEST(CardLineBreak, pairIsNotSplitWhereItsHalfWouldFit) {
  EXPECT_EQ(broken(u"😀😀", 70), (Lines{u"😀", u"😀"}));
  EXPECT_EQ(broken(u"a😀，，", 50), (Lines{u"a", u"😀", u"，，"}));
}

TEST(CardLineBreak, firstAndLastPairsAreWholeToo) {
  for (const std::u16string pair : {u"\U00010000", u"\U0010FFFF", u"\U000103FF", u"\U0010FC00"}) {
    EXPECT_EQ(broken(pair + pair, 70), (Lines{pair, pair}));
    EXPECT_EQ(broken(pair + u"a", 10), (Lines{pair, u"a"}));
  }
}

TEST(CardLineBreak, halfAPairIsACharacterOfItsOwn) {
  const std::u16string lead(1, u'\xD83D');
  EXPECT_EQ(broken(lead + u"a", 0), (Lines{lead, u"a"}));
  EXPECT_EQ(broken(lead + lead, 0), (Lines{lead, lead}));
  EXPECT_EQ(broken(lead + u"\xE000", 0), (Lines{lead, u"\xE000"}));
  EXPECT_EQ(broken(u"ab" + lead, 30), (Lines{u"ab", lead}));
  EXPECT_EQ(broken(u"ab" + lead + u"，cd", 40), (Lines{u"ab", lead + u"，", u"cd"}));
}

TEST(CardLineBreak, halfAPairBreaksAsAnIdeographDoes) {
  const std::u16string lead(1, u'\xD83D');
  const std::u16string trail(1, u'\xDE00');
  EXPECT_EQ(broken(u"ab" + lead + u"cd", 40), (Lines{u"ab" + lead, u"cd"}));
  EXPECT_EQ(broken(u"ab" + trail, 20), (Lines{u"ab", trail}));
  EXPECT_EQ(broken(u"\xDC00\xDC00", 20), (Lines{u"\xDC00", u"\xDC00"}));
}

TEST(CardLineBreak, nothingAfterTheTextIsLookedAt) {
  const std::u16string text = u"ab😀";
  EXPECT_EQ(broken(std::u16string_view(text).substr(0, 3), 60), Lines{text.substr(0, 3)});
}

TEST(CardLineBreak, pairThatIsTooWideIsALineAllTheSame) {
  EXPECT_EQ(broken(u"😀", 10), Lines{u"😀"});
}

TEST(CardLineBreak, everyClosingSignStaysWithWhatItCloses) {
  for (const char16_t sign : std::u16string(u"，。、；：！？）》」』】…—·,.;:!?)]}%")) {
    const std::u16string one(1, sign);
    EXPECT_EQ(broken(u"字字" + one, 40), (Lines{u"字", u"字" + one}));
  }
  EXPECT_EQ(broken(u"字字a", 40), (Lines{u"字字", u"a"}));
}

TEST(CardLineBreak, everyOpeningSignStaysWithWhatItOpens) {
  for (const char16_t sign : std::u16string(u"（《「『【([{")) {
    const std::u16string one(1, sign);
    EXPECT_EQ(broken(u"字" + one + u"字", 40), (Lines{u"字", one + u"字"}));
  }
  EXPECT_EQ(broken(u"字a字", 40), (Lines{u"字a", u"字"}));
}

// One pixel for each letter, two for the ellipsis.
class NarrowMeasure final : public TextMeasure {
 public:
  [[nodiscard]] int width(std::u16string_view text) const override {
    int width = 0;
    for (const char16_t unit : text) width += unit == u'…' ? 2 : 1;
    return width;
  }
};

TEST(CardLineBreak, onePixelIsRoomForALetterOfOne) {
  EXPECT_EQ(fitLine(u"iiii", 3, NarrowMeasure()), u"i…");
  EXPECT_EQ(fitLine(u"iiii", 2, NarrowMeasure()), u"…");
}

// Five pixels for a letter, none for a mark above it, four for the ellipsis, three for an
// ellipsis that a letter leads to.
class KerningMeasure final : public TextMeasure {
 public:
  [[nodiscard]] int width(std::u16string_view text) const override {
    int width = 0;
    for (const char16_t unit : text) {
      width += unit == u'\u0301' ? 0 : unit != u'…' ? 5 : width > 0 ? 3 : 4;
    }
    return width;
  }
};

TEST(CardLineBreak, letterThatFitsBesideANarrowerEllipsisAloneIsLeftOut) {
  EXPECT_EQ(fitLine(u"ffff", 9, KerningMeasure()), u"f…");
  EXPECT_EQ(fitLine(u"ffff", 8, KerningMeasure()), u"…");
}

TEST(CardLineBreak, besideAnEllipsisThatFillsTheLineStandsNothing) {
  EXPECT_EQ(fitLine(u"\u0301ffff", 5, KerningMeasure()), u"\u0301…");
  EXPECT_EQ(fitLine(u"\u0301ffff", 4, KerningMeasure()), u"…");
}

TEST(CardLineBreak, blankAllowsABreakBesideAnyPunctuation) {
  EXPECT_EQ(broken(u"x（ ，cd", 50), (Lines{u"x（", u"，cd"}));
}

// Two of each beside a Latin letter: those that break anywhere go as far as they fit.
TEST(CardLineBreak, whatBreaksAnywhereIsKnownByItsRange) {
  const auto breaks = [](char16_t unit) {
    const std::u16string one(1, unit);
    return broken(u"x yy" + one + one, 70) == Lines{u"x yy" + one, one};
  };
  for (const char16_t unit : {u'\x2E80', u'\x4E00', u'\xD7FF', u'\xDFFF', u'\xF900', u'\xFAFF',
                              u'\xFF00', u'\xFFEF'}) {
    EXPECT_TRUE(breaks(unit)) << std::hex << static_cast<int>(unit);
  }
  for (const char16_t unit : {u'\x0250', u'\x2E7F', u'\xE000', u'\xF8FF', u'\xFB00', u'\xFEFF',
                              u'\xFFF0'}) {
    EXPECT_FALSE(breaks(unit)) << std::hex << static_cast<int>(unit);
  }
}

TEST(CardLineBreak, noLinesHoldNothing) { EXPECT_EQ(broken(u"a line", 60, 0), Lines{}); }

TEST(CardLineBreak, linesNarrowerThanALetterStillEnd) {
  EXPECT_EQ(broken(u"abc", 0, 3), (Lines{u"a", u"b", u"…"}));
  EXPECT_EQ(fitLine(u"abc", -5, PlainMeasure()), u"…");
}

TEST(CardLineBreak, endlessTextCostsFewMeasurements) {
  const PlainMeasure measure;
  const Lines lines = breakLines(std::u16string(10000, u'x'), 300, 3, measure);
  EXPECT_EQ(lines.size(), 3U);
  EXPECT_LT(measure.calls, 100);
}

// Lone halves of pairs, as a text that was cut has them.
constexpr char16_t kLead = 0xD83D;
constexpr char16_t kTrail = 0xDE00;

TEST(CardLineBreak, cutBetweenTheHalvesOfAPairGoesBeforeIt) {
  EXPECT_EQ(fitLine(u"a😀😀", 60, PlainMeasure()), u"a…");
  EXPECT_EQ(broken(u"😀a", 20), (Lines{u"😀", u"a"}));
  EXPECT_EQ(broken(u"a😀", 30), (Lines{u"a", u"😀"}));
}

TEST(CardLineBreak, onlyALeadAndATrailAreAPair) {
  const std::u16string notLead = {u'a', 0xD7FF, 0xDC00, u'b', u'b'};
  EXPECT_EQ(fitLine(notLead, 50, PlainMeasure()), (std::u16string{u'a', 0xD7FF, u'…'}));
  const std::u16string notTrail = {u'a', 0xD800, 0xDBFF, u'b', u'b'};
  EXPECT_EQ(fitLine(notTrail, 50, PlainMeasure()), (std::u16string{u'a', 0xD800, u'…'}));
  EXPECT_EQ(broken(std::u16string{u'a', kTrail}, 5), (Lines{u"a", std::u16string{kTrail}}));
}

TEST(CardLineBreak, whatStandsAroundTheTextIsNoPartOfIt) {
  const std::u16string pair = {kLead, kTrail, u'b'};
  const std::u16string_view whole = pair;
  EXPECT_EQ(broken(whole.substr(1), 5), (Lines{std::u16string{kTrail}, u"b"}));
  EXPECT_EQ(broken(whole.substr(0, 1), 5), (Lines{std::u16string{kLead}}));
  EXPECT_EQ(broken(std::u16string_view(u"    ").substr(0, 2), 60), Lines{});
}

TEST(CardLineBreak, exclamationMarkBreaksNoWord) {
  EXPECT_EQ(broken(u"abc!def", 50), (Lines{u"abc!d", u"ef"}));
}

}  // namespace
}  // namespace launcher::card
