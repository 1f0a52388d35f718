#pragma once

#include <cstddef>
#include <cstdint>
#include <functional>
#include <initializer_list>
#include <map>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "tests/machine/call_text.h"
#include "tests/machine/code_page.h"
#include "tests/machine/file_system.h"

namespace machine {

/// The calls of the seam; after readSteamRoot those that the companion alone makes.
enum class Call : std::uint8_t {
  programPath, programPathWide, loadLibrariesFromSystemOnly, prepareConsole, waitForCharacter,
  localAppData, pathExists, pathExistsWide, createFolder, deleteFile, copyFileOver, fileSize,
  listFolder, nextEntry, waitForEnd, waitForEndLimited, startProcess, startProcessWide,
  findProcessByName, openProcess, ansiToUtf8, ansiToWide, utf8ToWide, wideToUtf8, showMessage,
  showPlainMessage, openInBrowser, localTimeNow, sleepMilliseconds, readFile, readWholeFile,
  readFileStart, opensForReading, writeWholeFile, openLog, logLine, consolePrint, closeLog,
  httpGet, httpPostJson, livesplitOpen, livesplitExchange, readSteamRoot,
  readFileEnd, writeNewFile, replaceFile, writeFileWhole,
};

/// The call's name as the seam has it.
[[nodiscard]] const char* nameOf(Call call);

/// How Windows can fail a call. What each does to which call stands in the bodies; what it
/// is for each in failuresOf().
enum class Failure : std::uint8_t {
  none,
  notFound,  ///< as if there were nothing of this name
  denied,    ///< access denied
  shared,    ///< another program has it open
  full,      ///< the disk takes no byte
  half,      ///< only the first half arrives
  empty,     ///< it ends well with nothing
  refused,   ///< no connection; the other side saw nothing
  reset,     ///< the connection breaks after the other side got all
  timedOut,  ///< nothing comes back, until Windows gives up
  stop,      ///< not a failure: the program is ended in the middle of this call
};

[[nodiscard]] const char* nameOf(Failure failure);

/// The ways in which this call can fail; empty for one that cannot.
[[nodiscard]] std::span<const Failure> failuresOf(Call call);

/// The failure itself where the call can fail so; else one of the call's own; none when it
/// cannot fail.
[[nodiscard]] Failure fitting(Call call, Failure how);

/// True for a call that leaves something behind when the program is ended in its middle: a
/// file emptied but not written, a request answered but not read.
[[nodiscard]] bool hasMiddle(Call call);

/// One call of the run fails, in this way or, where it cannot, in one of its own. Calls are
/// counted from 0.
struct Fault {
  std::size_t call = 0;
  Failure how = Failure::none;
};

/// Where the run ends, as when the process is killed.
struct Stop {
  std::size_t call = 0;
  bool inMiddle = false;  ///< after the call's first half; else before the call
};

/// Thrown out of a run that is ended at a Stop.
struct Stopped {};

/// Thrown out of a run that waits for something that will never come.
struct Hang {
  std::string what;
};

/// A program that was started, for the function that plays it.
struct Start {
  unsigned long id = 0;
  Units program;      ///< full path of the file
  Units commandLine;
  Units folder;       ///< its current folder
};

struct Box {
  std::u16string text;
  std::string caption;  ///< UTF-8
};

/// A request that reached a server.
struct Request {
  std::string method;
  std::string host;  ///< "race.example:80"
  std::string path;
  std::string body;
};

/// What becomes of a request at the server.
struct Reply {
  /// `none` answers; `half`, `empty`, `refused`, `reset` and `timedOut` as in Failure.
  Failure how = Failure::none;
  std::string body = {};
};

class Machine;

using Event = std::function<void(Machine&)>;
using Program = std::function<void(Machine&, const Start&)>;
using Server = std::function<Reply(Machine&, const Request&)>;

/// A player's machine in memory, on which the launcher's operations run without Windows.
/// While one lives it is the seam's other side:
///
///     machine::Machine machine;
///     machine.files.put("C:\\race\\launcher.ini", ini);
///     machine.servers["race.example:80"] = [](machine::Machine&, const machine::Request&) {
///       return machine::Reply{.body = "{\"accepted\":true}"};
///     };
///     const int exitCode = machine.run();
///
/// Time stands still but for sleeps, waits and time-outs: whole runs take no time at all.
class Machine {
 public:
  explicit Machine(CodePage page = CodePage::western);
  ~Machine();
  Machine(const Machine&) = delete;
  Machine& operator=(const Machine&) = delete;

  /// The machine that lives now; there is one at most.
  [[nodiscard]] static Machine& current();

  // What is on the machine -------------------------------------------------------------

  const CodePage page;
  FileSystem files;
  Units program = u"C:\\race\\launcher.exe";        ///< the launcher's own path
  std::optional<Units> localAppData;                ///< LOCALAPPDATA
  std::optional<Units> steamPath;                   ///< the registry's SteamPath
  std::map<Units, Program> programs;                ///< what programs do, by path in upper case
  std::map<std::string, Server> servers;            ///< by "host:port"
  bool timerListens = false;                        ///< LiveSplit's server
  /// LiveSplit's answer to a command (without its line end): a text, which may be empty for
  /// a connection that breaks, or nothing: it stays silent until it is closed.
  std::function<std::optional<std::string>(const std::string& command)> timerAnswers;
  int zoneMinutes = 0;                              ///< local time is so far ahead of UTC
  unsigned boxMs = 0;                               ///< the player closes a box after so long

