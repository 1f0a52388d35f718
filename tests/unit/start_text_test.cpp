#include "livesplit/start_text.h"

#include <gtest/gtest.h>

#include <string>

namespace launcher {
namespace {

TEST(StartText, commandLineQuotesBothPaths) {
  EXPECT_EQ(livesplitCommandLine(L"C:\\Program Files\\LiveSplit\\LiveSplit.exe",
                                 L"D:\\周赛\\race splits.lss"),
            L"\"C:\\Program Files\\LiveSplit\\LiveSplit.exe\" \"D:\\周赛\\race splits.lss\"");
  EXPECT_EQ(livesplitCommandLine(L"", L""), L"\"\" \"\"");
  EXPECT_EQ(livesplitCommandLine(L"a\"b", L"c\\"), L"\"a\"b\" \"c\\\"");
}

TEST(StartText, reminderOfTheTimerServer) {
  EXPECT_EQ(livesplitReminder(),
            L"提醒：还没连上 LiveSplit 的计时服务器。\n\n现在就可以去开：\n右键 LiveSplit → Control → "
            L"Start TCP Server\n\n这个不影响启动游戏，你可以在跑之前随时开。\n不开的话成绩不会自动上传。"
            L"\n\n点「确定」继续进入游戏。");
}

}  // namespace
}  // namespace launcher
