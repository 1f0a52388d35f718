#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <windows.h>

#include <aclapi.h>

#include <optional>

#include "rehearsal/stage/win_handle.h"
#include "tests/e2e/support.h"

namespace {

using e2e::asWritten;
using e2e::joined;
using e2e::kDoneLine;
using e2e::kEnterPrompt;
using e2e::kStartLine;
using e2e::Lines;
using stage::textOf;
using testing::EndsWith;
using testing::StartsWith;

constexpr char kNobody[] = "detected persona bytes: (none)";

/// A launcher whose console is a pipe that takes one write at a time and keeps each write
/// apart: the launcher stands still in a write until somebody reads it.
class WriteByWrite {
 public:
  WriteByWrite(const std::filesystem::path& program, std::wstring_view arguments) {
    constexpr wchar_t kName[] = L"\\\\.\\pipe\\kov-log-test";
    constexpr DWORD kLongestWrite = 1 << 20;
    pipe_ = stage::ownHandle(CreateNamedPipeW(
        kName, PIPE_ACCESS_INBOUND | FILE_FLAG_FIRST_PIPE_INSTANCE,
        PIPE_TYPE_MESSAGE | PIPE_READMODE_MESSAGE | PIPE_WAIT, 1, 0, 0, 0, nullptr));
    EXPECT_TRUE(pipe_);
    buffer_.resize(kLongestWrite);
    SECURITY_ATTRIBUTES inheritable{sizeof inheritable, nullptr, TRUE};
    const stage::WinHandle console = stage::ownHandle(
        CreateFileW(kName, GENERIC_WRITE, 0, &inheritable, OPEN_EXISTING, 0, nullptr));
    EXPECT_TRUE(console);
    STARTUPINFOW startup{};
    startup.cb = sizeof startup;
    startup.dwFlags = STARTF_USESTDHANDLES;
    startup.hStdOutput = startup.hStdError = console.get();
    PROCESS_INFORMATION info{};
    std::wstring commandLine = L"\"" + program.wstring() + L"\" " + std::wstring(arguments);
    EXPECT_TRUE(CreateProcessW(nullptr, commandLine.data(), nullptr, nullptr, TRUE,
                               CREATE_NO_WINDOW, nullptr, program.parent_path().c_str(), &startup,
                               &info));
    CloseHandle(info.hThread);
    process_ = stage::ownHandle(info.hProcess);
  }
  ~WriteByWrite() {
    if (WaitForSingleObject(process_.get(), 0) != WAIT_OBJECT_0) {
      TerminateProcess(process_.get(), 1);
    }
  }
  WriteByWrite(const WriteByWrite&) = delete;
  WriteByWrite& operator=(const WriteByWrite&) = delete;

  /// The bytes of the next single write; nothing when the launcher has ended.
  std::optional<std::string> next() {
    DWORD got = 0;
    if (!ReadFile(pipe_.get(), buffer_.data(), static_cast<DWORD>(buffer_.size()), &got, nullptr)) {
      return std::nullopt;
    }
    return buffer_.substr(0, got);
  }

