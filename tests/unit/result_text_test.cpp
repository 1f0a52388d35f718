#include "core/result_text.h"

#include <gtest/gtest.h>

#include <string>

namespace launcher {
namespace {

constexpr char kRetry[] = ". Result saved locally - it will retry next launch.";

std::string okMessage(const std::string& timeLine) {
  return "成绩已上传成功！\n\n" + timeLine + "现在可以关掉启动器了。";
}

std::string shownTotal(const std::string& rawTotal) {
  return playerMessage(ResultKind::ok, "{\"total\":" + rawTotal + "}");
}

std::string failDetail(const std::string& error) {
  return detailMessage(ResultKind::fail, "{\"accepted\":false,\"error\":\"" + error + "\"}");
}

TEST(ResultText, kindFollowsAcceptanceThenTheFinish) {
  EXPECT_EQ(resultKind(true, true), ResultKind::ok);
  EXPECT_EQ(resultKind(true, false), ResultKind::ok);
  EXPECT_EQ(resultKind(false, true), ResultKind::fail);
  EXPECT_EQ(resultKind(false, false), ResultKind::none);
}

TEST(ResultText, kindWords) {
  EXPECT_STREQ(kindWord(ResultKind::ok), "ok");
  EXPECT_STREQ(kindWord(ResultKind::fail), "fail");
  EXPECT_STREQ(kindWord(ResultKind::none), "none");
  EXPECT_STREQ(kindWord(static_cast<ResultKind>(99)), "none");
}

TEST(ResultText, finishedRunHoldsTheStatusWithoutBlanks) {
  EXPECT_TRUE(isFinishedRun("{\"a\":1,\"status\":\"ending\",\"b\":2}"));
  EXPECT_TRUE(isFinishedRun("\"status\":\"ending\""));
}

TEST(ResultText, otherStatusIsNoFinishedRun) {
  EXPECT_FALSE(isFinishedRun(""));
  EXPECT_FALSE(isFinishedRun("{}"));
  EXPECT_FALSE(isFinishedRun("{\"status\": \"ending\"}"));
  EXPECT_FALSE(isFinishedRun("{\"status\" :\"ending\"}"));
  EXPECT_FALSE(isFinishedRun("{\"status\":\"Ending\"}"));
  EXPECT_FALSE(isFinishedRun("{\"status\":\"ending2\"}"));
  EXPECT_FALSE(isFinishedRun("{\"status\":\"running\",\"ending\":\"main\"}"));
  EXPECT_FALSE(isFinishedRun("\"status\":\"ending"));
}

TEST(ResultText, acceptedRunShowsItsTime) {
  EXPECT_EQ(playerMessage(ResultKind::ok, "{\"x\":1,\"total\":125.5,\"y\":2}"),
            "成绩已上传成功！\n\n用时：2:05.50\n\n现在可以关掉启动器了。");
}

TEST(ResultText, timesAreWholeMinutesAndTwoDigitsOfSeconds) {
  EXPECT_EQ(shownTotal("0"), okMessage("用时：0:00.00\n\n"));
  EXPECT_EQ(shownTotal("9.5"), okMessage("用时：0:09.50\n\n"));
  EXPECT_EQ(shownTotal("59.99"), okMessage("用时：0:59.99\n\n"));
  EXPECT_EQ(shownTotal("60"), okMessage("用时：1:00.00\n\n"));
  EXPECT_EQ(shownTotal("754.56"), okMessage("用时：12:34.56\n\n"));
  EXPECT_EQ(shownTotal("3723.5"), okMessage("用时：62:03.50\n\n"));
}

TEST(ResultText, secondsThatRoundUpStayInTheirMinute) {
  EXPECT_EQ(shownTotal("119.996"), okMessage("用时：1:60.00\n\n"));
}

TEST(ResultText, negativeTotalIsTruncatedTowardZero) {
  EXPECT_EQ(shownTotal("-90.5"), okMessage("用时：-1:-30.50\n\n"));
}

TEST(ResultText, totalIsReadAsANumberFromItsFront) {
  EXPECT_EQ(shownTotal(" \t125.5 s"), okMessage("用时：2:05.50\n\n"));
  EXPECT_EQ(shownTotal("null"), okMessage("用时：0:00.00\n\n"));
  EXPECT_EQ(shownTotal("\"125.5\""), okMessage("用时：0:00.00\n\n"));
  EXPECT_EQ(shownTotal(" "), okMessage("用时：0:00.00\n\n"));
}

TEST(ResultText, totalEndsAtTheFirstCommaOrBrace) {
  EXPECT_EQ(playerMessage(ResultKind::ok, "{\"total\":61,5}"), okMessage("用时：1:01.00\n\n"));
  EXPECT_EQ(playerMessage(ResultKind::ok, "\"total\":61}5,"), okMessage("用时：1:01.00\n\n"));
}

TEST(ResultText, firstTotalIsShown) {
  EXPECT_EQ(playerMessage(ResultKind::ok, "{\"total\":61,\"total\":62}"),
            okMessage("用时：1:01.00\n\n"));
}

TEST(ResultText, withoutATotalNoTimeIsShown) {
  EXPECT_EQ(playerMessage(ResultKind::ok, ""), okMessage(""));
  EXPECT_EQ(playerMessage(ResultKind::ok, "{\"total\" :61}"), okMessage(""));
  EXPECT_EQ(playerMessage(ResultKind::ok, "{\"total\":61"), okMessage(""));
  EXPECT_EQ(playerMessage(ResultKind::ok, "{\"total\":,\"x\":1}"), okMessage(""));
  EXPECT_EQ(playerMessage(ResultKind::ok, "{\"total\":}"), okMessage(""));
}

TEST(ResultText, hugeTotalStaysWithinTheTimeBuffer) {
  const std::string whole = shownTotal(std::string(300, '9'));
  const std::string front = "成绩已上传成功！\n\n用时：";
  const std::string end = "现在可以关掉启动器了。";
  EXPECT_EQ(whole.substr(0, front.size()), front);
  EXPECT_EQ(whole.substr(whole.size() - end.size()), end);
  // "用时：" is part of the 63 bytes.
  EXPECT_EQ(whole.size(), okMessage("").size() + 63);
}

TEST(ResultText, totalOfMoreMinutesThanAnIntHoldsIsTheLowestInt) {
  const std::string lowest = "用时：-2147483648:";
  const std::string front = okMessage("").substr(0, okMessage("").find("现"));
  for (const char* total : {"128849018881", "-128849019001", "1e30", "-1e30"}) {
    EXPECT_EQ(shownTotal(total).substr(0, front.size() + lowest.size()), front + lowest) << total;
  }
  EXPECT_EQ(shownTotal("128849018820"), okMessage("用时：2147483647:00.00\n\n"));
  EXPECT_EQ(shownTotal("-128849018880"), okMessage("用时：-2147483648:00.00\n\n"));
}

TEST(ResultText, messageOfARunWithoutFinish) {
  const std::string expected = "这次没有产生成绩（没有跑到结局）。\n\n可以关掉启动器了。";
  EXPECT_EQ(playerMessage(ResultKind::none, ""), expected);
  EXPECT_EQ(playerMessage(ResultKind::none, "{\"total\":61}"), expected);
}

TEST(ResultText, messageOfAFailedUpload) {
  const std::string expected =
      "上传失败（可能是网络问题）。\n\n成绩已保存在本地，下次打开启动器会自动补传。";
  EXPECT_EQ(playerMessage(ResultKind::fail, ""), expected);
  EXPECT_EQ(playerMessage(ResultKind::fail, "{\"total\":61}"), expected);
}

TEST(ResultText, acceptedRunHasNoDetail) {
  EXPECT_EQ(detailMessage(ResultKind::ok, "{\"error\":\"x\"}"), "");
}

TEST(ResultText, runWithoutFinishHasOneDetail) {
  EXPECT_EQ(detailMessage(ResultKind::none, ""),
            "No finish detected - this run will not count.");
  EXPECT_EQ(detailMessage(ResultKind::none, "{\"error\":\"race is closed\"}"),
            "No finish detected - this run will not count.");
}

TEST(ResultText, knownErrorsAreExplained) {
  EXPECT_EQ(failDetail("splits too few"),
            "incomplete result (too few splits). Result saved locally - it will retry next "
            "launch.");
  EXPECT_EQ(failDetail("Level 0"),
            "run did not start at Level 0 - not eligible. Result saved locally - it will retry "
            "next launch.");
  EXPECT_EQ(failDetail("race is closed"),
            "The race is closed - result not counted. Result saved locally - it will retry next "
            "launch.");
  EXPECT_EQ(failDetail("week window closed"),
            "This week has ended - result not counted. Result saved locally - it will retry next "
            "launch.");
  EXPECT_EQ(failDetail("hard difficulty"),
            "Hard difficulty is not part of the race. Result saved locally - it will retry next "
            "launch.");
}

TEST(ResultText, errorsAreRecognisedByAPart) {
  EXPECT_EQ(failDetail("sorry: week window closed since Monday"),
            std::string("This week has ended - result not counted") + kRetry);
  EXPECT_EQ(failDetail("week window  closed"), std::string("week window  closed") + kRetry);
  EXPECT_EQ(failDetail("Race is closed"), std::string("Race is closed") + kRetry);
  EXPECT_EQ(failDetail("level 0"), std::string("level 0") + kRetry);
}

TEST(ResultText, firstKnownErrorWins) {
  EXPECT_EQ(failDetail("Level 0, splits too few"),
            std::string("incomplete result (too few splits)") + kRetry);
  EXPECT_EQ(failDetail("race is closed, Level 0"),
            std::string("run did not start at Level 0 - not eligible") + kRetry);
  EXPECT_EQ(failDetail("week window closed, race is closed"),
            std::string("The race is closed - result not counted") + kRetry);
  EXPECT_EQ(failDetail("hard difficulty, week window closed"),
            std::string("This week has ended - result not counted") + kRetry);
}

TEST(ResultText, unknownErrorIsShownItself) {
  EXPECT_EQ(failDetail("bad player name"), std::string("bad player name") + kRetry);
  EXPECT_EQ(failDetail("服务器维护中"), std::string("服务器维护中") + kRetry);
}

TEST(ResultText, withoutAnErrorTextItIsTheNetwork) {
  const std::string network = std::string("Network error") + kRetry;
  EXPECT_EQ(detailMessage(ResultKind::fail, ""), network);
  EXPECT_EQ(detailMessage(ResultKind::fail, "<html>502 race is closed</html>"), network);
  EXPECT_EQ(detailMessage(ResultKind::fail, "{\"error\":\"\"}"), network);
  EXPECT_EQ(detailMessage(ResultKind::fail, "{\"error\":null}"), network);
  EXPECT_EQ(detailMessage(ResultKind::fail, "{\"error\""), network);
  EXPECT_EQ(detailMessage(ResultKind::fail, "{\"error\":\"race is closed"), network);
  EXPECT_EQ(detailMessage(ResultKind::fail, "{error:\"race is closed\"}"), network);
  EXPECT_EQ(detailMessage(ResultKind::fail, "{\"Error\":\"race is closed\"}"), network);
}

TEST(ResultText, errorMayHaveBlanksAroundItsColon) {
  EXPECT_EQ(detailMessage(ResultKind::fail, "{\"error\" : \"x y\"}"),
            std::string("x y") + kRetry);
  EXPECT_EQ(detailMessage(ResultKind::fail, "{\"error\"\n:\n\"x\"}"), std::string("x") + kRetry);
}

TEST(ResultText, errorThatIsNoTextTakesTheNextQuotedRun) {
  EXPECT_EQ(detailMessage(ResultKind::fail, "{\"error\":null,\"msg\":\"x\"}"),
            std::string("msg") + kRetry);
}

TEST(ResultText, errorAsAValueTakesTheNextColon) {
  EXPECT_EQ(detailMessage(ResultKind::fail, "{\"kind\":\"error\",\"msg\":\"x\"}"),
            std::string("x") + kRetry);
}

TEST(ResultText, firstErrorCountsAndHasNoEscapes) {
  EXPECT_EQ(detailMessage(ResultKind::fail, "{\"error\":\"a\",\"error\":\"b\"}"),
            std::string("a") + kRetry);
  EXPECT_EQ(detailMessage(ResultKind::fail, "{\"error\":\"a\\\"b\"}"),
            std::string("a\\") + kRetry);
}

TEST(ResultText, progressCardCommandLine) {
  EXPECT_EQ(progressCardCommandLine("C:\\my race\\kov_result.exe", "D:\\d\\upload.state"),
            "\"C:\\my race\\kov_result.exe\" --mode progress --state \"D:\\d\\upload.state\"");
}

TEST(ResultText, cardArgumentsOfAnAcceptedRun) {
  UploadOutcome outcome;
  outcome.reply = "{\"accepted\":true,\"error\":\"not shown\"}";
  outcome.difficulty = "nightmare";
  outcome.ending = "true";
  outcome.total = "754.56";
  outcome.rank = 3;
  outcome.points = 97;
  EXPECT_EQ(resultCardArguments(ResultKind::ok, outcome),
            " --ok 1 --kind ok --total 754.56 --difficulty nightmare --ending true --rank 3 "
            "--points 97");
  outcome.profileToken = "tok en";
  EXPECT_EQ(resultCardArguments(ResultKind::ok, outcome),
            " --ok 1 --kind ok --total 754.56 --difficulty nightmare --ending true --rank 3 "
            "--points 97 --msg \"login code: tok en\"");
}

TEST(ResultText, cardArgumentsOfAnOutcomeWithoutValues) {
  EXPECT_EQ(resultCardArguments(ResultKind::ok, UploadOutcome{}),
            " --ok 1 --kind ok --total 0 --difficulty normal --ending main --rank 0 --points 0");
  EXPECT_EQ(resultCardArguments(ResultKind::fail, UploadOutcome{}),
            " --ok 0 --kind fail --total 0 --difficulty normal --ending main --rank 0 --points 0 "
            "--msg \"Network error. Result saved locally - it will retry next launch.\"");
}

TEST(ResultText, cardArgumentsOfARunWithoutFinish) {
  EXPECT_EQ(resultCardArguments(ResultKind::none, UploadOutcome{}),
            " --ok 0 --kind none --total 0 --difficulty normal --ending main --rank 0 --points 0 "
            "--msg \"No finish detected - this run will not count.\"");
}

TEST(ResultText, detailComesBeforeTheLoginCode) {
  UploadOutcome outcome;
  outcome.profileToken = "abc";
  outcome.reply = "{\"error\":\"race is closed\"}";
  EXPECT_EQ(resultCardArguments(ResultKind::fail, outcome),
            " --ok 0 --kind fail --total 0 --difficulty normal --ending main --rank 0 --points 0 "
            "--msg \"The race is closed - result not counted. Result saved locally - it will retry "
            "next launch.\"");
}

TEST(ResultText, cardValuesGoInAsTheyAre) {
  UploadOutcome outcome;
  outcome.total = " 1\"2 ";
  outcome.difficulty = "a b";
  outcome.ending = "\"";
  outcome.rank = -1;
  outcome.points = -2147483647 - 1;
  outcome.profileToken = "x\"y";
  EXPECT_EQ(resultCardArguments(ResultKind::ok, outcome),
            " --ok 1 --kind ok --total  1\"2  --difficulty a b --ending \" --rank -1 "
            "--points -2147483648 --msg \"login code: x\"y\"");
}

}  // namespace
}  // namespace launcher
