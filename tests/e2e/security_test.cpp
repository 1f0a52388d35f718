// What comes from outside stays data: no text of a reply, a receipt, a Steam file, the timer or
// the settings becomes a format, a file's place or a switch of its own, and no library that
// lies beside the launcher is loaded into it.

#include <gtest/gtest.h>

#include <windows.h>
#include <shellapi.h>

#include <cstring>
#include <filesystem>
#include <set>
#include <string>
#include <vector>

#include "rehearsal/stage/stage.h"
#include "tests/e2e/full_run.h"
#include "tests/e2e/libraries_of.h"
#include "tests/e2e/stop_points.h"

namespace e2e {
namespace {

namespace fs = std::filesystem;

// ---- texts -----------------------------------------------------------------------------------

constexpr char kFormat[] = "%s%n%x%5$n";

/// The arguments of a command line as a program gets them.
Lines argumentsOf(const std::string& commandLine) {
  int count = 0;
  LPWSTR* const list = CommandLineToArgvW(stage::toWide(commandLine).c_str(), &count);
  Lines all;
  for (int i = 0; i < count; ++i) all.push_back(stage::toUtf8(list[i]));
  LocalFree(list);
  return all;
}

/// A full run on a machine that says something hostile wherever it can.
class HostileTexts : public FullRunTest {
 protected:
  HostileTexts() {
    const std::string hostile = kFormat;
    data = machine.root() / ("d" + hostile);
    timerFolder = machine.root() / ("t" + hostile);
    stage::writeFile(timerFolder / "settings.cfg",
                     stage::liveSplitSettings({"C:\\" + hostile + ".lsl"}));
    timer.reply("getcurrenttimerphase", hostile);
    for (const char* time : {"getfinaltime", "getlastsplittime", "getcurrenttime"}) {
      timer.reply(time, hostile);
    }
    server.answer("GET", "*", stage::Reply::text(hostile));
    machine.setSteamPath();
    machine.writeLoginUsers({{.persona = "\t" + hostile + "'; ..\\..\\x"}});
    machine.installBrowser();
    withServer();
    set("data", stage::textOf(data));
    set("livesplit", stage::textOf(timerFolder / "LiveSplit.exe"));
    set("site", "http://127.0.0.1:9/" + hostile);
    set("difficulty", hostile);
  }

  [[nodiscard]] RunLog hostileLog() const {
    RunLog log;
    log.player = "steam persona detected: \t" + std::string(kFormat) + "'; ..\\..\\x";
    log.early = {"livesplit layout path fixed to " + stage::textOf(timerFolder) + "\\halvorn.lsl"};
    log.timer = {"livesplit tcp server reachable (phase=" + std::string(kFormat) + ")"};
    log.weekly = weeklyUpdated({});
    return log;
  }

  /// The files below the stage's folder, time stamps masked; what the stage itself keeps there
  /// is left out.
  [[nodiscard]] std::set<std::string> files() const {
    std::set<std::string> all;
    for (const std::string& name : stage::listFolder(machine.root())) {
      if (!name.starts_with("bin\\") && !name.ends_with(".exe") &&
          name.find("Backrooms") == std::string::npos) {
        all.insert(maskStamps(name));
      }
    }
    return all;
  }

