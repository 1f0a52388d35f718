#include "server/server_text.h"

#include <gtest/gtest.h>

#include <string>
#include <string_view>

namespace launcher {
namespace {

TEST(ServerText, acceptedWithoutOrWithOneBlankAcceptsTheRun) {
  EXPECT_TRUE(acceptsRun("{\"accepted\":true}"));
  EXPECT_TRUE(acceptsRun("{\"accepted\": true}"));
  EXPECT_TRUE(acceptsRun("{\"ok\":1,\"accepted\":true,\"rank\":1}"));
  EXPECT_TRUE(acceptsRun("\"accepted\":true"));
  EXPECT_TRUE(acceptsRun("\"accepted\": true"));
}

TEST(ServerText, otherSpellingsRefuseTheRun) {
  EXPECT_FALSE(acceptsRun("{\"accepted\": false}"));
  EXPECT_FALSE(acceptsRun("{\"accepted\":false}"));
  EXPECT_FALSE(acceptsRun("{\"accepted\" :true}"));
  EXPECT_FALSE(acceptsRun("{\"accepted\" : true}"));
  EXPECT_FALSE(acceptsRun("{\"accepted\":  true}"));
  EXPECT_FALSE(acceptsRun("{\"accepted\":\ttrue}"));
  EXPECT_FALSE(acceptsRun("{\"accepted\":\ntrue}"));
  EXPECT_FALSE(acceptsRun("{\"accepted\":\"true\"}"));
  EXPECT_FALSE(acceptsRun("{\"accepted\":True}"));
  EXPECT_FALSE(acceptsRun("{\"Accepted\":true}"));
  EXPECT_FALSE(acceptsRun("{\"accepted\":1}"));
  EXPECT_FALSE(acceptsRun("{accepted:true}"));
}

TEST(ServerText, cutOrForeignReplyRefusesTheRun) {
  EXPECT_FALSE(acceptsRun(""));
  EXPECT_FALSE(acceptsRun("\"accepted\":tru"));
  EXPECT_FALSE(acceptsRun("\"accepted\": tru"));
  EXPECT_FALSE(acceptsRun("<html>accepted</html>"));
}

TEST(ServerText, acceptedAnywhereAcceptsTheRun) {
  EXPECT_TRUE(acceptsRun("{\"accepted\":false,\"last\":{\"accepted\":true}}"));
  EXPECT_TRUE(acceptsRun("{\"accepted\":trueish}"));
  EXPECT_TRUE(acceptsRun(std::string(1, '\0') + "\xFF\"accepted\":true"));
  EXPECT_TRUE(acceptsRun(std::string(1'000'000, '"') + "accepted\":true"));
}

TEST(ServerText, skipReportBody) {
  EXPECT_EQ(skipReportBody("anonymous", "receipt invalid"),
            "{\"player\":\"anonymous\",\"reason\":\"receipt invalid\"}");
  EXPECT_EQ(skipReportBody("竞速玩家", "no receipt file"),
            "{\"player\":\"竞速玩家\",\"reason\":\"no receipt file\"}");
  EXPECT_EQ(skipReportBody("", ""), "{\"player\":\"\",\"reason\":\"\"}");
}

TEST(ServerText, skipReportEscapesNothing) {
  EXPECT_EQ(skipReportBody("a\"b\\", "run not finished (no ending map)"),
            "{\"player\":\"a\"b\\\",\"reason\":\"run not finished (no ending map)\"}");
}

// Queue entries ---------------------------------------------------------------------------

using std::literals::string_literals::operator""s;
using std::literals::string_view_literals::operator""sv;

/// The entry's part of the body: what stands after the launcher's own members.
std::string resent(std::string_view entry) {
  const std::string body = pendingBody(entry, "P", "D");
  const std::string front = "{\"player\":\"P\",\"difficulty\":\"D\",";
  EXPECT_EQ(body.substr(0, front.size()), front);
  return "{" + body.substr(front.size());
}

TEST(QueueEntry, entryThatBeginsWithABraceCanBeSent) {
  EXPECT_TRUE(isSendable("{}"));
  EXPECT_TRUE(isSendable("{"));
  EXPECT_TRUE(isSendable("{garbage\0"sv));
}

TEST(QueueEntry, otherEntriesAreNeverSent) {
  EXPECT_FALSE(isSendable(""));
  EXPECT_FALSE(isSendable(" {}"));
  EXPECT_FALSE(isSendable("\n{}"));
  EXPECT_FALSE(isSendable("\xEF\xBB\xBF{}"));
  EXPECT_FALSE(isSendable("[{}]"));
  EXPECT_FALSE(isSendable("\0{}"sv));
}

TEST(QueueEntry, bodyPutsPlayerAndDifficultyFirst) {
  EXPECT_EQ(pendingBody("{\"total\":12.5}\r\n", "竞速玩家", "normal"),
            "{\"player\":\"竞速玩家\",\"difficulty\":\"normal\",\"total\":12.5}\r\n");
}

TEST(QueueEntry, membersOfTheSameNamesAreKept) {
  EXPECT_EQ(pendingBody("{\"player\":\"a\",\"difficulty\":\"easy\"}", "b", "nightmare"),
            "{\"player\":\"b\",\"difficulty\":\"nightmare\",\"player\":\"a\","
            "\"difficulty\":\"easy\"}");
}

TEST(QueueEntry, emptyObjectLeavesATrailingComma) {
  EXPECT_EQ(pendingBody("{}", "a", "normal"),
            "{\"player\":\"a\",\"difficulty\":\"normal\",}");
  EXPECT_EQ(pendingBody("{", "a", "normal"), "{\"player\":\"a\",\"difficulty\":\"normal\",");
}

TEST(QueueEntry, valuesAreNotEscaped) {
  EXPECT_EQ(pendingBody("{}", "a\"b\\", "x\"y"),
            "{\"player\":\"a\"b\\\",\"difficulty\":\"x\"y\",}");
}

TEST(QueueEntry, statusOfAnEntryWithAnEndingBecomesEnding) {
  EXPECT_EQ(resent("{\"ending\":\"exit\",\"status\":\"running\"}"),
            "{\"ending\":\"exit\",\"status\":\"ending\"}");
  EXPECT_EQ(resent("{\"status\":\"running\",\"ending\":\"main\",\"total\":1}\n"),
            "{\"status\":\"ending\",\"ending\":\"main\",\"total\":1}\n");
  EXPECT_EQ(resent("{\"status\":\"\",\"ending\":null}"), "{\"status\":\"ending\",\"ending\":null}");
}

TEST(QueueEntry, endingMayBeAnyQuotedWord) {
  EXPECT_EQ(resent("{\"kind\":\"ending\",\"status\":\"running\"}"),
            "{\"kind\":\"ending\",\"status\":\"ending\"}");
  EXPECT_EQ(resent("{\"status\":\"ending\"}"), "{\"status\":\"ending\"}");
}

TEST(QueueEntry, entryWithoutEndingKeepsItsStatus) {
  for (const char* entry :
       {"{\"status\":\"running\"}", "{\"status\":\"running\",\"Ending\":\"main\"}",
        "{\"status\":\"running\",\"endings\":1}", "{\"status\":\"running\",ending:1}",
        "{\"status\":\"running\",\"map\":\"ENDING:main\"}"}) {
    EXPECT_EQ(resent(entry), entry);
  }
}

TEST(QueueEntry, statusInAnotherSpellingStays) {
  for (const char* entry :
       {"{\"ending\":1,\"status\": \"running\"}", "{\"ending\":1,\"status\" :\"running\"}",
        "{\"ending\":1,\"status\":1,\"x\":\"y\"}", "{\"ending\":1,\"Status\":\"running\"}",
        "{\"ending\":1}"}) {
    EXPECT_EQ(resent(entry), entry);
  }
}

TEST(QueueEntry, unclosedStatusStays) {
  EXPECT_EQ(resent("{\"ending\":1,\"status\":\"running}"), "{\"ending\":1,\"status\":\"running}");
  EXPECT_EQ(resent("{\"ending\":1,\"status\":\""), "{\"ending\":1,\"status\":\"");
}

TEST(QueueEntry, onlyTheFirstStatusIsReplaced) {
  EXPECT_EQ(resent("{\"ending\":1,\"status\":\"a\",\"status\":\"b\"}"),
            "{\"ending\":1,\"status\":\"ending\",\"status\":\"b\"}");
}

TEST(QueueEntry, escapedQuoteEndsTheStatus) {
  EXPECT_EQ(resent("{\"ending\":1,\"status\":\"a\\\"b\"}"),
            "{\"ending\":1,\"status\":\"ending\"b\"}");
}

TEST(QueueEntry, restOfTheEntryIsKeptByteForByte) {
  EXPECT_EQ(resent("{\0\xFF\x1A \r\n\"status\":\"跑\",\"ending\""sv),
            "{\0\xFF\x1A \r\n\"status\":\"ending\",\"ending\""s);
}

TEST(QueueEntry, longEntryIsSentWhole) {
  const std::string filler(1'000'000, 'x');
  EXPECT_TRUE(resent("{\"ending\":1,\"a\":\"" + filler + "\",\"status\":\"" + filler + "\"}") ==
              "{\"ending\":1,\"a\":\"" + filler + "\",\"status\":\"ending\"}");
}

}  // namespace
}  // namespace launcher