 private:
  stage::WinHandle pipe_;
  stage::WinHandle process_;
  std::string buffer_;
};

/// Waits until the log holds exactly this.
bool logBecomes(const stage::Stage& machine, const std::string& wanted) {
  for (int tries = 0; tries < 1000; ++tries) {
    if (machine.logBytes() == wanted) return true;
    Sleep(5);
  }
  return false;
}

TEST(Log, aSecondRunAppendsToTheFirst) {
  stage::Stage machine("log");
  (void)machine.runLauncher("--detect");
  (void)machine.runLauncher("--upload");
  EXPECT_EQ(machine.logBytes(),
            asWritten({kStartLine, kNobody, kStartLine, "=== upload-only mode ===",
                       "livesplit probe failed (server not started?)",
                       "no server configured, upload skipped", "upload-only result: failed"}));
}

TEST(Log, whatStoodInTheFileBeforeStays) {
  stage::Stage machine("log");
  stage::writeFile(machine.log(), "a line of old\nand one without end");
  (void)machine.runLauncher("--detect");
  EXPECT_EQ(machine.logBytes(),
            "a line of old\nand one without end" + asWritten({kStartLine, kNobody}));
}

TEST(Log, itLiesBesideTheProgramWhateverTheCurrentFolder) {
  stage::Stage machine("log");
  stage::RunOptions options;
  options.currentFolder = machine.local();
  (void)machine.runLauncher("--detect", options);
  EXPECT_EQ(machine.logBytes(), asWritten({kStartLine, kNobody}));
  EXPECT_EQ(stage::listFolder(machine.local()), Lines{});
}

TEST(Log, eachLineReachesTheFileBeforeTheConsoleAndTheConsoleInOneWrite) {
  stage::Stage machine("log");
  machine.setSteamPath();
  machine.writeLoginUsers();
  const Lines log = {kStartLine, "detected persona bytes: 竞速玩家"};
  const Lines console = {kStartLine, "steam persona: 竞速玩家", log[1]};
  WriteByWrite launcher(machine.launcher(), L"--detect");
  // The launcher stands in its first write to the console, and the file has the line.
  ASSERT_TRUE(logBecomes(machine, asWritten({log[0]})));
  EXPECT_EQ(launcher.next(), console[0] + "\r\n");
  EXPECT_EQ(launcher.next(), console[1] + "\r\n");
  ASSERT_TRUE(logBecomes(machine, asWritten(log)));
  EXPECT_EQ(launcher.next(), console[2] + "\r\n");
  EXPECT_EQ(launcher.next(), std::nullopt);
}

TEST(Log, aPromptIsOneWriteToo) {
  stage::Stage machine("log");
  WriteByWrite launcher(machine.launcher(), L"");
  EXPECT_EQ(launcher.next(), std::string(kStartLine) + "\r\n");
  EXPECT_EQ(launcher.next(),
            "launcher.ini missing or incomplete (need receipt and data fields)\r\n");
  EXPECT_EQ(launcher.next(), kEnterPrompt);
}

TEST(Log, aLineLongerThanAnyBufferIsWrittenWholeAndInOneWrite) {
  stage::Stage machine("log");
  machine.setSteamPath();
  std::string persona;
  while (persona.size() < 300000) persona += "竞速玩家 of the week, ";
  machine.writeLoginUsers({{.persona = persona}});
  WriteByWrite launcher(machine.launcher(), L"--detect");
  EXPECT_EQ(launcher.next(), std::string(kStartLine) + "\r\n");
  EXPECT_EQ(launcher.next(), "steam persona: " + persona + "\r\n");
  EXPECT_EQ(launcher.next(), "detected persona bytes: " + persona + "\r\n");
  EXPECT_EQ(launcher.next(), std::nullopt);
  EXPECT_EQ(machine.logBytes(), asWritten({kStartLine, "detected persona bytes: " + persona}));
}

TEST(Log, dataIsNeverAFormat) {
  stage::Stage machine("log");
  machine.setSteamPath();
  const std::string persona = "100% %s %n %d %% %";
  machine.writeLoginUsers({{.persona = persona}});
  const stage::RunResult run = machine.runLauncher("--detect");
  EXPECT_EQ(run.exitCode, 0U);
  EXPECT_EQ(run.log, asWritten({kStartLine, "detected persona bytes: " + persona}));
  EXPECT_EQ(run.console, asWritten({kStartLine, "steam persona: " + persona,
                                    "detected persona bytes: " + persona}));
}

/// The log of an upload to a server that answers with this body, from the answer on.
std::string responseLog(const std::string& body) {
  stage::Stage machine("log");
  stage::RaceServer server;
  server.answer("POST", "/submit", stage::Reply::text(body));
  machine.writeReceipt(stage::finishedRun().text());
  machine.writeIni({{"server", server.url()}});
  const stage::RunResult run = machine.runLauncher("--upload");
  const std::size_t at = run.log.find("upload response: ");
  EXPECT_NE(at, std::string::npos);
  const std::string tail = run.log.substr(at);
  EXPECT_THAT(run.console, EndsWith("\r\n上传失败（详见 launcher.log）\r\n"
                                    "upload-only result: failed\r\n"));
  const std::size_t inConsole = run.console.find("upload response: ");
  const std::size_t response = tail.rfind("upload-only result");
  EXPECT_EQ(run.console.substr(inConsole, response), tail.substr(0, response));
  return tail;
}

constexpr char kFailedLine[] = "upload-only result: failed\r\n";

TEST(Log, everyLineFeedInAReplyGetsACarriageReturn) {
  EXPECT_EQ(responseLog("one\ntwo\r\nthree\rfour\n"),
            std::string("upload response: one\r\ntwo\r\r\nthree\rfour\r\n\r\n") + kFailedLine);
}

TEST(Log, aReplyIsLoggedUpToItsFirstNul) {
  using namespace std::string_literals;
  EXPECT_EQ(responseLog("before\0behind"s),
            std::string("upload response: before\r\n") + kFailedLine);
}

TEST(Log, anEmptyReplyIsLoggedToo) {
  EXPECT_EQ(responseLog(""), std::string("upload response: \r\n") + kFailedLine);
}

// A log that does not open -----------------------------------------------------------------

TEST(LogClosed, aLockedFileIsNotReportedAndEveryLineReachesTheConsole) {
  stage::Stage machine("log");
  stage::writeFile(machine.log(), "held by another program");
  const stage::WinHandle lock = stage::ownHandle(
      CreateFileW(machine.log().c_str(), GENERIC_READ, 0, nullptr, OPEN_EXISTING, 0, nullptr));
  ASSERT_TRUE(lock);
  const stage::RunResult run = machine.runLauncher("--detect");
  EXPECT_EQ(run.exitCode, 0U);
  EXPECT_EQ(run.console, asWritten({kStartLine, "steam persona: (not found)", kNobody}));
  EXPECT_EQ(run.errors, "");
}

TEST(LogClosed, aFolderOfItsNameIsNotReportedEither) {
  stage::Stage machine("log");
  std::filesystem::create_directories(machine.log());
  const stage::RunResult run = machine.runLauncher();
  EXPECT_EQ(run.exitCode, 1U);
  EXPECT_EQ(run.console,
            asWritten({kStartLine,
                       "launcher.ini missing or incomplete (need receipt and data fields)"}) +
                kEnterPrompt);
  EXPECT_EQ(stage::listFolder(machine.log()), Lines{});
}

/// Takes the right to make files in a folder away from everybody for its life.
class ReadOnlyFolder {
 public:
  explicit ReadOnlyFolder(const std::filesystem::path& folder) : folder_(folder.wstring()) {
    EXPECT_EQ(GetNamedSecurityInfoW(folder_.c_str(), SE_FILE_OBJECT, DACL_SECURITY_INFORMATION,
                                    nullptr, nullptr, &before_, nullptr, &descriptor_),
              DWORD{ERROR_SUCCESS});
    SID_IDENTIFIER_AUTHORITY world = SECURITY_WORLD_SID_AUTHORITY;
    PSID everyone = nullptr;
    EXPECT_TRUE(AllocateAndInitializeSid(&world, 1, SECURITY_WORLD_RID, 0, 0, 0, 0, 0, 0, 0,
                                         &everyone));
    EXPLICIT_ACCESSW denied{};
    denied.grfAccessPermissions = FILE_ADD_FILE | FILE_ADD_SUBDIRECTORY;
    denied.grfAccessMode = DENY_ACCESS;
    denied.Trustee.TrusteeForm = TRUSTEE_IS_SID;
    denied.Trustee.ptstrName = static_cast<LPWSTR>(everyone);
    PACL list = nullptr;
    EXPECT_EQ(SetEntriesInAclW(1, &denied, before_, &list), DWORD{ERROR_SUCCESS});
    apply(list);
    LocalFree(list);
    FreeSid(everyone);
  }
  ~ReadOnlyFolder() {
    apply(before_);
    LocalFree(descriptor_);
  }
  ReadOnlyFolder(const ReadOnlyFolder&) = delete;
  ReadOnlyFolder& operator=(const ReadOnlyFolder&) = delete;

