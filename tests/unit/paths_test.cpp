#include "core/paths.h"

#include <gtest/gtest.h>

#include <string>

namespace launcher {
namespace {

TEST(Paths, programFolderEndsAfterTheLastBackslash) {
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
  EXPECT_EQ(expandPath("D:\\Games\\x.exe", "C:\\p\\", "C:\\l"), "D:\\Games\\x.exe");
  EXPECT_EQ(expandPath("", "C:\\p\\", "C:\\l"), "");
}

TEST(Paths, bothPlaceholdersAreReplacedEverywhere) {
  EXPECT_EQ(expandPath("%APPDIR%a;%APPDIR%b", "C:\\p\\", "C:\\l"), "C:\\p\\a;C:\\p\\b");
  EXPECT_EQ(expandPath("%LOCALDATA%\\a;%LOCALDATA%", "C:\\p\\", "C:\\l"),
            "C:\\l\\a;C:\\l");
  EXPECT_EQ(expandPath("%LOCALDATA%%APPDIR%", "C:\\p\\", "C:\\l"), "C:\\lC:\\p\\");
}

TEST(Paths, backslashAfterAppDirGivesTwo) {
  EXPECT_EQ(expandPath("%APPDIR%\\..\\data", "C:\\p\\", "C:\\l"), "C:\\p\\\\..\\data");
}

TEST(Paths, unsetLocalDataLeavesWhatFollows) {
  EXPECT_EQ(expandPath("%LOCALDATA%\\receipt.json", "C:\\p\\", ""), "\\receipt.json");
  EXPECT_EQ(expandPath("%LOCALDATA%", "C:\\p\\", ""), "");
}

TEST(Paths, localDataPlaceholderAloneBecomesTheFolder) {
  EXPECT_EQ(expandPath("%LOCALDATA%", "C:\\p\\", localDataFolder("C:\\L")),
            "C:\\L\\KOV-Race");
}

TEST(Paths, placeholdersAreExact) {
  const std::string value = "%appdir%|%AppDir%|%localdata%|%APPDIR|APPDIR%|%LOCALDATA|% APPDIR%";
  EXPECT_EQ(expandPath(value, "C:\\p\\", "C:\\l"), value);
}

TEST(Paths, insertedTextIsNotScannedBySamePass) {
  EXPECT_EQ(expandPath("%APPDIR%", "C:\\%APPDIR%\\", "L"), "C:\\%APPDIR%\\");
  EXPECT_EQ(expandPath("%LOCALDATA%", "C:\\p\\", "%LOCALDATA%"), "%LOCALDATA%");
  EXPECT_EQ(expandPath("%LOCALDATA%", "C:\\p\\", "%APPDIR%"), "%APPDIR%");
}

TEST(Paths, localDataPassSeesWhatAppDirInserted) {
  EXPECT_EQ(expandPath("%APPDIR%x", "C:\\%LOCALDATA%\\", "L"), "C:\\L\\x");
  // The second pass runs over the whole result, seams included.
  EXPECT_EQ(expandPath("%LOCAL%APPDIR%%", "DATA", "L"), "L");
}

TEST(Paths, placeholderSharingItsPercentSignIsReplacedOnce) {
  EXPECT_EQ(expandPath("%APPDIR%APPDIR%", "P\\", "L"), "P\\APPDIR%");
}

TEST(Paths, bytesOfOtherCodePagesPassThrough) {
  EXPECT_EQ(expandPath("%APPDIR%\xBE\xBA", "C:\\\xCB\xD9\\", "L"),
            "C:\\\xCB\xD9\\\xBE\xBA");
}

TEST(Paths, namesOfTheDataFolderFollowABackslash) {
  EXPECT_EQ(inDataFolder("D:\\data", kModResultFile), "D:\\data\\kovw_result.json");
  EXPECT_EQ(inDataFolder("D:\\data\\", kProfileFlagFile), "D:\\data\\\\profile_opened.flag");
}

constexpr LocalTime kMarchEvening = {2025, 3, 1, 21, 45, 2};

TEST(Paths, archiveIsNamedAfterItsSecond) {
  EXPECT_EQ(archivePath("D:\\data", kMarchEvening),
            "D:\\data\\receipts\\receipt_20250301_214502.json");
  EXPECT_EQ(archivePath("", LocalTime{2026, 12, 31, 0, 0, 0}),
            "\\receipts\\receipt_20261231_000000.json");
  EXPECT_EQ(archivePath("d", LocalTime{2026, 1, 2, 3, 4, 59}),
            "d\\receipts\\receipt_20260102_030459.json");
}

TEST(Paths, archivePathIsNeverCut) {
  const std::string folder(300, 'd');
  EXPECT_EQ(archivePath(folder, kMarchEvening),
            folder + "\\receipts\\receipt_20250301_214502.json");
}

TEST(Paths, modResultLiesInTheDataFolder) {
  EXPECT_EQ(modResultPath("D:\\data"), "D:\\data\\kovw_result.json");
}

TEST(Paths, queueEntryIsNamedAfterItsSecond) {
  EXPECT_EQ(pendingEntryPath("D:\\data", kMarchEvening),
            "D:\\data\\pending\\p_20250301_214502.json");
  EXPECT_EQ(pendingEntryPath("", LocalTime{2026, 12, 31, 0, 0, 0}),
            "\\pending\\p_20261231_000000.json");
  EXPECT_EQ(pendingEntryPath("d", LocalTime{987, 1, 2, 3, 4, 5}),
            "d\\pending\\p_09870102_030405.json");
}

TEST(Paths, queueEntryIsCutAfter259Bytes) {
  const std::string tail = "\\pending\\p_20250301_214502.json";
  const std::string fits(259 - tail.size(), 'd');
  EXPECT_EQ(pendingEntryPath(fits, kMarchEvening), fits + tail);
  EXPECT_EQ(pendingEntryPath(fits + "d", kMarchEvening),
            fits + "d" + tail.substr(0, tail.size() - 1));
  EXPECT_EQ(pendingEntryPath(fits + "ddddd", kMarchEvening),
            fits + "ddddd\\pending\\p_20250301_214502");
  EXPECT_EQ(pendingEntryPath(std::string(300, 'd'), kMarchEvening), std::string(259, 'd'));
}

}  // namespace
}  // namespace launcher
