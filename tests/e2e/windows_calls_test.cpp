// What the launcher asks of Windows where no file, request or window shows it: the calls
// themselves, with their arguments, as the built launcher.exe makes them.

#include <gtest/gtest.h>

#include <winsock2.h>
#include <windows.h>
#include <shellapi.h>

#include <cstdint>
#include <cstdio>
#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "rehearsal/stage/debugger.h"
#include "rehearsal/stage/message_boxes.h"
#include "tests/e2e/debugged_run.h"
#include "tests/e2e/libraries_of.h"
#include "tests/e2e/full_run.h"

namespace e2e {
namespace {

using Call = stage::Debugger::Call;

/// Runs the launcher and writes down its own calls of some functions, one line each; calls that
/// Windows' libraries make among themselves are left out.
class WindowsCalls : public UploadTest {
 protected:
  /// The line of a call.
  using Describe = std::string (*)(const stage::Debugger&, const Call&);
  struct Watched {
    const wchar_t* library;
    const char* function;
    Describe describe;
  };

  Lines callsOf(const std::vector<Watched>& watched, const std::wstring& arguments,
                std::uint32_t exitCode = 0) {
    machine.writeIni(settings);
    Lines lines;
    std::optional<stage::Debugger> debugger;
    std::vector<std::pair<const wchar_t*, stage::Debugger::Functions>> functions;
    for (const Watched& each : watched) {
      const auto note = [&lines, &debugger, each](const Call& call) {
        if (debugger->inProgram(call.caller())) lines.push_back(each.describe(*debugger, call));
      };
      functions.push_back({each.library, {{each.function, note}}});
    }
    debugger.emplace(functions);
    SetEnvironmentVariableW(L"LOCALAPPDATA", machine.local().c_str());
    EXPECT_EQ(runDebugged(*debugger, machine.launcher(), 60000, arguments), exitCode);
    return lines;
  }

  static std::string hex(std::uint64_t value) {
    char text[17] = {};
    (void)std::snprintf(text, sizeof text, "%llX", static_cast<unsigned long long>(value));
    return text;
  }
  static std::string hexBytes(std::string_view bytes) {
    std::string all;
    for (const char byte : bytes) {
      const auto value = static_cast<unsigned char>(byte);
      all += (value < 0x10 ? " 0" : " ") + hex(value);
    }
    return all;
  }
};

// --- the timer ------------------------------------------------------------------------------

class TimerCalls : public WindowsCalls {
 protected:
  static std::string socketLine(const stage::Debugger&, const Call& call) {
    return "socket " + std::to_string(call.argument(1)) + " " + std::to_string(call.argument(2)) +
           " " + std::to_string(call.argument(3));
  }
  /// The option, its bytes, and what of an answer, an event and a callback is asked for.
  static std::string optionLine(const stage::Debugger& debugger, const Call& call) {
    const auto size = call.argument<std::uint32_t>(4);
    return "WSAIoctl " + hex(call.argument<std::uint32_t>(2)) + ":" +
           hexBytes(debugger.readText<char>(call.argument(3), size)) + "; " +
           std::to_string(call.argument(5)) + " " +
           std::to_string(call.argument<std::uint32_t>(6)) + " " +
           (call.argument(7) != 0 ? "counted " : "uncounted ") +
           std::to_string(call.argument(8)) + " " + std::to_string(call.argument(9));
  }
  static std::string connectLine(const stage::Debugger& debugger, const Call& call) {
    const auto address = debugger.read<sockaddr_in>(call.argument(2));
    return "connect " + hex(ntohl(address.sin_addr.s_addr)) + ":" +
           std::to_string(ntohs(address.sin_port));
  }
  static std::string sleepLine(const stage::Debugger&, const Call& call) {
    return "Sleep " + std::to_string(call.argument<std::uint32_t>(1));
  }
  static std::string sendLine(const stage::Debugger& debugger, const Call& call) {
    return "send " +
           debugger.readText<char>(call.argument(2), call.argument<std::uint32_t>(3));
  }
  static std::string closeLine(const stage::Debugger&, const Call&) { return "closesocket"; }