  /// False where the user may write everywhere all the same (Wine run by root).
  [[nodiscard]] bool holds() const {
    const std::wstring file = folder_ + L"\\probe.txt";
    const stage::WinHandle made = stage::ownHandle(CreateFileW(
        file.c_str(), GENERIC_WRITE, 0, nullptr, CREATE_NEW, FILE_FLAG_DELETE_ON_CLOSE, nullptr));
    return !made;
  }

 private:
  void apply(PACL list) {
    EXPECT_EQ(SetNamedSecurityInfoW(folder_.data(), SE_FILE_OBJECT, DACL_SECURITY_INFORMATION,
                                    nullptr, nullptr, list, nullptr),
              DWORD{ERROR_SUCCESS});
  }

  std::wstring folder_;
  PACL before_ = nullptr;  // inside the descriptor
  PSECURITY_DESCRIPTOR descriptor_ = nullptr;
};

/// A full run without server and timer, of a run that was not finished.
class LogClosedRun : public testing::Test {
 protected:
  LogClosedRun() {
    machine_.installGame(e2e::staysAfterRun(machine_, stage::unfinishedRun().text()));
    machine_.installSteam();
    machine_.installCard();
    machine_.writeIni({{"receipt", textOf(machine_.receipt())},
                       {"data", textOf(machine_.data())},
                       {"steam", textOf(machine_.steamExe())},
                       {"game", textOf(machine_.gameExe())}});
  }
  void expectWholeRunOnTheConsole() {
    stage::LauncherRun launcher = machine_.startLauncher();
    ASSERT_TRUE(launcher.waitForConsole("waiting for exit..."));
    machine_.endGame();
    const stage::RunResult run = launcher.wait();
    EXPECT_EQ(run.exitCode, 0U);
    EXPECT_EQ(e2e::maskStamps(e2e::maskNumbers(run.console)),
              asWritten({kStartLine, "steam persona not found, using ini player: ",
                         "difficulty chooser skipped (in-game difficulty is authoritative)",
                         "no server configured, using cached data", "timer overlay: 0",
                         "stage: launching game", "steam started with -applaunch 1943950",
                         "game running (pid #), waiting for exit...", "game exited",
                         "stage: game closed (launch result=1), archiving receipt",
                         "receipt archived: " + textOf(machine_.data()) +
                             "\\receipts\\receipt_YYYYMMDD_hhmmss.json",
                         "receipt summary: ending=- total=428.019 status=\"running\"",
                         "stage: uploading", "livesplit probe failed (server not started?)",
                         "no server configured, upload skipped",
                         "stage: run not finished, nothing queued", "stage: upload done (ok=0)",
                         "result card: kind=none ok=0", kDoneLine}) +
                  kEnterPrompt);
  }

