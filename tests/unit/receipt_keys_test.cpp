#include "result/receipt_keys.h"

#include <gtest/gtest.h>

#include <string>
#include <string_view>

#include "tests/unit/fenced_text.h"

namespace launcher {
namespace {

using std::literals::string_literals::operator""s;

std::string place(std::size_t position) {
  return position == npos ? "-" : std::to_string(position);
}

/// All places in one text.
std::string found(std::string_view text) {
  const ReceiptKeys keys = findReceiptKeys(text);
  return "status " + place(keys.status) + " ending " + place(keys.ending) + " total " +
         place(keys.total) + " difficulty " + place(keys.difficulty) + " as text " +
         place(keys.difficultyText) + " time " + place(keys.lastTime) + " splits " +
         std::to_string(keys.splits) + (keys.hasEndingMark ? " marked" : " unmarked") + " map " +
         place(keys.endingMap) + ".." + place(keys.endingMapEnd);
}

const std::string kNothing =
    "status - ending - total - difficulty - as text - time - splits 0 unmarked map -..-";

TEST(ReceiptKeys, firstDifficultyCountsAndTheFirstThatIsText) {
  const ReceiptKeys keys = findReceiptKeys(
      "{\"difficulty\":1,\"difficulty\":\"easy\",\"difficulty\":\"normal\",\"difficulty\":2}");
  EXPECT_EQ(keys.difficulty, 1U);
  EXPECT_EQ(keys.difficultyText, 16U);
}

// The value's opening quote is the text's last byte.
TEST(ReceiptKeys, difficultyThatBreaksOffAfterItsQuoteIsText) {
  EXPECT_EQ(findReceiptKeys("\"difficulty\":\"").difficultyText, 0U);
  EXPECT_EQ(findReceiptKeys("\"difficulty\":").difficultyText, npos);
}

TEST(ReceiptKeys, keyHasAnOpeningQuote) {
  for (const char* text : {"\"t\":5", "\"i\":5", "\"map\":\"ENDING:main\"", "\"status\":1",
                           "\"ending\":1", "\"total\":1", "\"difficulty\":\"easy\""}) {
    EXPECT_NE(found(text), kNothing) << text;
    // The quote in front stays where it is, outside.
    EXPECT_EQ(found(std::string_view(text).substr(1)), kNothing) << text;
    EXPECT_EQ(found("x"s + (text + 1)), kNothing) << text;
  }
}

// In the last bytes of a text, and far from its end.
TEST(ReceiptKeys, keyHasAClosingQuote) {
  for (const char* text : {"\"tx:5", "\"ix:5", "\"mapx:\"ENDING:main\"", "\"statusx:1",
                           "\"endingx:1", "\"totalx:1", "\"difficultyx:\"easy\""}) {
    EXPECT_EQ(found(text), kNothing) << text;
    EXPECT_EQ(found(text + std::string(40, ' ')), kNothing) << text;
  }
}

TEST(ReceiptKeys, nameOfAMapHasAnOpeningQuote) {
  for (const char* text : {"{\"map\":xENDING:main\"}", "{\"map\":xNeon\"}", "{\"map\":5}"}) {
    EXPECT_EQ(found(text), kNothing) << text;
    EXPECT_EQ(found(text + std::string(40, ' ')), kNothing) << text;
  }
}

// At every distance from the edges of the steps in which the text is read.
TEST(ReceiptKeys, nothingBesideTheTextIsRead) {
  for (const char* core : {"",
                           "\"",
                           ":",
                           "\":",
                           "t\":",
                           "i\":",
                           "p\":",
                           "s\":",
                           "g\":",
                           "l\":",
                           "y\":",
                           "\"t\":",
                           "\"i\":",
                           "map\":",
                           "status\":",
                           "ending\":",
                           "total\":",
                           "difficulty\":",
                           "\"map\":",
                           "\"map\":\"",
                           "\"map\":\"Neon",
                           "\"map\":\"Neon\"",
                           "\"map\":\"ENDING:main\"",
                           "\"status\":",
                           "\"ending\":",
                           "\"total\":",
                           "\"difficulty\":",
                           "\"difficulty\":\""}) {
    for (std::size_t distance = 0; distance <= 40; ++distance) {
      const std::string blanks(distance, ' ');
      for (const std::string& text : {blanks + core, core + blanks}) {
        EXPECT_EQ(found(FencedText(text, Fence::before).text()), found(text)) << text;
        EXPECT_EQ(found(FencedText(text, Fence::after).text()), found(text)) << text;
      }
    }
  }
}

}  // namespace
}  // namespace launcher