  Lines uploadCalls() {
    machine.writeReceipt(stage::finishedRun().text());
    return callsOf({{L"ws2_32.dll", "socket", socketLine},
                    {L"ws2_32.dll", "WSAIoctl", optionLine},
                    {L"ws2_32.dll", "connect", connectLine},
                    {L"kernel32.dll", "Sleep", sleepLine},
                    {L"ws2_32.dll", "send", sendLine},
                    {L"ws2_32.dll", "closesocket", closeLine}},
                   L"--upload");
  }

  // SIO_TCP_INITIAL_RTO: the round trip time as it is (FFFF), no SYN again (FE).
  const Lines kConnects = {"socket 2 1 6", "WSAIoctl 98000011: FF FF FE 00; 0 0 counted 0 0",
                           "connect 7F000001:16834"};
};

TEST_F(TimerCalls, aConnectionAsksForNoFurtherSynAndWaitsBeforeItsCommand) {
  stage::TimerServer timer;
  timer.replyEnded(754.6);
  const auto asks = [&](const std::string& command) {
    return joined({kConnects, {"Sleep 250", "send " + command + "\r\n", "closesocket"}});
  };
  EXPECT_EQ(uploadCalls(), joined({asks("getfinaltime"), asks("getcurrenttimerphase"),
                                   asks("getfinaltime"), asks("getfinaltime")}));
  EXPECT_EQ(timer.connections(), 4U);
}

TEST_F(TimerCalls, aRefusedConnectionIsGivenUpAtOnce) {
  const Lines refused = joined({kConnects, {"closesocket"}});
  EXPECT_EQ(uploadCalls(), joined({refused, refused, refused, refused}));
}

// --- the profile page -----------------------------------------------------------------------

class PageCalls : public WindowsCalls {
 protected:
  static std::string startComLine(const stage::Debugger&, const Call& call) {
    return "CoInitializeEx " + std::to_string(call.argument(1)) + " " +
           std::to_string(call.argument<std::uint32_t>(2));
  }
  static std::string openLine(const stage::Debugger& debugger, const Call& call) {
    const auto page = debugger.read<SHELLEXECUTEINFOA>(call.argument(1));
    const auto text = [&](const char* at) {
      return at ? debugger.readText<char>(reinterpret_cast<std::uint64_t>(at)) : "(none)";
    };
    return "ShellExecuteExA " + std::to_string(page.cbSize) + " " + hex(page.fMask) + " " +
           (page.hwnd ? "owned " : "") + text(page.lpVerb) + " " + text(page.lpFile) + " " +
           text(page.lpParameters) + " " + text(page.lpDirectory) + " " +
           std::to_string(page.nShow);
  }
  static std::string endComLine(const stage::Debugger&, const Call&) { return "CoUninitialize"; }

