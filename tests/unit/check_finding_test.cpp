#include "check/finding.h"

#include <gtest/gtest.h>

#include "check/command_line.h"
#include "check/utf8.h"

namespace launcher::check {
namespace {

Finding row(Stage stage, State state, const char* what, std::optional<Question> question = {}) {
  return {.stage = stage, .state = state, .what = what, .question = question};
}

std::vector<std::string> sentences(const Findings& page) {
  std::vector<std::string> all;
  for (const Finding& finding : page) all.push_back(finding.what);
  return all;
}

TEST(CheckFinding, valuesAreFilledInOnce) {
  constexpr Wording wording = {"{2} 在 {1}", "{2} is {1}, {3} and {x} {"};
  EXPECT_EQ(fill(wording, Language::chinese, {"a", "b"}), "b 在 a");
  EXPECT_EQ(fill(wording, Language::english, {"{2}", "b"}), "b is {2}, {3} and {x} {");
}

TEST(CheckFinding, anAnswerTakesThePlaceOfItsQuestion) {
  Findings page = {row(Stage::place, State::good, "a"),
                   checkingRow(Question::livesplit, Language::english),
                   checkingRow(Question::server, Language::english),
                   row(Stage::queue, State::good, "z")};
  putAnswer(page, Question::livesplit,
            {row(Stage::livesplit, State::good, "1", Question::livesplit),
             row(Stage::livesplit, State::good, "2", Question::livesplit)});
  EXPECT_EQ(sentences(page), (std::vector<std::string>{"a", "1", "2", "Asking the race server ...",
                                                       "z"}));
  putChecking(page, Question::livesplit, Language::english);
  EXPECT_EQ(sentences(page),
            (std::vector<std::string>{"a", "Asking LiveSplit's server ...",
                                      "Asking the race server ...", "z"}));
}

TEST(CheckFinding, onlyABadRowStopsTheRace) {
  EXPECT_TRUE(canRace({}));
  EXPECT_TRUE(canRace({row(Stage::place, State::worthKnowing, ""),
                       row(Stage::place, State::unknown, ""),
                       row(Stage::place, State::checking, "")}));
  EXPECT_FALSE(canRace({row(Stage::place, State::good, ""), row(Stage::mod, State::bad, "")}));
}

TEST(CheckFinding, aPageIsOneHeadingForEachStage) {
  Findings page = {row(Stage::settings, State::good, "A."), row(Stage::settings, State::bad, "B."),
                   row(Stage::queue, State::worthKnowing, "C.")};
  page[1].todo = "Do it.";
  EXPECT_EQ(pageText(page, Language::english),
            "== Settings\n[good] A.\n[bad] B.\n    -> Do it.\n\n== Queue\n[worth knowing] C.\n");
  EXPECT_EQ(pageText(page, Language::chinese),
            "== 设置\n[正常] A.\n[有问题] B.\n    -> Do it.\n\n== 待补传的成绩\n[注意] C.\n");
}

TEST(CheckUtf8, onlyWellFormedBytesAreUtf8) {
  for (const char* text : {"", "plain", "竞速", "\xC2\x80", "\xED\x9F\xBF", "\xF4\x8F\xBF\xBF"}) {
    EXPECT_TRUE(isUtf8(text)) << text;
  }
  for (const char* text : {"\x80", "\xC1\xBF", "\xE0\x9F\xBF", "\xED\xA0\x80", "\xF4\x90\x80\x80",
                           "\xF5\x80\x80\x80", "a\xE7\xAB", "\xBE\xBA\xCB\xD9"}) {
    EXPECT_FALSE(isUtf8(text)) << text;
  }
}

TEST(CheckUtf8, eachLineIsReadInItsOwnEncoding) {
  const auto mark = [](const std::string& text) { return "<" + text + ">"; };
  EXPECT_EQ(readableLines("a\n\xBE\xBA\n竞", mark), "a\n<\xBE\xBA\n>竞");
  EXPECT_EQ(readableLines("\xBE", mark), "<\xBE>");
  EXPECT_EQ(readableLines("", mark), "");
}

TEST(CheckCommandLine, exactlyTheseFormsAreUnderstood) {
  using Mode = Asked::Mode;
  EXPECT_EQ(readArguments({}).mode, Mode::window);
  EXPECT_EQ(readArguments({L"--text"}).mode, Mode::text);
  EXPECT_EQ(readArguments({L"--support", L"a b.txt"}).mode, Mode::support);
  EXPECT_EQ(readArguments({L"--support", L"a b.txt"}).file, L"a b.txt");
  EXPECT_EQ(readArguments({L"--language", L"en", L"--text"}).language, Language::english);
  EXPECT_EQ(readArguments({L"--text", L"--language", L"zh"}).mode, Mode::text);
  EXPECT_EQ(readArguments({L"--text", L"--language", L"zh"}).language, Language::chinese);
  using Arguments = std::vector<std::wstring>;
  for (const Arguments& wrong :
       {Arguments{L"--Text"}, Arguments{L""}, Arguments{L"--text", L"x"}, Arguments{L"--support"},
        Arguments{L"--support", L""}, Arguments{L"--support", L"a", L"b"},
        Arguments{L"--text", L"--language"}, Arguments{L"--text", L"--language", L"fr"}}) {
    EXPECT_EQ(readArguments(wrong).mode, Mode::wrong);
  }
}

}  // namespace
}  // namespace launcher::check
