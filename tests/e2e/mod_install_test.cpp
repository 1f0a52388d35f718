#include <gtest/gtest.h>

#include <windows.h>

#include <winioctl.h>

#include <cstdint>
#include <fstream>

#include "tests/e2e/full_run.h"

namespace {

using e2e::HeldFile;
using e2e::joined;
using e2e::Lines;
using e2e::maskedLog;
using stage::readFile;
using stage::textOf;
using stage::writeFile;
namespace fs = std::filesystem;

constexpr char kInstalling[] = "installing mod files from package...";
constexpr char kVerified[] = "mod install verified OK (4/4 files)";
constexpr char kSkipped[] = "install skipped (game or package path missing)";
constexpr char kMain[] = "ue4ss/Mods/KOVWeekly/Scripts/main.lua";
constexpr char kEnabled[] = "ue4ss/Mods/KOVWeekly/enabled.txt";
constexpr std::uint32_t kErrorOnTop = 0x40010;  // MB_ICONERROR | MB_TOPMOST

/// Writes a file of this size that takes no room on the disk after its first bytes.
void writeSparse(const fs::path& file, std::string_view first, std::int64_t size) {
  writeFile(file, first);
  const HANDLE handle = CreateFileW(file.c_str(), GENERIC_WRITE, 0, nullptr, OPEN_EXISTING, 0,
                                    nullptr);
  ASSERT_NE(handle, INVALID_HANDLE_VALUE);
  DWORD none = 0;
  // Where this is not to be had (Wine), a file that is only made longer is sparse anyway.
  DeviceIoControl(handle, FSCTL_SET_SPARSE, nullptr, 0, nullptr, 0, &none, nullptr);
  LARGE_INTEGER end{};
  end.QuadPart = size;
  EXPECT_TRUE(SetFilePointerEx(handle, end, nullptr, FILE_BEGIN));
  EXPECT_TRUE(SetEndOfFile(handle));
  CloseHandle(handle);
  ASSERT_EQ(fs::file_size(file), static_cast<std::uintmax_t>(size));
}

std::string firstBytes(const fs::path& file, std::size_t count) {
  const HANDLE handle = CreateFileW(file.c_str(), GENERIC_READ, FILE_SHARE_READ, nullptr,
                                    OPEN_EXISTING, 0, nullptr);
  std::string bytes(count, '\0');
  DWORD got = 0;
  ReadFile(handle, bytes.data(), static_cast<DWORD>(count), &got, nullptr);
  CloseHandle(handle);
  bytes.resize(got);
  return bytes;
}

void setAttributes(const fs::path& file, DWORD attributes) {
  ASSERT_TRUE(SetFileAttributesW(file.c_str(), attributes));
  ASSERT_EQ(GetFileAttributesW(file.c_str()) & attributes, attributes) << textOf(file);
}

/// The text of the box about these files, each followed by a line feed.
std::string incomplete(const std::string& missing, const std::string& gameFolder) {
  return "计时 mod 没有装完整，缺少这些文件：\n\n" + missing +
         "\n最常见原因：杀毒软件把 dwmapi.dll 当成病毒删掉了。\n\n"
         "解决办法：\n"
         "1. 把游戏目录加入杀毒软件/Defender 的排除项\n"
         "2. 重新解压玩家包，再双击启动器\n\n"
         "游戏目录：\n" +
         gameFolder;
}

class ModInstall : public e2e::FullRunTest {
 protected:
  explicit ModInstall(std::string_view stageName = "run") : FullRunTest(stageName) {
    set("install_from", textOf(machine.package()));
  }

