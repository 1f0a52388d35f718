#pragma once

#include <windows.h>

#include <array>
#include <cctype>
#include <cstdint>
#include <filesystem>
#include <functional>
#include <optional>
#include <string>
#include <string_view>

#include "rehearsal/stage/debugger.h"
#include "rehearsal/stage/stage.h"
#include "tests/e2e/debugged_run.h"
#include "tests/e2e/own_calls.h"
#include "tests/e2e/support.h"

namespace e2e {

/// Runs a program under a small debugger that writes down, in the order of its calls, what
/// the program does to files of one folder and which programs it starts:
///
///     launcher folder  <path>          a new folder
///     launcher write   <path> <bytes>  every single write
///     launcher delete  <path>          an existing file
///     launcher start   <command line> in <current folder>
///     launcher exit    <exit code>
///
/// The program stands still meanwhile. Whatever it has asked a server of the stage before is
/// then in the stage's timeline already, so that with these events the timeline holds files,
/// processes and requests of one thread in their true order.
///
/// Watched for these are the calls by which every program, whatever its runtime library,
/// reaches the system; ownCalls() are those of the program's own code. Only for x86-64.
class CallTrace {
 public:
  using OnWrite = std::function<void(std::string_view path, std::string_view bytes)>;

  CallTrace(std::filesystem::path folder, stage::Timeline timeline, OnWrite onWrite = {})
      : folder_(folder.make_preferred().wstring() + L"\\"),
        timeline_(std::move(timeline)),
        onWrite_(std::move(onWrite)) {}

  /// Runs the program with empty standard input, in its own folder. `arguments` is the raw
  /// text after the quoted program path. Its exit code; nothing when it did not end within
  /// the limit and was ended.
  std::optional<std::uint32_t> run(const std::filesystem::path& program, unsigned limitMs,
                                   const std::wstring& arguments = {}) {
    const std::optional<std::uint32_t> exitCode =
        runDebugged(debugger_, program, limitMs, arguments);
    if (exitCode) timeline_.append("launcher", "exit", std::to_string(*exitCode));
    return exitCode;
  }

  [[nodiscard]] OwnCalls& ownCalls() { return ownCalls_; }
  [[nodiscard]] const OwnCalls& ownCalls() const { return ownCalls_; }

 private:
  using Call = stage::Debugger::Call;

  void noteCreate(const Call& call) {
    constexpr std::uint32_t kCreate = 2;          // FILE_CREATE
    constexpr std::uint32_t kDirectory = 0x0001;  // FILE_DIRECTORY_FILE
    if (call.argument<std::uint32_t>(8) != kCreate || (call.argument(9) & kDirectory) == 0) {
      noteDelete(call);
      return;
    }
    const std::wstring path = pathOf(call);
    if (!path.empty() && !stage::pathExists(path)) append("folder", path, {});
  }

  /// A program is started with these RTL_USER_PROCESS_PARAMETERS.
  void noteStart(const Call& call) const {
    const auto parameters = call.argument(9);
    const std::wstring commandLine = readText(parameters + 0x70);
    // Wine's console is a program that each program starts for itself.
    if (commandLine.find(L"conhost.exe") != std::wstring::npos) return;
    timeline_.append("launcher", "start",
                     stage::toUtf8(commandLine) + " in " +
                         stage::toUtf8(readText(parameters + 0x38)));
  }

  void noteDelete(const Call& call) {
    const auto access = call.argument(2);
    if ((access & DELETE) == 0 || (access & (GENERIC_WRITE | FILE_WRITE_DATA)) != 0) return;
    const std::wstring path = pathOf(call);
    if (!path.empty() && stage::pathExists(path)) append("delete", path, {});
  }

  void noteWrite(const Call& call) {
    HANDLE file = nullptr;
    if (!DuplicateHandle(debugger_.process(), reinterpret_cast<HANDLE>(call.argument(1)),
                         GetCurrentProcess(), &file, 0, FALSE, DUPLICATE_SAME_ACCESS)) {
      return;
    }
    std::array<wchar_t, 1024> name{};
    const DWORD length = GetFileType(file) == FILE_TYPE_DISK
                             ? GetFinalPathNameByHandleW(file, name.data(), 1024, 0)
                             : 0;
    CloseHandle(file);
    const std::wstring path = inFolder(std::wstring(name.data(), length));
    if (path.empty()) return;
    append("write", path,
           debugger_.readText<char>(call.argument(6), call.argument<std::uint32_t>(7)));
  }

