// What the launcher passes to the result card and what the card makes of it: the launcher's
// arguments go through the card's own reading of its command line and its wording.

#include <gtest/gtest.h>

#include <iterator>
#include <string>
#include <vector>

#include "card/command_line.h"
#include "card/wording.h"
#include "core/result_text.h"
#include "result/refusals.h"

namespace launcher {
namespace {

/// The card that the launcher's arguments lead to. They are ASCII here.
card::CardContent shown(ResultKind kind, const UploadOutcome& outcome) {
  const std::string line = R"("C:\kov\kov_result.exe")" + resultCardArguments(kind, outcome);
  return card::describeResult(
      card::parseCommandLine(std::u16string(line.begin(), line.end())).result);
}

card::CardContent shownForError(const std::string& error) {
  UploadOutcome outcome;
  outcome.reply = R"({"accepted":false,"error":")" + error + R"("})";
  return shown(ResultKind::fail, outcome);
}

struct Refused {
  std::string error;       ///< the race server's
  std::u16string detail;   ///< the launcher's English, without what follows every reason
  std::u16string chinese;  ///< the card's first note
};

const std::vector<Refused> kKnown = {
    {"splits too few (3 of at least 5)", u"incomplete result (too few splits)",
     u"服务器没有收下：成绩不完整，分段太少。"},
    {"run did not start at Level 0", u"run did not start at Level 0 - not eligible",
     u"服务器没有收下：这次不是从 Level 0 开始的。"},
    {"race is closed", u"The race is closed - result not counted",
     u"服务器没有收下：比赛已经关闭。"},
    {"week window closed", u"This week has ended - result not counted",
     u"服务器没有收下：本周的比赛已经结束。"},
    {"hard difficulty is not part of the race", u"Hard difficulty is not part of the race",
     u"服务器没有收下：困难难度不参加比赛。"},
};

const std::u16string kRetry = u". Result saved locally - it will retry next launch.";

TEST(CardMessages, everyKnownRefusalIsExplainedInChinese) {
  ASSERT_EQ(kKnown.size(), std::size(kRefusals));
  for (const Refused& refused : kKnown) {
    const card::CardContent content = shownForError(refused.error);
    EXPECT_EQ(content.kind, card::Kind::fail);
    EXPECT_EQ(content.detail, refused.detail + kRetry);
    ASSERT_EQ(content.notes.size(), 3U);
    EXPECT_EQ(content.notes[0].text, refused.chinese);
    EXPECT_EQ(content.notes[2].text, u"下次启动时会自动再试；有疑问请找主办方。");
  }
}

TEST(CardMessages, noRefusalBeginsLikeAnother) {
  for (const Refusal& one : kRefusals) {
    for (const Refusal& other : kRefusals) {
      EXPECT_EQ(one.english.starts_with(other.english), &one == &other) << one.english;
    }
  }
}

TEST(CardMessages, unknownErrorIsShownInEnglish) {
  const card::CardContent content = shownForError("bad player name");
  EXPECT_EQ(content.detail, u"bad player name" + kRetry);
  ASSERT_EQ(content.notes.size(), 3U);
  EXPECT_EQ(content.notes[0].text, u"服务器没有收下这次成绩，原因见下面的英文。");
}

TEST(CardMessages, withoutAReasonItIsTheNetwork) {
  for (const char* reply : {"", "<html>502</html>", "{\"accepted\":false}"}) {
    UploadOutcome outcome;
    outcome.reply = reply;
    const card::CardContent content = shown(ResultKind::fail, outcome);
    EXPECT_EQ(content.kind, card::Kind::fail);
    EXPECT_EQ(content.detail, u"Network error" + kRetry);
    ASSERT_EQ(content.notes.size(), 3U);
    EXPECT_EQ(content.notes[0].text, u"没有连上比赛服务器，多半是网络问题。");
    EXPECT_EQ(content.notes[2].text, u"先检查网络；下次打开启动器会自动补传。");
  }
}

TEST(CardMessages, runWithoutFinishDoesNotCount) {
  const card::CardContent content = shown(ResultKind::none, UploadOutcome{});
  EXPECT_EQ(content.kind, card::Kind::none);
  EXPECT_EQ(content.heading, u"这次不计成绩");
  EXPECT_EQ(content.detail, u"No finish detected - this run will not count.");
}

TEST(CardMessages, acceptedRunShowsItsValuesAndTheLoginCode) {
  UploadOutcome outcome;
  outcome.difficulty = "nightmare";
  outcome.ending = "arcade";
  outcome.total = "754.56";
  outcome.rank = 3;
  outcome.points = 90;
  outcome.profileToken = "kq7-4821";
  const card::CardContent content = shown(ResultKind::ok, outcome);
  EXPECT_EQ(content.kind, card::Kind::ok);
  EXPECT_EQ(content.heading, u"成绩已上传");
  EXPECT_EQ(content.time, u"12:34.56");
  EXPECT_EQ(content.tags, (std::vector<std::u16string>{u"街机结局", u"噩梦"}));
  ASSERT_EQ(content.stats.size(), 2U);
  EXPECT_EQ(content.stats[0].value, u"#3");
  EXPECT_EQ(content.stats[1].value, u"90");
  EXPECT_EQ(content.loginCode, u"kq7-4821");
  EXPECT_EQ(content.detail, u"");
}

TEST(CardMessages, acceptedRunWithoutACodeHasNoMessage) {
  const card::CardContent content = shown(ResultKind::ok, UploadOutcome{});
  EXPECT_EQ(content.kind, card::Kind::ok);
  EXPECT_EQ(content.loginCode, u"");
  EXPECT_EQ(content.detail, u"");
}

}  // namespace
}  // namespace launcher