  [[nodiscard]] fs::path inGame(std::string_view name) const {
    return (machine.gameFolder() / stage::pathOf(name)).make_preferred();
  }
  [[nodiscard]] fs::path inPackage(std::string_view name) const {
    return (machine.package() / stage::pathOf(name)).make_preferred();
  }
  /// The line of one level, "" being the game's folder itself.
  [[nodiscard]] std::string installed(int count, std::string_view level) const {
    const std::string folder = textOf(machine.gameFolder());
    return "installed " + std::to_string(count) + " files into " + folder +
           (level.empty() ? "" : "\\" + std::string(level));
  }
  /// The whole log of a run whose installation wrote these lines after the first.
  [[nodiscard]] Lines logOf(const Lines& lines) const {
    return wholeLog({.install = joined({{kInstalling}, lines})});
  }
};

// What is copied ---------------------------------------------------------------------------

TEST_F(ModInstall, aPackageIsCopiedLevelByLevelDeeperLinesFirst) {
  machine.writePackage();
  const std::string binary("MZ\0\x1A\r\n\xFF\xFE", 8);
  writeFile(inPackage("ue4ss/UE4SS.dll"), binary);
  writeFile(inPackage("ue4ss/UE4SS-settings.ini"), "[General]\r\nEnableHotReload = 0\r\n");
  writeFile(inPackage("ue4ss/Mods/mods.txt"), "KOVWeekly : 1\r\n");
  writeFile(inPackage("ue4ss/Mods/KOVWeekly/Scripts/levels.lua"), "return {}\n");
  writeFile(inPackage("ue4ss/Mods/shared/UEHelpers/UEHelpers.lua"), "");
  fs::create_directories(inPackage("ue4ss/Mods/shared/Types"));
  EXPECT_EQ(maskedLog(play()),
            logOf({installed(2, "ue4ss\\Mods\\KOVWeekly\\Scripts"),
                   installed(1, "ue4ss\\Mods\\KOVWeekly"),
                   installed(1, "ue4ss\\Mods\\shared\\UEHelpers"), installed(1, "ue4ss\\Mods"),
                   installed(2, "ue4ss"), installed(1, ""), kVerified}));
  Lines both = stage::listFolder(machine.package());
  both.insert(both.begin(), {"Backrooms-Win64-Shipping.exe", "Backrooms-Win64-Shipping.json"});
  EXPECT_EQ(stage::listFolder(machine.gameFolder()), both);
  for (const std::string& file : stage::listFolder(machine.package())) {
    if (file.ends_with('\\')) continue;
    EXPECT_EQ(readFile(inGame(file)), readFile(inPackage(file))) << file;
  }
  EXPECT_EQ(readFile(inGame("ue4ss/UE4SS.dll")), binary);
}

TEST_F(ModInstall, filesOfTheSameSizeAreLeftAlone) {
  machine.writePackage();
  machine.installMod();
  writeFile(inPackage(kMain), "-- records the RUN of the week\n");
  const std::string before = readFile(inGame(kMain)).value();
  ASSERT_EQ(before.size(), readFile(inPackage(kMain))->size());
  EXPECT_EQ(maskedLog(play()), logOf({kVerified}));
  EXPECT_EQ(readFile(inGame(kMain)), before);
}

TEST_F(ModInstall, aFileOfAnotherSizeIsReplacedAlsoByASmallerOne) {
  machine.writePackage();
  machine.installMod();
  writeFile(inPackage(kMain), "-- next week\n");
  writeFile(inGame("dwmapi.dll"), "MZ: of last year\n");
  writeFile(inGame("ue4ss/Mods/Another/main.lua"), "-- the player's own\n");
  EXPECT_EQ(maskedLog(play()), logOf({installed(1, "ue4ss\\Mods\\KOVWeekly\\Scripts"),
                                      installed(1, ""), kVerified}));
  EXPECT_EQ(readFile(inGame(kMain)), "-- next week\n");
  EXPECT_EQ(readFile(inGame("dwmapi.dll")), readFile(inPackage("dwmapi.dll")));
  EXPECT_EQ(readFile(inGame("ue4ss/Mods/Another/main.lua")), "-- the player's own\n");
}

TEST_F(ModInstall, aLevelThatCopiedNothingHasNoLine) {
  machine.writePackage();
  machine.installMod();
  writeFile(inPackage("ue4ss/Mods/KOVWeekly/Scripts/levels.lua"), "return {}\n");
  writeFile(inPackage("ue4ss/Mods/shared/Types.lua"), "return {}\n");
  EXPECT_EQ(maskedLog(play()), logOf({installed(1, "ue4ss\\Mods\\KOVWeekly\\Scripts"),
                                      installed(1, "ue4ss\\Mods\\shared"), kVerified}));
}

TEST_F(ModInstall, filesThatProgramsHoldOpenStayAsTheyAreSilently) {
  machine.writePackage();
  machine.installMod();
  writeFile(inPackage("ue4ss/UE4SS.dll"), "MZ: a new one\n");
  writeFile(inPackage(kMain), "-- a new one\n");
  writeFile(inPackage(kEnabled), "1\n1\n1\n");
  writeFile(inPackage("dwmapi.dll"), "MZ: a new one\n");
  const std::string oldLibrary = readFile(inGame("ue4ss/UE4SS.dll")).value();
  const std::string oldMain = readFile(inGame(kMain)).value();
  const std::string oldEnabled = readFile(inGame(kEnabled)).value();
  {
    // As a program that has loaded it, as an editor, as a scanner of the package.
    const HeldFile loaded(inGame("ue4ss/UE4SS.dll"), FILE_SHARE_READ | FILE_SHARE_DELETE);
    const HeldFile edited(inGame(kMain), 0);
    const HeldFile scanned(inPackage(kEnabled), 0);
    EXPECT_EQ(maskedLog(play()), logOf({installed(1, ""), kVerified}));
  }
  EXPECT_EQ(readFile(inGame("ue4ss/UE4SS.dll")), oldLibrary);
  EXPECT_EQ(readFile(inGame(kMain)), oldMain);
  EXPECT_EQ(readFile(inGame(kEnabled)), oldEnabled);
  EXPECT_EQ(readFile(inGame("dwmapi.dll")), "MZ: a new one\n");
}

TEST_F(ModInstall, hiddenSystemAndReadOnlyFilesOfThePackageAreCopiedLikeAnyOther) {
  machine.writePackage();
  writeFile(inPackage("ue4ss/Mods/.cache/index.bin"), "index\n");
  setAttributes(inPackage("dwmapi.dll"), FILE_ATTRIBUTE_HIDDEN | FILE_ATTRIBUTE_SYSTEM);
  setAttributes(inPackage("ue4ss/UE4SS.dll"), FILE_ATTRIBUTE_READONLY);
  setAttributes(inPackage("ue4ss/Mods/.cache"), FILE_ATTRIBUTE_HIDDEN);
  EXPECT_EQ(maskedLog(play()),
            logOf({installed(1, "ue4ss\\Mods\\.cache"),
                   installed(1, "ue4ss\\Mods\\KOVWeekly\\Scripts"),
                   installed(1, "ue4ss\\Mods\\KOVWeekly"), installed(1, "ue4ss"),
                   installed(1, ""), kVerified}));
  for (const char* file : {"dwmapi.dll", "ue4ss/UE4SS.dll", "ue4ss/Mods/.cache/index.bin"}) {
    EXPECT_EQ(readFile(inGame(file)), readFile(inPackage(file))) << file;
  }
}

/// Wine asks the machine below it, which lets its administrator write any file.
bool readOnlyFilesCanBeWritten(const fs::path& file) {
  const HANDLE handle = CreateFileW(file.c_str(), GENERIC_WRITE, FILE_SHARE_READ, nullptr,
                                    OPEN_EXISTING, 0, nullptr);
  if (handle == INVALID_HANDLE_VALUE) return false;
  CloseHandle(handle);
  return true;
}

TEST_F(ModInstall, aReadOnlyFileOfTheGameIsNotReplaced) {
  machine.writePackage();
  machine.installMod();
  writeFile(inPackage(kMain), "-- a new one\n");
  const std::string before = readFile(inGame(kMain)).value();
  setAttributes(inGame(kMain), FILE_ATTRIBUTE_READONLY);
  if (readOnlyFilesCanBeWritten(inGame(kMain))) {
    GTEST_SKIP() << "this user may write read-only files (the administrator under Wine)";
  }
  EXPECT_EQ(maskedLog(play()), logOf({kVerified}));
  EXPECT_EQ(readFile(inGame(kMain)), before);
}

TEST_F(ModInstall, fileAndFolderInEachOthersPlaceAreLeftSilently) {
  machine.writePackage();
  machine.installMod();
  writeFile(inPackage("notes.txt"), "read me\n");
  writeFile(inGame("notes.txt/mine.txt"), "a folder of this name\n");
  writeFile(inPackage("extras/map.png"), "a picture\n");
  writeFile(inGame("extras"), "a file of this name\n");
  EXPECT_EQ(maskedLog(play()), logOf({kVerified}));
  EXPECT_EQ(readFile(inGame("notes.txt/mine.txt")), "a folder of this name\n");
  EXPECT_EQ(readFile(inGame("extras")), "a file of this name\n");
}

TEST_F(ModInstall, sizesAreComparedWithTheirHighWords) {
  constexpr std::int64_t kFiveGigabytes = 5'000'000'000;
  machine.writePackage();
  machine.installMod();
  writeSparse(inPackage("maps.pak"), "same size, other content", kFiveGigabytes);
  writeSparse(inGame("maps.pak"), "installed", kFiveGigabytes);
  const std::string small = "twenty bytes of map\n";
  writeFile(inPackage("levels.pak"), small);
  writeSparse(inGame("levels.pak"), "longer by 4 GB",
              (std::int64_t{1} << 32) + static_cast<std::int64_t>(small.size()));
  EXPECT_EQ(maskedLog(play()), logOf({installed(1, ""), kVerified}));
  EXPECT_EQ(fs::file_size(inGame("maps.pak")), static_cast<std::uintmax_t>(kFiveGigabytes));
  EXPECT_EQ(firstBytes(inGame("maps.pak"), 9), "installed");
  EXPECT_EQ(readFile(inGame("levels.pak")), small);
}

/// Its many files stay: removing them takes Wine twice as long as everything else here. The
/// next stage of this name removes them.
class ModInstallLong : public ModInstall {
 protected:
  ModInstallLong() : ModInstall("atlas") { machine.keepFolder(); }
};

TEST_F(ModInstallLong, tenThousandFilesInAHundredFoldersAreCountedAndCopiedOnce) {
  machine.writePackage();
  machine.installMod();
  Lines lines;
  for (int i = 0; i < 10'000; ++i) {
    const std::string number = std::to_string(10'000 + i).substr(1);
    const fs::path folder = inPackage("ue4ss/Mods/Atlas/" + number.substr(0, 2));
    if (i % 100 == 0) {
      fs::create_directories(folder);
      lines.push_back(installed(100, "ue4ss\\Mods\\Atlas\\" + number.substr(0, 2)));
    }
    std::ofstream(folder / (number + ".lua"), std::ios::binary) << number;
  }
  lines.emplace_back(kVerified);
  EXPECT_EQ(maskedLog(play()), logOf(lines));
  const Lines copied = stage::listFolder(inGame("ue4ss/Mods/Atlas"));
  EXPECT_EQ(copied.size(), 10'000U);
  EXPECT_EQ(copied, stage::listFolder(inPackage("ue4ss/Mods/Atlas")));
  for (const char* name : {"00/0000.lua", "49/4999.lua", "99/9999.lua"}) {
    EXPECT_EQ(readFile(inGame("ue4ss/Mods/Atlas") / name), std::string(name).substr(3, 4));
  }
  EXPECT_EQ(maskedLog(play()), logOf({kVerified}));
}

// When it is skipped -----------------------------------------------------------------------

TEST_F(ModInstall, withoutThePackageSettingNothingIsLoggedOrVerified) {
  set("install_from", "");
  const stage::MessageBoxWatcher boxes;
  EXPECT_EQ(maskedLog(play()), wholeLog({}));
  EXPECT_TRUE(boxes.boxes().empty());
}

TEST_F(ModInstall, aMissingPackageIsSkippedWithoutVerification) {
  const stage::MessageBoxWatcher boxes;
  EXPECT_EQ(maskedLog(play()), wholeLog({.install = {kSkipped}}));
  EXPECT_TRUE(boxes.boxes().empty());
}

TEST_F(ModInstall, aPackageThatIsAFileCopiesNothingAndIsVerifiedAllTheSame) {
  machine.installMod();
  writeFile(machine.package(), "somebody packed it\n");
  EXPECT_EQ(maskedLog(play()), logOf({kVerified}));
}

TEST_F(ModInstall, thePackagePathIsExpanded) {
  set("install_from", "%APPDIR%..\\pkg");
  machine.writePackage();
  machine.installMod();
  fs::remove(inGame("dwmapi.dll"));
  EXPECT_EQ(maskedLog(play()), logOf({installed(1, ""), kVerified}));
}

// What is missing afterwards ---------------------------------------------------------------

TEST_F(ModInstall, aMissingLibraryIsShownInABoxAndTheRunGoesOnBehindIt) {
  machine.writePackage();
  fs::remove(inPackage("dwmapi.dll"));
  stage::MessageBoxWatcher boxes({.close = false});
  stage::LauncherRun run = start({.recordBoxCalls = true});
  ASSERT_TRUE(boxes.waitForBoxes(1));
  const Lines lines = {installed(1, "ue4ss\\Mods\\KOVWeekly\\Scripts"),
                       installed(1, "ue4ss\\Mods\\KOVWeekly"), installed(1, "ue4ss"),
                       "MISSING after install: \\dwmapi.dll", "mod install INCOMPLETE (1 missing)"};
  EXPECT_EQ(run.log(), e2e::asWritten(joined({{e2e::kStartLine, kInstalling}, lines})));
  boxes.closeAll();
  const stage::RunResult result = finish(run);
  EXPECT_EQ(maskedLog(result), logOf(lines));
  EXPECT_EQ(boxes.boxes().size(), 1U);
  const std::string text = incomplete("\\dwmapi.dll\n", textOf(machine.gameFolder()));
  EXPECT_EQ(boxes.boxes()[0].caption, "KOV 周赛");
  EXPECT_EQ(boxes.boxes()[0].icon, "error");
  EXPECT_EQ(boxes.boxes()[0].text, text);
  ASSERT_EQ(result.boxCalls.size(), 1U);
  const stage::BoxCall& call = result.boxCalls[0];
  EXPECT_TRUE(call.wide);
  EXPECT_FALSE(call.owned);
  EXPECT_EQ(call.style, kErrorOnTop);
  EXPECT_EQ(call.caption, "KOV 周赛");
  EXPECT_EQ(call.text, text);
}

TEST_F(ModInstall, anEmptyPackageInAnEmptyGameLacksAllFourInTheirOrder) {
  fs::create_directories(machine.package());
  const stage::MessageBoxWatcher boxes;
  EXPECT_EQ(maskedLog(play()),
            logOf({"MISSING after install: \\dwmapi.dll",
                   "MISSING after install: \\ue4ss\\UE4SS.dll",
                   "MISSING after install: \\ue4ss\\Mods\\KOVWeekly\\Scripts\\main.lua",
                   "MISSING after install: \\ue4ss\\Mods\\KOVWeekly\\enabled.txt",
                   "mod install INCOMPLETE (4 missing)"}));
  ASSERT_EQ(boxes.boxes().size(), 1U);
  EXPECT_EQ(boxes.boxes()[0].text,
            incomplete("\\dwmapi.dll\n\\ue4ss\\UE4SS.dll\n"
                       "\\ue4ss\\Mods\\KOVWeekly\\Scripts\\main.lua\n"
                       "\\ue4ss\\Mods\\KOVWeekly\\enabled.txt\n",
                       textOf(machine.gameFolder())));
}

TEST_F(ModInstall, aFolderOfItsNameCountsAsTheFile) {
  machine.installMod();
  fs::create_directories(machine.package());
  fs::remove(inGame(kEnabled));
  fs::create_directories(inGame(kEnabled));
  EXPECT_EQ(maskedLog(play()), logOf({kVerified}));
}

TEST_F(ModInstall, aGamePathWithoutBackslashIsTakenWhole) {
  const std::string game = stage::replaceAll(textOf(machine.gameExe()), "\\", "/");
  set("game", game);
  machine.writePackage();
  const stage::MessageBoxWatcher boxes;
  EXPECT_EQ(maskedLog(play()),
            logOf({"MISSING after install: \\dwmapi.dll",
                   "MISSING after install: \\ue4ss\\UE4SS.dll",
                   "MISSING after install: \\ue4ss\\Mods\\KOVWeekly\\Scripts\\main.lua",
                   "MISSING after install: \\ue4ss\\Mods\\KOVWeekly\\enabled.txt",
                   "mod install INCOMPLETE (4 missing)"}));
  ASSERT_EQ(boxes.boxes().size(), 1U);
  EXPECT_TRUE(boxes.boxes()[0].text.ends_with("游戏目录：\n" + game));
}

// Code pages -------------------------------------------------------------------------------

/// A library whose name only the ANSI code page at hand knows: the settings and the log hold
/// its bytes, the box shows its characters.
class InAnsiFolder : public ModInstall {
 protected:
  void expectInstalledAndShown(const std::string& libraryName) {
    machine.installGame(machine.root() / stage::pathOf(libraryName), {});
    set("game", stage::toAnsi(textOf(machine.gameExe())));
    set("install_from", stage::toAnsi(textOf(machine.root() / stage::pathOf(libraryName) / "pkg")));
    const fs::path package = machine.root() / stage::pathOf(libraryName) / "pkg";
    writeFile(package / stage::pathOf(libraryName) / "dwmapi.dll", "one level down\n");
    const stage::MessageBoxWatcher boxes;
    EXPECT_EQ(maskedLog(play()),
              logOf({stage::toAnsi(installed(1, libraryName)),
                     "MISSING after install: \\dwmapi.dll",
                     "MISSING after install: \\ue4ss\\UE4SS.dll",
                     "MISSING after install: \\ue4ss\\Mods\\KOVWeekly\\Scripts\\main.lua",
                     "MISSING after install: \\ue4ss\\Mods\\KOVWeekly\\enabled.txt",
                     "mod install INCOMPLETE (4 missing)"}));
    EXPECT_EQ(readFile(machine.gameFolder() / stage::pathOf(libraryName) / "dwmapi.dll"),
              "one level down\n");
    ASSERT_EQ(boxes.boxes().size(), 1U);
    EXPECT_EQ(boxes.boxes()[0].text,
              incomplete("\\dwmapi.dll\n\\ue4ss\\UE4SS.dll\n"
                         "\\ue4ss\\Mods\\KOVWeekly\\Scripts\\main.lua\n"
                         "\\ue4ss\\Mods\\KOVWeekly\\enabled.txt\n",
                         textOf(machine.gameFolder())));
  }
};

class ModInstallAnsi : public InAnsiFolder {};

TEST_F(ModInstallAnsi, westernFolderNamesAreCopiedLoggedAndShown) {
  ASSERT_EQ(stage::ansiCodePage(), 1252U);
  expectInstalledAndShown("jeux d'été");
}

class ModInstallCp936 : public InAnsiFolder {};

TEST_F(ModInstallCp936, chineseFolderNamesAreCopiedLoggedAndShown) {
  ASSERT_EQ(stage::ansiCodePage(), 936U);
  expectInstalledAndShown("游戏库");
}

}  // namespace