  fs::path data;
  fs::path timerFolder;
  stage::TimerServer timer;
};

TEST_F(HostileTexts, acceptedRun) {
  const std::string f = kFormat;
  const std::string token = f + "..\\..\\evil.exe&calc|<>^";
  const std::string reply =
      "{\"accepted\":true,\"rank\":7,\"points\":3,\"token\":\"" + token + "\",\"x\":\"" + f +
      "\"}";
  server.answer("POST", "/submit", stage::Reply::json(reply));
  const std::string splits = "\"splits\":[{\"i\":0,\"map\":\"Level " + f +
                             "\",\"t\":1.5},{\"i\":1,\"map\":\"ENDING:" + f +
                             "\",\"t\":754.56}]";
  const std::string total = "754.560" + f + " --rank 1";
  machine.writeReceipt("{\"status\":\"" + f + "\"," + splits + ",\"ending\":\"" + f +
                       "\",\"total\":" + total + ",\"difficulty\":\"" + f + "\"}");
  const std::set<std::string> before = files();

  const stage::RunResult run = play();

  RunLog log = hostileLog();
  log.receipt = archived("ending=\"" + f + "\" total=" + total + " status=\"" + f + "\"",
                         stage::textOf(data));
  log.upload = {kNoProbe,
                "livesplit phase: " + f,
                "ending inferred from splits: main (map=ENDING:" + f + " t=754.56)",
                kReceiptTime,
                "profile token saved",
                kPageOpened,
                "upload response: " + reply};
  log.result = {kDelivered, kCardOk};
  EXPECT_EQ(maskedLog(run), wholeLog(log));

  EXPECT_EQ(bodies(server, "/submit"),
            Lines{"{\"player\":\"\t" + f + "'; ..\\..\\x\",\"playerId\":\"76561198000000001\"," +
                  "\"status\":\"ending\"," + splits + ",\"ending\":\"main\",\"total\":" + total +
                  ",\"difficulty\":\"" + f + "\"}"});
  EXPECT_EQ(stage::readFile(data / "profile_token.txt"), token);

  ASSERT_TRUE(machine.timeline().waitFor("browser", "open"));
  EXPECT_EQ(machine.openedUrls(), Lines{"http://127.0.0.1:9/" + f + "/profile?token=" + token});

  // The total of a receipt is the one text that reaches the card outside of quotes.
  EXPECT_EQ(machine.timeline().events("card", "start").back().text,
            "\"" + stage::textOf(machine.app() / "kov_result.exe") +
                "\" --ok 1 --kind ok --total " + total + " --difficulty " + f +
                " --ending main --rank 7 --points 3 --msg \"login code: " + token + "\"");

  std::set<std::string> expected = before;
  expected.erase("receipt.json");
  expected.erase("data\\");
  const std::string folder = "d" + f + "\\";
  for (const char* name :
       {"board.toggle", "board.tsv", "board.txt", "board_data.txt", "board_en.txt", "launch.state",
        "leaderboard.json", "profile_opened.flag", "profile_token.txt",
        "receipts\\receipt_YYYYMMDD_hhmmss.json", "timer.enabled", "upload.state", "week.json"}) {
    expected.insert(folder + name);
  }
  expected.insert("app\\launcher.log");
  expected.insert("data\\");
  expected.insert("app\\launcher.ini");
  expected.insert("timeline.txt");
  EXPECT_EQ(files(), expected);
}

// The error's text ends at its first quote, so it cannot end the card's message, and the text
// after it keeps a backslash off the closing quote.
TEST_F(HostileTexts, refusedRun) {
  const std::string error = std::string(kFormat) + " --kind ok --ok 1 --msg x\\\\";
  const std::string reply = "{\"accepted\":false,\"error\":\"" + error + "\" --kind ok\"}";
  server.answer("POST", "/submit", stage::Reply::json(reply));
  machine.writeReceipt(stage::finishedRun().text());

  const stage::RunResult run = play();

  RunLog log = hostileLog();
  log.receipt = archived(kFinishedSummary, stage::textOf(data));
  log.upload = {kNoProbe,
                "livesplit phase: " + std::string(kFormat),
                kEndingMain,
                kReceiptTime,
                kNormal,
                "upload response: " + reply};
  log.result = queued(stage::textOf(data));
  EXPECT_EQ(maskedLog(run), wholeLog(log));

  Lines arguments = argumentsOf(machine.timeline().events("card", "start").back().text);
  EXPECT_EQ(arguments,
            (Lines{stage::textOf(machine.app() / "kov_result.exe"), "--ok", "0", "--kind", "fail",
                   "--total", "754.560", "--difficulty", "normal", "--ending", "main", "--rank",
                   "0", "--points", "0", "--msg",
                   error + ". Result saved locally - it will retry next launch."}));
}

// ---- planted libraries -----------------------------------------------------------------------

/// A library of one empty section, without code and exports.
std::string emptyLibrary() {
  constexpr DWORD kInFile = 512;
  constexpr DWORD kInMemory = 4096;
  struct {
    IMAGE_DOS_HEADER dos{};
    IMAGE_NT_HEADERS64 nt{};
    IMAGE_SECTION_HEADER section{};
  } headers;
  headers.dos.e_magic = IMAGE_DOS_SIGNATURE;
  headers.dos.e_lfanew = sizeof headers.dos;
  headers.nt.Signature = IMAGE_NT_SIGNATURE;
  headers.nt.FileHeader.Machine = IMAGE_FILE_MACHINE_AMD64;
  headers.nt.FileHeader.NumberOfSections = 1;
  headers.nt.FileHeader.SizeOfOptionalHeader = sizeof headers.nt.OptionalHeader;
  headers.nt.FileHeader.Characteristics =
      IMAGE_FILE_EXECUTABLE_IMAGE | IMAGE_FILE_LARGE_ADDRESS_AWARE | IMAGE_FILE_DLL;
  IMAGE_OPTIONAL_HEADER64& optional = headers.nt.OptionalHeader;
  optional.Magic = IMAGE_NT_OPTIONAL_HDR64_MAGIC;
  optional.ImageBase = 0x180000000;
  optional.SectionAlignment = kInMemory;
  optional.FileAlignment = kInFile;
  optional.MajorSubsystemVersion = 6;
  optional.SizeOfImage = 2 * kInMemory;
  optional.SizeOfHeaders = kInFile;
  optional.Subsystem = IMAGE_SUBSYSTEM_WINDOWS_CUI;
  optional.DllCharacteristics =
      IMAGE_DLLCHARACTERISTICS_DYNAMIC_BASE | IMAGE_DLLCHARACTERISTICS_NX_COMPAT;
  optional.NumberOfRvaAndSizes = IMAGE_NUMBEROF_DIRECTORY_ENTRIES;
  std::memcpy(headers.section.Name, ".data", 5);
  headers.section.Misc.VirtualSize = kInFile;
  headers.section.VirtualAddress = kInMemory;
  headers.section.SizeOfRawData = kInFile;
  headers.section.PointerToRawData = kInFile;
  headers.section.Characteristics = IMAGE_SCN_CNT_INITIALIZED_DATA | IMAGE_SCN_MEM_READ;
  std::string bytes(std::size_t{2} * kInFile, '\0');
  std::memcpy(bytes.data(), &headers, sizeof headers);
  return bytes;
}

/// A launcher beside which a library of every name lies that Windows' own folder has, but for
/// those that are loaded before a program's first instruction: Windows takes these from its
/// own folder whatever lies beside the program. (Below Wine a plant that is found is replaced
/// by Wine's own library of that name, under the plant's path, so that the path tells.)
class PlantedLibraries : public FullRunTest {
 protected:
  PlantedLibraries() : FullRunTest("plant") {
    SetEnvironmentVariableW(L"LOCALAPPDATA", machine.local().c_str());
    machine.endPrograms();
    server.clearAnswers();  // hands out a login code, whose page is opened
    fs::remove(machine.app() / "kov_result.exe");  // the launcher alone is looked at here
    plant();
    machine.setSteamPath();
    machine.writeLoginUsers();
    machine.installBrowser();
    withServer();
    machine.writeReceipt(stage::finishedRun().text());
    machine.writeIni(settings);
  }

