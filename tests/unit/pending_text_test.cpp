#include "server/pending_text.h"

#include <gtest/gtest.h>

#include <string>

namespace launcher {
namespace {

using std::literals::string_literals::operator""s;
using std::literals::string_view_literals::operator""sv;

constexpr LocalTime kMarchEvening = {2025, 3, 1, 21, 45, 2};

/// The entry's part of the body: what stands behind the launcher's own members.
std::string resent(std::string_view entry) {
  const std::string body = pendingBody(entry, "P", "D");
  const std::string front = "{\"player\":\"P\",\"difficulty\":\"D\",";
  EXPECT_EQ(body.substr(0, front.size()), front);
  return "{" + body.substr(front.size());
}

TEST(PendingText, entryIsNamedAfterItsSecond) {
  EXPECT_EQ(pendingEntryPath("D:\\data", kMarchEvening),
            "D:\\data\\pending\\p_20250301_214502.json");
  EXPECT_EQ(pendingEntryPath("", LocalTime{2026, 12, 31, 0, 0, 0}),
            "\\pending\\p_20261231_000000.json");
  EXPECT_EQ(pendingEntryPath("d", LocalTime{987, 1, 2, 3, 4, 5}),
            "d\\pending\\p_09870102_030405.json");
}

TEST(PendingText, pathIsCutAfter259Bytes) {
  const std::string tail = "\\pending\\p_20250301_214502.json";
  const std::string fits(259 - tail.size(), 'd');
  EXPECT_EQ(pendingEntryPath(fits, kMarchEvening), fits + tail);
  EXPECT_EQ(pendingEntryPath(fits + "d", kMarchEvening),
            fits + "d" + tail.substr(0, tail.size() - 1));
  EXPECT_EQ(pendingEntryPath(fits + "ddddd", kMarchEvening),
            fits + "ddddd\\pending\\p_20250301_214502");
  EXPECT_EQ(pendingEntryPath(std::string(300, 'd'), kMarchEvening), std::string(259, 'd'));
}

TEST(PendingText, entryThatBeginsWithABraceCanBeSent) {
  EXPECT_TRUE(isSendable("{}"));
  EXPECT_TRUE(isSendable("{"));
  EXPECT_TRUE(isSendable("{garbage\0"sv));
}

TEST(PendingText, otherEntriesAreNeverSent) {
  EXPECT_FALSE(isSendable(""));
  EXPECT_FALSE(isSendable(" {}"));
  EXPECT_FALSE(isSendable("\n{}"));
  EXPECT_FALSE(isSendable("\xEF\xBB\xBF{}"));
  EXPECT_FALSE(isSendable("[{}]"));
  EXPECT_FALSE(isSendable("\0{}"sv));
}

TEST(PendingText, bodyPutsPlayerAndDifficultyFirst) {
  EXPECT_EQ(pendingBody("{\"total\":12.5}\r\n", "竞速玩家", "normal"),
            "{\"player\":\"竞速玩家\",\"difficulty\":\"normal\",\"total\":12.5}\r\n");
}

TEST(PendingText, membersOfTheSameNamesAreKept) {
  EXPECT_EQ(pendingBody("{\"player\":\"a\",\"difficulty\":\"easy\"}", "b", "nightmare"),
            "{\"player\":\"b\",\"difficulty\":\"nightmare\",\"player\":\"a\","
            "\"difficulty\":\"easy\"}");
}

TEST(PendingText, emptyObjectLeavesATrailingComma) {
  EXPECT_EQ(pendingBody("{}", "a", "normal"),
            "{\"player\":\"a\",\"difficulty\":\"normal\",}");
  EXPECT_EQ(pendingBody("{", "a", "normal"), "{\"player\":\"a\",\"difficulty\":\"normal\",");
}

TEST(PendingText, valuesAreNotEscaped) {
  EXPECT_EQ(pendingBody("{}", "a\"b\\", "x\"y"),
            "{\"player\":\"a\"b\\\",\"difficulty\":\"x\"y\",}");
}

TEST(PendingText, statusOfAnEntryWithAnEndingBecomesEnding) {
  EXPECT_EQ(resent("{\"ending\":\"exit\",\"status\":\"running\"}"),
            "{\"ending\":\"exit\",\"status\":\"ending\"}");
  EXPECT_EQ(resent("{\"status\":\"running\",\"ending\":\"main\",\"total\":1}\n"),
            "{\"status\":\"ending\",\"ending\":\"main\",\"total\":1}\n");
  EXPECT_EQ(resent("{\"status\":\"\",\"ending\":null}"), "{\"status\":\"ending\",\"ending\":null}");
}

TEST(PendingText, endingMayBeAnyQuotedWord) {
  EXPECT_EQ(resent("{\"kind\":\"ending\",\"status\":\"running\"}"),
            "{\"kind\":\"ending\",\"status\":\"ending\"}");
  EXPECT_EQ(resent("{\"status\":\"ending\"}"), "{\"status\":\"ending\"}");
}

TEST(PendingText, entryWithoutEndingKeepsItsStatus) {
  for (const char* entry :
       {"{\"status\":\"running\"}", "{\"status\":\"running\",\"Ending\":\"main\"}",
        "{\"status\":\"running\",\"endings\":1}", "{\"status\":\"running\",ending:1}",
        "{\"status\":\"running\",\"map\":\"ENDING:main\"}"}) {
    EXPECT_EQ(resent(entry), entry);
  }
}

TEST(PendingText, statusInAnotherSpellingStays) {
  for (const char* entry :
       {"{\"ending\":1,\"status\": \"running\"}", "{\"ending\":1,\"status\" :\"running\"}",
        "{\"ending\":1,\"status\":1,\"x\":\"y\"}", "{\"ending\":1,\"Status\":\"running\"}",
        "{\"ending\":1}"}) {
    EXPECT_EQ(resent(entry), entry);
  }
}

TEST(PendingText, unclosedStatusStays) {
  EXPECT_EQ(resent("{\"ending\":1,\"status\":\"running}"), "{\"ending\":1,\"status\":\"running}");
  EXPECT_EQ(resent("{\"ending\":1,\"status\":\""), "{\"ending\":1,\"status\":\"");
}

TEST(PendingText, onlyTheFirstStatusIsReplaced) {
  EXPECT_EQ(resent("{\"ending\":1,\"status\":\"a\",\"status\":\"b\"}"),
            "{\"ending\":1,\"status\":\"ending\",\"status\":\"b\"}");
}

TEST(PendingText, escapedQuoteEndsTheStatus) {
  EXPECT_EQ(resent("{\"ending\":1,\"status\":\"a\\\"b\"}"),
            "{\"ending\":1,\"status\":\"ending\"b\"}");
}

TEST(PendingText, restOfTheEntryIsKeptByteForByte) {
  EXPECT_EQ(resent("{\0\xFF\x1A \r\n\"status\":\"跑\",\"ending\""sv),
            "{\0\xFF\x1A \r\n\"status\":\"ending\",\"ending\""s);
}

TEST(PendingText, longEntryIsSentWhole) {
  const std::string filler(1'000'000, 'x');
  EXPECT_TRUE(resent("{\"ending\":1,\"a\":\"" + filler + "\",\"status\":\"" + filler + "\"}") ==
              "{\"ending\":1,\"a\":\"" + filler + "\",\"status\":\"ending\"}");
}

}  // namespace
}  // namespace launcher
