#include <gtest/gtest.h>

#include <windows.h>

#include "tests/e2e/full_run.h"

namespace {

using e2e::HeldFile;
using e2e::joined;
using e2e::kInstalling;
using e2e::kModVerified;
using e2e::Lines;
using e2e::maskedLog;
using stage::readFile;
using stage::textOf;
using stage::writeFile;
namespace fs = std::filesystem;

constexpr char kMain[] = "ue4ss/Mods/KOVWeekly/Scripts/main.lua";
constexpr char kEnabled[] = "ue4ss/Mods/KOVWeekly/enabled.txt";
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
  for (int i = 0; i < 150; ++i) {  // more than one answer of a listing
    writeFile(inPackage("ue4ss/Mods/Atlas/" + std::to_string(1000 + i) + ".lua"),
              std::to_string(i));
  }
  fs::create_directories(inPackage("ue4ss/Mods/shared/Types"));
  EXPECT_EQ(
      maskedLog(play()),
      logOf({installed(150, "ue4ss\\Mods\\Atlas"), installed(2, "ue4ss\\Mods\\KOVWeekly\\Scripts"),
             installed(1, "ue4ss\\Mods\\KOVWeekly"), installed(1, "ue4ss\\Mods\\shared\\UEHelpers"),
             installed(1, "ue4ss\\Mods"), installed(2, "ue4ss"), installed(1, ""), kModVerified}));
  Lines both = stage::listFolder(machine.package());
  both.insert(both.begin(), {"Backrooms-Win64-Shipping.exe", "Backrooms-Win64-Shipping.json"});
  EXPECT_EQ(stage::listFolder(machine.gameFolder()), both);
  for (const std::string& file : stage::listFolder(machine.package())) {
    if (file.ends_with('\\')) continue;
    EXPECT_EQ(readFile(inGame(file)), readFile(inPackage(file))) << file;
  }
  EXPECT_EQ(readFile(inGame("ue4ss/UE4SS.dll")), binary);
  // All is there: the second time nothing is copied.
  EXPECT_EQ(maskedLog(play()), logOf({kModVerified}));
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
    EXPECT_EQ(maskedLog(play()), logOf({installed(1, ""), kModVerified}));
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
  EXPECT_EQ(maskedLog(play()), logOf({installed(1, "ue4ss\\Mods\\.cache"),
                                      installed(1, "ue4ss\\Mods\\KOVWeekly\\Scripts"),
                                      installed(1, "ue4ss\\Mods\\KOVWeekly"), installed(1, "ue4ss"),
                                      installed(1, ""), kModVerified}));
  for (const char* file : {"dwmapi.dll", "ue4ss/UE4SS.dll", "ue4ss/Mods/.cache/index.bin"}) {
    EXPECT_EQ(readFile(inGame(file)), readFile(inPackage(file))) << file;
  }
}

/// Wine asks the machine below it, which lets its administrator write any file.
bool readOnlyFilesCanBeWritten(const fs::path& file) {
  const HANDLE handle =
      CreateFileW(file.c_str(), GENERIC_WRITE, FILE_SHARE_READ, nullptr, OPEN_EXISTING, 0, nullptr);
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
  EXPECT_EQ(maskedLog(play()), logOf({kModVerified}));
  EXPECT_EQ(readFile(inGame(kMain)), before);
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
    EXPECT_EQ(
        maskedLog(play()),
        logOf({stage::toAnsi(installed(1, libraryName)), "MISSING after install: \\dwmapi.dll",
               "MISSING after install: \\ue4ss\\UE4SS.dll",
               "MISSING after install: \\ue4ss\\Mods\\KOVWeekly\\Scripts\\main.lua",
               "MISSING after install: \\ue4ss\\Mods\\KOVWeekly\\enabled.txt",
               "mod install INCOMPLETE (4 missing)"}));
    EXPECT_EQ(readFile(machine.gameFolder() / stage::pathOf(libraryName) / "dwmapi.dll"),
              "one level down\n");
    ASSERT_EQ(boxes.boxes().size(), 1U);
    EXPECT_EQ(boxes.boxes()[0].text, incomplete("\\dwmapi.dll\n\\ue4ss\\UE4SS.dll\n"
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
