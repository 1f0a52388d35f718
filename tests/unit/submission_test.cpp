#include "result/submission.h"

#include <gtest/gtest.h>

#include <optional>
#include <string>

#include "core/text.h"
#include "tests/unit/receipt_forms.h"

namespace launcher {
namespace {

using std::literals::string_literals::operator""s;

/// Every value in one text, so that a test compares the whole record.
std::string whole(const UploadOutcome& o) {
  return o.reply + "|" + o.profileToken + "|" + o.difficulty + "|" + o.ending + "|" + o.total +
         "|" + std::to_string(o.rank) + "|" + std::to_string(o.points);
}

std::string outcomeOf(const std::string& reply, std::string_view receipt) {
  UploadOutcome outcome;
  readOutcome(outcome, reply, "easy", receipt);
  return whole(outcome);
}

TEST(Submission, payloadPutsTheLaunchersMembersFirst) {
  EXPECT_EQ(submissionPayload("竞速玩家", "76561198000000001", "nightmare",
                              "{\"status\":\"ending\",\"total\":754.56}"),
            "{\"player\":\"竞速玩家\",\"playerId\":\"76561198000000001\","
            "\"difficulty\":\"nightmare\",\"status\":\"ending\",\"total\":754.56}");
}

TEST(Submission, payloadWithoutASteamIdHasNoSuchMember) {
  EXPECT_EQ(submissionPayload("anonymous", "", "normal", "{\"total\":1}"),
            "{\"player\":\"anonymous\",\"difficulty\":\"normal\",\"total\":1}");
}

TEST(Submission, difficultyOfTheReceiptKeepsTheLaunchersAway) {
  EXPECT_EQ(submissionPayload("a", "7", "normal", "{\"difficulty\":\"easy\"}"),
            "{\"player\":\"a\",\"playerId\":\"7\",\"difficulty\":\"easy\"}");
  EXPECT_EQ(submissionPayload("a", "", "normal", "{\"difficulty\":\"easy\"}"),
            "{\"player\":\"a\",\"difficulty\":\"easy\"}");
}

TEST(Submission, anyDifficultyOfTheReceiptCounts) {
  for (const char* members : {"\"difficulty\":null}", "\"difficulty\":\"hard\"}",
                              "\"difficulty\": \"easy\"}", "\"difficulty\":", "\"x\":1,"
                              "\"difficulty\":\"\"}"}) {
    EXPECT_EQ(submissionPayload("a", "", "normal", "{"s + members),
              "{\"player\":\"a\","s + members);
  }
}

TEST(Submission, difficultyWithABlankBeforeItsColonIsNone) {
  EXPECT_EQ(submissionPayload("a", "", "normal", "{\"difficulty\" :\"easy\"}"),
            "{\"player\":\"a\",\"difficulty\":\"normal\",\"difficulty\" :\"easy\"}");
  EXPECT_EQ(submissionPayload("a", "", "normal", "{\"Difficulty\":\"easy\"}"),
            "{\"player\":\"a\",\"difficulty\":\"normal\",\"Difficulty\":\"easy\"}");
}

TEST(Submission, payloadKeepsWhatStandsAfterTheReceiptsLastBrace) {
  EXPECT_EQ(submissionPayload("a", "", "normal", "{\"total\":1}\r\n \0\xFF"s),
            "{\"player\":\"a\",\"difficulty\":\"normal\",\"total\":1}\r\n \0\xFF"s);
}

TEST(Submission, payloadOfAnEmptyObjectEndsInACommaAndBrace) {
  EXPECT_EQ(submissionPayload("a", "", "normal", "{}"),
            "{\"player\":\"a\",\"difficulty\":\"normal\",}");
  EXPECT_EQ(submissionPayload("a", "", "normal", "{"),
            "{\"player\":\"a\",\"difficulty\":\"normal\",");
}

TEST(Submission, payloadEscapesNothing) {
  EXPECT_EQ(submissionPayload("a\"b\\", "7\"", "x\"y", "{}"),
            "{\"player\":\"a\"b\\\",\"playerId\":\"7\"\",\"difficulty\":\"x\"y\",}");
}

TEST(Submission, longReceiptIsSentWhole) {
  const std::string members = "\"x\":\"" + std::string(1'000'000, 'x') + "\"}";
  EXPECT_TRUE(submissionPayload("a", "", "normal", "{" + members) ==
              "{\"player\":\"a\",\"difficulty\":\"normal\"," + members);
}

TEST(Submission, addressOfAServerWithSlashes) {
  EXPECT_EQ(stripTrailingSlashes("https://host/race//") + "/submit", "https://host/race/submit");
}

TEST(Submission, tokenIsTheQuotedValueAfterItsKey) {
  EXPECT_EQ(replyToken("{\"accepted\":true,\"token\":\"abc123\"}"), "abc123");
  EXPECT_EQ(replyToken("{\"token\": \"abc\"}"), "abc");
  EXPECT_EQ(replyToken("{\"accepted\":false,\"token\":\" a b \"}"), " a b ");
  EXPECT_EQ(replyToken("{\"token\":\"登录\xFF\"}"), "登录\xFF");
}

TEST(Submission, emptyTokenIsAToken) { EXPECT_EQ(replyToken("{\"token\":\"\"}"), ""); }

TEST(Submission, tokenThatIsNotQuotedTakesTheNextQuotedRun) {
  EXPECT_EQ(replyToken("{\"token\":null,\"rank\":\"1\"}"), "rank");
}

TEST(Submission, firstTokenCountsWithoutEscapes) {
  EXPECT_EQ(replyToken("{\"token\":\"a\",\"token\":\"b\"}"), "a");
  EXPECT_EQ(replyToken("{\"token\":\"a\\\"b\"}"), "a\\");
}

TEST(Submission, replyWithoutTokenOrQuotesHasNone) {
  for (const char* reply : {"", "{}", "\"token\"", "\"token\":", "{\"token\":\"", "{\"token\":\"ab",
                            "{\"token\":5}", "{\"token\" :\"a\"}", "{\"Token\":\"a\"}",
                            "<html>502</html>"}) {
    EXPECT_EQ(replyToken(reply), std::nullopt) << reply;
  }
}

TEST(Submission, outcomeStartsEmpty) { EXPECT_EQ(whole(UploadOutcome{}), "|||||0|0"); }

TEST(Submission, outcomeHoldsTheReplysAndTheReceiptsValues) {
  EXPECT_EQ(outcomeOf("{\"accepted\":true,\"rank\":3,\"points\": 97,\"token\":\"t\"}",
                      "{\"status\":\"ending\",\"ending\":\"true\",\"total\":754.56}"),
            "||easy|true|754.56|3|97");
}

TEST(Submission, totalOfTheOutcomeIsRaw) {
  EXPECT_EQ(outcomeOf("{}", "{\"total\": 12.5 ,\"x\":1}"), "||easy|| 12.5 |0|0");
  EXPECT_EQ(outcomeOf("{}", "{\"total\":\"1}2\"}"), "||easy||\"1|0|0");
}

TEST(Submission, endingOfTheOutcomeNeedsItsQuoteAtTheColon) {
  EXPECT_EQ(outcomeOf("{}", "{\"ending\": \"true\"}"), "||easy|||0|0");
  EXPECT_EQ(outcomeOf("{}", "{\"ending\":\"true"), "||easy|||0|0");
  EXPECT_EQ(outcomeOf("{}", "{\"status\":\"ending\",\"ending\":\"arcade\"}"),
            "||easy|arcade||0|0");
}

TEST(Submission, rankAndPointsAreReadAsIntegers) {
  EXPECT_EQ(outcomeOf("{\"rank\":-1,\"points\":12.9}", "{}"), "||easy|||-1|12");
  EXPECT_EQ(outcomeOf("{\"rank\":\"3\",\"points\":null}", "{}"), "||easy|||0|0");
  EXPECT_EQ(outcomeOf("{\"rank\" :3,\"Points\":4}", "{}"), "||easy|||0|0");
}

TEST(Submission, valuesComeFromTheirOwnText) {
  EXPECT_EQ(outcomeOf("{\"total\":5,\"ending\":\"main\",\"difficulty\":\"x\"}",
                      "{\"rank\":3,\"points\":4}"),
            "||easy|||0|0");
}

TEST(Submission, valuesThatAreNotFoundKeepWhatTheyHeld) {
  UploadOutcome outcome{"reply", "token", "normal", "main", "1.5", 3, 97};
  readOutcome(outcome, "{}", "nightmare", "{\"total\":5");
  EXPECT_EQ(whole(outcome), "reply|token|nightmare|main|1.5|3|97");
}

TEST(Submission, valuesThatAreFoundReplaceWhatWasHeldButForTheToken) {
  UploadOutcome outcome{"reply", "token", "normal", "main", "1.5", 3, 97};
  readOutcome(outcome, "{\"rank\":0,\"points\":x,\"token\":\"new\"}", "",
              "{\"total\":,\"ending\":\"\"}");
  EXPECT_EQ(whole(outcome), "reply|token||||0|0");
}

TEST(Submission, profileAddressAppendsTheTokenAsItIs) {
  EXPECT_EQ(profileAddress("https://a", "t&o=k en"), "https://a/profile?token=t&o=k en");
  EXPECT_EQ(profileAddress("https://a/", ""), "https://a//profile?token=");
}

TEST(Submission, builtInSiteIsSecureAndEndsWithoutASlash) {
  EXPECT_STREQ(kBuiltInSite, "https://kov-race.example");
}

TEST(Submission, errorOfAReplyIsTheQuotedTextAfterItsKey) {
  EXPECT_EQ(replyError("{\"error\":\"week closed\"}"), "week closed");
  EXPECT_EQ(replyError("\"error\":\"first\""), "first");
  EXPECT_EQ(replyError("{\"errors\":\"no\",\"error\":\"yes\"}"), "yes");
  EXPECT_EQ(replyError("{\"error\":\"\",\"a\":\"b\"}"), "");
  for (const char* reply : {"", "{}", "{\"error\"}", "{\"error\":7}", "{\"error\":\"open"}) {
    EXPECT_EQ(replyError(reply), "") << reply;
  }
}

}  // namespace
}  // namespace launcher
