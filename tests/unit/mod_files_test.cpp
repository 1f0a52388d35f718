#include "steam/mod_files.h"

#include <gtest/gtest.h>

#include <iterator>
#include <string>
#include <vector>

namespace launcher {
namespace {

TEST(ModFiles, fourFilesAreRequiredInThisOrder) {
  EXPECT_EQ(std::vector<std::string>(std::begin(kRequiredModFiles), std::end(kRequiredModFiles)),
            (std::vector<std::string>{"\\dwmapi.dll", "\\ue4ss\\UE4SS.dll",
                                      "\\ue4ss\\Mods\\KOVWeekly\\Scripts\\main.lua",
                                      "\\ue4ss\\Mods\\KOVWeekly\\enabled.txt"}));
}

TEST(ModFiles, messageListsTheMissingFilesAndTheGameFolder) {
  EXPECT_EQ(incompleteModMessage(L"\\dwmapi.dll\n\\ue4ss\\UE4SS.dll\n", L"D:\\游戏\\Win64"),
            L"计时 mod 没有装完整，缺少这些文件：\n\n\\dwmapi.dll\n\\ue4ss\\UE4SS.dll\n\n最常见原因："
            L"杀毒软件把 dwmapi.dll 当成病毒删掉了。\n\n解决办法：\n1. 把游戏目录加入杀毒软件/Defender "
            L"的排除项\n2. 重新解压玩家包，再双击启动器\n\n游戏目录：\nD:\\游戏\\Win64");
}

TEST(ModFiles, messageAddsNothingOfItsOwnAroundTheValues) {
  EXPECT_EQ(incompleteModMessage(L"", L""),
            L"计时 mod 没有装完整，缺少这些文件：\n\n\n最常见原因：杀毒软件把 dwmapi.dll 当成病毒删掉了。"
            L"\n\n解决办法：\n1. 把游戏目录加入杀毒软件/Defender 的排除项\n2. 重新解压玩家包，再双击启动器"
            L"\n\n游戏目录：\n");
}

}  // namespace
}  // namespace launcher
