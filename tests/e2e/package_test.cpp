// The zip that players download: what it holds, and whole races played from it. The zip is
// named by the environment variable KOV_PACKAGE; without it, it is the newest one in dist/.

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <windows.h>

#include <algorithm>
#include <atomic>
#include <cstring>
#include <filesystem>
#include <string>
#include <thread>
#include <vector>

#include "rehearsal/package/package_check.h"
#include "rehearsal/package/settings_check.h"
#include "rehearsal/package/sha256_win.h"
#include "rehearsal/package/zip_file.h"
#include "rehearsal/stage/stage.h"
#include "tests/e2e/support.h"

namespace {

namespace fs = std::filesystem;
using ::testing::ElementsAre;
using ::testing::EndsWith;
using ::testing::HasSubstr;
using ::testing::Not;

/// A path of the machine below Wine as Wine sees it; any other path as it is.
fs::path windowsPath(const std::string& text) {
  return stage::pathOf(text.starts_with('/') ? "Z:" + text : text).make_preferred();
}

/// The zip to test; empty when there is none.
fs::path packageZip() {
  if (const auto named = stage::environmentText("KOV_PACKAGE"); named && !named->empty()) {
    return windowsPath(*named);
  }
  fs::path newest;
  std::error_code error;
  for (const auto& entry : fs::directory_iterator(windowsPath(KOV_SOURCE_DIR "/dist"), error)) {
    const std::string name = stage::textOf(entry.path().filename());
    if (!stage::isLike(name, "kov-race-launcher-*.zip")) continue;
    if (newest.empty() || entry.last_write_time() > fs::last_write_time(newest)) {
      newest = entry.path();
    }
  }
  return newest;
}

/// The zip unpacked on a stage of its own.
class Package : public ::testing::Test {
 protected:
  Package() : Package("race") {}
  explicit Package(std::string_view folder) : unpacked(machine.root() / stage::pathOf(folder)) {}

  void SetUp() override {
    zip = packageZip();
    ASSERT_FALSE(zip.empty()) << "there is no zip in dist; scripts/package makes it";
    rehearsal::unpackZip(zip, unpacked);
  }

  [[nodiscard]] fs::path folder() const { return unpacked / "KOV-Race"; }
  [[nodiscard]] fs::path launcherFolder() const { return folder() / "launcher"; }
  [[nodiscard]] std::string bytesOf(const std::string& name) const {
    return stage::readFile(folder() / stage::pathOf(name)).value_or("");
  }

