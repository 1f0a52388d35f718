#include "steam/launch_text.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

namespace launcher {
namespace {

/// The UTF-16 units of a wide text; where a wide character is larger than one, its
/// low half.
std::vector<unsigned> units(const std::wstring& wide) {
  std::vector<unsigned> result;
  for (const wchar_t unit : wide) result.push_back(static_cast<unsigned>(unit) & 0xFFFFu);
  return result;
}

TEST(LaunchText, steamCommandLine) {
  EXPECT_EQ(steamCommandLine("C:\\Program Files (x86)\\Steam\\steam.exe", "1943950"),
            "\"C:\\Program Files (x86)\\Steam\\steam.exe\" -applaunch 1943950");
}

TEST(LaunchText, steamCommandLineTakesValuesAsTheyAre) {
  EXPECT_EQ(steamCommandLine("a\"b", "1 -x"), "\"a\"b\" -applaunch 1 -x");
  EXPECT_EQ(steamCommandLine("", ""), "\"\" -applaunch ");
}

TEST(LaunchText, asciiPathIsWidenedUnchanged) {
  EXPECT_EQ(widenBytes("C:\\Games\\Backrooms-Win64-Shipping.exe ~\x7F\x01"),
            L"C:\\Games\\Backrooms-Win64-Shipping.exe ~\x7F\x01");
  EXPECT_EQ(widenBytes(""), L"");
}

TEST(LaunchText, otherBytesAreWidenedAsSignedOnes) {
  EXPECT_EQ(units(widenBytes("A\xC3\xA9\x80\xFF")),
            (std::vector<unsigned>{0x41u, 0xFFC3u, 0xFFA9u, 0xFF80u, 0xFFFFu}));
}

TEST(LaunchText, everyByteIsOneUnit) {
  std::string bytes;
  std::vector<unsigned> expected;
  for (unsigned value = 0; value < 256; ++value) {
    bytes.push_back(static_cast<char>(value));
    expected.push_back(value < 128 ? value : 0xFF00u + value);
  }
  EXPECT_EQ(units(widenBytes(bytes)), expected);
}

TEST(LaunchText, workingFolderEndsBeforeTheLastSlashOfEitherKind) {
  EXPECT_EQ(folderAtEitherSlash(L"C:\\a\\b\\game.exe"), L"C:\\a\\b");
  EXPECT_EQ(folderAtEitherSlash(L"C:/a/b/game.exe"), L"C:/a/b");
  EXPECT_EQ(folderAtEitherSlash(L"C:\\a/game.exe"), L"C:\\a");
  EXPECT_EQ(folderAtEitherSlash(L"C:/a\\game.exe"), L"C:/a");
  EXPECT_EQ(folderAtEitherSlash(L"C:\\a\\"), L"C:\\a");
  EXPECT_EQ(folderAtEitherSlash(L"\\game.exe"), L"");
}

TEST(LaunchText, pathWithoutSlashIsItsOwnWorkingFolder) {
  EXPECT_EQ(folderAtEitherSlash(L"game.exe"), L"game.exe");
  EXPECT_EQ(folderAtEitherSlash(L"C:game.exe"), L"C:game.exe");
  EXPECT_EQ(folderAtEitherSlash(L""), L"");
}

}  // namespace
}  // namespace launcher