  stage::Stage machine_{"log"};
};

TEST_F(LogClosedRun, completesOnTheConsoleWithALockedLog) {
  stage::writeFile(machine_.log(), "held by another program");
  {
    const stage::WinHandle lock = stage::ownHandle(CreateFileW(
        machine_.log().c_str(), GENERIC_READ, FILE_SHARE_READ, nullptr, OPEN_EXISTING, 0, nullptr));
    ASSERT_TRUE(lock);
    expectWholeRunOnTheConsole();
  }
  EXPECT_EQ(machine_.logBytes(), "held by another program");
}

TEST_F(LogClosedRun, completesOnTheConsoleInAReadOnlyProgramFolder) {
  const ReadOnlyFolder readOnly(machine_.app());
  if (!readOnly.holds()) {
    GTEST_SKIP() << "this user writes into read-only folders (Wine run by root)";
  }
  expectWholeRunOnTheConsole();
  EXPECT_FALSE(stage::pathExists(machine_.log()));
}

TEST(Log, itIsCompleteWhileTheLauncherWaitsForTheGame) {
  stage::Stage machine("log");
  machine.installGame(e2e::staysAfterRun(machine, stage::unfinishedRun().text()));
  machine.writeIni({{"receipt", textOf(machine.receipt())},
                    {"data", textOf(machine.data())},
                    {"game", textOf(machine.gameExe())}});
  (void)machine.startGame();
  {
    stage::LauncherRun launcher = machine.startLauncher();
    ASSERT_TRUE(launcher.waitForConsole("waiting for exit..."));
  }  // the launcher is killed here
  EXPECT_EQ(e2e::linesOf(e2e::maskNumbers(machine.logBytes())),
            (Lines{kStartLine, "steam persona not found, using ini player: ",
                   "difficulty chooser skipped (in-game difficulty is authoritative)",
                   "no server configured, using cached data", "timer overlay: 0",
                   "stage: launching game", "game running (pid #), waiting for exit..."}));
}

}  // namespace
