#include "core/paths.h"

#include <gtest/gtest.h>

#include <string>

namespace launcher {
namespace {

TEST(Paths, programFolderEndsBehindTheLastBackslash) {
  EXPECT_EQ(folderWithBackslash("C:\\a\\b\\launcher.exe"), "C:\\a\\b\\");
  EXPECT_EQ(folderWithBackslash("C:\\a\\"), "C:\\a\\");
  EXPECT_EQ(folderWithBackslash("\\launcher.exe"), "\\");
}

TEST(Paths, pathWithoutBackslashIsUsedWhole) {
  EXPECT_EQ(folderWithBackslash("launcher.exe"), "launcher.exe");
  EXPECT_EQ(folderWithBackslash("C:/a/launcher.exe"), "C:/a/launcher.exe");
  EXPECT_EQ(folderWithBackslash(""), "");
}

TEST(Paths, parentFolderEndsBeforeTheLastBackslash) {
  EXPECT_EQ(parentFolder("C:\\a\\b\\game.exe"), "C:\\a\\b");
  EXPECT_EQ(parentFolder("C:\\a\\"), "C:\\a");
  EXPECT_EQ(parentFolder("\\game.exe"), "");
}

TEST(Paths, parentFolderCutsAtBackslashesOnly) {
  EXPECT_EQ(parentFolder("C:\\a/b/game.exe"), "C:");
  EXPECT_EQ(parentFolder("C:/a/game.exe"), "C:/a/game.exe");
  EXPECT_EQ(parentFolder("game.exe"), "game.exe");
  EXPECT_EQ(parentFolder(""), "");
}

TEST(Paths, localDataFolderLiesBelowLocalAppData) {
  EXPECT_EQ(localDataFolder("C:\\Users\\p\\AppData\\Local"),
            "C:\\Users\\p\\AppData\\Local\\KOV-Race");
  EXPECT_EQ(localDataFolder("C:\\L\\"), "C:\\L\\\\KOV-Race");
}

TEST(Paths, withoutLocalAppDataThereIsNoLocalDataFolder) { EXPECT_EQ(localDataFolder(""), ""); }

TEST(Paths, valueWithoutPlaceholdersStays) {
  EXPECT_EQ(expandPlaceholders("D:\\Games\\x.exe", "C:\\p\\", "C:\\l"), "D:\\Games\\x.exe");
  EXPECT_EQ(expandPlaceholders("", "C:\\p\\", "C:\\l"), "");
}

TEST(Paths, bothPlaceholdersAreReplacedEverywhere) {
  EXPECT_EQ(expandPlaceholders("%APPDIR%a;%APPDIR%b", "C:\\p\\", "C:\\l"), "C:\\p\\a;C:\\p\\b");
  EXPECT_EQ(expandPlaceholders("%LOCALDATA%\\a;%LOCALDATA%", "C:\\p\\", "C:\\l"),
            "C:\\l\\a;C:\\l");
  EXPECT_EQ(expandPlaceholders("%LOCALDATA%%APPDIR%", "C:\\p\\", "C:\\l"), "C:\\lC:\\p\\");
}

TEST(Paths, backslashBehindAppDirGivesTwo) {
  EXPECT_EQ(expandPlaceholders("%APPDIR%\\..\\data", "C:\\p\\", "C:\\l"), "C:\\p\\\\..\\data");
}

TEST(Paths, unsetLocalDataLeavesWhatFollows) {
  EXPECT_EQ(expandPlaceholders("%LOCALDATA%\\receipt.json", "C:\\p\\", ""), "\\receipt.json");
  EXPECT_EQ(expandPlaceholders("%LOCALDATA%", "C:\\p\\", ""), "");
}

TEST(Paths, localDataPlaceholderAloneBecomesTheFolder) {
  EXPECT_EQ(expandPlaceholders("%LOCALDATA%", "C:\\p\\", localDataFolder("C:\\L")),
            "C:\\L\\KOV-Race");
}

TEST(Paths, placeholdersAreExact) {
  const std::string value = "%appdir%|%AppDir%|%localdata%|%APPDIR|APPDIR%|%LOCALDATA|% APPDIR%";
  EXPECT_EQ(expandPlaceholders(value, "C:\\p\\", "C:\\l"), value);
}

TEST(Paths, insertedTextIsNotScannedBySamePass) {
  EXPECT_EQ(expandPlaceholders("%APPDIR%", "C:\\%APPDIR%\\", "L"), "C:\\%APPDIR%\\");
  EXPECT_EQ(expandPlaceholders("%LOCALDATA%", "C:\\p\\", "%LOCALDATA%"), "%LOCALDATA%");
  EXPECT_EQ(expandPlaceholders("%LOCALDATA%", "C:\\p\\", "%APPDIR%"), "%APPDIR%");
}

TEST(Paths, localDataPassSeesWhatAppDirInserted) {
  EXPECT_EQ(expandPlaceholders("%APPDIR%x", "C:\\%LOCALDATA%\\", "L"), "C:\\L\\x");
  // The second pass runs over the whole result, seams included.
  EXPECT_EQ(expandPlaceholders("%LOCAL%APPDIR%%", "DATA", "L"), "L");
}

TEST(Paths, placeholderSharingItsPercentSignIsReplacedOnce) {
  EXPECT_EQ(expandPlaceholders("%APPDIR%APPDIR%", "P\\", "L"), "P\\APPDIR%");
}

TEST(Paths, bytesOfOtherCodePagesPassThrough) {
  EXPECT_EQ(expandPlaceholders("%APPDIR%\xBE\xBA", "C:\\\xCB\xD9\\", "L"),
            "C:\\\xCB\xD9\\\xBE\xBA");
}

TEST(Paths, namesOfTheDataFolderFollowABackslash) {
  EXPECT_EQ(inDataFolder("D:\\data", kModResultFile), "D:\\data\\kovw_result.json");
  EXPECT_EQ(inDataFolder("D:\\data\\", kProfileFlagFile), "D:\\data\\\\profile_opened.flag");
}

}  // namespace
}  // namespace launcher