  stage::Stage machine{"pkg"};
  fs::path zip;
  fs::path unpacked;
};

// What it holds ----------------------------------------------------------------------------

TEST_F(Package, holdsExactlyTheExpectedFiles) {
  EXPECT_THAT(stage::listFolder(unpacked),
              ElementsAre("KOV-Race\\LICENSE.txt", "KOV-Race\\SHA256SUMS", "KOV-Race\\data\\",
                          "KOV-Race\\launcher\\kov_check.exe",
                          "KOV-Race\\launcher\\kov_result.exe",
                          "KOV-Race\\launcher\\launcher.exe",
                          "KOV-Race\\launcher\\launcher.ini", "KOV-Race\\livesplit\\README.txt",
                          "KOV-Race\\mod-README.txt", "KOV-Race\\mod\\",
                          "KOV-Race\\player-guide.html"));
}

TEST_F(Package, sumsAreThoseOfEveryFile) {
  std::string wanted;
  for (const std::string& name : stage::listFolder(folder())) {
    if (name == "SHA256SUMS" || name.ends_with('\\')) continue;
    wanted += rehearsal::sha256(bytesOf(name)) + "  " + stage::replaceAll(name, "\\", "/") + "\n";
  }
  EXPECT_EQ(bytesOf("SHA256SUMS"), wanted);
}

TEST(Sha256, isTheStandardsOwn) {
  EXPECT_EQ(rehearsal::sha256("abc"),
            "ba7816bf8f01cfea414140de5dae2223b00361a396177a9cb410ff61f20015ad");
}

/// A resource of a program, "" when it has none of that kind and number.
std::string resourceOf(const fs::path& program, const wchar_t* kind) {
  const HMODULE module = LoadLibraryExW(program.c_str(), nullptr, LOAD_LIBRARY_AS_DATAFILE);
  std::string bytes;
  if (const HRSRC found = FindResourceW(module, MAKEINTRESOURCEW(1), kind)) {
    const auto* data = static_cast<const char*>(LockResource(LoadResource(module, found)));
    bytes.assign(data, SizeofResource(module, found));
  }
  FreeLibrary(module);
  return bytes;
}

/// The text as written in a version resource.
std::string asWideBytes(const std::string& text) {
  const std::wstring wide = stage::toWide(text);
  return {reinterpret_cast<const char*>(wide.data()), wide.size() * sizeof(wchar_t)};
}

/// "1.0.0" in the fixed part of a version resource; "" when it has none.
std::string versionOf(const std::string& resource) {
  const std::size_t at = resource.find("\xBD\x04\xEF\xFE");
  if (at == std::string::npos || resource.size() - at < sizeof(VS_FIXEDFILEINFO)) return {};
  VS_FIXEDFILEINFO info;
  std::memcpy(&info, resource.data() + at, sizeof info);
  return std::to_string(HIWORD(info.dwFileVersionMS)) + "." +
         std::to_string(LOWORD(info.dwFileVersionMS)) + "." +
         std::to_string(HIWORD(info.dwFileVersionLS));
}

TEST_F(Package, programsTellWindowsWhatTheyAre) {
  for (const auto& [name, english, chinese, pictures] :
       {std::tuple("launcher.exe", "KOV race launcher", "KOV 周赛启动器", 4),
        std::tuple("kov_result.exe", "KOV race result card", "KOV 周赛成绩卡", 4),
        std::tuple("kov_check.exe", "KOV race check", "KOV 周赛检查", 3)}) {
    SCOPED_TRACE(name);
    const fs::path program = launcherFolder() / name;
    const std::string version = resourceOf(program, RT_VERSION);
    EXPECT_THAT(version, HasSubstr(asWideBytes(english)));
    EXPECT_THAT(version, HasSubstr(asWideBytes(chinese)));
    // The zip's name says the same version.
    const std::string zipName = stage::textOf(zip.filename());
    const std::string number = versionOf(version);
    EXPECT_TRUE(stage::isLike(zipName, "kov-race-launcher-" + number + ".zip") ||
                stage::isLike(zipName, "kov-race-launcher-" + number + "-*.zip"))
        << zipName << " has programs of version " << number;
    EXPECT_THAT(version, HasSubstr(asWideBytes(number)));
    // A group of icons: two reserved numbers, then how many there are.
    const std::string icons = resourceOf(program, RT_GROUP_ICON);
    ASSERT_GE(icons.size(), 6U);
    EXPECT_EQ(icons[4], pictures);
    const std::string manifest = resourceOf(program, RT_MANIFEST);
    EXPECT_THAT(manifest, HasSubstr("level=\"asInvoker\""));
    EXPECT_THAT(manifest, HasSubstr("8e0f7a12-bfb3-4fe8-b9a5-48fd50a15a9a"));  // Windows 10, 11
    EXPECT_THAT(manifest, Not(HasSubstr("activeCodePage")));
  }
  EXPECT_THAT(resourceOf(launcherFolder() / "launcher.exe", RT_MANIFEST),
              Not(HasSubstr("longPathAware")));
}

TEST_F(Package, programsStaySmall) {
  EXPECT_LE(bytesOf("launcher\\launcher.exe").size(), 300U * 1024);
  EXPECT_LE(bytesOf("launcher\\kov_check.exe").size(), 300'000U);
}

TEST_F(Package, settingsHaveEveryKeyOnceAndNothingToComplainAbout) {
  const std::string ini = bytesOf("launcher\\launcher.ini");
  for (const std::string key :
       {"game", "receipt", "data", "server", "steam", "appid", "player", "difficulty", "timer",
        "install_from", "dryrun", "livesplit", "livesplit_lss", "site"}) {
    EXPECT_THAT(ini, HasSubstr("\r\n" + key + "=")) << key;
  }
  std::vector<std::string> complaints;
  for (const rehearsal::Finding& finding : rehearsal::checkSettings(ini)) {
    if (finding.state == rehearsal::Finding::State::failed) complaints.push_back(finding.what);
  }
  // The organiser writes these two.
  EXPECT_THAT(complaints, ElementsAre("server is \"https://kov-race.example\"",
                                      "site is \"https://kov-race.example\""));
}

TEST_F(Package, textsCanBeReadByAnyWindowsEditor) {
  for (const std::string name :
       {"LICENSE.txt", "mod-README.txt", "livesplit\\README.txt", "launcher\\launcher.ini"}) {
    SCOPED_TRACE(name);
    const std::string text = bytesOf(name);
    EXPECT_TRUE(stage::isUtf8(text));
    EXPECT_GT(text.size(), 500U);
    EXPECT_EQ(stage::replaceAll(stage::replaceAll(text, "\r\n", "\n"), "\n", "\r\n"), text);
  }
}

TEST_F(Package, guideIsOnePageWithItsPicturesInside) {
  const std::string page = bytesOf("player-guide.html");
  EXPECT_TRUE(page.starts_with("\xEF\xBB\xBF<!DOCTYPE html>"));
  EXPECT_TRUE(stage::isUtf8(page));
  EXPECT_THAT(page, HasSubstr("<meta charset=\"utf-8\">"));
  for (std::size_t at = page.find("src=\""); at != std::string::npos;
       at = page.find("src=\"", at + 1)) {
    EXPECT_EQ(page.substr(at, 27), "src=\"data:image/png;base64,");
  }
}

// Races played from it -----------------------------------------------------------------------

/// A player who reads the result card and closes it.
class CardReader {
 public:
  CardReader() : thread_([this] { read(); }) {}
  ~CardReader() {
    stop_ = true;
    thread_.join();
  }
  /// How many result cards were closed.
  [[nodiscard]] int closed() const { return closed_; }

 private:
  void read() {
    HWND last = nullptr;
    while (!stop_) {
      Sleep(100);
      const HWND card = FindWindowW(L"KovResultCard", nullptr);
      if (card == nullptr || card == last || !IsWindowVisible(card)) continue;
      last = card;
      ++closed_;
      PostMessageW(card, WM_CLOSE, 0, 0);
    }
  }

  std::atomic<bool> stop_ = false;
  std::atomic<int> closed_ = 0;
  std::thread thread_;
};

/// The package as an organiser fills it: the server in launcher.ini, the mod, LiveSplit with
/// its layout and the splits. Everything else is as it was unpacked.
class PackageRace : public Package {
 protected:
  using Package::Package;

  void SetUp() override {
    ASSERT_NO_FATAL_FAILURE(Package::SetUp());
    machine.installGame();
    machine.installSteam();
    machine.writeLibraryFolders();
    machine.writeLoginUsers();
    machine.installBrowser();
    machine.writePackage();
    copyInto(machine.package(), "mod");
    stage::LiveSplitScript timer;
    timer.phase = "Ended";
    timer.finalTime = timer.lastSplit = timer.currentTime = 754.6;
    machine.installLiveSplit(timer);
    copyInto(machine.liveSplitFolder(), "livesplit");
    const fs::path ini = launcherFolder() / "launcher.ini";
    stage::writeFile(ini, rehearsal::withSettings(stage::readFile(ini).value_or(""),
                                                  {{"server", server.url()}}));
  }

  void copyInto(const fs::path& from, const std::string& name) {
    rehearsal::copyTree(from, folder() / name);
  }

  /// One race: the launcher of the package, with its own card program.
  stage::RunResult race() {
    stage::GameScript run;
    run.writes.push_back({folder() / "data" / "receipt.json", stage::finishedRun().text()});
    run.untilEnded = true;
    machine.setGame(run);
    stage::RunOptions options;
    options.environment["LOCALAPPDATA"] = stage::textOf(machine.local());
    options.currentFolder = launcherFolder();
    const CardReader player;
    stage::LauncherRun launcher(launcherFolder() / "launcher.exe", {}, options);
    if (launcher.waitForLog("waiting for exit...")) machine.endGame();
    stage::RunResult result = launcher.wait();
    EXPECT_EQ(player.closed(), 1);
    return result;
  }

  void expectAccepted(const stage::RunResult& run, std::size_t submissions) {
    EXPECT_FALSE(run.hang);
    EXPECT_EQ(run.exitCode, 0U);
    EXPECT_TRUE(run.hasLogLine("mod install verified OK (4/4 files)")) << run.log;
    EXPECT_TRUE(run.hasLogLine("steam persona detected: 竞速玩家")) << run.log;
    EXPECT_THAT(run.log, HasSubstr("livesplit tcp server reachable (phase=Ended)"));
    EXPECT_THAT(run.log, HasSubstr("livesplit time used: 754.60 (receipt said 754.560)"));
    EXPECT_TRUE(run.hasLogLine("profile token saved")) << run.log;
    EXPECT_TRUE(run.hasLogLine("stage: upload done (ok=1)")) << run.log;
    EXPECT_TRUE(run.hasLogLine("result card: kind=ok ok=1")) << run.log;
    EXPECT_TRUE(run.hasLogLine(e2e::kDoneLine)) << run.log;
    const std::vector<stage::Request> sent = server.requests("POST", "/submit");
    ASSERT_EQ(sent.size(), submissions);
    EXPECT_THAT(sent.back().body, HasSubstr("{\"player\":\"竞速玩家\","));
    EXPECT_THAT(sent.back().body, HasSubstr("\"total\":754.60,"));
  }

  /// Two races: the login code of the first is known in the second, and the page that the
  /// code opens has been seen.
  void playTwice() {
    const stage::RunResult first = race();
    expectAccepted(first, 1);
    EXPECT_THAT(first.log, Not(HasSubstr("profile token preloaded")));
    EXPECT_TRUE(first.hasLogLine("opened profile page (first time)")) << first.log;
    EXPECT_EQ(bytesOf("data\\profile_token.txt"), "kq7-4821");

    const stage::RunResult second = race();
    expectAccepted(second, 2);
    EXPECT_TRUE(second.hasLogLine("profile token preloaded (8 bytes)")) << second.log;
    EXPECT_THAT(second.log, Not(HasSubstr("opened profile page")));
    machine.endLiveSplit();
    machine.endPrograms();
  }

  stage::RaceServer server{{.timeline = machine.timeline()}};
};

TEST_F(PackageRace, savedLoginCodeIsKnownInTheNextRun) {
  playTwice();
  EXPECT_THAT(machine.openedUrls(),
              ElementsAre("https://kov-race.example/profile?token=kq7-4821"));
  // The layout and the splits of the package are what LiveSplit was given.
  const std::string timer = stage::textOf(folder() / "livesplit");
  const std::string appDir = stage::textOf(launcherFolder()) + "\\..\\livesplit";
  const std::vector<stage::Event> starts = machine.timeline().events("livesplit", "start");
  ASSERT_FALSE(starts.empty());
  EXPECT_EQ(starts.front().text,
            "\"" + appDir + "\\LiveSplit.exe\" \"" + appDir + "\\race.lss\"");
  EXPECT_THAT(bytesOf("livesplit\\settings.cfg"), HasSubstr(appDir + "\\halvorn.lsl"));
}

TEST_F(PackageRace, filledPackagePassesTheOrganisersCheck) {
  const fs::path ini = launcherFolder() / "launcher.ini";
  stage::writeFile(ini, rehearsal::withSettings(stage::readFile(ini).value_or(""),
                                                {{"site", "https://race.test"}}));
  stage::writeFile(folder() / "livesplit" / "settings.cfg",
                   stage::replaceAll(stage::liveSplitSettings({"halvorn.lsl"}, "race.lss"),
                                     "<ServerStartup>0", "<ServerStartup>1"));
  const rehearsal::Findings findings =
      rehearsal::checkPackage(rehearsal::openPackage(unpacked, {}));
  EXPECT_TRUE(rehearsal::noneFailed(findings)) << rehearsal::asLines(findings);
  // Only where a player unpacks it cannot be known.
  EXPECT_THAT(rehearsal::summary(findings),
              EndsWith(" 0 failed, 1 cannot be seen from here."));
}

/// Unpacked where a Chinese player may put it; each byte of the name matters to code page 936.
class PackageRaceCp936 : public PackageRace {
 protected:
  PackageRaceCp936() : PackageRace("周赛 启动器 (中 文)") {}
};

TEST_F(PackageRaceCp936, playsFromAFolderWithChineseCharactersAndBlanks) {
  ASSERT_EQ(stage::ansiCodePage(), 936U);
  playTwice();
}

}  // namespace