  Lines pageCalls(const std::wstring& arguments) {
    machine.installBrowser();
    Lines calls = callsOf({{L"ole32.dll", "CoInitializeEx", startComLine},
                           {L"shell32.dll", "ShellExecuteExA", openLine},
                           {L"ole32.dll", "CoUninitialize", endComLine}},
                          arguments);
    EXPECT_TRUE(machine.timeline().waitFor("browser", "open"));
    return calls;
  }
  /// COM for one thread without old exchanges (2 + 4); the page as a whole (0x100) and without
  /// boxes (0x400), opened in a normal window (1).
  static Lines opened(const std::string& address) {
    return {"CoInitializeEx 0 6",
            "ShellExecuteExA 112 500 open " + address + " (none) (none) 1", "CoUninitialize"};
  }
};

TEST_F(PageCalls, profileModeOpensThePageBeforeItEnds) {
  stage::writeFile(machine.data() / "profile_token.txt", "kq7-4821");
  const std::string page = "https://kov-race.example/profile?token=kq7-4821";
  EXPECT_EQ(pageCalls(L"--profile"), opened(page));
  EXPECT_EQ(machine.openedUrls(), Lines{page});
}

TEST_F(PageCalls, aNewCodeOpensThePageInTheSameWay) {
  set("site", "http://127.0.0.1:9");
  server.answer("POST", "/submit", stage::Reply::json("{\"accepted\":true,\"token\":\"k\"}"));
  machine.writeReceipt(stage::finishedRun().text());
  const std::string page = "http://127.0.0.1:9/profile?token=k";
  EXPECT_EQ(pageCalls(L"--upload"), opened(page));
  EXPECT_EQ(machine.openedUrls(), Lines{page});
}

// --- the drives -----------------------------------------------------------------------------

// A box "no disk" would hold the launcher up.
TEST_F(WindowsCalls, missingDisksAreMissingFilesBeforeTheFirstPathIsLookedAt) {
  const Describe mode = [](const stage::Debugger&, const Call& call) {
    return "SetThreadErrorMode " + std::to_string(call.argument<std::uint32_t>(1)) + " " +
           std::to_string(call.argument(2));
  };
  const Describe look = [](const stage::Debugger& debugger, const Call& call) {
    return "GetFileAttributesA " + debugger.readText<char>(call.argument(1));
  };
  set("dryrun", "1");
  set("steam", "X:\\steam.exe");
  set("game", "X:\\game.exe");
  EXPECT_EQ(callsOf({{L"kernel32.dll", "SetThreadErrorMode", mode},
                     {L"kernel32.dll", "GetFileAttributesA", look}},
                    L""),
            (Lines{"SetThreadErrorMode 1 0", "GetFileAttributesA X:\\steam.exe",
                   "GetFileAttributesA X:\\game.exe"}));
}

// --- the message boxes ----------------------------------------------------------------------

class BoxLook : public ::testing::Test {
 protected:
  /// The files of the process's libraries of this name.
  static Lines librariesNamed(std::string_view name, DWORD processId) {
    Lines found;
    for (const std::string& file : librariesOf(processId)) {
      const std::string last = "\\" + std::string(name);
      if (file.size() > last.size() &&
          _stricmp(file.c_str() + file.size() - last.size(), last.c_str()) == 0) {
        found.push_back(file);
      }
    }
    return found;
  }

  stage::Stage machine{"box"};
};

TEST_F(BoxLook, boxesHaveTheLookOfWindows) {
  stage::MessageBoxWatcher player({.close = false});
  machine.writeIni({{"game", "X:\\none.exe"}});
  stage::LauncherRun run = machine.startLauncher();
  ASSERT_TRUE(player.waitForBoxes(1));
  // Common Controls 6 lies in a folder of its own; version 5, without it, in the system's.
  const Lines controls = librariesNamed("comctl32.dll", run.processId());
  ASSERT_EQ(controls.size(), 1U);
  EXPECT_TRUE(stage::isLike(controls[0], "*winsxs*common-controls*_6.0.*")) << controls[0];
  player.closeAll();
  EXPECT_EQ(run.wait().exitCode, 1U);
}

// A start without a box pays nothing for their look.
TEST_F(BoxLook, nothingOfItIsLoadedWithoutABox) {
  stage::RunOptions options;
  options.standardInput.clear();
  options.keepInputOpen = true;
  stage::LauncherRun run = machine.startLauncher("", options);
  ASSERT_TRUE(run.waitForConsole(kEnterPrompt));
  EXPECT_EQ(librariesNamed("kernel32.dll", run.processId()).size(), 1U);
  for (const char* name : {"comctl32.dll", "uxtheme.dll", "user32.dll", "ole32.dll"}) {
    EXPECT_EQ(librariesNamed(name, run.processId()), Lines{}) << name;
  }
  run.endInput();
  EXPECT_EQ(run.wait().exitCode, 1U);
}

}  // namespace
}  // namespace e2e
