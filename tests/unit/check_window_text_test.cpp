#include "check/window_text.h"

#include <gtest/gtest.h>

#include <string>

namespace {

using namespace launcher::check;

constexpr Language kEnglish = Language::english;
constexpr Language kChinese = Language::chinese;

Finding row(Stage stage, State state, const std::string& what) {
  return {.stage = stage, .state = state, .what = what};
}

Finding answered(Question question, Stage stage, State state, const std::string& what) {
  return {.stage = stage, .state = state, .what = what, .question = question};
}

RunRow run(const std::string& when, const std::string& time, const std::string& ending,
           const std::string& difficulty, const std::string& outcome,
           const std::string& queueSource = {}) {
  return {when, time, ending, difficulty, Fate::unknown, outcome, queueSource};
}

View viewOfPage(const Findings& page, std::size_t selected = 0, Language language = kEnglish) {
  return viewOf({.findings = page, .finding = selected}, language);
}

TEST(CheckWindowText, theLineAboveTheRowsSaysWhetherARaceCanBeRun) {
  const Finding good = row(Stage::place, State::good, "a");
  const Finding note = row(Stage::steam, State::worthKnowing, "b");
  const Finding bad = row(Stage::game, State::bad, "c");
  const Finding asked = checkingRow(Question::server, kEnglish);
  EXPECT_EQ(viewOfPage({good}).summary, "All is well: a race can be run.");
  EXPECT_EQ(viewOfPage({good, note}).summary, "A race can be run; 1 thing(s) worth knowing.");
  EXPECT_EQ(viewOfPage({note, asked}).summary, "Checking ...");
  EXPECT_EQ(viewOfPage({bad, note, bad}).summary, "2 problem(s): a race cannot be run yet.");
  EXPECT_EQ(viewOfPage({bad, asked}).summary,
            "1 problem(s): a race cannot be run yet. (Still checking ...)");
  EXPECT_EQ(viewOfPage({bad, asked}, 0, kChinese).summary,
            "有 1 处问题，现在还不能比赛。（还在检查……）");
}

TEST(CheckWindowText, theSelectedRowStandsWholeBelowTheList) {
  const Finding bad = {.stage = Stage::game,
                       .state = State::bad,
                       .what = "No game.",
                       .todo = "Choose it.\nThen check again.",
                       .button = Button::chooseGame};
  const View view = viewOfPage({row(Stage::place, State::good, "Here."), bad}, 1);
  EXPECT_EQ(view.details, "bad: No game.\r\nChoose it.\r\nThen check again.");
  EXPECT_EQ(view.first.label, "Choose the game");
  EXPECT_TRUE(view.first.enabled);
  EXPECT_EQ(view.second.label, "");
  const View other = viewOfPage({row(Stage::place, State::good, "Here."), bad}, 0);
  EXPECT_EQ(other.details, "good: Here.");
  EXPECT_EQ(other.first.label, "");
  EXPECT_FALSE(other.first.enabled);
  EXPECT_EQ(viewOfPage({}, kNoRow).details, "");
}

TEST(CheckWindowText, theQueueIsNotSentTwiceAtATime) {
  Finding queue = row(Stage::queue, State::worthKnowing, "1 waits.");
  queue.button = Button::resendQueue;
  WindowState state = {.findings = {queue}, .finding = 0, .queued = 1};
  EXPECT_TRUE(viewOf(state, kEnglish).first.enabled);
  state.page = Page::runs;
  state.runs = {run("w", "", "", "", "o", "f")};
  state.run = 0;
  EXPECT_TRUE(viewOf(state, kEnglish).first.enabled);
  EXPECT_TRUE(viewOf(state, kEnglish).second.enabled);
  state.sending = true;
  EXPECT_EQ(viewOf(state, kEnglish).summary, "Sending ...");
  EXPECT_FALSE(viewOf(state, kEnglish).first.enabled);
  EXPECT_FALSE(viewOf(state, kEnglish).second.enabled);
  state.page = Page::before;
  EXPECT_FALSE(viewOf(state, kEnglish).first.enabled);
  state.closing = true;
  EXPECT_EQ(viewOf(state, kEnglish).summary,
            "Sending; the window closes afterwards. Close it again to close it now.");
}

TEST(CheckWindowText, onlyARunThatWasNeverSentCanBeQueued) {
  WindowState state = {.page = Page::runs};
  View view = viewOf(state, kEnglish);
  EXPECT_EQ(view.details, "No runs yet.\r\n");
  EXPECT_EQ(view.summary, "No run waits to be sent.");
  EXPECT_FALSE(view.first.enabled);
  EXPECT_FALSE(view.second.enabled);
  state.runs = {run("2025-03-01 21:45:02", "12:34.56", "", "easy", "Never sent."),
                run("", "", "", "", "b", "C:\\r.json")};
  state.run = 0;
  state.queued = 2;
  view = viewOf(state, kEnglish);
  EXPECT_EQ(view.details, "2025-03-01 21:45:02  12:34.56  easy  \r\nNever sent.");
  EXPECT_EQ(view.summary, "2 run(s) wait to be sent.");
  EXPECT_FALSE(view.first.enabled);
  EXPECT_TRUE(view.second.enabled);
  state.run = 1;
  EXPECT_TRUE(viewOf(state, kEnglish).first.enabled);
}

TEST(CheckWindowText, theSupportFileIsWrittenOnce) {
  WindowState state = {.page = Page::help};
  View view = viewOf(state, kEnglish);
  EXPECT_TRUE(view.first.enabled);
  EXPECT_EQ(view.first.label, "&Write kov_support.txt");
  EXPECT_EQ(view.summary, "");
  for (const char* told : {"It holds:", "It never holds: the login code", "Nothing is sent"}) {
    EXPECT_NE(view.details.find(told), std::string::npos) << told;
  }
  state.supportWanted = true;
  view = viewOf(state, kEnglish);
  EXPECT_FALSE(view.first.enabled);
  EXPECT_EQ(view.summary, "kov_support.txt is written when the checks have ended ...");
  state.supportWanted = false;
  state.supportResult = "Written: C:\\kov_support.txt";
  EXPECT_EQ(viewOf(state, kEnglish).summary, "Written: C:\\kov_support.txt");
}

TEST(CheckWindowText, everyLineEndIsThatOfAnEditControl) {
  for (const Page page : kPages) {
    for (const Language language : {kEnglish, kChinese}) {
      const std::string text = viewOf({.page = page}, language).details;
      for (std::size_t at = text.find('\n'); at != std::string::npos;
           at = text.find('\n', at + 1)) {
        ASSERT_GT(at, 0U);
        EXPECT_EQ(text[at - 1], '\r');
        EXPECT_TRUE(at < 2 || text[at - 2] != '\r') << text;
      }
    }
  }
}

TEST(CheckWindowText, aRunHasACellForEachHeading) {
  const RunRow known = run("w", "1:02", "true", "nightmare", "o");
  using Cells = std::vector<std::string>;
  EXPECT_EQ(runCells(known, kEnglish), (Cells{"w", "1:02", "true", "nightmare", "o"}));
  EXPECT_EQ(runCells(known, kChinese), (Cells{"w", "1:02", "真结局", "噩梦", "o"}));
  EXPECT_EQ(runCells({}, kEnglish), (Cells{"time unknown", "", "", "", ""}));
  EXPECT_EQ(runCells(run("", "", "new", "", ""), kChinese)[2], "new");
  EXPECT_EQ(runHeadings(kChinese).size(), runCells(known, kChinese).size());
}

TEST(CheckWindowText, theFirstBadRowIsSelectedFirst) {
  const Finding good = row(Stage::place, State::good, "a");
  const Finding note = row(Stage::steam, State::worthKnowing, "b");
  const Finding bad = row(Stage::game, State::bad, "c");
  EXPECT_EQ(firstFinding({}), kNoRow);
  EXPECT_EQ(firstFinding({good, good}), 0U);
  EXPECT_EQ(firstFinding({good, note, note}), 1U);
  EXPECT_EQ(firstFinding({good, note, bad, bad}), 2U);
}

TEST(CheckWindowText, theSelectionStaysOnItsRow) {
  const Finding place = row(Stage::place, State::good, "place");
  const Finding queue = row(Stage::queue, State::good, "queue");
  const Finding asked = checkingRow(Question::server, kEnglish);
  const Finding one = answered(Question::server, Stage::server, State::good, "one");
  const Finding two = answered(Question::server, Stage::server, State::bad, "two");
  const Finding other = row(Stage::server, State::good, "other");
  EXPECT_EQ(sameFinding({place, asked, queue}, 2, {place, one, two, queue}), 3U);
  EXPECT_EQ(sameFinding({place, asked, queue}, 1, {place, other, one, queue}), 2U);
  EXPECT_EQ(sameFinding({place, one, two, queue}, 2, {place, asked, queue}), 1U);
  EXPECT_EQ(sameFinding({place, other}, 1, {place, one}), 1U);
  EXPECT_EQ(sameFinding({place, other}, 1, {place, queue}), 0U);
  EXPECT_EQ(sameFinding({place}, kNoRow, {place, two}), 1U);
}

TEST(CheckWindowText, onlyTheRowsThatDifferAreReplaced) {
  const Finding place = row(Stage::place, State::good, "place");
  const Finding queue = row(Stage::queue, State::good, "queue");
  const Finding asked = checkingRow(Question::server, kEnglish);
  const Finding one = answered(Question::server, Stage::server, State::good, "one");
  const auto expect = [](const Findings& before, const Findings& after, std::size_t begin,
                         std::size_t oldEnd, std::size_t newEnd) {
    const Difference difference = differenceOf(before, after);
    EXPECT_EQ(difference.begin, begin);
    EXPECT_EQ(difference.oldEnd, oldEnd);
    EXPECT_EQ(difference.newEnd, newEnd);
  };
  expect({}, {place, queue}, 0, 0, 2);
  expect({place, asked, queue}, {place, one, one, queue}, 1, 2, 3);
  expect({place, one, one, queue}, {place, one, queue}, 2, 3, 2);
  expect({place, queue}, {place, queue}, 2, 2, 2);
  Finding newWord = one;
  newWord.state = State::bad;
  expect({place, one}, {place, newWord}, 1, 2, 2);
}

TEST(CheckWindowText, onlyAnotherProgramsFileNeedsAWord) {
  EXPECT_EQ(confirmationOf(Button::chooseGame, kEnglish).question, "");
  EXPECT_EQ(confirmationOf(Button::removeMark, kEnglish).question, "");
  EXPECT_NE(confirmationOf(Button::startTimerServer, kEnglish).question.find("settings.cfg"),
            std::string::npos);
  EXPECT_EQ(confirmationOf(Button::startTimerServer, kChinese).label, "改");
}

TEST(CheckWindowText, aLabelIsMeasuredWithoutTheMarkOfItsLetter) {
  EXPECT_EQ(plainLabel("&Help"), "Help");
  EXPECT_EQ(plainLabel("求助(&3)"), "求助(3)");
}

TEST(CheckWindowText, noTwoButtonsOfAPageShareALetter) {
  for (const Language language : {kEnglish, kChinese}) {
    std::string pages;
    for (const Page page : kPages) pages += pageLabel(page, language);
    for (const Page page : kPages) {
      const View view = viewOf({.page = page}, language);
      const std::string all = pages + view.first.label + view.second.label + againLabel(language) +
                              closeLabel(language);
      std::string letters;
      for (std::size_t at = all.find('&'); at != std::string::npos; at = all.find('&', at + 1)) {
        EXPECT_EQ(letters.find(all[at + 1]), std::string::npos) << all;
        letters += all[at + 1];
      }
      EXPECT_GE(letters.size(), 3U);
    }
  }
}

}  // namespace
