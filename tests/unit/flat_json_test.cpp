#include "result/flat_json.h"
#include "tests/unit/one_scan.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <limits>
#include <optional>
#include <string>

namespace launcher {
namespace {

using std::literals::string_literals::operator""s;
using std::literals::string_view_literals::operator""sv;

using MaybeText = std::optional<std::string>;

TEST(FlatJson, notFoundHasAllBitsSet) {
  EXPECT_EQ(npos, std::numeric_limits<std::size_t>::max());
  EXPECT_EQ(std::uint64_t{npos}, ~std::uint64_t{0});
}

TEST(FlatJson, findTextFindsTheFirstAtOrAfterTheStart) {
  EXPECT_EQ(findText("abcabc", "bc", 0), 1u);
  EXPECT_EQ(findText("abcabc", "bc", 1), 1u);
  EXPECT_EQ(findText("abcabc", "bc", 2), 4u);
  EXPECT_EQ(findText("abcabc", "bc", 5), npos);
  EXPECT_EQ(findText("aaab", "aab", 0), 1u);
}

TEST(FlatJson, findTextOfANeedleThatIsTooLong) {
  EXPECT_EQ(findText("abc", "abcd", 0), npos);
  EXPECT_EQ(findText("abc", "bc", 2), npos);
  EXPECT_EQ(findText("", "a", 0), npos);
  EXPECT_EQ(findText("abc", "a", 4), npos);
  EXPECT_EQ(findText("abc", "a", npos), npos);
}

TEST(FlatJson, emptyNeedleIsFoundAtTheStartUpToTheEnd) {
  EXPECT_EQ(findText("abc", "", 0), 0u);
  EXPECT_EQ(findText("abc", "", 2), 2u);
  EXPECT_EQ(findText("abc", "", 3), 3u);
  EXPECT_EQ(findText("abc", "", 4), npos);
  EXPECT_EQ(findText("", "", 0), 0u);
}

TEST(FlatJson, findTextTakesBytes) {
  EXPECT_EQ(findText("a\0b\xFF\x80"sv, "\0b"sv, 0), 1u);
  EXPECT_EQ(findText("a\0b\xFF\x80"sv, "\xFF\x80", 0), 3u);
  EXPECT_EQ(findText("a\0b"sv, "b", 0), 2u);
}

TEST(FlatJson, findCharFindsTheFirstAtOrAfterTheStart) {
  EXPECT_EQ(findChar("a:b:", ':', 0), 1u);
  EXPECT_EQ(findChar("a:b:", ':', 1), 1u);
  EXPECT_EQ(findChar("a:b:", ':', 2), 3u);
  EXPECT_EQ(findChar("a:b:", 'x', 0), npos);
  EXPECT_EQ(findChar("a\0\xFF"sv, '\0', 0), 1u);
  EXPECT_EQ(findChar("a\0\xFF"sv, '\xFF', 0), 2u);
}

TEST(FlatJson, findCharFromTheEndOnFindsNothing) {
  EXPECT_EQ(findChar("abc", 'c', 3), npos);
  EXPECT_EQ(findChar("abc", 'c', 4), npos);
  EXPECT_EQ(findChar("", 'c', 0), npos);
  EXPECT_EQ(findChar("abc", '\0', 3), npos);
}

TEST(FlatJson, findFirstOfFindsAnyByteOfTheSet) {
  EXPECT_EQ(findFirstOf("1.5}x,", ",}", 0), 3u);
  EXPECT_EQ(findFirstOf("1.5,x}", ",}", 0), 3u);
  EXPECT_EQ(findFirstOf("1.5,x}", ",}", 3), 3u);
  EXPECT_EQ(findFirstOf("1.5,x}", ",}", 4), 5u);
  EXPECT_EQ(findFirstOf("1.5", ",}", 0), npos);
}

TEST(FlatJson, findFirstOfWithoutSetOrTextFindsNothing) {
  EXPECT_EQ(findFirstOf("abc", "", 0), npos);
  EXPECT_EQ(findFirstOf("abc", "c", 3), npos);
  EXPECT_EQ(findFirstOf("abc", "c", 4), npos);
  EXPECT_EQ(findFirstOf("", "a", 0), npos);
}

TEST(FlatJson, rawFieldIsTrimmedAndKeepsItsQuotes) {
  const std::string text = "{\"status\": \"ok\" ,\"total\":12.5}";
  EXPECT_EQ(rawJsonField(text, "\"status\""), "\"ok\"");
  EXPECT_EQ(rawJsonField(text, "\"total\""), "12.5");
  EXPECT_EQ(rawJsonField(text, "\"ending\""), "-");
}

TEST(FlatJson, rawFieldWithBlanksAroundItsValueIsTrimmed) {
  EXPECT_EQ(rawJsonField("{\"total\": \t\r\n12.5\r\n }", "\"total\""), "12.5");
  EXPECT_EQ(rawJsonField("{\"total\" \n: 12.5 }", "\"total\""), "12.5");
  EXPECT_EQ(rawJsonField("{\"total\":  }", "\"total\""), "");
  EXPECT_EQ(rawJsonField("{\"total\":}", "\"total\""), "");
}

TEST(FlatJson, rawFieldWithoutAnEndRunsToTheEndOfTheText) {
  EXPECT_EQ(rawJsonField("{\"total\": 12.5 \n", "\"total\""), "12.5");
  EXPECT_EQ(rawJsonField("{\"total\":", "\"total\""), "");
}

TEST(FlatJson, rawFieldWithoutKeyOrColonIsADash) {
  EXPECT_EQ(rawJsonField("", "\"total\""), "-");
  EXPECT_EQ(rawJsonField("{\"total\"", "\"total\""), "-");
  EXPECT_EQ(rawJsonField("{\"a\":1,\"total\" 5}", "\"total\""), "-");
  EXPECT_EQ(rawJsonField("{\"Total\":5}", "\"total\""), "-");
}

TEST(FlatJson, rawFieldIsCutAtACommaOrBraceInsideItsValue) {
  EXPECT_EQ(rawJsonField("{\"status\":\"a,b\"}", "\"status\""), "\"a");
  EXPECT_EQ(rawJsonField("{\"status\":\"a}b\"}", "\"status\""), "\"a");
}

TEST(FlatJson, bracketsEndNoValue) {
  EXPECT_EQ(rawJsonField("{\"total\":[1]{ ]}", "\"total\""), "[1]{ ]");
  EXPECT_EQ(rawValueAfter("{\"total\":[1]{ ]}", "\"total\":"), MaybeText("[1]{ ]"));
}

TEST(FlatJson, rawFieldTakesTheFirstColonFromItsKeyOn) {
  // The colon may belong to the next member, or to the key itself.
  EXPECT_EQ(rawJsonField("{\"total\",\"x\":5}", "\"total\""), "5");
  EXPECT_EQ(rawJsonField("{\"a:b\":5}", "\"a:b\""), "b\":5");
}

TEST(FlatJson, rawFieldCanHitTheValueOfAnother) {
  EXPECT_EQ(rawJsonField("{\"status\":\"ending\",\"total\":12.5,\"ending\":\"main\"}",
                         "\"ending\""),
            "12.5");
}

TEST(FlatJson, rawValueIsWhatStandsBeforeTheNextCommaOrBrace) {
  EXPECT_EQ(rawValueAfter("{\"total\":12.5}", "\"total\":"), MaybeText("12.5"));
  EXPECT_EQ(rawValueAfter("{\"total\": 12.5 ,\"x\":1}", "\"total\":"), MaybeText(" 12.5 "));
  EXPECT_EQ(rawValueAfter("{\"total\":,", "\"total\":"), MaybeText(""));
  EXPECT_EQ(rawValueAfter("{\"total\":1}{\"total\":2}", "\"total\":"), MaybeText("1"));
}

TEST(FlatJson, rawValueIsNothingWithoutPatternOrEnd) {
  EXPECT_EQ(rawValueAfter("", "\"total\":"), std::nullopt);
  EXPECT_EQ(rawValueAfter("{\"total\" :12.5}", "\"total\":"), std::nullopt);
  EXPECT_EQ(rawValueAfter("{\"x\":1,\"total\":12.5", "\"total\":"), std::nullopt);
  EXPECT_EQ(rawValueAfter("\"total\":", "\"total\":"), std::nullopt);
}

TEST(FlatJson, quotedValueIsTheNextQuotedRunAfterTheColon) {
  EXPECT_EQ(quotedValueAfter("{\"status\":\"ok\"}", "\"status\":"), MaybeText("ok"));
  EXPECT_EQ(quotedValueAfter("{\"status\": \"ok\"}", "\"status\":"), MaybeText("ok"));
  EXPECT_EQ(quotedValueAfter("{\"status\":\r\n\t\"ok\"}", "\"status\":"), MaybeText("ok"));
  EXPECT_EQ(quotedValueAfter("{\"status\":\"\"}", "\"status\":"), MaybeText(""));
}

TEST(FlatJson, quotedValueCanBeTheNextKey) {
  EXPECT_EQ(quotedValueAfter("{\"status\":1,\"x\":\"y\"}", "\"status\":"), MaybeText("x"));
}

TEST(FlatJson, quotedValueHasNoEscapes) {
  EXPECT_EQ(quotedValueAfter("{\"status\":\"a\\\"b\"}", "\"status\":"), MaybeText("a\\"));
  EXPECT_EQ(quotedValueAfter("{\"status\":\"a\\\\\"}", "\"status\":"), MaybeText("a\\\\"));
}

TEST(FlatJson, quotedValueIsNothingWithoutPatternOrQuotes) {
  EXPECT_EQ(quotedValueAfter("", "\"status\":"), std::nullopt);
  EXPECT_EQ(quotedValueAfter("{\"status\" :\"ok\"}", "\"status\":"), std::nullopt);
  EXPECT_EQ(quotedValueAfter("{\"status\":", "\"status\":"), std::nullopt);
  EXPECT_EQ(quotedValueAfter("{\"status\":1}", "\"status\":"), std::nullopt);
  EXPECT_EQ(quotedValueAfter("{\"status\":\"ok}", "\"status\":"), std::nullopt);
  EXPECT_EQ(quotedValueAfter("{\"status\":\"", "\"status\":"), std::nullopt);
}

TEST(FlatJson, patternWithTheOpeningQuoteTakesWhatFollowsIt) {
  EXPECT_EQ(quotedValueAfter("{\"ending\":\"main\"}", "\"ending\":\""), MaybeText("main"));
  EXPECT_EQ(quotedValueAfter("{\"ending\":\"\",\"x\":1}", "\"ending\":\""), MaybeText(""));
  EXPECT_EQ(quotedValueAfter("{\"ending\": \"main\"}", "\"ending\":\""), std::nullopt);
  EXPECT_EQ(quotedValueAfter("{\"ending\":\"main}", "\"ending\":\""), std::nullopt);
  EXPECT_EQ(quotedValueAfter("{\"ending\":\"", "\"ending\":\""), std::nullopt);
}

TEST(FlatJson, firstOccurrenceCountsAlsoInsideAnotherText) {
  EXPECT_EQ(quotedValueAfter("{\"a\":\"x\"status\":\"b\",\"status\":\"c\"}", "\"status\":"),
            MaybeText("b"));
  EXPECT_EQ(quotedValueAfter("{\"status\":\"a\",\"status\":\"b\"}", "\"status\":"),
            MaybeText("a"));
}

TEST(FlatJson, quotedValueIsBytes) {
  EXPECT_EQ(quotedValueAfter("\0\xFF\"status\":\"竞\0\x1A\xFF\""sv, "\"status\":"),
            MaybeText("竞\0\x1A\xFF"s));
}

TEST(FlatJson, replacedQuotedValueKeepsItsQuotesAndTheRest) {
  EXPECT_EQ(replaceQuotedValue("{\"status\": \"running\" ,\"x\":1}\n", "\"status\":", "ending"),
            "{\"status\": \"ending\" ,\"x\":1}\n");
  EXPECT_EQ(replaceQuotedValue("{\"status\":\"\"}", "\"status\":", "ending"),
            "{\"status\":\"ending\"}");
  EXPECT_EQ(replaceQuotedValue("{\"status\":\"running\"}", "\"status\":", ""),
            "{\"status\":\"\"}");
  EXPECT_EQ(replaceQuotedValue("\"status\":\"a\"", "\"status\":\"", "b\"c"),
            "\"status\":\"b\"c\"");
}

TEST(FlatJson, onlyTheFirstQuotedValueIsReplaced) {
  EXPECT_EQ(replaceQuotedValue("{\"status\":\"a\",\"status\":\"b\"}", "\"status\":", "c"),
            "{\"status\":\"c\",\"status\":\"b\"}");
}

TEST(FlatJson, nextQuotedRunIsWhatGetsReplaced) {
  EXPECT_EQ(replaceQuotedValue("{\"status\":1,\"x\":\"y\"}", "\"status\":", "ending"),
            "{\"status\":1,\"ending\":\"y\"}");
}

TEST(FlatJson, replacingAnAbsentQuotedValueChangesNothing) {
  for (const char* text : {"", "{}", "{\"status\" :\"a\"}", "{\"status\":", "{\"status\":1}",
                           "{\"status\":\"a}", "{\"status\":\""}) {
    EXPECT_EQ(replaceQuotedValue(text, "\"status\":", "x"), text);
    EXPECT_EQ(replaceQuotedValue(text, "\"status\":\"", "x"), text);
  }
}

TEST(FlatJson, replacedRawValueDropsTheBlanks) {
  EXPECT_EQ(replaceRawValue("{\"total\": 12.5 ,\"x\":1}", "\"total\":", "9.00"),
            "{\"total\":9.00,\"x\":1}");
  EXPECT_EQ(replaceRawValue("{\"total\":12.5}\r\n", "\"total\":", "9.00"),
            "{\"total\":9.00}\r\n");
  EXPECT_EQ(replaceRawValue("{\"total\":}", "\"total\":", "9.00"), "{\"total\":9.00}");
  EXPECT_EQ(replaceRawValue("{\"total\":1,\"total\":2}", "\"total\":", "9"),
            "{\"total\":9,\"total\":2}");
}

TEST(FlatJson, replacedRawValueEndsAtACommaOrBraceInsideIt) {
  EXPECT_EQ(replaceRawValue("{\"total\":\"1,5\"}", "\"total\":", "9"), "{\"total\":9,5\"}");
}

TEST(FlatJson, replacingAnAbsentRawValueChangesNothing) {
  for (const char* text : {"", "{}", "{\"total\" :1}", "{\"a\":1,\"total\":5", "\"total\":"}) {
    EXPECT_EQ(replaceRawValue(text, "\"total\":", "x"), text);
  }
}

TEST(FlatJson, numberStandsDirectlyAfterThePattern) {
  EXPECT_EQ(numberAfter("{\"t\":12.5,\"t\":7}", "\"t\":", -1.0), 12.5);
  EXPECT_EQ(numberAfter("{\"t\":-3}", "\"t\":", -1.0), -3.0);
  EXPECT_EQ(numberAfter("{\"t\":1e3}", "\"t\":", -1.0), 1000.0);
  EXPECT_EQ(numberAfter("{\"t\":.5x}", "\"t\":", -1.0), 0.5);
}

TEST(FlatJson, blanksAfterTheColonAreSkippedByTheNumber) {
  EXPECT_EQ(numberAfter("{\"t\": 12.5}", "\"t\":", -1.0), 12.5);
  EXPECT_EQ(numberAfter("{\"t\":\r\n\t 12.5}", "\"t\":", -1.0), 12.5);
}

TEST(FlatJson, blankBeforeTheColonHidesTheNumber) {
  EXPECT_EQ(numberAfter("{\"t\" :12.5}", "\"t\":", -1.0), -1.0);
}

TEST(FlatJson, valueThatIsNoNumberReadsAsZero) {
  EXPECT_EQ(numberAfter("{\"t\":null}", "\"t\":", -1.0), 0.0);
  EXPECT_EQ(numberAfter("{\"t\":\"12.5\"}", "\"t\":", -1.0), 0.0);
  EXPECT_EQ(numberAfter("{\"t\":", "\"t\":", -1.0), 0.0);
  EXPECT_EQ(numberAfter("\"t\":\0" "5"s, "\"t\":", -1.0), 0.0);
}

TEST(FlatJson, absentNumberIsWhatTheCallerSays) {
  EXPECT_EQ(numberAfter("", "\"t\":", -1.0), -1.0);
  EXPECT_EQ(numberAfter("{\"T\":5}", "\"t\":", 7.25), 7.25);
  EXPECT_EQ(integerAfter("{}", "\"rank\":", 42), 42);
}

TEST(FlatJson, numberIsSearchedFromTheStartGiven) {
  const std::string text = "\"t\":1,\"t\":2";
  EXPECT_EQ(numberAfterFrom(text, "\"t\":", 0, -1.0), 1.0);
  EXPECT_EQ(numberAfterFrom(text, "\"t\":", 1, -1.0), 2.0);
  EXPECT_EQ(numberAfterFrom(text, "\"t\":", 6, -1.0), 2.0);
  EXPECT_EQ(numberAfterFrom(text, "\"t\":", 7, -1.0), -1.0);
  EXPECT_EQ(numberAfterFrom(text, "\"t\":", npos, -1.0), -1.0);
}

TEST(FlatJson, integerStopsAtTheFirstByteThatIsNoDigit) {
  EXPECT_EQ(integerAfter("{\"rank\":3,\"rank\":4}", "\"rank\":", 0), 3);
  EXPECT_EQ(integerAfter("{\"rank\": \t17}", "\"rank\":", 0), 17);
  EXPECT_EQ(integerAfter("{\"rank\":-5}", "\"rank\":", 0), -5);
  EXPECT_EQ(integerAfter("{\"rank\":12.9}", "\"rank\":", 0), 12);
  EXPECT_EQ(integerAfter("{\"rank\":1e3}", "\"rank\":", 0), 1);
  EXPECT_EQ(integerAfter("{\"rank\":2147483647}", "\"rank\":", 0), 2147483647);
}

TEST(FlatJson, integerThatIsNoNumberReadsAsZero) {
  EXPECT_EQ(integerAfter("{\"rank\":\"3\"}", "\"rank\":", 9), 0);
  EXPECT_EQ(integerAfter("{\"rank\":null}", "\"rank\":", 9), 0);
  EXPECT_EQ(integerAfter("\"rank\":", "\"rank\":", 9), 0);
}

TEST(FlatJson, longTextIsSearchedInOneScan) {
  constexpr std::size_t kBytes = 1'000'000;
  const std::string quotes = std::string(kBytes, '"') + "status\":";
  expectOneScan(kBytes, [&] { EXPECT_EQ(findText(quotes, "\"status\":", 0), kBytes - 1); });
  const std::string open = "\"status\":" + std::string(kBytes, 'x');
  expectOneScan(kBytes, [&] { EXPECT_EQ(quotedValueAfter(open, "\"status\":"), std::nullopt); });
  const std::string blank = "\"total\":" + std::string(kBytes, ' ');
  expectOneScan(kBytes, [&] { EXPECT_EQ(rawJsonField(blank, "\"total\""), ""); });
}

}  // namespace
}  // namespace launcher