  void plant() {
    const std::set<std::string> first = {"ntdll.dll", "kernel32.dll", "kernelbase.dll",
                                         "msvcrt.dll"};
    const std::string bytes = emptyLibrary();
    wchar_t system[MAX_PATH] = {};
    GetSystemDirectoryW(system, MAX_PATH);
    for (const auto& entry : fs::directory_iterator(system)) {
      const std::string name = stage::textOf(entry.path().filename());
      if (!name.ends_with(".dll") || first.contains(name)) continue;
      stage::writeFile(machine.app() / entry.path().filename(), bytes);
      ++planted;
    }
  }

  /// Runs the launcher; the libraries that it had at any stop and that lie beside it.
  std::set<std::string> run(const std::wstring& arguments) {
    const std::string beside = stage::textOf(machine.app()) + "\\";
    std::set<std::string> loaded;
    StopPoints launcher(machine.launcher(), machine.root() / "console.txt", arguments);
    result = launcher.work([&](const Stop&) {
      for (const std::string& file : librariesOf(launcher.processId())) {
        if (_strnicmp(file.c_str(), beside.c_str(), beside.size()) == 0) loaded.insert(file);
        everLoaded.insert(file.substr(file.rfind('\\') + 1));
      }
      return false;
    }, 30000);
    EXPECT_FALSE(result.hang);
    loaded.erase(stage::textOf(machine.launcher()));
    // Wine's own libraries load these three for themselves, by a way that no rule of the process
    // reaches; Windows' own take theirs from the system's folder.
    if (stage::runsUnderWine()) {
      for (const char* name : {"bcrypt.dll", "crypt32.dll", "msimg32.dll"}) {
        loaded.erase(beside + name);
      }
    }
    return loaded;
  }

  std::size_t planted = 0;
  StoppedRun result;
  std::set<std::string> everLoaded;  ///< names
};

// So the plants are there, and they are what such a load would get.
TEST_F(PlantedLibraries, plainLoadTakesThem) {
  EXPECT_GT(planted, 300U);
  SetDllDirectoryW(machine.app().c_str());
  ASSERT_EQ(GetModuleHandleW(L"msacm32.dll"), nullptr);  // this program has not loaded it
  const HMODULE library = LoadLibraryW(L"msacm32.dll");
  wchar_t path[MAX_PATH] = {};
  GetModuleFileNameW(library, path, MAX_PATH);
  EXPECT_EQ(stage::textOf(fs::path(path).parent_path()), stage::textOf(machine.app()));
  FreeLibrary(library);
}

TEST_F(PlantedLibraries, uploadModeLoadsNoneOfThem) {
  EXPECT_EQ(run(L"--upload"), std::set<std::string>{});
  EXPECT_EQ(result.exitCode, 0U);
  for (const char* name : {"winhttp.dll", "ws2_32.dll", "advapi32.dll", "shell32.dll"}) {
    EXPECT_TRUE(everLoaded.contains(name)) << name;  // the real ones
  }
  EXPECT_EQ(linesOf(machine.logBytes()).back(), kUploadModeOk);
}

TEST_F(PlantedLibraries, fullRunLoadsNoneOfThem) {
  const stage::MessageBoxWatcher player;  // no card: a box shows the result
  machine.setGame({.waitsForLauncher = true, .waitMs = 0});
  machine.startGame();
  EXPECT_EQ(run(L""), std::set<std::string>{});
  EXPECT_EQ(result.exitCode, 0U);
  for (const char* name :
       {"winhttp.dll", "ws2_32.dll", "advapi32.dll", "shell32.dll", "user32.dll"}) {
    EXPECT_TRUE(everLoaded.contains(name)) << name;
  }
  EXPECT_EQ(linesOf(machine.logBytes()).back(), kDoneLine);
  EXPECT_EQ(player.boxes().size(), 1U);
}

}  // namespace
}  // namespace e2e
