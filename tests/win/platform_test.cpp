// What the launcher asks of Windows, on real files, folders, processes and code pages.

#include "core/platform.h"

#include <gtest/gtest.h>
#include <windows.h>
#include <winioctl.h>

#include <algorithm>
#include <filesystem>
#include <string>
#include <vector>

#include "core/file_io.h"
#include "rehearsal/stage/files.h"
#include "rehearsal/stage/process.h"
#include "rehearsal/stage/stage.h"
#include "rehearsal/stage/text.h"

namespace launcher {
namespace {

using Texts = std::vector<std::string>;

/// A folder of its own for each test.
class Platform : public ::testing::Test {
 protected:
  Platform() {
    std::filesystem::remove_all(folder);
    std::filesystem::create_directories(folder);
  }
  ~Platform() override {
    std::error_code ignored;
    std::filesystem::remove_all(folder, ignored);
  }

  [[nodiscard]] std::string in(const std::string& name) const {
    return stage::textOf(folder) + "\\" + name;
  }
  void put(const std::string& name, const std::string& bytes) const {
    stage::writeFile(folder / stage::pathOf(name), bytes);
  }
  [[nodiscard]] std::optional<std::string> bytesOf(const std::string& name) const {
    return stage::readFile(folder / stage::pathOf(name));
  }