  void append(std::string_view what, const std::wstring& path, std::string_view bytes) {
    const std::string name = stage::toUtf8(path);
    timeline_.append("launcher", what, bytes.empty() ? name : name + " " + std::string(bytes));
    if (what == "write" && onWrite_) onWrite_(name, bytes);
  }

  /// The path that a call names by its OBJECT_ATTRIBUTES, when it lies in our folder; else
  /// empty.
  [[nodiscard]] std::wstring pathOf(const Call& call) const {
    const auto name = debugger_.read<std::uint64_t>(call.argument(3) + 0x10);
    return name == 0 ? std::wstring() : inFolder(readText(name));
  }

  /// The path without the system's front ("\??\" or "\\?\") when it lies in our folder.
  [[nodiscard]] std::wstring inFolder(const std::wstring& path) const {
    constexpr std::size_t kFront = 4;
    if (path.size() <= kFront + folder_.size()) return {};
    std::wstring rest = path.substr(kFront);
    return _wcsnicmp(rest.c_str(), folder_.c_str(), folder_.size()) == 0 ? rest : std::wstring();
  }

  /// The text of a UNICODE_STRING.
  [[nodiscard]] std::wstring readText(std::uint64_t address) const {
    return debugger_.readText<wchar_t>(debugger_.read<std::uint64_t>(address + 8),
                                       debugger_.read<std::uint16_t>(address) / sizeof(wchar_t));
  }

  std::wstring folder_;
  stage::Timeline timeline_;
  OnWrite onWrite_;
  [[nodiscard]] std::vector<WatchedLibrary> watched() {
    std::vector<WatchedLibrary> all = ownCalls_.watched();
    all.push_back({L"ntdll.dll",
                   {{"NtCreateFile", [this](const Call& call) { noteCreate(call); }},
                    {"NtOpenFile", [this](const Call& call) { noteDelete(call); }},
                    {"NtWriteFile", [this](const Call& call) { noteWrite(call); }},
                    {"NtCreateUserProcess", [this](const Call& call) { noteStart(call); }}}});
    return all;
  }

  OwnCalls ownCalls_{debugger_};
  stage::Debugger debugger_{watched()};
};

/// An event as one line without its line end. The stage's folder is written "@", the game's
/// "GAME"; a line of the log stands after "log".
inline std::string lineOf(const stage::Event& event, const stage::Stage& machine) {
  const std::string root = stage::textOf(machine.root());
  std::string rootInRegistry = root;
  rootInRegistry[0] = static_cast<char>(std::tolower(rootInRegistry[0]));
  std::string line = event.who + " " + event.what + " " + event.text;
  line = stage::replaceAll(std::move(line), stage::textOf(machine.gameFolder()), "GAME");
  line = stage::replaceAll(std::move(line), root, "@");
  line = stage::replaceAll(std::move(line), rootInRegistry, "@");
  line = stage::replaceAll(std::move(line), "launcher write @\\app\\launcher.log ", "log ");
  if (line.ends_with("\r\n")) line.resize(line.size() - 2);
  if (line.ends_with('\n')) line.pop_back();
  return maskStamps(maskNumbers(std::move(line)));
}

/// A line of the log as such a line.
inline std::string logged(const std::string& line) { return "log " + line; }

/// What the launcher and those that it waits for did, in order. The others come up when they
/// come up.
inline Lines linesInStep(const stage::Stage& machine) {
  Lines lines;
  for (const stage::Event& event : machine.timeline().events()) {
    const bool waitedFor = (event.who == "game" || event.who == "card") && event.what == "exit";
    if (event.who == "launcher" || event.who == "server" || event.who == "timer" || waitedFor) {
      lines.push_back(lineOf(event, machine));
    }
  }
  return lines;
}

}  // namespace e2e
