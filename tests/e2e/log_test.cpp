#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <windows.h>

#include <aclapi.h>

#include <optional>

#include "rehearsal/stage/win_handle.h"
#include "tests/e2e/full_run.h"

namespace {

using e2e::asWritten;
using e2e::kEnterPrompt;
using e2e::kIncomplete;
using e2e::kNoPersona;
using e2e::kStartLine;
using e2e::Lines;
using testing::EndsWith;

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

TEST(Log, isAppendedToWhatStoodThereBefore) {
  stage::Stage machine("log");
  stage::writeFile(machine.log(), "a line of old\nand one without end");
  (void)machine.runLauncher("--detect");
  (void)machine.runLauncher("--detect");
  EXPECT_EQ(machine.logBytes(), "a line of old\nand one without end" +
                                    asWritten({kStartLine, kNoPersona, kStartLine, kNoPersona}));
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
  EXPECT_EQ(launcher.next(), std::string(kIncomplete) + "\r\n");
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

// Line feeds become CR LF, whatever stood before them; a NUL ends the text.
TEST(Log, aReplyIsLoggedInTextModeUpToItsFirstNul) {
  using namespace std::string_literals;
  stage::Stage machine("log");
  stage::RaceServer server;
  server.answer("POST", "/submit", stage::Reply::text("one\ntwo\r\nthree\rfour\n\0five"s));
  machine.writeReceipt(stage::finishedRun().text());
  machine.writeIni({{"server", server.url()}});
  const stage::RunResult run = machine.runLauncher("--upload");
  const std::string response = "upload response: one\r\ntwo\r\r\nthree\rfour\r\n\r\n";
  const std::string failed = asWritten({e2e::kUploadModeFailed});
  EXPECT_THAT(run.log, EndsWith("\r\n" + response + failed));
  EXPECT_THAT(run.console,
              EndsWith("\r\n" + response + "\r\n上传失败（详见 launcher.log）\r\n" + failed));
}

// A log that does not open -----------------------------------------------------------------

/// Takes the right to make files in a folder away from everybody for its life.
class ReadOnlyFolder {
 public:
  explicit ReadOnlyFolder(const std::filesystem::path& folder) : folder_(folder.wstring()) {
    EXPECT_EQ(GetNamedSecurityInfoW(folder_.c_str(), SE_FILE_OBJECT, DACL_SECURITY_INFORMATION,
                                    nullptr, nullptr, &before_, nullptr, &descriptor_),
              DWORD{ERROR_SUCCESS});
    SID_IDENTIFIER_AUTHORITY world = SECURITY_WORLD_SID_AUTHORITY;
    PSID everyone = nullptr;
    EXPECT_TRUE(
        AllocateAndInitializeSid(&world, 1, SECURITY_WORLD_RID, 0, 0, 0, 0, 0, 0, 0, &everyone));
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

class LogClosed : public e2e::FullRunTest {};

TEST_F(LogClosed, aRunInAReadOnlyProgramFolderIsOnTheConsole) {
  machine.writeIni(settings);
  machine.setGame({.waitMs = 0, .untilEnded = true});
  machine.startGame();
  {
    const ReadOnlyFolder readOnly(machine.app());
    if (!readOnly.holds()) {
      machine.endGame();
      GTEST_SKIP() << "this user writes into read-only folders (Wine run by root)";
    }
    stage::LauncherRun launcher = machine.startLauncher();
    ASSERT_TRUE(launcher.waitForConsole("waiting for exit..."));
    machine.endGame();
    const stage::RunResult run = launcher.wait();
    EXPECT_EQ(run.exitCode, 0U);
    EXPECT_EQ(e2e::maskStamps(e2e::maskNumbers(run.console)),
              asWritten(wholeLog({})) + kEnterPrompt);
    EXPECT_EQ(run.errors, "");
  }
  EXPECT_FALSE(stage::pathExists(machine.log()));
}

}  // namespace