  const std::filesystem::path folder =
      std::filesystem::temp_directory_path() / "kov-platform-test";
};

std::string everyByte() {
  std::string bytes;
  for (int byte = 0; byte < 256; ++byte) bytes += static_cast<char>(byte);
  return bytes;
}

// --- whole files ----------------------------------------------------------------------------

TEST_F(Platform, fileIsReadAndWrittenInBinary) {
  const std::string bytes = everyByte() + "\r\n\n\x1A" + everyByte();
  EXPECT_TRUE(writeWholeFile(in("a"), bytes));
  EXPECT_EQ(bytesOf("a"), bytes);
  EXPECT_EQ(readFile(in("a")), bytes);
  EXPECT_EQ(readWholeFile(in("a")), bytes);
}

TEST_F(Platform, writingReplacesAndCanEmpty) {
  put("a", "longer than the next");
  EXPECT_TRUE(writeWholeFile(in("a"), "next"));
  EXPECT_EQ(bytesOf("a"), "next");
  EXPECT_TRUE(writeWholeFile(in("a"), ""));
  EXPECT_EQ(bytesOf("a"), "");
  EXPECT_FALSE(writeWholeFile(in("none\\a"), "x"));
  EXPECT_FALSE(writeWholeFile(stage::textOf(folder), "x"));
}

TEST_F(Platform, missingAndEmptyFilesDifferOnlyWhereItMatters) {
  put("empty", "");
  EXPECT_EQ(readFile(in("none")), std::nullopt);
  EXPECT_EQ(readFile(in("empty")), "");
  EXPECT_EQ(readWholeFile(in("none")), "");
  EXPECT_EQ(readWholeFile(in("empty")), "");
  EXPECT_FALSE(opensForReading(in("none")));
  EXPECT_TRUE(opensForReading(in("empty")));
  EXPECT_FALSE(opensForReading(stage::textOf(folder)));
}

TEST_F(Platform, startOfAFile) {
  put("a", "0123456789");
  EXPECT_EQ(readFileStart(in("a"), 4), "0123");
  EXPECT_EQ(readFileStart(in("a"), 10), "0123456789");
  EXPECT_EQ(readFileStart(in("a"), 255), "0123456789");
  EXPECT_EQ(readFileStart(in("none"), 4), std::nullopt);
}

TEST_F(Platform, filesThatWereReadAndWrittenAreClosed) {
  ASSERT_TRUE(writeWholeFile(in("a"), "x"));
  (void)readFile(in("a"));
  (void)readFileStart(in("a"), 1);
  (void)opensForReading(in("a"));
  // No one else may have it open for this.
  const HANDLE alone = CreateFileW((folder / "a").c_str(), GENERIC_READ | GENERIC_WRITE, 0,
                                   nullptr, OPEN_EXISTING, 0, nullptr);
  EXPECT_NE(alone, INVALID_HANDLE_VALUE);
  if (alone != INVALID_HANDLE_VALUE) CloseHandle(alone);
}

// --- files and folders ------------------------------------------------------------------------

TEST_F(Platform, filesAndFoldersExist) {
  put("a", "");
  EXPECT_TRUE(pathExists(in("a")));
  EXPECT_TRUE(pathExists(stage::textOf(folder)));
  EXPECT_TRUE(pathExists(in("")));
  EXPECT_FALSE(pathExists(in("b")));
  EXPECT_FALSE(pathExists(""));
  EXPECT_TRUE(pathExistsWide((folder / "a").wstring()));
  EXPECT_FALSE(pathExistsWide((folder / "b").wstring()));
}

TEST_F(Platform, folderIsMadeOneLevelDeep) {
  createFolder(in("one\\two"));
  EXPECT_FALSE(pathExists(in("one")));
  createFolder(in("one"));
  put("one\\kept", "x");
  createFolder(in("one"));
  EXPECT_EQ(stage::listFolder(folder), Texts{"one\\kept"});
}

TEST_F(Platform, deletedFileIsGoneAndTheRestStays) {
  put("a", "x");
  put("open", "x");
  createFolder(in("folder"));
  const HANDLE held = CreateFileW((folder / "open").c_str(), GENERIC_READ, FILE_SHARE_READ,
                                  nullptr, OPEN_EXISTING, 0, nullptr);
  for (const char* name : {"a", "none", "open", "folder"}) deleteFile(in(name));
  CloseHandle(held);
  EXPECT_EQ(stage::listFolder(folder), (Texts{"folder\\", "open"}));
}

TEST_F(Platform, copyReplacesItsTarget) {
  put("from", everyByte());
  put("to", "older and much longer" + everyByte());
  EXPECT_TRUE(copyFileOver(in("from"), in("to")));
  EXPECT_EQ(bytesOf("to"), everyByte());
  EXPECT_FALSE(copyFileOver(in("none"), in("to")));
  EXPECT_FALSE(copyFileOver(in("from"), in("none\\to")));
  EXPECT_EQ(bytesOf("to"), everyByte());
}

TEST_F(Platform, sizeOfAFileHasBothHalves) {
  put("small", "12345");
  const HANDLE file = CreateFileW((folder / "huge").c_str(), GENERIC_WRITE, 0, nullptr,
                                  CREATE_ALWAYS, 0, nullptr);
  ASSERT_NE(file, INVALID_HANDLE_VALUE);
  LARGE_INTEGER end = {};
  end.QuadPart = (5LL << 30) + 7;
  DWORD unused = 0;
  (void)DeviceIoControl(file, FSCTL_SET_SPARSE, nullptr, 0, nullptr, 0, &unused, nullptr);
  const bool grown = SetFilePointerEx(file, end, nullptr, FILE_BEGIN) && SetEndOfFile(file);
  CloseHandle(file);
  EXPECT_EQ(fileSize(in("small")), 5U);
  EXPECT_EQ(fileSize(stage::textOf(folder)), 0U);
  EXPECT_EQ(fileSize(in("none")), std::nullopt);
  ASSERT_TRUE(grown);
  EXPECT_EQ(fileSize(in("huge")), (5ULL << 30) + 7);
}

TEST_F(Platform, listingHasEveryEntryThatMatches) {
  put("b.json", "12");
  put("a.json", "");
  put("c.txt", "x");
  createFolder(in("d.json"));
  const auto listed = [](const std::string& pattern) {
    Texts entries;
    FolderListing listing(pattern);
    EXPECT_TRUE(listing.started());
    while (const FolderEntry* entry = listing.next()) {
      entries.push_back(entry->name + (entry->isFolder ? "\\" : " ") +
                        std::to_string(entry->bytes));
    }
    EXPECT_EQ(listing.next(), nullptr);
    std::sort(entries.begin(), entries.end());
    return entries;
  };
  EXPECT_EQ(listed(in("*.json")), (Texts{"a.json 0", "b.json 2", "d.json\\0"}));
  EXPECT_EQ(listed(in("*")),
            (Texts{"..\\0", ".\\0", "a.json 0", "b.json 2", "c.txt 1", "d.json\\0"}));
  for (const std::string& pattern : {in("*.none"), in("none\\*")}) {
    FolderListing nothing(pattern);
    EXPECT_FALSE(nothing.started());
    EXPECT_EQ(nothing.next(), nullptr);
  }
}

// --- processes --------------------------------------------------------------------------------

TEST_F(Platform, programKnowsItsPath) {
  wchar_t path[1024] = {};
  (void)GetModuleFileNameW(nullptr, path, 1024);
  EXPECT_EQ(programPathWide(), path);
  EXPECT_EQ(programPath(), stage::textOf(path));
}

/// This test program's file name.
std::wstring ownName() {
  const std::wstring path = programPathWide();
  return path.substr(path.find_last_of(L'\\') + 1);
}

TEST_F(Platform, processIsFoundByItsNameInAnyLetterCase) {
  std::wstring name = ownName();
  EXPECT_NE(findProcessByName(name.c_str()), 0U);
  for (wchar_t& unit : name) {
    if (unit >= L'a' && unit <= L'z') unit = static_cast<wchar_t>(unit - L'a' + L'A');
  }
  EXPECT_NE(findProcessByName(name.c_str()), 0U);
  EXPECT_EQ(findProcessByName((name + L"x").c_str()), 0U);
  EXPECT_EQ(findProcessByName(name.substr(1).c_str()), 0U);
  EXPECT_EQ(findProcessByName(L"no-such-program.exe"), 0U);
}

TEST_F(Platform, startThatFailsTellsWhy) {
  const StartResult narrow = startProcess("\"" + in("none.exe") + "\" -x");
  EXPECT_FALSE(narrow.process.has_value());
  EXPECT_EQ(narrow.error, static_cast<unsigned long>(ERROR_FILE_NOT_FOUND));
  put("text.exe", "no program");
  const StartResult wide = startProcessWide(L"\"" + (folder / "text.exe").wstring() + L"\"");
  EXPECT_FALSE(wide.process.has_value());
  EXPECT_EQ(wide.error, static_cast<unsigned long>(ERROR_BAD_EXE_FORMAT));
}

// The child writes its last file after a while of other work.
TEST_F(Platform, startedProcessIsWaitedFor) {
  const std::wstring folderText = folder.wstring();
  const auto line = [&](const std::wstring& last) {
    return L"\"C:\\windows\\system32\\cmd.exe\" /c (for /L %i in (1,1,200) do @echo x>\"" +
           folderText + L"\\work\") & echo x>\"" + folderText + L"\\" + last + L"\"";
  };
  StartResult wide = startProcessWide(line(L"wide"));
  ASSERT_TRUE(wide.process.has_value());
  wide.process->waitForEnd();
  EXPECT_EQ(stage::listFolder(folder), (Texts{"wide", "work"}));
  StartResult narrow = startProcess(stage::toUtf8(line(L"narrow")));
  ASSERT_TRUE(narrow.process.has_value());
  narrow.process->waitForEnd(20000);
  EXPECT_EQ(stage::listFolder(folder), (Texts{"narrow", "wide", "work"}));
}

TEST_F(Platform, waitHasItsLimit) {
  const std::optional<Process> self = openProcess(GetCurrentProcessId());
  ASSERT_TRUE(self.has_value());
  const ULONGLONG start = GetTickCount64();
  self->waitForEnd(120);
  const ULONGLONG waited = GetTickCount64() - start;
  EXPECT_GE(waited, 100U);
  EXPECT_LT(waited, 5000U);
}

TEST_F(Platform, processThatIsGoneCannotBeOpened) {
  EXPECT_FALSE(openProcess(0xFFFFFFF0).has_value());
}

TEST_F(Platform, processStartsInTheGivenFolder) {
  const std::wstring line = L"\"C:\\windows\\system32\\cmd.exe\" /c echo x>here";
  StartResult start = startProcessWide(line, folder.c_str());
  ASSERT_TRUE(start.process.has_value());
  start.process->waitForEnd(20000);
  EXPECT_EQ(stage::listFolder(folder), Texts{"here"});
}

// The game must show its own boxes as it would without the launcher. (Below Wine a program gets
// no mode from the one that starts it, whatever that has.)
TEST(PlatformErrors, aMissingDiskIsAMissingFileForThisThreadAlone) {
  stage::Stage machine("mode");
  stage::Stage::copyStandIn("probe.exe", machine.launcher());
  const auto modeOfAStartedProgram = [&] { return machine.runLauncher("errormode").exitCode; };
  constexpr std::uint32_t kNoMode = 100;
  const DWORD processMode = SetErrorMode(0);
  ASSERT_EQ(modeOfAStartedProgram(), kNoMode);
  takeMissingDisksForMissingFiles();
  EXPECT_EQ(GetThreadErrorMode(), DWORD{SEM_FAILCRITICALERRORS});
  EXPECT_EQ(modeOfAStartedProgram(), kNoMode);
  (void)SetThreadErrorMode(0, nullptr);
  (void)SetErrorMode(processMode);
}

// --- environment and code pages ---------------------------------------------------------------

TEST_F(Platform, localAppDataHasALimit) {
  const std::string before = stage::environmentText("LOCALAPPDATA").value_or("");
  const auto with = [](const wchar_t* value) {
    (void)SetEnvironmentVariableW(L"LOCALAPPDATA", value);
    return localAppData();
  };
  EXPECT_EQ(with(L"C:\\Local"), "C:\\Local");
  EXPECT_EQ(with(nullptr), "");
  EXPECT_EQ(with(std::wstring(259, L'x').c_str()), std::string(259, 'x'));
  EXPECT_EQ(with(std::wstring(260, L'x').c_str()), "");
  EXPECT_EQ(with(L"C:\\\u00E9"), stage::toAnsi("C:\\é"));
  (void)SetEnvironmentVariableW(L"LOCALAPPDATA", stage::toWide(before).c_str());
}

TEST_F(Platform, ansiTextsAreConverted) {
  EXPECT_EQ(ansiToUtf8("plain"), "plain");
  EXPECT_EQ(ansiToUtf8(""), "");
  EXPECT_EQ(ansiToUtf8(stage::toAnsi("é")), "é");
  EXPECT_EQ(ansiToUtf8(std::string("a\0b", 3)), std::string("a\0b", 3));
  EXPECT_EQ(ansiToWide(stage::toAnsi("é")), L"\u00E9");
  EXPECT_EQ(ansiToWide(""), L"");
}

TEST_F(Platform, utf8TextsAreConverted) {
  EXPECT_EQ(utf8ToWide("周é😀"), L"\u5468\u00E9\xD83D\xDE00");
  EXPECT_EQ(wideToUtf8(L"\u5468\u00E9\xD83D\xDE00"), "周é😀");
  EXPECT_EQ(utf8ToWide(""), L"");
  EXPECT_EQ(wideToUtf8(L""), "");
  EXPECT_EQ(utf8ToWide("a\xFF" "b"), L"a\uFFFD" L"b");
}

TEST_F(Platform, localTimeIsTheMachines) {
  SYSTEMTIME before = {};
  SYSTEMTIME after = {};
  LocalTime now;
  do {  // within one second
    GetLocalTime(&before);
    now = localTimeNow();
    GetLocalTime(&after);
  } while (before.wSecond != after.wSecond);
  EXPECT_EQ(now.year, before.wYear);
  EXPECT_EQ(now.month, before.wMonth);
  EXPECT_EQ(now.day, before.wDay);
  EXPECT_EQ(now.hour, before.wHour);
  EXPECT_EQ(now.minute, before.wMinute);
  EXPECT_EQ(now.second, before.wSecond);
}

}  // namespace
}  // namespace launcher
