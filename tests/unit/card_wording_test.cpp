#include "card/wording.h"

#include <gtest/gtest.h>

#include <string>
#include <utility>
#include <vector>

namespace launcher::card {
namespace {

using Texts = std::vector<std::u16string>;

ResultArguments accepted() {
  return {u"1", u"ok", u"754.56", u"normal", u"main", u"3", u"120", u"login code: K7Q2"};
}

ResultArguments undelivered(std::u16string_view message) {
  return {u"0", u"fail", u"0", u"normal", u"main", u"0", u"0", std::u16string(message)};
}

Texts noteTexts(const CardContent& content) {
  Texts texts;
  for (const Note& note : content.notes) texts.push_back(note.text);
  return texts;
}

TEST(CardWording, acceptedRunHasTimeTagsAndStats) {
  const CardContent content = describeResult(accepted());
  EXPECT_EQ(content.kind, Kind::ok);
  EXPECT_EQ(content.windowTitle, u"KOV 周赛 – 成绩已上传 12:34.56");
  EXPECT_EQ(content.heading, u"成绩已上传");
  EXPECT_EQ(content.timeLabel, u"用时");
  EXPECT_EQ(content.time, u"12:34.56");
  EXPECT_TRUE(content.timeIsClock);
  EXPECT_EQ(content.tags, (Texts{u"主线结局", u"普通"}));
  ASSERT_EQ(content.stats.size(), 2U);
  EXPECT_EQ(content.stats[0].label, u"排名");
  EXPECT_EQ(content.stats[0].value, u"#3");
  EXPECT_EQ(content.stats[0].place, 3);
  EXPECT_EQ(content.stats[1].label, u"积分");
  EXPECT_EQ(content.stats[1].value, u"120");
  EXPECT_EQ(content.loginCode, u"K7Q2");
  EXPECT_EQ(content.detail, u"");
}

TEST(CardWording, wordsAreTranslatedOrShownAsTheyAre) {
  ResultArguments arguments = accepted();
  arguments.ending = u"arcade";
  arguments.difficulty = u"easy";
  EXPECT_EQ(describeResult(arguments).tags, (Texts{u"街机结局", u"简单"}));
  arguments.ending = u"true";
  arguments.difficulty = u"nightmare";
  EXPECT_EQ(describeResult(arguments).tags, (Texts{u"真结局", u"噩梦"}));
  arguments.ending = u"Secret";
  arguments.difficulty = u"Easy";
  EXPECT_EQ(describeResult(arguments).tags, (Texts{u"Secret", u"Easy"}));
  arguments.ending = u"";
  arguments.difficulty = u"";
  EXPECT_TRUE(describeResult(arguments).tags.empty());
}

TEST(CardWording, numbersTheServerDidNotNameAreDashes) {
  ResultArguments arguments = accepted();
  arguments.rank = u"0";
  arguments.points = u"0";
  CardContent content = describeResult(arguments);
  EXPECT_EQ(content.stats[0].value, u"—");
  EXPECT_EQ(content.stats[0].place, 0);
  EXPECT_EQ(content.stats[1].value, u"—");
  arguments.rank = u"12";
  content = describeResult(arguments);
  EXPECT_EQ(content.stats[0].value, u"#12");
  EXPECT_EQ(content.stats[0].place, 0);
  EXPECT_EQ(content.stats[1].value, u"0");
}

TEST(CardWording, oddNumbersAreShownAsTheyAre) {
  ResultArguments arguments = accepted();
  arguments.rank = u"-4";
  arguments.points = u"-20";
  CardContent content = describeResult(arguments);
  EXPECT_EQ(content.stats[0].value, u"-4");
  EXPECT_EQ(content.stats[1].value, u"-20");
  arguments.rank = u"first";
  arguments.points = std::u16string(500, u'9');
  arguments.total = u"-12.5";
  content = describeResult(arguments);
  EXPECT_EQ(content.stats[0].value, u"first");
  EXPECT_EQ(content.stats[1].value.size(), 16U);
  EXPECT_EQ(content.stats[1].value.back(), u'…');
  EXPECT_EQ(content.time, u"-12.5");
  EXPECT_FALSE(content.timeIsClock);
  EXPECT_EQ(content.windowTitle, u"KOV 周赛 – 成绩已上传");
}

TEST(CardWording, ranksFromOneOnAreNumbersAndThreeArePlaces) {
  const auto rankOf = [](std::u16string rank) {
    ResultArguments arguments = accepted();
    arguments.rank = std::move(rank);
    return describeResult(arguments).stats[0];
  };
  EXPECT_EQ(rankOf(u"1").value, u"#1");
  EXPECT_EQ(rankOf(u"1").place, 1);
  EXPECT_EQ(rankOf(u"3").place, 3);
  EXPECT_EQ(rankOf(u"4").place, 0);
  EXPECT_EQ(rankOf(u"-1").place, 0);
  EXPECT_EQ(rankOf(u"").value, u"—");
  EXPECT_EQ(rankOf(u"109").value, u"#109");
  EXPECT_EQ(rankOf(u"100000000").value, u"#100000000");
  EXPECT_EQ(rankOf(u"1000000009").value, u"1000000009");  // the card counts no further
  for (const char16_t* none : {u"1-2", u"1/2", u"1:2", u"--1"}) {
    EXPECT_EQ(rankOf(none).value, none);
  }
}

TEST(CardWording, rankOfNineDigitsIsANumber) {
  ResultArguments arguments = accepted();
  arguments.rank = u"999999999";
  EXPECT_EQ(describeResult(arguments).stats[0].value, u"#999999999");
}

TEST(CardWording, pointsOfTheWinnerMayBeNone) {
  const auto pointsOf = [](const char16_t* rank, const char16_t* points) {
    ResultArguments arguments = accepted();
    arguments.rank = rank;
    arguments.points = points;
    return describeResult(arguments).stats[1].value;
  };
  EXPECT_EQ(pointsOf(u"1", u"0"), u"0");
  EXPECT_EQ(pointsOf(u"1", u""), u"—");
  EXPECT_EQ(pointsOf(u"-1", u"0"), u"—");
  EXPECT_EQ(pointsOf(u"-1", u"7"), u"7");
}

TEST(CardWording, acceptedRunWithoutTimeSaysSo) {
  ResultArguments arguments = accepted();
  arguments.total = u"0";
  EXPECT_EQ(describeResult(arguments).time, u"—");
}

TEST(CardWording, timesThatAreNoneInAnyWritingAreNotShown) {
  for (const char16_t* total : {u"", u"0", u"0.0", u"000.00", u"."}) {
    ResultArguments arguments = accepted();
    arguments.total = total;
    const CardContent content = describeResult(arguments);
    EXPECT_EQ(content.time, u"—");
    EXPECT_FALSE(content.timeIsClock);
  }
}

TEST(CardWording, networkErrorTellsWhatHappenedAndWhatComes) {
  const std::u16string message =
      u"Network error. Result saved locally - it will retry next launch.";
  const CardContent content = describeResult(undelivered(message));
  EXPECT_EQ(content.kind, Kind::fail);
  EXPECT_EQ(content.heading, u"成绩还没传上去");
  EXPECT_EQ(noteTexts(content), (Texts{u"没有连上比赛服务器，多半是网络问题。",
                                       u"成绩已保存在本地，不会丢。",
                                       u"先检查网络；下次打开启动器会自动补传。"}));
  EXPECT_EQ(content.detail, message);
  // "0", "normal" and "main" say nothing about the run then.
  EXPECT_EQ(content.time, u"");
  EXPECT_TRUE(content.tags.empty());
  EXPECT_TRUE(content.stats.empty());
}

TEST(CardWording, failureWithoutAMessageIsTheNetwork) {
  const CardContent content = describeResult(undelivered(u""));
  EXPECT_EQ(noteTexts(content)[0], u"没有连上比赛服务器，多半是网络问题。");
  EXPECT_EQ(noteTexts(content)[2], u"先检查网络；下次打开启动器会自动补传。");
  EXPECT_EQ(content.detail, u"");
}

TEST(CardWording, everyRefusalOfTheLauncherIsExplained) {
  const std::vector<std::pair<std::u16string, std::u16string>> cases = {
      {u"incomplete result (too few splits)", u"服务器没有收下：成绩不完整，分段太少。"},
      {u"run did not start at Level 0 - not eligible",
       u"服务器没有收下：这次不是从 Level 0 开始的。"},
      {u"The race is closed - result not counted", u"服务器没有收下：比赛已经关闭。"},
      {u"This week has ended - result not counted", u"服务器没有收下：本周的比赛已经结束。"},
      {u"Hard difficulty is not part of the race", u"服务器没有收下：困难难度不参加比赛。"},
      {u"unknown player", u"服务器没有收下这次成绩，原因见下面的英文。"},
  };
  for (const auto& [reason, chinese] : cases) {
    const CardContent content = describeResult(
        undelivered(reason + u". Result saved locally - it will retry next launch."));
    ASSERT_EQ(content.notes.size(), 3U);
    EXPECT_EQ(content.notes[0].text, chinese);
    EXPECT_EQ(content.notes[1].text, u"成绩已保存在本地，不会丢。");
    EXPECT_EQ(content.notes[2].text, u"下次启动时会自动再试；有疑问请找主办方。");
  }
}

TEST(CardWording, messageMayBeNothingButItsBeginning) {
  EXPECT_EQ(noteTexts(describeResult(undelivered(u"Network error")))[0],
            u"没有连上比赛服务器，多半是网络问题。");
  EXPECT_EQ(noteTexts(describeResult(undelivered(u"Network erro")))[0],
            u"服务器没有收下这次成绩，原因见下面的英文。");
  EXPECT_EQ(noteTexts(describeResult(undelivered(u"The race is closed")))[0],
            u"服务器没有收下：比赛已经关闭。");
}

TEST(CardWording, refusedRunKeepsItsTime) {
  ResultArguments arguments = undelivered(u"The race is closed - result not counted. Result");
  arguments.total = u"3754.561";
  arguments.ending = u"true";
  const CardContent content = describeResult(arguments);
  EXPECT_EQ(content.timeLabel, u"本次用时");
  EXPECT_EQ(content.time, u"1:02:34.56");
  EXPECT_EQ(content.tags, (Texts{u"真结局", u"普通"}));
}

TEST(CardWording, unfinishedRunMakesNoClaims) {
  const CardContent content =
      describeResult({u"0", u"none", u"0", u"normal", u"main", u"0", u"0",
                      u"No finish detected - this run will not count."});
  EXPECT_EQ(content.kind, Kind::none);
  EXPECT_EQ(content.heading, u"这次不计成绩");
  EXPECT_EQ(content.windowTitle, u"KOV 周赛 – 这次不计成绩");
  ASSERT_EQ(content.notes.size(), 3U);
  // Of this run alone: the launcher does not say whether an older one is queued.
  EXPECT_EQ(content.notes[1].text, u"这次没有成绩要补传，可以放心关掉启动器。");
  EXPECT_EQ(content.time, u"");
  EXPECT_TRUE(content.tags.empty());
  EXPECT_EQ(content.detail, u"No finish detected - this run will not count.");
}

TEST(CardWording, unknownKindIsShownWithItsMessage) {
  const CardContent content =
      describeResult({u"0", u"weird", u"61", u"easy", u"main", u"0", u"0", u"some words"});
  EXPECT_EQ(content.kind, Kind::unknown);
  EXPECT_EQ(content.heading, u"比赛结果：weird");
  EXPECT_EQ(content.time, u"1:01.00");
  EXPECT_EQ(content.timeLabel, u"用时");
  EXPECT_EQ(content.tags, (Texts{u"主线结局", u"简单"}));
  EXPECT_EQ(noteTexts(content), (Texts{u"这张卡片看不懂启动器传来的结果。",
                                       u"详情见启动器窗口里的记录（launcher.log）。"}));
  EXPECT_EQ(content.detail, u"some words");
}

TEST(CardWording, unknownKindWithoutATimeHasNoTagsEither) {
  const CardContent content =
      describeResult({u"0", u"weird", u"0", u"easy", u"main", u"0", u"0", u""});
  EXPECT_EQ(content.time, u"");
  EXPECT_EQ(content.timeLabel, u"");
  EXPECT_TRUE(content.tags.empty());
}

TEST(CardWording, longWordsAreCutAt48AndNumbersAt16) {
  ResultArguments arguments = accepted();
  arguments.ending = std::u16string(48, u'e');
  arguments.difficulty = std::u16string(49, u'd');
  arguments.points = std::u16string(16, u'p');
  const CardContent content = describeResult(arguments);
  EXPECT_EQ(content.tags, (Texts{std::u16string(48, u'e'), std::u16string(47, u'd') + u"…"}));
  EXPECT_EQ(content.stats[1].value, std::u16string(16, u'p'));
}

TEST(CardWording, missingKindFollowsThePlainYes) {
  ResultArguments arguments;
  EXPECT_EQ(describeResult(arguments).kind, Kind::unknown);
  EXPECT_EQ(describeResult(arguments).heading, u"比赛结果");
  arguments.ok = u"1";
  EXPECT_EQ(describeResult(arguments).kind, Kind::ok);
}

TEST(CardWording, loginCodeIsKeptWholeAndOnlyTakenFromAnAcceptedRun) {
  ResultArguments arguments = accepted();
  arguments.message = u"login code: " + std::u16string(10000, u'x');
  EXPECT_EQ(describeResult(arguments).loginCode.size(), 10000U);
  arguments.kind = u"fail";
  EXPECT_EQ(describeResult(arguments).loginCode, u"");
  arguments.kind = u"ok";
  arguments.message = u"your login code: abc";
  EXPECT_EQ(describeResult(arguments).loginCode, u"");
  EXPECT_EQ(describeResult(arguments).detail, u"your login code: abc");
  arguments.message = u"login code: ";
  EXPECT_EQ(describeResult(arguments).loginCode, u"");
}

TEST(CardWording, loginCodeIsTakenFromAnUnknownKindToo) {
  ResultArguments arguments = accepted();
  arguments.kind = u"weird";
  EXPECT_EQ(describeResult(arguments).kind, Kind::unknown);
  EXPECT_EQ(describeResult(arguments).loginCode, u"K7Q2");
  EXPECT_EQ(describeResult(arguments).detail, u"");
}

TEST(CardWording, loginCodeOfNothingIsAMessage) {
  ResultArguments arguments = accepted();
  arguments.message = u"login code: ";
  EXPECT_EQ(describeResult(arguments).loginCode, u"");
  EXPECT_EQ(describeResult(arguments).detail, u"login code: ");
}

TEST(CardWording, endlessMessageIsClipped) {
  const CardContent content = describeResult(undelivered(std::u16string(10000, u'字')));
  EXPECT_EQ(content.detail.size(), 400U);
  EXPECT_EQ(content.detail.back(), u'…');
}

TEST(CardClipText, controlsBecomeBlanks) {
  EXPECT_EQ(clipText(u"a\r\n\tb\u0085c\u2028", 20), u"a   b c ");
  EXPECT_EQ(clipText(u"\x1F|\x20|\x7E|\x7F|\x9F|\xA0|\u2027|\u2028|\u2029|\u202A", 40),
            u" | |~| | |\xA0|\u2027| | |\u202A");
}

TEST(CardClipText, pairsStayWhole) {
  EXPECT_EQ(clipText(u"ab😀cd", 6), u"ab😀cd");
  EXPECT_EQ(clipText(u"ab😀cd", 5), u"ab😀…");
  EXPECT_EQ(clipText(u"ab😀cd", 4), u"ab…");
  EXPECT_EQ(clipText(u"ab", 1), u"…");
}

TEST(CardClipText, onlyAPairIsTakenBackWhole) {
  const auto cutAfter = [](char16_t unit) {
    return clipText(std::u16string{u'a', unit, u'b', u'c'}, 3);
  };
  EXPECT_EQ(cutAfter(0xD7FF), (std::u16string{u'a', 0xD7FF, u'…'}));
  EXPECT_EQ(cutAfter(0xD800), u"a…");
  EXPECT_EQ(cutAfter(0xDBFF), u"a…");
  EXPECT_EQ(cutAfter(0xDC00), (std::u16string{u'a', 0xDC00, u'…'}));
}

TEST(CardWording, progressTellsItsStates) {
  const auto shown = [](UploadState state) {
    const ProgressContent content = describeProgress(state);
    EXPECT_EQ(content.windowTitle, u"KOV 周赛 – " + content.heading);
    return std::pair(content.kind, content.heading + u"|" + content.hint);
  };
  EXPECT_EQ(shown(UploadState::uploading),
            std::pair(Kind::progress, std::u16string(u"正在上传成绩…|请先不要关掉启动器")));
  EXPECT_EQ(shown(UploadState::waiting), shown(UploadState::uploading));
  EXPECT_EQ(shown(UploadState::done),
            std::pair(Kind::ok, std::u16string(u"上传完成|正在打开结果…")));
  EXPECT_EQ(shown(UploadState::failed),
            std::pair(Kind::fail, std::u16string(u"上传没有完成|正在打开说明…")));
  EXPECT_EQ(describeProgress(UploadState::done).heading, u"上传完成");
  EXPECT_EQ(describeProgress(UploadState::failed).heading, u"上传没有完成");
}

TEST(CardWording, countdownCountsSeconds) {
  EXPECT_EQ(describeCountdown(12), u"12 秒后自动关闭");
  EXPECT_EQ(describeCountdown(109), u"109 秒后自动关闭");
  EXPECT_EQ(describeCountdown(1), u"1 秒后自动关闭");
  EXPECT_EQ(describeCountdown(0), u"0 秒后自动关闭");
  EXPECT_EQ(describeCountdown(-3), u"0 秒后自动关闭");
}

TEST(CardWording, startedByHandItExplainsItself) {
  const CardContent content = describeIdle();
  EXPECT_EQ(content.kind, Kind::unknown);
  EXPECT_EQ(content.heading, u"比赛结果会显示在这里");
  EXPECT_EQ(content.windowTitle, u"KOV 周赛 – 比赛结果会显示在这里");
  EXPECT_EQ(noteTexts(content), (Texts{u"这是启动器的结果卡片，单独打开没有内容。",
                                       u"请打开 launcher.exe 开始比赛。"}));
}

}  // namespace
}  // namespace launcher::card
