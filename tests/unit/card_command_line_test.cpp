#include "card/command_line.h"

#include <gtest/gtest.h>

#include <string>

namespace launcher::card {
namespace {

const std::u16string kProgram = u"\"C:\\kov\\kov_result.exe\"";

ResultArguments parsedResult(const std::u16string& options) {
  const CommandLine line = parseCommandLine(kProgram + options);
  EXPECT_EQ(line.mode, CardMode::result);
  return line.result;
}

TEST(CardCommandLine, resultOfTheLauncherIsTakenApart) {
  const ResultArguments result = parsedResult(
      u" --ok 1 --kind ok --total 754.56 --difficulty normal --ending main --rank 3"
      u" --points 120 --msg \"login code: K7Q2\"");
  EXPECT_EQ(result.ok, u"1");
  EXPECT_EQ(result.kind, u"ok");
  EXPECT_EQ(result.total, u"754.56");
  EXPECT_EQ(result.difficulty, u"normal");
  EXPECT_EQ(result.ending, u"main");
  EXPECT_EQ(result.rank, u"3");
  EXPECT_EQ(result.points, u"120");
  EXPECT_EQ(result.message, u"login code: K7Q2");
}

TEST(CardCommandLine, resultWithoutMessageHasNone) {
  const ResultArguments result =
      parsedResult(u" --ok 1 --kind ok --total 1 --difficulty easy --ending true --rank 0"
                   u" --points -5");
  EXPECT_EQ(result.points, u"-5");
  EXPECT_EQ(result.message, u"");
}

TEST(CardCommandLine, valuesMayHoldBlanksAndQuotes) {
  const ResultArguments result = parsedResult(
      u" --ok 1 --kind ok --total  \"12.5\"  --difficulty very hard --ending the \"true\" one"
      u" --rank 3 --points 120");
  EXPECT_EQ(result.total, u"\"12.5\"");
  EXPECT_EQ(result.difficulty, u"very hard");
  EXPECT_EQ(result.ending, u"the \"true\" one");
}

TEST(CardCommandLine, emptyValuesStayEmpty) {
  const ResultArguments result = parsedResult(
      u" --ok  --kind  --total  --difficulty  --ending  --rank  --points  --msg \"\"");
  EXPECT_EQ(result.ok, u"");
  EXPECT_EQ(result.kind, u"");
  EXPECT_EQ(result.total, u"");
  EXPECT_EQ(result.ending, u"");
  EXPECT_EQ(result.rank, u"");
  EXPECT_EQ(result.points, u"");
  EXPECT_EQ(result.message, u"");
}

TEST(CardCommandLine, valuesLeftOutWithTheirBlankStayEmpty) {
  const ResultArguments result = parsedResult(u" --ok --kind --total 5 --rank --points");
  EXPECT_EQ(result.ok, u"");
  EXPECT_EQ(result.kind, u"");
  EXPECT_EQ(result.total, u"5");
  EXPECT_EQ(result.rank, u"");
  EXPECT_EQ(result.points, u"");
}

TEST(CardCommandLine, optionsMayBeMissing) {
  const ResultArguments result = parsedResult(u" --kind none --points 7");
  EXPECT_EQ(result.ok, u"");
  EXPECT_EQ(result.kind, u"none");
  EXPECT_EQ(result.total, u"");
  EXPECT_EQ(result.points, u"7");
}

TEST(CardCommandLine, endingMayHoldTheNamesOfNumbers) {
  const ResultArguments result = parsedResult(
      u" --ok 1 --kind ok --total 5 --difficulty easy --ending x --rank 9 --points 9"
      u" --rank 3 --points 120");
  EXPECT_EQ(result.ending, u"x --rank 9 --points 9");
  EXPECT_EQ(result.rank, u"3");
  EXPECT_EQ(result.points, u"120");
}

TEST(CardCommandLine, messageMayHoldOptionsAndQuotes) {
  const ResultArguments result = parsedResult(
      u" --ok 0 --kind fail --total 0 --difficulty normal --ending main --rank 0 --points 0"
      u" --msg \"say \"no\" --rank 5 --kind ok --msg \"x\" done\"");
  EXPECT_EQ(result.kind, u"fail");
  EXPECT_EQ(result.rank, u"0");
  EXPECT_EQ(result.message, u"say \"no\" --rank 5 --kind ok --msg \"x\" done");
}

TEST(CardCommandLine, messageBeginsAtTheOptionThatHasAQuote) {
  const ResultArguments result =
      parsedResult(u" --kind fail --ending say --msg twice --rank 2 --msg \"no\"");
  EXPECT_EQ(result.ending, u"say --msg twice");
  EXPECT_EQ(result.rank, u"2");
  EXPECT_EQ(result.message, u"no");
}

TEST(CardCommandLine, longerWordsAreNoOptions) {
  const ResultArguments result = parsedResult(
      u" --okay 1 --kinds 2 --totals 3 --difficulty2 4 --endings 5 --ranks 6 --points2 7");
  EXPECT_EQ(result.ok, u"");
  EXPECT_EQ(result.kind, u"");
  EXPECT_EQ(result.total, u"");
  EXPECT_EQ(result.difficulty, u"");
  EXPECT_EQ(result.ending, u"");
  EXPECT_EQ(result.rank, u"");
  EXPECT_EQ(result.points, u"");
}

TEST(CardCommandLine, unclosedMessageRunsToTheEnd) {
  EXPECT_EQ(parsedResult(u" --kind fail --msg \"never closed").message, u"never closed");
  EXPECT_EQ(parsedResult(u" --kind fail --msg \"").message, u"");
  EXPECT_EQ(parsedResult(u" --kind fail --msg").message, u"");
  EXPECT_EQ(parsedResult(u" --kind fail --msg").kind, u"fail");
  EXPECT_EQ(parsedResult(u" --kind fail --msg no quotes").message, u"no quotes");
  EXPECT_EQ(parsedResult(u" --kind fail --ending a --msgs b").message, u"");
}

TEST(CardCommandLine, progressHasItsFile) {
  const CommandLine line = parseCommandLine(
      kProgram + u" --mode progress --state \"C:\\my data\\upload.state\"");
  EXPECT_EQ(line.mode, CardMode::progress);
  EXPECT_EQ(line.statePath, u"C:\\my data\\upload.state");
}

TEST(CardCommandLine, progressPathNeedsNoClosingQuote) {
  EXPECT_EQ(parseCommandLine(kProgram + u" --mode progress --state \"C:\\x").statePath, u"C:\\x");
  EXPECT_EQ(parseCommandLine(kProgram + u" --mode progress --state C:\\x y").statePath,
            u"C:\\x y");
  EXPECT_EQ(parseCommandLine(kProgram + u" --mode progress").statePath, u"");
}

TEST(CardCommandLine, programPathIsNoOption) {
  const CommandLine line =
      parseCommandLine(u"\"C:\\a --kind ok --msg \" --ok 0 --kind none --points 1");
  EXPECT_EQ(line.result.kind, u"none");
  EXPECT_EQ(parseCommandLine(u"kov_result.exe --kind fail").result.kind, u"fail");
}

TEST(CardCommandLine, noArgumentsAreIdle) {
  EXPECT_EQ(parseCommandLine(kProgram).mode, CardMode::idle);
  EXPECT_EQ(parseCommandLine(kProgram + u"  ").mode, CardMode::idle);
  EXPECT_EQ(parseCommandLine(u"kov_result.exe").mode, CardMode::idle);
  EXPECT_EQ(parseCommandLine(u"\"unclosed").mode, CardMode::idle);
  EXPECT_EQ(parseCommandLine(u"").mode, CardMode::idle);
}

TEST(CardCommandLine, unknownArgumentsAreAnEmptyResult) {
  const ResultArguments result = parsedResult(u" something --else");
  EXPECT_EQ(result.kind, u"");
  EXPECT_EQ(result.message, u"");
}

TEST(CardCommandLine, everyBeginningOfALineIsReadable) {
  const std::u16string line =
      kProgram + u" --ok 1 --kind ok --total 7.5 --difficulty normal --ending main --rank 3"
                 u" --points 120 --msg \"login code: K7Q2\"";
  for (std::size_t length = 0; length <= line.size(); ++length) {
    const CommandLine parsed = parseCommandLine(line.substr(0, length));
    EXPECT_LE(parsed.result.message.size(), line.size());
  }
}

TEST(CardCommandLine, emptyProgramNameIsOne) {
  EXPECT_EQ(parseCommandLine(u"\"\" --ok 1").result.ok, u"1");
}

TEST(CardCommandLine, lineFeedAroundAValueIsABlank) {
  EXPECT_EQ(parsedResult(u" --ok 1\n").ok, u"1");
}

TEST(CardCommandLine, firstEndingAndLastRankCount) {
  const ResultArguments result = parsedResult(u" --ok 1 --ending a --ending b --rank 3");
  EXPECT_EQ(result.ending, u"a --ending b");
  EXPECT_EQ(result.rank, u"3");
}

TEST(CardCommandLine, optionsInAnotherOrderAreValues) {
  const ResultArguments points = parsedResult(u" --points 1 --rank 2");
  EXPECT_EQ(points.points, u"1 --rank 2");
  EXPECT_EQ(points.rank, u"");
  const ResultArguments kind = parsedResult(u" --kind b --ok a");
  EXPECT_EQ(kind.ok, u"a");
  EXPECT_EQ(kind.kind, u"");
}

TEST(CardCommandLine, endingBeforeTheKindIsNoEnding) {
  const ResultArguments result = parsedResult(u" --ending a --kind b");
  EXPECT_EQ(result.kind, u"b");
  EXPECT_EQ(result.ending, u"");
}

TEST(CardCommandLine, rankIsSoughtBeforeThePoints) {
  const ResultArguments result = parsedResult(u" --rank 1 --points 2 --rank 3");
  EXPECT_EQ(result.rank, u"1");
  EXPECT_EQ(result.points, u"2 --rank 3");
}

TEST(CardCommandLine, progressIsAWholeWord) {
  EXPECT_EQ(parseCommandLine(kProgram + u" --mode progres").mode, CardMode::result);
}

}  // namespace
}  // namespace launcher::card
