#include "result/run_check.h"
#include "tests/unit/one_scan.h"
#include "tests/unit/receipt_forms.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <optional>
#include <string>
#include <vector>

namespace launcher {
namespace {

using std::literals::string_literals::operator""s;

/// "logLine|reason" of a rejection, or "passes".
std::string judged(std::string_view text, bool isModResult) {
  const std::optional<Rejection> rejection = rejectReceipt(text, isModResult);
  if (!rejection) return "passes";
  return std::string(rejection->logLine) + "|" + rejection->reason;
}

constexpr char kInvalid[] = "receipt content invalid, upload skipped|receipt invalid";
constexpr char kNoEndingScreen[] =
    "run not finished: receipt has no ENDING marker (crashed before ending?)|"
    "run not finished (no ending screen)";

void expectEnding(const std::string& text, const std::string& map, double seconds) {
  const EndingSplit split = findEndingSplit(text);
  EXPECT_TRUE(split.found) << text;
  EXPECT_EQ(split.map, map) << text;
  EXPECT_EQ(split.seconds, seconds) << text;
}

void expectNoEnding(const std::string& text) {
  const EndingSplit split = findEndingSplit(text);
  EXPECT_FALSE(split.found) << text.substr(0, 200);
  EXPECT_EQ(split.map, "");
  EXPECT_EQ(split.seconds, -1.0);
}

constexpr char kRealReceipt[] =
    "{\"status\":\"running\",\"splits\":["
    "{\"i\":0,\"map\":\"Level 0\",\"t\":0.0},\n"
    " {\"i\":1,\"map\":\"Level 1\",\"t\":101.25},\n"
    " {\"i\":2,\"map\":\"Level 3999\",\"t\":700.5},\n"
    " {\"i\":3,\"map\":\"ENDING:true\",\"t\":754.5}],\n"
    " \"ending\":\"main\",\"total\":754.5,\"difficulty\":\"nightmare\"}\r\n";

TEST(RunCheck, textWithoutALeadingBraceIsInvalid) {
  for (const char* text : {"", " {\"map\":\"ENDING:main\"}", "\n{}", "[]", "null",
                           "\xEF\xBB\xBF{\"map\":\"ENDING:main\"}"}) {
    EXPECT_EQ(judged(text, false), kInvalid) << text;
    EXPECT_EQ(judged(text, true), kInvalid) << text;
  }
  EXPECT_EQ(judged("\0{"s, true), kInvalid);
}

TEST(RunCheck, receiptNeedsTheMarkerOfAnEndingScreen) {
  for (const char* text : {"{", "{}", "{\"map\":\"ENDING", "{\"map\": \"ENDING:main\"}",
                           "{\"map\":\"Ending:main\"}", "{\"map\":\" ENDING:main\"}",
                           "{\"map\":\"Tunnel\"}", "{\"name\":\"ENDING:main\"}"}) {
    EXPECT_EQ(judged(text, false), kNoEndingScreen) << text;
  }
}

TEST(RunCheck, receiptWithTheMarkerPasses) {
  EXPECT_EQ(judged(kRealReceipt, false), "passes");
  EXPECT_EQ(judged("{\"map\":\"ENDING:", false), "passes");
}

TEST(RunCheck, modResultNeedsNoMarker) {
  EXPECT_EQ(judged("{}", true), "passes");
  EXPECT_EQ(judged("{", true), "passes");
  EXPECT_EQ(judged(kRealReceipt, true), "passes");
}

TEST(RunCheck, otherRejections) {
  EXPECT_STREQ(kNoReceipt.logLine, "no receipt to upload");
  EXPECT_STREQ(kNoReceipt.reason, "no receipt file");
  EXPECT_STREQ(kNoEndingMap.logLine, "run not finished, upload skipped (no ending map in splits)");
  EXPECT_STREQ(kNoEndingMap.reason, "run not finished (no ending map)");
}

TEST(RunCheck, realReceiptEndsAtItsMarker) { expectEnding(kRealReceipt, "ENDING:true", 754.5); }

/// An ending map, a name that holds it, and the ending that it infers below 45 splits and
/// from 45 on.
struct EndingMap {
  const char* word;
  const char* around;
  const char* early;
  const char* late;
};

constexpr EndingMap kKnownEndingMaps[] = {
    {"3999", "Level 3999b", "arcade", "true"},
    {"Tunnel", "The Tunnels", "main", "main"},
    {"Final Escape", "A Final Escape!", "arcade", "true"},
    {"Neon", "Neon City", "arcade", "arcade"},
    {"ENDING:", "xENDING:y", "main", "main"},
};

// A map that the table gains must be given its ending here.
TEST(RunCheck, endingMapsAreTheseAlone) {
  std::vector<std::string_view> known;
  for (const EndingMap& map : kKnownEndingMaps) known.emplace_back(map.word);
  EXPECT_THAT(kEndingMaps, testing::UnorderedElementsAreArray(known));
}

TEST(RunCheck, eachEndingMapMakesAnEndingSplit) {
  for (const EndingMap& map : kKnownEndingMaps) {
    for (const char* name : {map.word, map.around}) {
      expectEnding("{\"map\":\""s + name + "\",\"t\":5}", name, 5.0);
      EXPECT_EQ(inferEnding(name, 44), map.early) << name;
      EXPECT_EQ(inferEnding(name, 45), map.late) << name;
    }
  }
}

TEST(RunCheck, endingMapIsKnownInTheLastBytesOfTheTextToo) {
  for (const std::string_view map : kEndingMaps) {
    expectEnding("{\"map\":\"" + std::string(map) + "\"}", std::string(map), -1.0);
    expectEnding("\"map\":\"" + std::string(map) + "\"", std::string(map), -1.0);
  }
}

TEST(RunCheck, textBeginningWithTheEndOfAKeyHasNone) { expectNoEnding("\":\"Neon\",\"t\":5}"); }

TEST(RunCheck, everyEndingMapIsFoundAnywhereInAName) {
  for (const std::string_view word : kEndingMaps) {
    for (std::size_t before = 0; before < 40; ++before) {
      const std::string map = std::string(before, '.') + std::string(word) + "...";
      expectEnding("{\"map\":\"" + map + "\",\"t\":5}" + std::string(40, ' '), map, 5.0);
    }
  }
}

TEST(RunCheck, otherMapsMakeNone) {
  for (const char* map : {"", "Level 0", "399", "39 99", "tunnel", "TUNNEL", "FinalEscape",
                          "Tunne", "Final Escap", "Neo", "Final escape", "neon", "ENDING", "Ending:", "Arcade"}) {
    expectNoEnding("{\"map\":\""s + map + "\",\"t\":5}");
  }
}

TEST(RunCheck, textWithoutSplitsHasNoEnding) {
  expectNoEnding("");
  expectNoEnding("{}");
  expectNoEnding("{\"map\": \"Neon\",\"t\":5}");
  expectNoEnding("{\"map\" :\"Neon\",\"t\":5}");
  expectNoEnding("{\"Map\":\"Neon\",\"t\":5}");
  expectNoEnding("Neon Tunnel 3999 ENDING:");
  expectNoEnding("\"map\":");
}

TEST(RunCheck, unclosedMapNameEndsTheWalk) {
  expectNoEnding("{\"map\":\"Neon");
  expectNoEnding("\"map\":\"");
  expectEnding("{\"map\":\"Neon\",\"t\":5},{\"map\":\"Tunnel,", "Neon", 5.0);
}

TEST(RunCheck, lastEndingSplitWinsNotTheMarker) {
  const std::string text =
      "{\"map\":\"ENDING:true\",\"t\":5},{\"map\":\"The Tunnel\",\"t\":6},"
      "{\"map\":\"Level 0\",\"t\":7}";
  expectEnding(text, "The Tunnel", 6.0);
  EXPECT_EQ(inferEnding(findEndingSplit(text).map, 3), "main");
}

TEST(RunCheck, splitWithoutATimeTakesTheNext) {
  expectEnding("{\"map\":\"Neon\"},{\"map\":\"Level 0\",\"t\":7},{\"t\":8}", "Neon", 7.0);
}

TEST(RunCheck, timeBeforeTheMapBelongsToTheSplitBefore) {
  expectEnding("{\"t\":5,\"map\":\"Neon\"},{\"t\":6}", "Neon", 6.0);
  expectEnding("{\"t\":5,\"map\":\"Neon\"}", "Neon", -1.0);
}

TEST(RunCheck, laterEndingSplitWithoutATimeHasNone) {
  expectEnding("{\"map\":\"Neon\",\"t\":5},{\"map\":\"Tunnel\"}", "Tunnel", -1.0);
}

TEST(RunCheck, timeIsReadAsANumber) {
  expectEnding("\"map\":\"Neon\",\"t\": 5.25 s", "Neon", 5.25);
  expectEnding("\"map\":\"Neon\",\"t\":null,\"t\":6", "Neon", 0.0);
  expectEnding("\"map\":\"Neon\",\"t\" :5,\"t\":6", "Neon", 6.0);
  expectEnding("\"map\":\"Neon\",\"t\":-2", "Neon", -2.0);
}

TEST(RunCheck, closingQuoteCanOpenTheNextPattern) {
  expectEnding("\"map\":\"Neon\"map\":\"Tunnel\"t\":5", "Tunnel", 5.0);
  expectEnding("\"map\":\"Neon\"t\":5", "Neon", 5.0);
}

TEST(RunCheck, nameThatSwallowsTheNextKeyEndsAtItsQuote) {
  // The unclosed name runs to the quote that opens the next key.
  expectEnding("{\"map\":\"Neon,\"t\":5}", "Neon,", 5.0);
  expectEnding("{\"map\":\"a\\\"Neon\",\"map\":\"Tunnel\"}", "Tunnel", -1.0);
}

TEST(RunCheck, mapNamesAreBytes) {
  expectEnding("\0\xFF{\"map\":\"霓虹 Neon\0\xFF\",\"t\":5}"s, "霓虹 Neon\0\xFF"s, 5.0);
}

TEST(RunCheck, splitsAreCountedByTheirIndexKeys) {
  EXPECT_EQ(countSplits(kRealReceipt), 4);
  EXPECT_EQ(countSplits(""), 0);
  EXPECT_EQ(countSplits("\"i\""), 0);
  EXPECT_EQ(countSplits("\"i\":"), 1);
  EXPECT_EQ(countSplits("i\":0}"), 0);
  EXPECT_EQ(countSplits("\"i\":\"i\":\"i\":"), 3);
  EXPECT_EQ(countSplits("\"i\" :0,\"I\":1,i:2,\"ii\":3,\"i\": 4"), 1);
}

TEST(RunCheck, endingMarkNamesTheEnding) {
  EXPECT_EQ(inferEnding("ENDING:arcade", 50), "arcade");
  EXPECT_EQ(inferEnding("ENDING:main", 50), "main");
  EXPECT_EQ(inferEnding("ENDING:true", 1), "true");
}

TEST(RunCheck, unknownEndingMarkIsMainWhateverElseItHolds) {
  for (const char* map : {"ENDING:", "ENDING:Arcade", "ENDING:true ", "ENDING: true", "ENDING:x",
                          "ENDING:Neon", "ENDING:3999", "ENDING:Final Escape", "ENDING:mainx"}) {
    EXPECT_EQ(inferEnding(map, 10), "main") << map;
    EXPECT_EQ(inferEnding(map, 50), "main") << map;
  }
}

TEST(RunCheck, endingMarkElsewhereInTheNameNamesNone) {
  EXPECT_EQ(inferEnding("xENDING:arcade", 50), "main");
  EXPECT_EQ(inferEnding(" ENDING:true", 50), "main");
  EXPECT_EQ(inferEnding("Neon ENDING:true", 50), "arcade");
  EXPECT_EQ(inferEnding("ending:true", 50), "main");
}

TEST(RunCheck, neonIsArcade) {
  EXPECT_EQ(inferEnding("Neon City", 1), "arcade");
  EXPECT_EQ(inferEnding("Neon City", 100), "arcade");
}

TEST(RunCheck, tunnelIsMain) {
  EXPECT_EQ(inferEnding("The Tunnel", 1), "main");
  EXPECT_EQ(inferEnding("The Tunnel", 100), "main");
}

TEST(RunCheck, finalLevelIsTrueFrom45SplitsOn) {
  for (const char* map : {"Level 3999", "The Arcade", "Final Escape", "A Final Escape b"}) {
    EXPECT_EQ(inferEnding(map, 0), "arcade") << map;
    EXPECT_EQ(inferEnding(map, 44), "arcade") << map;
    EXPECT_EQ(inferEnding(map, 45), "true") << map;
    EXPECT_EQ(inferEnding(map, 46), "true") << map;
  }
}

TEST(RunCheck, firstRuleThatAppliesInfersTheEnding) {
  EXPECT_EQ(inferEnding("Tunnel of Neon", 50), "arcade");
  EXPECT_EQ(inferEnding("3999 Neon", 50), "arcade");
  EXPECT_EQ(inferEnding("3999 Tunnel", 50), "main");
  EXPECT_EQ(inferEnding("Arcade Tunnel", 10), "main");
}

TEST(RunCheck, onlyWholeWordsInferAnEnding) {
  EXPECT_EQ(inferEnding("Neo City", 50), "main");
  EXPECT_EQ(inferEnding("Tunne 3999", 50), "true");
  EXPECT_EQ(inferEnding("Final Escap", 50), "main");
  EXPECT_EQ(inferEnding("The Arcad", 50), "main");
}

TEST(RunCheck, anythingElseIsMain) {
  for (const char* map : {"", "Level 0", "arcade", "ARCADE", "final escape", "399", "neon"}) {
    EXPECT_EQ(inferEnding(map, 10), "main") << map;
    EXPECT_EQ(inferEnding(map, 50), "main") << map;
  }
}

TEST(RunCheck, statusIsSetToEnding) {
  EXPECT_EQ(settleEnding("{\"status\":\"running\",\"total\":1}", "main"),
            "{\"status\":\"ending\",\"total\":1}");
  EXPECT_EQ(settleEnding("{\"status\": \"ending\"}", "main"), "{\"status\": \"ending\"}");
  EXPECT_EQ(settleEnding("{\"status\":\"\"}", "main"), "{\"status\":\"ending\"}");
}

TEST(RunCheck, validEndingOfTheModIsKept) {
  for (const char* ending : {"arcade", "main", "true"}) {
    const std::string text = "{\"status\":\"ending\",\"ending\":\""s + ending + "\"}";
    EXPECT_EQ(settleEnding(text, "arcade"), text);
    EXPECT_EQ(settleEnding(text, "true"), text);
  }
  EXPECT_EQ(settleEnding("{\"ending\": \"main\"}", "arcade"), "{\"ending\": \"main\"}");
}

TEST(RunCheck, otherEndingIsReplacedByTheInferredOne) {
  for (const char* ending : {"", "exit", "Main", " main", "main ", "arcade2", "null"}) {
    EXPECT_EQ(settleEnding("{\"ending\":\""s + ending + "\",\"x\":1}", "arcade"),
              "{\"ending\":\"arcade\",\"x\":1}")
        << ending;
  }
  EXPECT_EQ(settleEnding("{\"ending\": \"exit\"}\n", "true"), "{\"ending\": \"true\"}\n");
}

TEST(RunCheck, absentStatusAndEndingAreNotAdded) {
  for (const char* text : {"{}", "{\"total\":1}", "{\"status\" :\"x\",\"ending\" :\"y\"}",
                           "{\"status\":", "{\"ending\":1}", "{\"status\":\"x"}) {
    EXPECT_EQ(settleEnding(text, "main"), text);
  }
}

TEST(RunCheck, valuesThatAreNotQuotedTakeTheNextQuotedRun) {
  // The rewritten status is itself read as the ending's key where a colon follows it.
  EXPECT_EQ(settleEnding("{\"status\":1,\"x\":\"y\"}", "arcade"),
            "{\"status\":1,\"ending\":\"arcade\"}");
  EXPECT_EQ(settleEnding("{\"status\":1,\"x\" :\"y\"}", "arcade"),
            "{\"status\":1,\"ending\" :\"y\"}");
  EXPECT_EQ(settleEnding("{\"ending\":null,\"total\":\"5\"}", "true"),
            "{\"ending\":null,\"true\":\"5\"}");
}

TEST(RunCheck, onlyTheFirstStatusAndEndingAreSettled) {
  EXPECT_EQ(settleEnding("{\"status\":\"a\",\"ending\":\"b\",\"status\":\"c\",\"ending\":\"d\"}",
                         "true"),
            "{\"status\":\"ending\",\"ending\":\"true\",\"status\":\"c\",\"ending\":\"d\"}");
}

TEST(RunCheck, endingIsSoughtInTheTextWithTheNewStatus) {
  // The rewritten status makes a key here, in front of the mod's own.
  EXPECT_EQ(settleEnding("{\"status\":\"x\":\"exit\",\"ending\":\"main\"}", "true"),
            "{\"status\":\"ending\":\"true\",\"ending\":\"main\"}");
}

TEST(RunCheck, settledTextKeepsEveryOtherByte) {
  EXPECT_EQ(settleEnding("{\0\xFF \"status\":\"跑\"\x1A,\"ending\":\"逃\"}\r\n\0"s, "arcade"),
            "{\0\xFF \"status\":\"ending\"\x1A,\"ending\":\"arcade\"}\r\n\0"s);
}

TEST(RunCheck, lastSplitTimeStandsAfterTheLastKey) {
  EXPECT_EQ(lastSplitSeconds(kRealReceipt), 754.5);
  EXPECT_EQ(lastSplitSeconds("\"t\":1,\"t\":2,\"t\" :3,\"T\":4"), 2.0);
  EXPECT_EQ(lastSplitSeconds("\"t\": 5.5}"), 5.5);
  EXPECT_EQ(lastSplitSeconds("\"t\":7,\"t\":null}"), 0.0);
  EXPECT_EQ(lastSplitSeconds("\"t\":7,\"t\":"), 0.0);
}

TEST(RunCheck, withoutASplitTimeItIsMinusOne) {
  EXPECT_EQ(lastSplitSeconds(""), -1.0);
  EXPECT_EQ(lastSplitSeconds("{\"total\":5}"), -1.0);
  EXPECT_EQ(lastSplitSeconds("\"t\""), -1.0);
}

TEST(RunCheck, totalIsReplacedWithTwoDecimals) {
  const std::optional<ReplacedTotal> replaced = replaceTotal(kRealReceipt, 3723.456);
  ASSERT_TRUE(replaced.has_value());
  EXPECT_EQ(replaced->oldTotal, "754.5");
  EXPECT_EQ(replaced->text,
            "{\"status\":\"running\",\"splits\":["
            "{\"i\":0,\"map\":\"Level 0\",\"t\":0.0},\n"
            " {\"i\":1,\"map\":\"Level 1\",\"t\":101.25},\n"
            " {\"i\":2,\"map\":\"Level 3999\",\"t\":700.5},\n"
            " {\"i\":3,\"map\":\"ENDING:true\",\"t\":754.5}],\n"
            " \"ending\":\"main\",\"total\":3723.46,\"difficulty\":\"nightmare\"}\r\n");
}

TEST(RunCheck, oldTotalKeepsItsBlanks) {
  const std::optional<ReplacedTotal> replaced = replaceTotal("{\"total\": 12.5 }", 9.0);
  ASSERT_TRUE(replaced.has_value());
  EXPECT_EQ(replaced->oldTotal, " 12.5 ");
  EXPECT_EQ(replaced->text, "{\"total\":9.00}");
}

TEST(RunCheck, anyRawTotalIsReplaced) {
  const std::optional<ReplacedTotal> null = replaceTotal("{\"total\":null,\"total\":5}", 0.01);
  ASSERT_TRUE(null.has_value());
  EXPECT_EQ(null->oldTotal, "null");
  EXPECT_EQ(null->text, "{\"total\":0.01,\"total\":5}");
  const std::optional<ReplacedTotal> empty = replaceTotal("{\"total\":}", 100000.0);
  ASSERT_TRUE(empty.has_value());
  EXPECT_EQ(empty->oldTotal, "");
  EXPECT_EQ(empty->text, "{\"total\":100000.00}");
}

TEST(RunCheck, hugeTotalIsCutAt63Bytes) {
  const std::optional<ReplacedTotal> replaced = replaceTotal("{\"total\":5}", 1e80);
  ASSERT_TRUE(replaced.has_value());
  EXPECT_EQ(replaced->text,
            "{\"total\":100000000000000000026609864708367276537402401181200809098131977}");
}

TEST(RunCheck, totalThatIsAbsentOrOpenIsNotReplaced) {
  for (const char* text : {"", "{}", "{\"total\" :5}", "{\"x\":1,\"total\":5", "{\"Total\":5}"}) {
    EXPECT_FALSE(replaceTotal(text, 9.0).has_value()) << text;
  }
}

TEST(RunCheck, difficultyOfTheGameIsOneOfThree) {
  EXPECT_EQ(gameDifficulty("{\"difficulty\":\"easy\"}"), "easy");
  EXPECT_EQ(gameDifficulty("{\"difficulty\":\"normal\"}"), "normal");
  EXPECT_EQ(gameDifficulty(kRealReceipt), "nightmare");
  // The first key with a text counts, not the first key.
  EXPECT_EQ(gameDifficulty("{\"difficulty\":2,\"difficulty\":\"easy\"}"), "easy");
  EXPECT_EQ(gameDifficulty("{\"difficulty\":\"easy\",\"difficulty\":\"normal\"}"), "easy");
}

TEST(RunCheck, otherDifficultiesOfTheGameAreIgnored) {
  for (const char* text :
       {"", "{}", "{\"difficulty\":\"\"}", "{\"difficulty\":\"hard\"}",
        "{\"difficulty\":\"Easy\"}", "{\"difficulty\":\" easy\"}", "{\"difficulty\": \"easy\"}",
        "{\"difficulty\" :\"easy\"}", "{\"difficulty\":\"easy", "{\"difficulty\":easy}",
        "{\"difficulty\":\"hard\",\"difficulty\":\"easy\"}",
        "{\"difficulty\":\"\",\"x\":\"easy\"}"}) {
    EXPECT_EQ(gameDifficulty(text), std::nullopt) << text;
  }
}

TEST(RunCheck, difficultyWordsAreExact) {
  EXPECT_TRUE(isDifficulty("easy"));
  EXPECT_TRUE(isDifficulty("normal"));
  EXPECT_TRUE(isDifficulty("nightmare"));
  for (const char* word : {"", "Easy", "hard", "easy ", "nightmar", "normal\n"}) {
    EXPECT_FALSE(isDifficulty(word)) << word;
  }
}

// Hostile receipts. A scan that starts again for every split would take millions of steps for
// each; one pass takes a few for each byte.

std::string repeated(const std::string& part, int times) {
  std::string text = "{";
  text.reserve(part.size() * static_cast<std::size_t>(times) + 1);
  for (int i = 0; i < times; ++i) text += part;
  return text;
}

void expectNoEndingInOneScan(const std::string& text) {
  expectOneScan(text.size(), [&] { expectNoEnding(text); });
}

void expectEndingInOneScan(const std::string& text, const std::string& map, double seconds) {
  expectOneScan(text.size(), [&] { expectEnding(text, map, seconds); });
}

TEST(RunCheck, manyEndingSplitsWithoutATimeAreOneScan) {
  expectEndingInOneScan(repeated("\"map\":\"Neon\",", 40'000), "Neon", -1.0);
}

TEST(RunCheck, manyOtherSplitsWithoutATimeAreOneScan) {
  expectNoEndingInOneScan(repeated("\"map\":\"Level 0\",", 40'000));
  expectNoEndingInOneScan(repeated("\"map\":\"\"", 40'000));
}

TEST(RunCheck, manySplitsBeforeOneTimeAreOneScan) {
  const std::string text = repeated("\"map\":\"Tunnel\",", 40'000) + "\"t\":5}";
  expectEndingInOneScan(text, "Tunnel", 5.0);
}

TEST(RunCheck, oneUnclosedNameOf50MegabytesIsOneScan) {
  const std::string name(50'000'000, 'x');
  expectNoEndingInOneScan("{\"map\":\"" + name);
  expectEndingInOneScan("{\"map\":\"" + name + "Neon\"", name + "Neon", -1.0);
}

TEST(RunCheck, nameFullOfHalfMarksIsOneScan) {
  const std::string name = repeated("TunneFinal EscapENDING399Neo", 40'000);
  expectNoEndingInOneScan("{\"map\":\"" + name + "\"");
}

TEST(RunCheck, manyIndexesAreCountedInOneScan) {
  const std::string indexes = repeated("\"i\":", 100'000);
  expectOneScan(indexes.size(), [&] { EXPECT_EQ(countSplits(indexes), 100'000); });
  const std::string names = repeated("\"i\"", 100'000);
  expectOneScan(names.size(), [&] { EXPECT_EQ(countSplits(names), 0); });
}

TEST(RunCheck, longTextIsSettledInOneScan) {
  const std::string filler(1'000'000, '"');
  expectOneScan(filler.size(), [&] { EXPECT_EQ(lastSplitSeconds(filler), -1.0); });
  expectOneScan(filler.size(), [&] { EXPECT_EQ(gameDifficulty(filler), std::nullopt); });
  expectOneScan(filler.size(), [&] { EXPECT_FALSE(replaceTotal(filler, 1.0).has_value()); });
  expectOneScan(filler.size(), [&] { EXPECT_TRUE(settleEnding(filler, "main") == filler); });
  const std::string status = "\"status\":\"" + std::string(1'000'000, 'x') + "\"";
  expectOneScan(status.size(),
                [&] { EXPECT_TRUE(settleEnding(status, "main") == "\"status\":\"ending\""); });
}

}  // namespace
}  // namespace launcher
