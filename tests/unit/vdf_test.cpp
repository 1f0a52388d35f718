#include "steam/vdf.h"
#include "tests/unit/one_scan.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

namespace launcher {
namespace {

using std::literals::string_literals::operator""s;
using std::literals::string_view_literals::operator""sv;

using Tokens = std::vector<std::string>;

TEST(Vdf, everyQuotedRunIsATokenInOrder) {
  EXPECT_EQ(tokenizeVdf("\"users\"\r\n{\r\n\t\"1\"\r\n\t{\r\n"
                        "\t\t\"Name\"\t\t\"some one\"\r\n\t}\r\n}\r\n"),
            (Tokens{"users", "1", "Name", "some one"}));
}

TEST(Vdf, whatStandsOutsideQuotesIsIgnored) {
  EXPECT_EQ(tokenizeVdf("a{b\"c\"d}e // f\n\"g\"h"), (Tokens{"c", "g"}));
  EXPECT_EQ(tokenizeVdf("no quotes { } at all"), Tokens{});
  EXPECT_EQ(tokenizeVdf(""), Tokens{});
  EXPECT_EQ(tokenizeVdf("\xEF\xBB\xBF\"a\""), (Tokens{"a"}));
}

TEST(Vdf, tokensMayTouch) { EXPECT_EQ(tokenizeVdf("\"a\"\"b\""), (Tokens{"a", "b"})); }

TEST(Vdf, emptyQuotesAreAnEmptyToken) {
  EXPECT_EQ(tokenizeVdf("\"\""), (Tokens{""}));
  EXPECT_EQ(tokenizeVdf("\"label\" \"\" \"x\""), (Tokens{"label", "", "x"}));
  EXPECT_EQ(tokenizeVdf("\"\"\"\""), (Tokens{"", ""}));
}

TEST(Vdf, blanksAndLineEndsInsideQuotesAreKept) {
  EXPECT_EQ(tokenizeVdf("\" a \r\n\tb \""), (Tokens{" a \r\n\tb "}));
}

TEST(Vdf, backslashesAreKept) {
  EXPECT_EQ(tokenizeVdf("\"D:\\\\Steam\\n\""), (Tokens{"D:\\\\Steam\\n"}));
}

TEST(Vdf, backslashBeforeAQuoteEndsTheTokenAndTurnsTheRestInsideOut) {
  EXPECT_EQ(tokenizeVdf("\"PersonaName\" \"a\\\"b\" \"MostRecent\" \"1\""),
            (Tokens{"PersonaName", "a\\", " ", " "}));
}

TEST(Vdf, unclosedQuoteGivesNoToken) {
  EXPECT_EQ(tokenizeVdf("\"a\" \"b"), (Tokens{"a"}));
  EXPECT_EQ(tokenizeVdf("\""), Tokens{});
  EXPECT_EQ(tokenizeVdf("\"a\"\""), (Tokens{"a"}));
}

TEST(Vdf, tokensAreBytes) {
  EXPECT_EQ(tokenizeVdf("\"竞速玩家\" \"\xFF\xFE\" \"a\0b\x1A\""sv),
            (Tokens{"竞速玩家", "\xFF\xFE", "a\0b\x1A"s}));
}

TEST(Vdf, longTextIsReadInOneScan) {
  std::string text;
  for (int i = 0; i < 100'000; ++i) text += "\"k\"{";
  expectOneScan(text.size(), [&] { EXPECT_TRUE(tokenizeVdf(text) == Tokens(100'000, "k")); });
  const std::string value(1'000'000, 'x');
  const std::string open = "\"" + value + "\"" + "\"" + value;
  expectOneScan(open.size(), [&] { EXPECT_TRUE(tokenizeVdf(open) == Tokens{value}); });
}

}  // namespace
}  // namespace launcher
