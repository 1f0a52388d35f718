#include "card/upload_watch.h"

#include <gtest/gtest.h>

namespace launcher::card {
namespace {

TEST(CardUploadState, wordsAreKnown) {
  EXPECT_EQ(readUploadState("uploading"), UploadState::uploading);
  EXPECT_EQ(readUploadState("done"), UploadState::done);
  EXPECT_EQ(readUploadState("fail"), UploadState::failed);
  EXPECT_EQ(readUploadState(" done\r\n"), UploadState::done);
}

TEST(CardUploadState, everythingElseIsWaiting) {
  for (const char* text : {"", " ", "don", "failed", "DONE", "uploading done", "done\x01"}) {
    EXPECT_EQ(readUploadState(text), UploadState::waiting) << text;
  }
}

TEST(CardUploadWatch, outcomeShowsUnderASecondThenItIsOver) {
  UploadWatch watch(1000);
  watch.update(1500, UploadState::uploading);
  EXPECT_EQ(watch.shown(), UploadState::uploading);
  watch.update(2000, UploadState::done);
  EXPECT_EQ(watch.shown(), UploadState::done);
  EXPECT_FALSE(watch.isOver(2000 + kOutcomeShownMs - 1));
  EXPECT_TRUE(watch.isOver(2000 + kOutcomeShownMs));
  EXPECT_LT(kOutcomeShownMs, 1000U);
}

TEST(CardUploadWatch, firstOutcomeIsFinal) {
  UploadWatch watch(0);
  watch.update(100, UploadState::failed);
  watch.update(700, UploadState::uploading);
  watch.update(701, UploadState::done);
  EXPECT_EQ(watch.shown(), UploadState::failed);
  EXPECT_TRUE(watch.isOver(100 + kOutcomeShownMs));
}

TEST(CardUploadWatch, fileThatNeverAppearsOrChangesEndsIt) {
  UploadWatch absent(500);
  UploadWatch stuck(500);
  absent.update(600, UploadState::waiting);
  stuck.update(60000, UploadState::uploading);
  EXPECT_FALSE(absent.isOver(500 + kProgressLimitMs - 1));
  EXPECT_FALSE(stuck.isOver(500 + kProgressLimitMs - 1));
  EXPECT_TRUE(absent.isOver(500 + kProgressLimitMs));
  EXPECT_TRUE(stuck.isOver(500 + kProgressLimitMs));
}

}  // namespace
}  // namespace launcher::card
