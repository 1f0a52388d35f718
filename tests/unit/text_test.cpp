#include "core/text.h"
#include "tests/unit/one_scan.h"

#include <gtest/gtest.h>

#include <string>
#include <utility>
#include <vector>

namespace launcher {
namespace {

using std::literals::string_literals::operator""s;
using std::literals::string_view_literals::operator""sv;

using Pieces = std::vector<std::string_view>;

TEST(Text, trimBlanksStripsTheFourBlanksAtBothEnds) {
  EXPECT_EQ(trimBlanks(" \t\r\nvalue\n\r\t "), "value");
  EXPECT_EQ(trimBlanks("\tvalue"), "value");
  EXPECT_EQ(trimBlanks("value\r\n"), "value");
}

TEST(Text, aNumberIsPaddedWithZerosAndNeverCut) {
  std::string text;
  for (const auto& [number, digits] : {std::pair(0L, 2), std::pair(5L, 2), std::pair(59L, 2),
                                       std::pair(2025L, 4), std::pair(12345L, 4), std::pair(0L, 1),
                                       std::pair(9L, 1), std::pair(10L, 1), std::pair(100L, 1)}) {
    appendPadded(text, number, digits);
    text += " ";
  }
  EXPECT_EQ(text, "00 05 59 2025 12345 0 9 10 100 ");
}

TEST(Text, trimBlanksKeepsBlanksInside) { EXPECT_EQ(trimBlanks(" a \t\r\n b "), "a \t\r\n b"); }

TEST(Text, trimBlanksOfOnlyBlanksIsEmpty) {
  EXPECT_EQ(trimBlanks(""), "");
  EXPECT_EQ(trimBlanks(" \t\r\n \n"), "");
}

TEST(Text, trimBlanksKeepsOtherWhiteBytes) {
  EXPECT_EQ(trimBlanks("\v\fa\v\f"), "\v\fa\v\f");
  EXPECT_EQ(trimBlanks(" \0a\0 "sv), "\0a\0"s);
  EXPECT_EQ(trimBlanks("\xC2\xA0" "a\xE3\x80\x80"), "\xC2\xA0" "a\xE3\x80\x80");
  EXPECT_EQ(trimBlanks("\xFF \xFF"), "\xFF \xFF");
}

TEST(Text, trimEndStripsOnlyTheSetAndOnlyAtTheEnd) {
  EXPECT_EQ(trimEnd("xxaxbxx", "x"), "xxaxb");
  EXPECT_EQ(trimEnd("aba", "ab"), "");
  EXPECT_EQ(trimEnd("ab", ""), "ab");
  EXPECT_EQ(trimEnd("", "ab"), "");
  EXPECT_EQ(trimEnd("a\0\0"sv, "\0"sv), "a");
}

TEST(Text, lineEndLosesLineFeedsCarriageReturnsAndBlanks) {
  EXPECT_EQ(trimLineEnd("abc \r\n"), "abc");
  EXPECT_EQ(trimLineEnd("abc\n\r \n\n  \r"), "abc");
  EXPECT_EQ(trimLineEnd(" \r\n "), "");
  EXPECT_EQ(trimLineEnd(""), "");
}

TEST(Text, lineEndKeepsTabsAndTheFront) {
  EXPECT_EQ(trimLineEnd(" \r\nabc\t"), " \r\nabc\t");
  EXPECT_EQ(trimLineEnd("abc\t \r\n"), "abc\t");
  EXPECT_EQ(trimLineEnd("a b\0\n"sv), "a b\0"s);
}

TEST(Text, replaceAllReplacesEveryOccurrence) {
  EXPECT_EQ(replaceAll("%A%x%A%", "%A%", "1"), "1x1");
  EXPECT_EQ(replaceAll("aaa", "a", ""), "");
  EXPECT_EQ(replaceAll("none", "%A%", "1"), "none");
  EXPECT_EQ(replaceAll("", "a", "b"), "");
}

TEST(Text, replaceAllScansFromLeftToRight) {
  EXPECT_EQ(replaceAll("aaa", "aa", "b"), "ba");
  EXPECT_EQ(replaceAll("\\\\\\", "\\\\", "\\"), "\\\\");
}

TEST(Text, replaceAllNeverScansWhatItInserted) {
  EXPECT_EQ(replaceAll("aXb", "X", "XX"), "aXXb");
  // The inserted end and what follows it would make a further occurrence.
  EXPECT_EQ(replaceAll("abb", "ab", "a"), "ab");
}

TEST(Text, replaceAllOfAnEmptyTextChangesNothing) { EXPECT_EQ(replaceAll("abc", "", "x"), "abc"); }

TEST(Text, replaceAllTakesBytesAsBytes) {
  EXPECT_EQ(replaceAll("\0a\0\xFF"sv, "\0"sv, "\xFE"), "\xFE" "a\xFE\xFF");
  EXPECT_EQ(replaceAll("赛/跑", "/", "\\"), "赛\\跑");
}

TEST(Text, replaceAllIsLinear) {
  constexpr std::size_t kPairs = 400'000;
  const std::string doubled(2 * kPairs, '\\');
  expectOneScan(2 * kPairs, [&] {
    EXPECT_TRUE(replaceAll(doubled, "\\\\", "\\") == std::string(kPairs, '\\'));
  });
}

TEST(Text, everyTrailingSlashGoes) {
  EXPECT_EQ(stripTrailingSlashes("http://host/race//"), "http://host/race");
  EXPECT_EQ(stripTrailingSlashes("http://host/"), "http://host");
  EXPECT_EQ(stripTrailingSlashes("http://host"), "http://host");
  EXPECT_EQ(stripTrailingSlashes("////"), "");
  EXPECT_EQ(stripTrailingSlashes("/"), "");
  EXPECT_EQ(stripTrailingSlashes(""), "");
}

TEST(Text, otherTrailingBytesOfAnAddressStay) {
  EXPECT_EQ(stripTrailingSlashes("http://host/ "), "http://host/ ");
  EXPECT_EQ(stripTrailingSlashes("http://host/\\"), "http://host/\\");
  EXPECT_EQ(stripTrailingSlashes("//a"), "//a");
}

TEST(Text, quotedAddsQuotesAndEscapesNothing) {
  EXPECT_EQ(quoted("C:\\a b"), "\"C:\\a b\"");
  EXPECT_EQ(quoted(""), "\"\"");
  EXPECT_EQ(quoted("a\"b\\"), "\"a\"b\\\"");
}

TEST(Text, piecesEndAfterLineFeeds) {
  EXPECT_EQ(linePieces("a\nb\r\n\nc", 1024), (Pieces{"a\n", "b\r\n", "\n", "c"}));
  EXPECT_EQ(linePieces("a\n", 1024), (Pieces{"a\n"}));
  EXPECT_EQ(linePieces("\r", 1024), (Pieces{"\r"}));
  EXPECT_EQ(linePieces("", 1024), Pieces{});
}

TEST(Text, longLineComesInPiecesOfOneByteLessThanTheBuffer) {
  EXPECT_EQ(linePieces("abcdefgh", 4), (Pieces{"abc", "def", "gh"}));
  EXPECT_EQ(linePieces("abcdef", 4), (Pieces{"abc", "def"}));
}

TEST(Text, lineFeedAfterAFullPieceIsAPieceOfItsOwn) {
  EXPECT_EQ(linePieces("abc\nd", 4), (Pieces{"abc", "\n", "d"}));
  EXPECT_EQ(linePieces("ab\nd", 4), (Pieces{"ab\n", "d"}));
}

TEST(Text, pieceIsCutAtItsFirstNul) {
  EXPECT_EQ(linePieces("ab\0cd\nef"sv, 1024), (Pieces{"ab", "ef"}));
  EXPECT_EQ(linePieces("\0\nx\0"sv, 1024), (Pieces{"", "x"}));
  // The bytes after the NUL still fill the buffer.
  EXPECT_EQ(linePieces("a\0bcd"sv, 4), (Pieces{"a", "cd"}));
}

TEST(Text, textModeReadsCarriageReturnWithLineFeedAsLineFeed) {
  EXPECT_EQ(fromTextMode("a\r\nb\nc\rd\r\r\ne\n\r"), "a\nb\nc\rd\r\ne\n\r");
  EXPECT_EQ(fromTextMode(""), "");
}

TEST(Text, textModeEndsAtTheFirstControlZ) {
  EXPECT_EQ(fromTextMode("a\r\nb\x1A" "c\n\x1A"), "a\nb");
  EXPECT_EQ(fromTextMode("\x1A" "a"), "");
  EXPECT_EQ(fromTextMode("a\r\x1A\n"), "a\r");
}

TEST(Text, textModeReadsOtherBytesAsTheyAre) {
  EXPECT_EQ(fromTextMode("\0\xFF\xEF\xBB\xBF\t"sv), "\0\xFF\xEF\xBB\xBF\t"s);
}

TEST(Text, textModeWritesACarriageReturnBeforeEveryLineFeed) {
  EXPECT_EQ(toTextMode("a\nb\n\n"), "a\r\nb\r\n\r\n");
  EXPECT_EQ(toTextMode("a\r\nb"), "a\r\r\nb");
  EXPECT_EQ(toTextMode("a\rb\x1A" "c\0"sv), "a\rb\x1A" "c\0"s);
  EXPECT_EQ(toTextMode(""), "");
}

}  // namespace
}  // namespace launcher
