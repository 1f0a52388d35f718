#include "card/card_paint.h"

#include <gtest/gtest.h>

#include <string>

#include "card/numerals.h"
#include "tests/unit/card_picture.h"

namespace launcher::card {
namespace {

constexpr Color kWhite{255, 255, 255};

// No two alike, so that each letter below is one of them.
Palette testPalette() {
  Palette palette;
  palette.paper = {0x10, 0x20, 0x30};
  palette.edge = {0x90, 0x80, 0x70};
  palette.ink = {0xF0, 0xE0, 0xD0};
  palette.softInk = {0xC0, 0xB0, 0xA0};
  palette.faintInk = {0x60, 0x70, 0x60};
  palette.accent = {0xF5, 0xD5, 0x47};
  palette.onAccent = {0x05, 0x07, 0x0A};
  palette.accentInk = {0x7A, 0xFE, 0x00};
  palette.panel = {0x20, 0x40, 0x60};
  palette.panelEdge = {0x50, 0x10, 0x90};
  palette.rail = {0x0A, 0x60, 0x0A};
  return palette;
}

std::string drawnInPalette(const Picture& picture) {
  return drawn(picture, {{0x000000, '-'},
                         {0x102030, '.'},
                         {0x908070, 'e'},
                         {0xF0E0D0, 'k'},
                         {0xF5D547, 'A'},
                         {0x05070A, 'o'},
                         {0x7AFE00, 'i'},
                         {0x204060, 'p'},
                         {0x501090, 'E'},
                         {0x0A600A, 'r'}});
}

TEST(CardNumerals, digitsLookLikeThis) {
  Picture picture(113, 18);
  drawNumerals(picture.canvas, u"0123456789", {1, 1}, 16, kWhite);
  EXPECT_EQ(inThirds(picture), R"(
.................................................................................................................
...+###+.........##......+####.......####.........#+.....+#######........##....#########....+###+.......####.....
..#######......+###.....+######....+######+......+##.....+#######.......+##....#########...+######....+######+...
.+##+.+##+....+####.....##+..###...##+..+##......##+.....+#+............##+..........+##...##+..###...##+..+##...
.##+...+##...+##+##....+##....##..+##....##+....+##......+#+...........+##...........##+..+#+....##..+##....##+..
.##.....##...+#+.##....+#+....##+..#+....+#+....##+......+#+...........##+...........##...##+....##+.+#+....+#+..
.##.....##.......##...........##.........##+....##.......+#+..........+##...........+##...+#+....##..+##....##+..
.##.....##.......##..........+##........+##....+##.##....+#+..........##+...........##+....##+..###...##+..+##...
.##.....##.......##.........+##+......####+....##..##....+#####+.....+####+.........##.....+######....+######+...
.##.....##.......##.........##+.......####+...+##..##....+#######....#######.......+##.....+######.....+#####....
.##.....##.......##........###..........+##...##+..##....+##..+##+..+##...##+......##+.....##+..###.......##+....
.##.....##.......##.......+##............##+..########+...+....+##..##+...+##......##.....+#+....##......+##.....
.##.....##.......##......+##+......#+....+#+..########+...+.....##..##.....##.....+##.....##+....##+.....##+.....
.##+...+##.......##......##+......+##....##+.......##....##....+##..##+...+##.....##+.....+#+....##.....+##......
.+##+.+##+.......##.....###........##+..+##........##....###..+##+..+##+.+##+.....##.......##+..###.....##+......
..#######........##....+########...+######+........##.....######+....#######.....+##.......+######.....+##.......
...+###+.........##....+########.....####..........##......+###+......+###+......+#+........+###+......+#+.......
.................................................................................................................
)");
  EXPECT_EQ(fingerprint(picture), 0x58E2ABDE9B6CDCC0U);
}

TEST(CardNumerals, signsLookLikeThis) {
  Picture picture(46, 18);
  drawNumerals(picture.canvas, u":.#-+", {1, 1}, 16, kWhite);
  EXPECT_EQ(inThirds(picture), R"(
..............................................
..............................................
.............#..#.............................
............+#.+#.............................
............+#.+#.............................
.##.........+#.+#..................##+........
.##.......+#######.................##+........
.++........+#++#++.................##+........
............#+.#+....+#######...########+.....
............#..#.....+#######...########+.....
..........++#++#++.................##+........
..........########.................##+........
.##........+#.+#...................##+........
.##........+#.+#..............................
...........+#.+#..............................
.....##+...++.++..............................
.....##+......................................
..............................................
)");
  EXPECT_EQ(fingerprint(picture), 0xB19A0C49E4F5DCAAU);
}

TEST(CardNumerals, timeHasItsHundredthsSmallerOnTheSameLine) {
  Picture picture(74, 22);
  drawTime(picture.canvas, u"1:23.45", {1, 1}, 20, {255, 255, 255}, {0, 0, 255});
  EXPECT_EQ(inThirds(picture), R"(
..........................................................................
.......##..............+####+........+####+...............................
......###+............########......#######+..............................
....+####+...........#########+....#########+.............................
...+#####+...........###....###...+###....###.............................
..+###+##+..........+##.....+##+..+##.....+##+............................
..+##+.##+.....##+..+##......##+...#+......##+............................
...+...##+.....###...........##+...........##+............................
.......##+.....##+..........###...........###.............................
.......##+.................+###.........+####.........+#....######........
.......##+.................###........+#####..........##....##++++........
.......##+................###+........+#####.........+#+....##............
.......##+...............###+...........+####........##.....##............
.......##+..............+###..............###........#+++...##............
.......##+.....+#.......###................##+......+#.##...####+.........
.......##+.....###.....###+........#+......##+......##.##...######........
.......##+.....###....###+........+##.....+##+.....+#++##+..#+..+#+.......
.......##+......+....+###.........+###....###......+######.......#+.......
.......##+...........##########....#########+..........##...#+..+#+.......
.......##+..........###########+....#######+....++.....##...###+##........
.......##...........+##########+.....+####+.....##.....##....+###.........
..........................................................................
)");
  EXPECT_EQ(fingerprint(picture), 0xD9E459C38C300FA6U);
}

// So large that a degree of an arc shows, and of sizes at which no pixel depends on the last
// bit of a sine, which may differ from machine to machine.
TEST(CardNumerals, digitsOfALargeSizeJoinTheirStrokesExactly) {
  Picture large(1988, 292);
  drawNumerals(large.canvas, u"0123456789", {1, 1}, 290, kWhite);
  EXPECT_EQ(fingerprint(large), 0x915CF76A1672AA4BU);
  Picture larger(2056, 302);
  drawNumerals(larger.canvas, u"0123456789", {1, 1}, 300, kWhite);
  EXPECT_EQ(fingerprint(larger), 0x1B16AC2799AE704EU);
}

TEST(CardNumerals, timeWithoutAPointIsAllOfOneSize) {
  Picture time(50, 22);
  drawTime(time.canvas, u"1:23", {1, 1}, 20, {255, 255, 255}, {0, 0, 255});
  Picture numerals(50, 22);
  drawNumerals(numerals.canvas, u"1:23", {1, 1}, 20, {255, 255, 255});
  EXPECT_EQ(time.pixels, numerals.pixels);
}

TEST(CardNumerals, noTextHasNoWidth) { EXPECT_EQ(numeralsWidth(u"", 40), 0); }

CardLayout frameOf(int width, int height, float scale) {
  CardLayout layout;
  layout.width = width;
  layout.height = height;
  layout.scale = scale;
  return layout;
}

TEST(CardPaint, progressCardHasAnEdgeABarAndItsSigns) {
  CardLayout layout = frameOf(116, 36, 0.5F);
  layout.marks = {{{5, 2, 21, 18}, Mark::Sign::ok, true},
                  {{23, 2, 39, 18}, Mark::Sign::fail, true},
                  {{41, 2, 57, 18}, Mark::Sign::none, true},
                  {{59, 2, 75, 18}, Mark::Sign::unknown, true},
                  {{77, 2, 93, 18}, Mark::Sign::safe, true},
                  {{95, 2, 111, 18}, Mark::Sign::next, true},
                  {{5, 19, 21, 35}, Mark::Sign::ok, false},
                  {{23, 19, 39, 35}, Mark::Sign::fail, false},
                  {{41, 19, 57, 35}, Mark::Sign::none, false},
                  {{59, 19, 75, 35}, Mark::Sign::unknown, false},
                  {{77, 19, 93, 35}, Mark::Sign::safe, false},
                  {{95, 19, 111, 35}, Mark::Sign::next, false}};
  Picture picture(116, 36);
  paintProgress(picture.canvas, layout, testPalette());
  EXPECT_EQ(drawnInPalette(picture), R"(
AAAeeeeeeeeeeeeeeeeeeeeeeeeeeeeeeeeeeeeeeeeeeeeeeeeeeeeeeeeeeeeeeeeeeeeeeeeeeeeeeeeeeeeeeeeeeeeeeeeeeeeeeeeeeeeeeeee
AAA................................................................................................................e
AAA......++++++++..........++++++++..........++++++++..........++++++++..........++++++++..........++++++++........e
AAA.....+AAAAAAAA+........+AAAAAAAA+........+AAAAAAAA+........+AAAAAAAA+........+AAAAAAAA+........+AAAAAAAA+.......e
AAA....+AAAAAAAAAA+......+AAAAAAAAAA+......+AAAAAAAAAA+......+AAAAAAAAAA+......+AAAAAAAAAA+......+AAAAAAAAAA+......e
AAA...+AAAAAAAAAAAA+....+AAAAA++AAAAA+....+AAAAAAAAAAAA+....+AAAAA++AAAAA+....+AAAAAAAAAAAA+....+AAAAAAAAAAAA+.....e
AAA..+AAAAAAAAAAAAAA+..+AAAAAA++AAAAAA+..+AAAAAAAAAAAAAA+..+AAAAAA++AAAAAA+..+AAAAAAAAAAAAAA+..+AAAAAAA+AAAAAA+....e
AAA..+AAAAAAAAA+++AA+..+AAAAAA++AAAAAA+..+AAAAAAAAAAAAAA+..+AAAAAA++AAAAAA+..+AAAAAAAAA+++AA+..+AAAAAA+o+AAAAA+....e
AAA..+AAAAAAAA+o++AA+..+AAAAAA++AAAAAA+..+AAAAAAAAAAAAAA+..+AAAAAA++AAAAAA+..+AAAAAAAA+o++AA+..+AAAAAAA+o+AAAA+....e
AAA..+AAA++AA+o++AAA+..+AAAAAA++AAAAAA+..+AAA++++++++AAA+..+AAAAAA++AAAAAA+..+AAA++AA+o++AAA+..+AAA++++++o+AAA+....e
AAA..+AA+++++o++AAAA+..+AAAAAA++AAAAAA+..+AAA++++++++AAA+..+AAAAAA++AAAAAA+..+AA+++++o++AAAA+..+AAA++++++o+AAA+....e
AAA..+AAA+o++++AAAAA+..+AAAAAA++AAAAAA+..+AAAAAAAAAAAAAA+..+AAAAAA++AAAAAA+..+AAA+o++++AAAAA+..+AAAAAAA+o+AAAA+....e
AAA..+AAAA+oo+AAAAAA+..+AAAAAA++AAAAAA+..+AAAAAAAAAAAAAA+..+AAAAAA++AAAAAA+..+AAAA+oo+AAAAAA+..+AAAAAA+o+AAAAA+....e
AAA..+AAAAA++AAAAAAA+..+AAAAAA++AAAAAA+..+AAAAAAAAAAAAAA+..+AAAAAA++AAAAAA+..+AAAAA++AAAAAAA+..+AAAAAAA+AAAAAA+....e
AAA...+AAAAAAAAAAAA+....+AAAAA++AAAAA+....+AAAAAAAAAAAA+....+AAAAA++AAAAA+....+AAAAAAAAAAAA+....+AAAAAAAAAAAA+.....e
AAA....+AAAAAAAAAA+......+AAAAAAAAAA+......+AAAAAAAAAA+......+AAAAAAAAAA+......+AAAAAAAAAA+......+AAAAAAAAAA+......e
AAA.....+AAAAAAAA+........+AAAAAAAA+........+AAAAAAAA+........+AAAAAAAA+........+AAAAAAAA+........+AAAAAAAA+.......e
AAA......++++++++..........++++++++..........++++++++..........++++++++..........++++++++..........++++++++........e
AAA................................................................................................................e
AAA........++++..............++++..............++++..............++++..............++++..............++++..........e
AAA......++++++++..........++++++++..........++++++++..........++++++++..........++++++++..........++++++++........e
AAA....++++....++++......++++....++++......++++....++++......++++....++++......++++....++++......++++....++++......e
AAA....++........++......++...++...++......++........++......++...++...++......++........++......++........++......e
AAA...++..........++....++....++....++....++..........++....++....++....++....++..........++....++.....+....++.....e
AAA...++.......+++++....++....++....++....++..........++....++....++....++....++.......+++++....++....+i+...++.....e
AAA..++.......+i+..++..++.....++.....++..++............++..++.....++.....++..++.......+i+..++..++......+i+...++....e
AAA..++..++..++++..++..++.....++.....++..++..++++++++..++..++.....++.....++..++..++..++++..++..++..++++++i+..++....e
AAA..++..+++++++...++..++.....++.....++..++..++++++++..++..++.....++.....++..++..+++++++...++..++..++++++i+..++....e
AAA..++..++++++....++..++.....++.....++..++............++..++.....++.....++..++..++++++....++..++......+i+...++....e
AAA...++..++++....++....++....++....++....++..........++....++....++....++....++..++++....++....++....+i+...++.....e
AAA...++...++.....++....++....++....++....++..........++....++....++....++....++...++.....++....++.....+....++.....e
AAA....++........++......++...++...++......++........++......++...++...++......++........++......++........++......e
AAA....++++....++++......++++....++++......++++....++++......++++....++++......++++....++++......++++....++++......e
AAA......++++++++..........++++++++..........++++++++..........++++++++..........++++++++..........++++++++........e
AAA........++++..............++++..............++++..............++++..............++++..............++++..........e
AAAeeeeeeeeeeeeeeeeeeeeeeeeeeeeeeeeeeeeeeeeeeeeeeeeeeeeeeeeeeeeeeeeeeeeeeeeeeeeeeeeeeeeeeeeeeeeeeeeeeeeeeeeeeeeeeeee
)");
  EXPECT_EQ(fingerprint(picture), 0x57493F12B2C160B9U);
}

TEST(CardPaint, signsOfALargeCard) {
  CardLayout layout = frameOf(210, 75, 2);
  layout.marks = {{{10, 5, 74, 69}, Mark::Sign::ok, true},
                  {{75, 5, 139, 69}, Mark::Sign::next, false},
                  {{140, 5, 204, 69}, Mark::Sign::fail, false}};
  Picture picture(210, 75);
  paintProgress(picture.canvas, layout, testPalette());
  EXPECT_EQ(fingerprint(picture), 0x1E6316F186CDEF70U);
}

TEST(CardPaint, signOfAVeryLargeCardIsAWholeCircle) {
  CardLayout layout = frameOf(140, 140, 2);
  layout.marks = {{{11, 6, 139, 134}, Mark::Sign::none, false}};
  Picture picture(140, 140);
  paintProgress(picture.canvas, layout, testPalette());
  EXPECT_EQ(fingerprint(picture), 0xAB4FDDAA31F0F735U);
}

TEST(CardPaint, signThatIsNoneIsAnEmptyCircle) {
  CardLayout layout = frameOf(20, 14, 1);
  layout.marks = {{{7, 2, 17, 12}, static_cast<Mark::Sign>(99), true}};
  Picture picture(20, 14);
  paintProgress(picture.canvas, layout, testPalette());
  EXPECT_EQ(drawnInPalette(picture), R"(
AAAAAeeeeeeeeeeeeeee
AAAAA..............e
AAAAA....++++++....e
AAAAA...+AAAAAA+...e
AAAAA..+AAAAAAAA+..e
AAAAA..+AAAAAAAA+..e
AAAAA..+AAAAAAAA+..e
AAAAA..+AAAAAAAA+..e
AAAAA..+AAAAAAAA+..e
AAAAA..+AAAAAAAA+..e
AAAAA...+AAAAAA+...e
AAAAA....++++++....e
AAAAA..............e
AAAAAeeeeeeeeeeeeeee
)");
}

CardLayout smallResult() {
  CardLayout layout = frameOf(110, 84, 0.5F);
  layout.tags = {{4, 28, 30, 38}, {34, 28, 60, 38}};
  layout.statPanel = {4, 42, 106, 66};
  layout.place = 1;
  layout.podium = {76, 46, 102, 62};
  layout.detailRail = {4, 69, 6, 81};
  layout.tearLine = {0, 67, 110, 68};
  layout.codeField = {66, 70, 106, 81};
  layout.marks = {{{4, 8, 20, 24}, Mark::Sign::ok, true}};
  Piece time;
  time.look = Piece::Look::time;
  time.text = u"1.2";
  time.box = {24, 8, 50, 24};
  Piece rank;
  rank.look = Piece::Look::numerals;
  rank.text = u"#1";
  rank.ink = Ink::accent;
  rank.box = {8, 48, 40, 60};
  Piece words;
  words.text = u"1";
  words.box = {10, 70, 40, 80};
  layout.pieces = {time, rank, words};
  return layout;
}

TEST(CardPaint, resultCardHasAllItsParts) {
  Picture picture(110, 84);
  paintResult(picture.canvas, smallResult(), testPalette());
  EXPECT_EQ(drawnInPalette(picture), R"(
AAAAAAAAAAAAAAAAAAAAAAAAAAAAAAAAAAAAAAAAAAAAAAAAAAAAAAAAAAAAAAAAAAAAAAAAAAAAAAAAAAAAAAAAAAAAAAAAAAAAAAAAAAAAAA
AAAAAAAAAAAAAAAAAAAAAAAAAAAAAAAAAAAAAAAAAAAAAAAAAAAAAAAAAAAAAAAAAAAAAAAAAAAAAAAAAAAAAAAAAAAAAAAAAAAAAAAAAAAAAA
AAAAAAAAAAAAAAAAAAAAAAAAAAAAAAAAAAAAAAAAAAAAAAAAAAAAAAAAAAAAAAAAAAAAAAAAAAAAAAAAAAAAAAAAAAAAAAAAAAAAAAAAAAAAAA
e..............+++++.....+++++.....+++++.....+++++.....+++++.....+++++.....+++++.....+++++.....+++++.....+++++
e..............+++++.....+++++.....+++++.....+++++.....+++++.....+++++.....+++++.....+++++.....+++++.....+++++
e..............+++++.....+++++.....+++++.....+++++.....+++++.....+++++.....+++++.....+++++.....+++++.....+++++
e..............+++++.....+++++.....+++++.....+++++.....+++++.....+++++.....+++++.....+++++.....+++++.....+++++
e..............+++++.....+++++.....+++++.....+++++.....+++++.....+++++.....+++++.....+++++.....+++++.....+++++
e.......++++++++....+++++...+++++++.....+++++.....+++++.....+++++.....+++++.....+++++.....+++++.....+++++....e
e......+AAAAAAAA+...+++++..+kk+++++.....+++++.....+++++.....+++++.....+++++.....+++++.....+++++.....+++++....e
e.....+AAAAAAAAAA+..+++++.+kkk+++++.....+++++.....+++++.....+++++.....+++++.....+++++.....+++++.....+++++....e
e....+AAAAAAAAAAAA+.++++++kk+k+++++.....+++++.....+++++.....+++++.....+++++.....+++++.....+++++.....+++++....e
e...+AAAAAAAAAAAAAA+++++++k++k+++++.....+++++.....+++++.....+++++.....+++++.....+++++.....+++++.....+++++....e
e...+AAAAAAAAA+++AA+.....++++k+....+++++.....+++++.....+++++.....+++++.....+++++.....+++++.....+++++.....+++++
e...+AAAAAAAA+o++AA+.....++++k+....+++++++...+++++.....+++++.....+++++.....+++++.....+++++.....+++++.....+++++
e...+AAA++AA+o++AAA+.....++++k+....++++++i+..+++++.....+++++.....+++++.....+++++.....+++++.....+++++.....+++++
e...+AA+++++o++AAAA+.....++++k+....+++i+.+i+.+++++.....+++++.....+++++.....+++++.....+++++.....+++++.....+++++
e...+AAA+o++++AAAAA+.....++++k+....+++++.+i+.+++++.....+++++.....+++++.....+++++.....+++++.....+++++.....+++++
e...+AAAA+oo+AAAAAA++++++...+k+++++.....+++++.....+++++.....+++++.....+++++.....+++++.....+++++.....+++++....e
e...+AAAAA++AAAAAAA++++++...+k+++++.....+++++.....+++++.....+++++.....+++++.....+++++.....+++++.....+++++....e
e....+AAAAAAAAAAAA+.+++++...+k+++++....+i++++.....+++++.....+++++.....+++++.....+++++.....+++++.....+++++....e
e.....+AAAAAAAAAA+..+++++...+k+++++...+++++++.....+++++.....+++++.....+++++.....+++++.....+++++.....+++++....e
e......+AAAAAAAA+...+++++...+k+++++++.+++++++.....+++++.....+++++.....+++++.....+++++.....+++++.....+++++....e
e.......++++++++............+++....+++iiiii+.................................................................e
e..................................+.........................................................................e
e............................................................................................................e
e............................................................................................................e
e............................................................................................................e
e.....+++EEEEEEEEEEEEEEEE+++........+++EEEEEEEEEEEEEEEE+++...................................................e
e....++++pppppppppppppppp++++......++++pppppppppppppppp++++..................................................e
e...+++pppppppppppppppppppp+++....+++pppppppppppppppppppp+++.................................................e
e...++pppppppppppppppppppppp++....++pppppppppppppppppppppp++.................................................e
e...++pppppppppppppppppppppp++....++pppppppppppppppppppppp++.................................................e
e...++pppppppppppppppppppppp++....++pppppppppppppppppppppp++.................................................e
e...++pppppppppppppppppppppp++....++pppppppppppppppppppppp++.................................................e
e...+++pppppppppppppppppppp+++....+++pppppppppppppppppppp+++.................................................e
e....++++pppppppppppppppp++++......++++pppppppppppppppp++++..................................................e
e.....+++EEEEEEEEEEEEEEEE+++........+++EEEEEEEEEEEEEEEE+++...................................................e
e............................................................................................................e
e............................................................................................................e
e............................................................................................................e
e............................................................................................................e
e.....+++EEEEEEEEEEEEEEEEEEEEEEEEEEEEEEEEEEEEEEEEEEEEEEEEEEEEEEEEEEEEEEEEEEEEEEEEEEEEEEEEEEEEEEEEEEEE+++.....e
e....++++pppppppppppppppppppppppppppppppppppppppppppppppppppppppppppppppppppppppppppppppppppppppppppp++++....e
e...+++pppppppppppppppppppppppppppppppppppppppppppppppppppppppppppppppppppppppppppppppppppppppppppppppp+++...e
e...++pppppppppppppppppppppppppppppppppppppppppppppppppppppppppppppppppppppppppppppppppppppppppppppppppp++...e
e...++ppppppppppppppppppppppppppppppppppppppppppppppppppppppppppppppppppppppppppppppp+AAAAA+pppppppppppp++...e
e...EppppppppppppppppppppppppppppppppppppppppppppppppppppppppppppppppppppppppppppppppAAAAAAApppppppppppppE...e
e...Eppppp+pp+ppppp+++pppppppppppppppppppppppppppppppppppppppppppppppppppppppppppppppAAAAAAApppppppppppppE...e
e...Eppppp++++pppp+ii+pppppppppppppppppppppppppppppppppppppppppppppppppppppppppppppppAAAAAAApppppppppppppE...e
e...Eppppp++++ppp+i+i+pppppppppppppppppppppppppppppppppEpppppppppppppppppppppppppppppAAAAAAApppppppppppppE...e
e...Epppp++++++pp+++i+pppppppppppppppppppppppppppppppppEpppppppppppppppppppp+++++++ppAAAAAAApppppppppppppE...e
e...Eppp+++++++pppp+i+pppppppppppppppppppppppppppppppppEpppppppppppppppppppp+++++++ppAAAAAAApppppppppppppE...e
e...Epppp++p++ppppp+i+pppppppppppppppppppppppppppppppppEpppppppppppppppppppp+++++++ppAAAAAAApppppppppppppE...e
e...Epppp++p++ppppp+i+pppppppppppppppppppppppppppppppppEpppppppppppppppppppp+++++++ppAAAAAAApppppppppppppE...e
e...Eppp+++++++pppp+i+pppppppppppppppppppppppppppppppppEpppppppppppppppppppp+++++++ppAAAAAAApp+++++++ppppE...e
e...Eppp++++++ppppp+i+pppppppppppppppppppppppppppppppppEpppppppppppppppppppp+++++++ppAAAAAAApp+++++++ppppE...e
e...Epppp++++pppppp+i+pppppppppppppppppppppppppppppppppEpppppppppppppppppppp+++++++ppAAAAAAApp+++++++ppppE...e
e...Epppp++++pppppp+i+pppppppppppppppppppppppppppppppppppppppppppppppppppppp+++++++ppAAAAAAApp+++++++ppppE...e
e...Epppp+pp+pppppp+++pppppppppppppppppppppppppppppppppppppppppppppppppppppp+++++++ppAAAAAAApp+++++++ppppE...e
e...Eppppppppppppppppppppppppppppppppppppppppppppppppppppppppppppppppppppppp+++++++ppAAAAAAApp+++++++ppppE...e
e...++pppppppppppppppppppppppppppppppppppppppppppppppppppppppppppppppppppppp+++++++pp+AAAAA+pp+++++++ppp++...e
e...++pppppppppppppppppppppppppppppppppppppppppppppppppppppppppppppppppppppppppppppppppppppppppppppppppp++...e
e...+++pppppppppppppppppppppppppppppppppppppppppppppppppppppppppppppppppppppppppppppppppppppppppppppppp+++...e
e....++++pppppppppppppppppppppppppppppppppppppppppppppppppppppppppppppppppppppppppppppppppppppppppppp++++....e
e.....+++EEEEEEEEEEEEEEEEEEEEEEEEEEEEEEEEEEEEEEEEEEEEEEEEEEEEEEEEEEEEEEEEEEEEEEEEEEEEEEEEEEEEEEEEEEEE+++.....e
e............................................................................................................e
e..eee...eee...eee...eee...eee...eee...eee...eee...eee...eee...eee...eee...eee...eee...eee...eee...eee...eee.e
e............................................................................................................e
e...EE.......................................................................................................e
e...EE.............................................................+++EEEEEEEEEEEEEEEEEEEEEEEEEEEEEEEE+++....e
e...EE............................................................++++pppppppppppppppppppppppppppppppp++++...e
e...EE............................................................++pppppppppppppppppppppppppppppppppppp++...e
e...EE............................................................++pppppppppppppppppppppppppppppppppppp++...e
e...EE............................................................EppppppppppppppppppppppppppppppppppppppE...e
e...EE............................................................EppppppppppppppppppppppppppppppppppppppE...e
e...EE............................................................EppppppppppppppppppppppppppppppppppppppE...e
e...EE............................................................++pppppppppppppppppppppppppppppppppppp++...e
e...EE............................................................++pppppppppppppppppppppppppppppppppppp++...e
e...EE............................................................++++pppppppppppppppppppppppppppppppp++++...e
e...EE.............................................................+++EEEEEEEEEEEEEEEEEEEEEEEEEEEEEEEE+++....e
e............................................................................................................e
e............................................................................................................e
eeeeeeeeeeeeeeeeeeeeeeeeeeeeeeeeeeeeeeeeeeeeeeeeeeeeeeeeeeeeeeeeeeeeeeeeeeeeeeeeeeeeeeeeeeeeeeeeeeeeeeeeeeeeee
)");
  EXPECT_EQ(fingerprint(picture), 0xBA78CC663327AD4DU);
}

TEST(CardPaint, contrastThemeHasNoCheckersAndMixesNoColours) {
  Palette palette = testPalette();
  palette.isPlain = true;
  CardLayout layout = smallResult();
  layout.place = 3;
  Picture picture(110, 84);
  paintResult(picture.canvas, layout, palette);
  EXPECT_EQ(drawnInPalette(picture), R"(
AAAAAAAAAAAAAAAAAAAAAAAAAAAAAAAAAAAAAAAAAAAAAAAAAAAAAAAAAAAAAAAAAAAAAAAAAAAAAAAAAAAAAAAAAAAAAAAAAAAAAAAAAAAAAA
AAAAAAAAAAAAAAAAAAAAAAAAAAAAAAAAAAAAAAAAAAAAAAAAAAAAAAAAAAAAAAAAAAAAAAAAAAAAAAAAAAAAAAAAAAAAAAAAAAAAAAAAAAAAAA
AAAAAAAAAAAAAAAAAAAAAAAAAAAAAAAAAAAAAAAAAAAAAAAAAAAAAAAAAAAAAAAAAAAAAAAAAAAAAAAAAAAAAAAAAAAAAAAAAAAAAAAAAAAAAA
e............................................................................................................e
e............................................................................................................e
e............................................................................................................e
e............................................................................................................e
e............................................................................................................e
e.......++++++++............+++..............................................................................e
e......+AAAAAAAA+..........+kk+..............................................................................e
e.....+AAAAAAAAAA+........+kkk+..............................................................................e
e....+AAAAAAAAAAAA+......+kk+k+..............................................................................e
e...+AAAAAAAAAAAAAA+.....+k++k+..............................................................................e
e...+AAAAAAAAA+++AA+.....++.+k+..............................................................................e
e...+AAAAAAAA+o++AA+........+k+........+++...................................................................e
e...+AAA++AA+o++AAA+........+k+.......+++i+..................................................................e
e...+AA+++++o++AAAA+........+k+......+i+.+i+.................................................................e
e...+AAA+o++++AAAAA+........+k+.......+..+i+.................................................................e
e...+AAAA+oo+AAAAAA+........+k+..........++..................................................................e
e...+AAAAA++AAAAAAA+........+k+.........+++..................................................................e
e....+AAAAAAAAAAAA+.........+k+........+i+...................................................................e
e.....+AAAAAAAAAA+..........+k+.......+++....................................................................e
e......+AAAAAAAA+...........+k+....++.+++++..................................................................e
e.......++++++++............+++....+++iiiii+.................................................................e
e..................................+.........................................................................e
e............................................................................................................e
e............................................................................................................e
e............................................................................................................e
e.....+++EEEEEEEEEEEEEEEE+++........+++EEEEEEEEEEEEEEEE+++...................................................e
e....++++pppppppppppppppp++++......++++pppppppppppppppp++++..................................................e
e...+++pppppppppppppppppppp+++....+++pppppppppppppppppppp+++.................................................e
e...++pppppppppppppppppppppp++....++pppppppppppppppppppppp++.................................................e
e...++pppppppppppppppppppppp++....++pppppppppppppppppppppp++.................................................e
e...++pppppppppppppppppppppp++....++pppppppppppppppppppppp++.................................................e
e...++pppppppppppppppppppppp++....++pppppppppppppppppppppp++.................................................e
e...+++pppppppppppppppppppp+++....+++pppppppppppppppppppp+++.................................................e
e....++++pppppppppppppppp++++......++++pppppppppppppppp++++..................................................e
e.....+++EEEEEEEEEEEEEEEE+++........+++EEEEEEEEEEEEEEEE+++...................................................e
e............................................................................................................e
e............................................................................................................e
e............................................................................................................e
e............................................................................................................e
e.....+++EEEEEEEEEEEEEEEEEEEEEEEEEEEEEEEEEEEEEEEEEEEEEEEEEEEEEEEEEEEEEEEEEEEEEEEEEEEEEEEEEEEEEEEEEEEE+++.....e
e....++++pppppppppppppppppppppppppppppppppppppppppppppppppppppppppppppppppppppppppppppppppppppppppppp++++....e
e...+++pppppppppppppppppppppppppppppppppppppppppppppppppppppppppppppppppppppppppppppppppppppppppppppppp+++...e
e...++pppppppppppppppppppppppppppppppppppppppppppppppppppppppppppppppppppppppppppppppppppppppppppppppppp++...e
e...++ppppppppppppppppppppppppppppppppppppppppppppppppppppppppppppppppppppppppppppppp+EEEEE+pppppppppppp++...e
e...EppppppppppppppppppppppppppppppppppppppppppppppppppppppppppppppppppppppppppppppppEEEEEEEpppppppppppppE...e
e...Eppppp+pp+ppppp+++pppppppppppppppppppppppppppppppppppppppppppppppppppppppppppppppEEEEEEEpppppppppppppE...e
e...Eppppp++++pppp+ii+pppppppppppppppppppppppppppppppppppppppppppppppppppppppppppppppEEEEEEEpppppppppppppE...e
e...Eppppp++++ppp+i+i+pppppppppppppppppppppppppppppppppEpppppppppppppppppppppppppppppEEEEEEEpppppppppppppE...e
e...Epppp++++++pp+++i+pppppppppppppppppppppppppppppppppEpppppppppppppppppppp+EEEEE+ppEEEEEEEpppppppppppppE...e
e...Eppp+++++++pppp+i+pppppppppppppppppppppppppppppppppEppppppppppppppppppppEEEEEEEppEEEEEEEpppppppppppppE...e
e...Epppp++p++ppppp+i+pppppppppppppppppppppppppppppppppEppppppppppppppppppppEEEEEEEppEEEEEEEpppppppppppppE...e
e...Epppp++p++ppppp+i+pppppppppppppppppppppppppppppppppEppppppppppppppppppppEEEEEEEppEEEEEEEpppppppppppppE...e
e...Eppp+++++++pppp+i+pppppppppppppppppppppppppppppppppEppppppppppppppppppppEEEEEEEppEEEEEEEpp+AAAAA+ppppE...e
e...Eppp++++++ppppp+i+pppppppppppppppppppppppppppppppppEppppppppppppppppppppEEEEEEEppEEEEEEEppAAAAAAAppppE...e
e...Epppp++++pppppp+i+pppppppppppppppppppppppppppppppppEppppppppppppppppppppEEEEEEEppEEEEEEEppAAAAAAAppppE...e
e...Epppp++++pppppp+i+ppppppppppppppppppppppppppppppppppppppppppppppppppppppEEEEEEEppEEEEEEEppAAAAAAAppppE...e
e...Epppp+pp+pppppp+++ppppppppppppppppppppppppppppppppppppppppppppppppppppppEEEEEEEppEEEEEEEppAAAAAAAppppE...e
e...EpppppppppppppppppppppppppppppppppppppppppppppppppppppppppppppppppppppppEEEEEEEppEEEEEEEppAAAAAAAppppE...e
e...++pppppppppppppppppppppppppppppppppppppppppppppppppppppppppppppppppppppp+EEEEE+pp+EEEEE+pp+AAAAA+ppp++...e
e...++pppppppppppppppppppppppppppppppppppppppppppppppppppppppppppppppppppppppppppppppppppppppppppppppppp++...e
e...+++pppppppppppppppppppppppppppppppppppppppppppppppppppppppppppppppppppppppppppppppppppppppppppppppp+++...e
e....++++pppppppppppppppppppppppppppppppppppppppppppppppppppppppppppppppppppppppppppppppppppppppppppp++++....e
e.....+++EEEEEEEEEEEEEEEEEEEEEEEEEEEEEEEEEEEEEEEEEEEEEEEEEEEEEEEEEEEEEEEEEEEEEEEEEEEEEEEEEEEEEEEEEEEE+++.....e
e............................................................................................................e
e..eee...eee...eee...eee...eee...eee...eee...eee...eee...eee...eee...eee...eee...eee...eee...eee...eee...eee.e
e............................................................................................................e
e...EE.......................................................................................................e
e...EE.............................................................+++EEEEEEEEEEEEEEEEEEEEEEEEEEEEEEEE+++....e
e...EE............................................................++++pppppppppppppppppppppppppppppppp++++...e
e...EE............................................................++pppppppppppppppppppppppppppppppppppp++...e
e...EE............................................................++pppppppppppppppppppppppppppppppppppp++...e
e...EE............................................................EppppppppppppppppppppppppppppppppppppppE...e
e...EE............................................................EppppppppppppppppppppppppppppppppppppppE...e
e...EE............................................................EppppppppppppppppppppppppppppppppppppppE...e
e...EE............................................................++pppppppppppppppppppppppppppppppppppp++...e
e...EE............................................................++pppppppppppppppppppppppppppppppppppp++...e
e...EE............................................................++++pppppppppppppppppppppppppppppppp++++...e
e...EE.............................................................+++EEEEEEEEEEEEEEEEEEEEEEEEEEEEEEEE+++....e
e............................................................................................................e
e............................................................................................................e
eeeeeeeeeeeeeeeeeeeeeeeeeeeeeeeeeeeeeeeeeeeeeeeeeeeeeeeeeeeeeeeeeeeeeeeeeeeeeeeeeeeeeeeeeeeeeeeeeeeeeeeeeeeeee
)");
  EXPECT_EQ(fingerprint(picture), 0xF1AE2FAAB220DB1EU);
}

// Every part; large enough to tell neighbouring measures apart.
CardLayout largeResult(float scale) {
  CardLayout layout = frameOf(360, 300, scale);
  layout.tags = {{20, 60, 120, 104}, {130, 60, 190, 88}};
  layout.statPanel = {20, 120, 340, 220};
  layout.place = 2;
  layout.podium = {90, 140, 145, 200};
  layout.detailRail = {20, 230, 24, 250};
  layout.tearLine = {0, 256, 360, 259};
  layout.codeField = {20, 262, 240, 292};
  layout.marks = {{{20, 20, 50, 50}, Mark::Sign::fail, true},
                  {{60, 20, 85, 45}, Mark::Sign::safe, false}};
  return layout;
}

std::uint64_t largeFingerprint(float scale) {
  Picture picture(360, 300);
  paintResult(picture.canvas, largeResult(scale), testPalette());
  return fingerprint(picture);
}

// Measures in pixels are rounded, to one pixel at least: 0.3 of 1 is one, 1.4 of 6 is 8.
TEST(CardPaint, resultCardIsPaintedAtEveryScale) {
  EXPECT_EQ(largeFingerprint(0.3F), 0xA2468D5A91F00806U);
  EXPECT_EQ(largeFingerprint(1), 0x2DE74992062689EEU);
  EXPECT_EQ(largeFingerprint(1.4F), 0x506F4BFD82FA015AU);
  EXPECT_EQ(largeFingerprint(2), 0x3629276ECCA3F246U);
}

TEST(CardPaint, noDashOfTheTearLineReachesTheEdge) {
  CardLayout layout = frameOf(48, 9, 1);
  layout.tearLine = {0, 6, 48, 8};
  Palette palette = testPalette();
  palette.isPlain = true;
  Picture picture(48, 9);
  paintResult(picture.canvas, layout, palette);
  EXPECT_EQ(drawnInPalette(picture), R"(
AAAAAAAAAAAAAAAAAAAAAAAAAAAAAAAAAAAAAAAAAAAAAAAA
AAAAAAAAAAAAAAAAAAAAAAAAAAAAAAAAAAAAAAAAAAAAAAAA
AAAAAAAAAAAAAAAAAAAAAAAAAAAAAAAAAAAAAAAAAAAAAAAA
AAAAAAAAAAAAAAAAAAAAAAAAAAAAAAAAAAAAAAAAAAAAAAAA
AAAAAAAAAAAAAAAAAAAAAAAAAAAAAAAAAAAAAAAAAAAAAAAA
e..............................................e
e.....+eeee+......+eeee+......+eeee+...........e
e.....+eeee+......+eeee+......+eeee+...........e
eeeeeeeeeeeeeeeeeeeeeeeeeeeeeeeeeeeeeeeeeeeeeeee
)");
}

TEST(CardPaint, partsThatACardDoesNotHaveAreNotPainted) {
  Palette palette = testPalette();
  palette.isPlain = true;
  Picture picture(30, 20);
  CardLayout layout = frameOf(30, 20, 1);
  layout.podium = {5, 5, 25, 15};  // without a place
  paintResult(picture.canvas, layout, palette);
  EXPECT_EQ(drawnInPalette(picture), R"(
AAAAAAAAAAAAAAAAAAAAAAAAAAAAAA
AAAAAAAAAAAAAAAAAAAAAAAAAAAAAA
AAAAAAAAAAAAAAAAAAAAAAAAAAAAAA
AAAAAAAAAAAAAAAAAAAAAAAAAAAAAA
AAAAAAAAAAAAAAAAAAAAAAAAAAAAAA
e............................e
e............................e
e............................e
e............................e
e............................e
e............................e
e............................e
e............................e
e............................e
e............................e
e............................e
e............................e
e............................e
e............................e
eeeeeeeeeeeeeeeeeeeeeeeeeeeeee
)");
}

TEST(CardPaint, panelOfOnePixelIsPainted) {
  CardLayout layout = frameOf(30, 20, 1);
  layout.tags = {{5, 8, 6, 15}};
  Picture picture(30, 20);
  paintResult(picture.canvas, layout, testPalette());
  EXPECT_EQ(picture.at(5, 10), 0x501090U);
}

TEST(CardPaint, placeWithoutAPodiumIsNotPainted) {
  Picture with(30, 20);
  Picture without(30, 20);
  CardLayout layout = frameOf(30, 20, 1);
  paintResult(without.canvas, layout, testPalette());
  layout.place = 2;
  paintResult(with.canvas, layout, testPalette());
  EXPECT_EQ(with.pixels, without.pixels);
}

std::string progressRail(float phase, bool isPlain) {
  Palette palette = testPalette();
  palette.isPlain = isPlain;
  CardLayout layout = frameOf(40, 6, 1);
  layout.timeRail = {2, 1, 38, 5};
  Picture picture(40, 6);
  paintProgressRail(picture.canvas, layout, palette, phase);
  return drawnInPalette(picture);
}

TEST(CardPaint, movingBarComesInAtTheLeftAndLeavesAtTheRight) {
  EXPECT_EQ(progressRail(0, false), R"(
----------------------------------------
--++rrrrrrrrrrrrrrrrrrrrrrrrrrrrrrrr++--
--+rrrrrrrrrrrrrrrrrrrrrrrrrrrrrrrrrr+--
--+rrrrrrrrrrrrrrrrrrrrrrrrrrrrrrrrrr+--
--++rrrrrrrrrrrrrrrrrrrrrrrrrrrrrrrr++--
----------------------------------------
)");
  EXPECT_EQ(progressRail(0.1F, false), R"(
----------------------------------------
--++++rrrrrrrrrrrrrrrrrrrrrrrrrrrrrr++--
--+AA+rrrrrrrrrrrrrrrrrrrrrrrrrrrrrrr+--
--+AA+rrrrrrrrrrrrrrrrrrrrrrrrrrrrrrr+--
--++++rrrrrrrrrrrrrrrrrrrrrrrrrrrrrr++--
----------------------------------------
)");
  EXPECT_EQ(progressRail(0.5F, false), R"(
----------------------------------------
--++rrrrrrrrr++AAAAAAAA++rrrrrrrrrrr++--
--+rrrrrrrrrr+AAAAAAAAAA+rrrrrrrrrrrr+--
--+rrrrrrrrrr+AAAAAAAAAA+rrrrrrrrrrrr+--
--++rrrrrrrrr++AAAAAAAA++rrrrrrrrrrr++--
----------------------------------------
)");
  EXPECT_EQ(progressRail(0.9F, false), R"(
----------------------------------------
--++rrrrrrrrrrrrrrrrrrrrrrrrrrrrr++A++--
--+rrrrrrrrrrrrrrrrrrrrrrrrrrrrrr+AAA+--
--+rrrrrrrrrrrrrrrrrrrrrrrrrrrrrr+AAA+--
--++rrrrrrrrrrrrrrrrrrrrrrrrrrrrr++A++--
----------------------------------------
)");
  EXPECT_EQ(progressRail(1, false), R"(
----------------------------------------
--++rrrrrrrrrrrrrrrrrrrrrrrrrrrrrrrr++--
--+rrrrrrrrrrrrrrrrrrrrrrrrrrrrrrrrrr+--
--+rrrrrrrrrrrrrrrrrrrrrrrrrrrrrrrrrr+--
--++rrrrrrrrrrrrrrrrrrrrrrrrrrrrrrrr++--
----------------------------------------
)");
}

TEST(CardPaint, barOfAFinishedUploadIsFull) { EXPECT_EQ(progressRail(-1, false), R"(
----------------------------------------
--++AAAAAAAAAAAAAAAAAAAAAAAAAAAAAAAA++--
--+AAAAAAAAAAAAAAAAAAAAAAAAAAAAAAAAAA+--
--+AAAAAAAAAAAAAAAAAAAAAAAAAAAAAAAAAA+--
--++AAAAAAAAAAAAAAAAAAAAAAAAAAAAAAAA++--
----------------------------------------
)"); }

TEST(CardPaint, barOfAContrastThemeHasAnEdge) { EXPECT_EQ(progressRail(0.5F, true), R"(
----------------------------------------
--++eeeeeeeee++AAAAAAAA++eeeeeeeeeee++--
--++rrrrrrrrr+AAAAAAAAAA+rrrrrrrrrrr++--
--++rrrrrrrrr+AAAAAAAAAA+rrrrrrrrrrr++--
--++eeeeeeeee++AAAAAAAA++eeeeeeeeeee++--
----------------------------------------
)"); }

TEST(CardPaint, movingBarLeavesNothingOfWhereItWas) {
  CardLayout layout = frameOf(40, 6, 1);
  layout.timeRail = {2, 1, 38, 5};
  Picture picture(40, 6);
  paintProgressRail(picture.canvas, layout, testPalette(), 0.1F);
  paintProgressRail(picture.canvas, layout, testPalette(), 0.9F);
  Picture fresh(40, 6);
  paintProgressRail(fresh.canvas, layout, testPalette(), 0.9F);
  EXPECT_EQ(picture.pixels, fresh.pixels);
}

TEST(CardPaint, timeRailIsPaintedInItsBoxAlone) {
  Picture picture(24, 5);
  paintTimeRail(picture.canvas, {2, 1, 22, 4}, testPalette(), 0.5F);
  EXPECT_EQ(drawnInPalette(picture), R"(
------------------------
--AAAAAAAAAArrrrrrrrrr--
--AAAAAAAAAArrrrrrrrrr--
--AAAAAAAAAArrrrrrrrrr--
------------------------
)");
}

std::string button(const ButtonLook& look, float scale, bool isPlain = false) {
  Palette palette = testPalette();
  palette.isPlain = isPlain;
  Picture picture(38, 20);
  paintButton(picture.canvas, {1, 1, 37, 19}, scale, palette, look);
  return drawnInPalette(picture) + std::to_string(fingerprint(picture));
}

TEST(CardPaint, buttonsShowWhatTheyAreAndWhatHappensToThem) {
  EXPECT_EQ(button({}, 1), R"(
--------------------------------------
-----++++EEEEEEEEEEEEEEEEEEEE++++-----
----+++++pppppppppppppppppppp+++++----
---+++pppppppppppppppppppppppppp+++---
--++pppppppppppppppppppppppppppppp++--
-+++pppppppppppppppppppppppppppppp+++-
-++pppppppppppppppppppppppppppppppp++-
-++pppppppppppppppppppppppppppppppp++-
-++pppppppppppppppppppppppppppppppp++-
-EppppppppppppppppppppppppppppppppppE-
-EppppppppppppppppppppppppppppppppppE-
-++pppppppppppppppppppppppppppppppp++-
-++pppppppppppppppppppppppppppppppp++-
-++pppppppppppppppppppppppppppppppp++-
-+++pppppppppppppppppppppppppppppp+++-
--++pppppppppppppppppppppppppppppp++--
---+++pppppppppppppppppppppppppp+++---
----+++++pppppppppppppppppppp+++++----
-----++++EEEEEEEEEEEEEEEEEEEE++++-----
--------------------------------------
2445772551557639781)");
  EXPECT_EQ(button({.isMain = true}, 1), R"(
--------------------------------------
-----++++AAAAAAAAAAAAAAAAAAAA++++-----
----+AAAAAAAAAAAAAAAAAAAAAAAAAAAA+----
---+AAAAAAAAAAAAAAAAAAAAAAAAAAAAAA+---
--+AAAAAAAAAAAAAAAAAAAAAAAAAAAAAAAA+--
-+AAAAAAAAAAAAAAAAAAAAAAAAAAAAAAAAAA+-
-+AAAAAAAAAAAAAAAAAAAAAAAAAAAAAAAAAA+-
-+AAAAAAAAAAAAAAAAAAAAAAAAAAAAAAAAAA+-
-+AAAAAAAAAAAAAAAAAAAAAAAAAAAAAAAAAA+-
-AAAAAAAAAAAAAAAAAAAAAAAAAAAAAAAAAAAA-
-AAAAAAAAAAAAAAAAAAAAAAAAAAAAAAAAAAAA-
-+AAAAAAAAAAAAAAAAAAAAAAAAAAAAAAAAAA+-
-+AAAAAAAAAAAAAAAAAAAAAAAAAAAAAAAAAA+-
-+AAAAAAAAAAAAAAAAAAAAAAAAAAAAAAAAAA+-
-+AAAAAAAAAAAAAAAAAAAAAAAAAAAAAAAAAA+-
--+AAAAAAAAAAAAAAAAAAAAAAAAAAAAAAAA+--
---+AAAAAAAAAAAAAAAAAAAAAAAAAAAAAA+---
----+AAAAAAAAAAAAAAAAAAAAAAAAAAAA+----
-----++++AAAAAAAAAAAAAAAAAAAA++++-----
--------------------------------------
10036919523608706157)");
  EXPECT_EQ(button({.isHot = true}, 0.5F), R"(
--------------------------------------
--+++EEEEEEEEEEEEEEEEEEEEEEEEEEEE+++--
-++++++++++++++++++++++++++++++++++++-
-++++++++++++++++++++++++++++++++++++-
-++++++++++++++++++++++++++++++++++++-
-E++++++++++++++++++++++++++++++++++E-
-E++++++++++++++++++++++++++++++++++E-
-E++++++++++++++++++++++++++++++++++E-
-E++++++++++++++++++++++++++++++++++E-
-E++++++++++++++++++++++++++++++++++E-
-E++++++++++++++++++++++++++++++++++E-
-E++++++++++++++++++++++++++++++++++E-
-E++++++++++++++++++++++++++++++++++E-
-E++++++++++++++++++++++++++++++++++E-
-E++++++++++++++++++++++++++++++++++E-
-++++++++++++++++++++++++++++++++++++-
-++++++++++++++++++++++++++++++++++++-
-++++++++++++++++++++++++++++++++++++-
--+++EEEEEEEEEEEEEEEEEEEEEEEEEEEE+++--
--------------------------------------
13519203459406090805)");
  EXPECT_EQ(button({.isMain = true, .isHot = true}, 0.5F), R"(
--------------------------------------
--++++++++++++++++++++++++++++++++++--
-++++++++++++++++++++++++++++++++++++-
-++++++++++++++++++++++++++++++++++++-
-++++++++++++++++++++++++++++++++++++-
-++++++++++++++++++++++++++++++++++++-
-++++++++++++++++++++++++++++++++++++-
-++++++++++++++++++++++++++++++++++++-
-++++++++++++++++++++++++++++++++++++-
-++++++++++++++++++++++++++++++++++++-
-++++++++++++++++++++++++++++++++++++-
-++++++++++++++++++++++++++++++++++++-
-++++++++++++++++++++++++++++++++++++-
-++++++++++++++++++++++++++++++++++++-
-++++++++++++++++++++++++++++++++++++-
-++++++++++++++++++++++++++++++++++++-
-++++++++++++++++++++++++++++++++++++-
-++++++++++++++++++++++++++++++++++++-
--++++++++++++++++++++++++++++++++++--
--------------------------------------
16396992951249073853)");
  EXPECT_EQ(button({.isMain = true, .isDown = true}, 0.5F), R"(
--------------------------------------
--++++++++++++++++++++++++++++++++++--
-++++++++++++++++++++++++++++++++++++-
-++++++++++++++++++++++++++++++++++++-
-++++++++++++++++++++++++++++++++++++-
-++++++++++++++++++++++++++++++++++++-
-++++++++++++++++++++++++++++++++++++-
-++++++++++++++++++++++++++++++++++++-
-++++++++++++++++++++++++++++++++++++-
-++++++++++++++++++++++++++++++++++++-
-++++++++++++++++++++++++++++++++++++-
-++++++++++++++++++++++++++++++++++++-
-++++++++++++++++++++++++++++++++++++-
-++++++++++++++++++++++++++++++++++++-
-++++++++++++++++++++++++++++++++++++-
-++++++++++++++++++++++++++++++++++++-
-++++++++++++++++++++++++++++++++++++-
-++++++++++++++++++++++++++++++++++++-
--++++++++++++++++++++++++++++++++++--
--------------------------------------
15419185488657115413)");
  EXPECT_EQ(button({.hasFocus = true}, 1), R"(
--------------------------------------
-----++++EEEEEEEEEEEEEEEEEEEE++++-----
----+++++pppppppppppppppppppp+++++----
---+++pppppppppppppppppppppppppp+++---
--++pp+++iiiiiiiiiiiiiiiiiiii+++pp++--
-+++p+i++++++++++++++++++++++++i+p+++-
-++p+i+pppppppppppppppppppppppp+i+p++-
-++p++pppppppppppppppppppppppppp++p++-
-++p++pppppppppppppppppppppppppp++p++-
-Eppi+pppppppppppppppppppppppppp+ippE-
-Eppi+pppppppppppppppppppppppppp+ippE-
-++p++pppppppppppppppppppppppppp++p++-
-++p++pppppppppppppppppppppppppp++p++-
-++p+i+pppppppppppppppppppppppp+i+p++-
-+++p+i++++++++++++++++++++++++i+p+++-
--++pp+++iiiiiiiiiiiiiiiiiiii+++pp++--
---+++pppppppppppppppppppppppppp+++---
----+++++pppppppppppppppppppp+++++----
-----++++EEEEEEEEEEEEEEEEEEEE++++-----
--------------------------------------
10399990231237400853)");
  EXPECT_EQ(button({.isMain = true, .hasFocus = true}, 1.5F), R"(
--------------------------------------
------++++AAAAAAAAAAAAAAAAAA++++------
----++AAAAAAAAAAAAAAAAAAAAAAAAAA++----
---++AAAAAAAAAAAAAAAAAAAAAAAAAAAA++---
--++AAAAAAAAAAAAAAAAAAAAAAAAAAAAAA++--
--+AAAA+++oooooooooooooooooo+++AAAA+--
-+AAAA+oooooooooooooooooooooooo+AAAA+-
-+AAA+oo++++++++++++++++++++++oo+AAA+-
-+AAA+o+AAAAAAAAAAAAAAAAAAAAAA+o+AAA+-
-+AAA+o+AAAAAAAAAAAAAAAAAAAAAA+o+AAA+-
-+AAA+o+AAAAAAAAAAAAAAAAAAAAAA+o+AAA+-
-+AAA+o+AAAAAAAAAAAAAAAAAAAAAA+o+AAA+-
-+AAA+oo++++++++++++++++++++++oo+AAA+-
-+AAAA+oooooooooooooooooooooooo+AAAA+-
--+AAAA+++oooooooooooooooooo+++AAAA+--
--++AAAAAAAAAAAAAAAAAAAAAAAAAAAAAA++--
---++AAAAAAAAAAAAAAAAAAAAAAAAAAAA++---
----++AAAAAAAAAAAAAAAAAAAAAAAAAA++----
------++++AAAAAAAAAAAAAAAAAA++++------
--------------------------------------
574017364959019197)");
}

TEST(CardPaint, focusOfASmallButtonIsAPixelThick) {
  EXPECT_EQ(button({.hasFocus = true}, 0.5F), R"(
--------------------------------------
--+++EEEEEEEEEEEEEEEEEEEEEEEEEEEE+++--
-++++iiiiiiiiiiiiiiiiiiiiiiiiiiii++++-
-++++pppppppppppppppppppppppppppp++++-
-+++pppppppppppppppppppppppppppppp+++-
-EippppppppppppppppppppppppppppppppiE-
-EippppppppppppppppppppppppppppppppiE-
-EippppppppppppppppppppppppppppppppiE-
-EippppppppppppppppppppppppppppppppiE-
-EippppppppppppppppppppppppppppppppiE-
-EippppppppppppppppppppppppppppppppiE-
-EippppppppppppppppppppppppppppppppiE-
-EippppppppppppppppppppppppppppppppiE-
-EippppppppppppppppppppppppppppppppiE-
-EippppppppppppppppppppppppppppppppiE-
-+++pppppppppppppppppppppppppppppp+++-
-++++pppppppppppppppppppppppppppp++++-
-++++iiiiiiiiiiiiiiiiiiiiiiiiiiii++++-
--+++EEEEEEEEEEEEEEEEEEEEEEEEEEEE+++--
--------------------------------------
1975991603107743317)");
}

TEST(CardPaint, buttonsOfAContrastThemeMixNoColours) {
  EXPECT_EQ(button({.isHot = true, .isDown = true}, 1, true), button({}, 1, true));
}

TEST(CardPaint, inksAreThoseOfThePalette) {
  const Palette palette = testPalette();
  const auto number = [](Color color) { return color.red << 16 | color.green << 8 | color.blue; };
  EXPECT_EQ(number(inkColor(palette, Ink::normal)), 0xF0E0D0);
  EXPECT_EQ(number(inkColor(palette, Ink::soft)), 0xC0B0A0);
  EXPECT_EQ(number(inkColor(palette, Ink::faint)), 0x607060);
  EXPECT_EQ(number(inkColor(palette, Ink::accent)), 0x7AFE00);
  EXPECT_EQ(number(inkColor(palette, static_cast<Ink>(99))), 0xF0E0D0);
  EXPECT_EQ(number(buttonInk(palette, {.isMain = true})), 0x05070A);
  EXPECT_EQ(number(buttonInk(palette, {})), 0xF0E0D0);
}

}  // namespace
}  // namespace launcher::card