  void setProgram(std::string_view path, Program program);

  // Time -------------------------------------------------------------------------------

  /// Milliseconds of UTC since 1970.
  [[nodiscard]] std::int64_t now() const { return now_; }
  void setNow(std::int64_t now) { now_ = now; }
  /// Something happens so much later.
  void after(std::int64_t milliseconds, Event event);
  /// Time goes on, and what it brings happens.
  void advance(std::int64_t milliseconds);
  /// Time goes on to what happens next; false when nothing ever will.
  [[nodiscard]] bool advanceToNextEvent();

  // Processes --------------------------------------------------------------------------

  /// Starts a program as CreateProcess does; Windows' error code, 0 when it runs.
  unsigned start(const Units& commandLine, const std::optional<Units>& folder,
                 unsigned long& id);
  /// Starts a program by hand; its id.
  unsigned long startByHand(std::string_view path);
  /// The process ends so much later.
  void endAfter(unsigned long id, std::int64_t milliseconds);
  void endProcess(unsigned long id) { processes_.erase(id); }
  [[nodiscard]] bool runs(unsigned long id) const { return processes_.contains(id); }
  /// Id of the first process with this image name, or 0.
  [[nodiscard]] unsigned long find(std::u16string_view image) const;
  /// Waits until the process has ended.
  void waitForEnd(unsigned long id);
  /// The same, at most so long.
  void waitForEnd(unsigned long id, std::int64_t milliseconds);
  /// This process may not be opened.
  void lock(unsigned long id) { processes_[id].locked = true; }
  [[nodiscard]] bool isLocked(unsigned long id) const { return processes_.at(id).locked; }

  // The run ----------------------------------------------------------------------------

  /// Runs the launcher's entry with its first argument, from the first call on; the exit
  /// code. What an earlier run left stays: files, processes, the time.
  int run(const std::wstring& argument = {});

  std::vector<Fault> faults;        ///< calls that fail in the next run, in their order
  std::optional<Stop> stopAt;       ///< where the next run ends
  bool recording = false;           ///< whether the next run writes down `record`
  std::size_t callLimit = 20000;    ///< a run of more calls is a Hang

  // What came of it --------------------------------------------------------------------

  std::vector<Call> calls;              ///< of the last run, in their order
  std::vector<std::string> record;      ///< the same, with arguments and results
  std::string console;                  ///< bytes, of the last run
  std::vector<std::string> logged;      ///< lines, of the last run
  std::vector<Box> boxes;               ///< of all runs
  std::vector<std::string> browser;     ///< addresses, of all runs
  std::vector<Request> requests;        ///< that reached a server, of all runs
  std::vector<Start> starts;            ///< programs started, of all runs
  int keysAwaited = 0;                  ///< how often a run waited for the player's key

  // For the bodies of the seam ---------------------------------------------------------

  /// Every call begins here: ends the run at a Stop, and says how the call is to fail.
  template <class... Arguments>
  [[nodiscard]] Failure enter(Call call, const Arguments&... arguments) {
    const Failure failure = beginCall(call);
    if (recording) noteCall(call, {shown(arguments)...});
    if (failure != Failure::none && failure != Failure::stop && recording) {
      record.back() += std::string(" !") + nameOf(failure);
    }
    return failure;
  }
  /// And notes its result here.
  template <class Result>
  void leave(const Result& result) {
    if (recording) record.back() += " -> " + shown(result);
  }

  [[nodiscard]] Units ansi(std::string_view bytes) const { return fromAnsi(page, bytes); }
  [[nodiscard]] Reply exchange(const std::string& url, const char* method,
                               const std::string& body);
  std::optional<Units> logPath;  ///< of the open log

 private:
  struct RunningProcess {
    Units image;
    bool locked = false;
  };

  static std::string shown(std::string_view text) { return onOneLine(text); }
  static std::string shown(std::wstring_view text);
  static std::string shown(const char* text) { return shown(std::string_view(text)); }
  static std::string shown(const std::string& text) { return shown(std::string_view(text)); }
  static std::string shown(const std::wstring& text) { return shown(std::wstring_view(text)); }
  static std::string shown(bool value) { return value ? "yes" : "no"; }
  static std::string shown(unsigned value) { return std::to_string(value); }
  static std::string shown(unsigned long value) { return std::to_string(value); }

  [[nodiscard]] Failure beginCall(Call call);
  void noteCall(Call call, std::initializer_list<std::string> arguments);

  std::int64_t now_;
  std::multimap<std::int64_t, Event> events_;
  std::map<unsigned long, RunningProcess> processes_;
  unsigned long nextId_ = 1000;
  std::size_t nextFault_ = 0;
};

}  // namespace machine
