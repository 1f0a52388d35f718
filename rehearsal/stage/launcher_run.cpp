#include "rehearsal/stage/launcher_run.h"

#include <windows.h>

#include <algorithm>
#include <atomic>
#include <exception>
#include <future>
#include <mutex>
#include <stdexcept>
#include <thread>

#include "rehearsal/stage/box_calls.h"
#include "rehearsal/stage/files.h"
#include "rehearsal/stage/program_start.h"
#include "rehearsal/stage/text.h"
#include "rehearsal/stage/win_handle.h"

namespace stage {

namespace {

constexpr DWORD kShortestPollMs = 5;
constexpr DWORD kLongestPollMs = 40;
constexpr UINT kEndedByStage = 260;

struct Pipe {
  WinHandle read;
  WinHandle write;
};

/// A pipe of which only the child's end can be inherited.
Pipe makePipe(bool childReads) {
  SECURITY_ATTRIBUTES inheritable{sizeof inheritable, nullptr, TRUE};
  HANDLE read = nullptr;
  HANDLE write = nullptr;
  if (!CreatePipe(&read, &write, &inheritable, 1U << 16)) {
    throw std::runtime_error("no pipe for the launcher");
  }
  Pipe pipe{ownHandle(read), ownHandle(write)};
  SetHandleInformation(childReads ? write : read, HANDLE_FLAG_INHERIT, 0);
  return pipe;
}

/// Our environment with these changes, as CreateProcess takes it.
std::wstring environmentBlock(const std::map<std::string, std::optional<std::string>>& changes) {
  std::wstring block;
  wchar_t* const ours = GetEnvironmentStringsW();
  for (const wchar_t* entry = ours; *entry != L'\0'; entry += wcslen(entry) + 1) {
    const std::wstring text = entry;
    const std::wstring name = text.substr(0, text.find(L'=', 1));
    bool changed = false;
    for (const auto& change : changes) {
      changed = changed || _wcsicmp(name.c_str(), toWide(change.first).c_str()) == 0;
    }
    if (!changed) block += text + L'\0';
  }
  FreeEnvironmentStringsW(ours);
  for (const auto& [name, value] : changes) {
    if (value) block += toWide(name) + L"=" + toWide(*value) + L'\0';
  }
  block += L'\0';
  return block;
}

/// Takes what a pipe holds at this moment, without waiting for more.
std::string takeAvailable(HANDLE pipe) {
  std::string bytes;
  char buffer[8192];
  for (DWORD available = 0;
       PeekNamedPipe(pipe, nullptr, 0, nullptr, &available, nullptr) && available > 0;) {
    DWORD got = 0;
    if (!ReadFile(pipe, buffer, sizeof buffer, &got, nullptr) || got == 0) break;
    bytes.append(buffer, got);
  }
  return bytes;
}

}  // namespace

std::vector<std::string> RunResult::logLines() const {
  std::vector<std::string> lines;
  for (std::size_t start = 0; start < log.size();) {
    const std::size_t end = log.find('\n', start);
    std::string line = log.substr(start, end == std::string::npos ? end : end - start);
    if (!line.empty() && line.back() == '\r') line.pop_back();
    lines.push_back(std::move(line));
    if (end == std::string::npos) break;
    start = end + 1;
  }
  return lines;
}

bool RunResult::hasLogLine(std::string_view wanted) const {
  for (const std::string& line : logLines()) {
    if (line == wanted) return true;
  }
  return false;
}

struct LauncherRun::Impl {
  Impl(const std::filesystem::path& program, std::string_view arguments,
       const RunOptions& given)
      : options(given),
        logFile(program.parent_path() / "launcher.log"),
        logBefore(readFile(logFile).value_or("").size()) {
    // Only the thread that starts a process can be its debugger, so the reader starts it.
    std::promise<void> started;
    std::future<void> whenStarted = started.get_future();
    reader = std::thread([&, this] {
      try {
        start(program, arguments);
      } catch (...) {
        started.set_exception(std::current_exception());
        return;
      }
      if (!options.standardInput.empty()) type(options.standardInput);
      if (!options.keepInputOpen) input.reset();
      started.set_value();
      readUntilEnd();
    });
    try {
      whenStarted.get();
    } catch (...) {
      reader.join();
      throw;
    }
  }

  ~Impl() {
    if (WaitForSingleObject(process.get(), 0) != WAIT_OBJECT_0) {
      TerminateProcess(process.get(), kEndedByStage);
    }
    if (reader.joinable()) reader.join();
  }

  void start(const std::filesystem::path& program, std::string_view arguments) {
    Pipe in = makePipe(true);
    Pipe out = makePipe(false);
    Pipe err = makePipe(false);
    if (options.recordBoxCalls) recorder.emplace();
    startMs = GetTickCount64();
    StartedProgram started =
        startProgram({.program = program,
                      .arguments = toWide(arguments),
                      .currentFolder = options.currentFolder.empty() ? program.parent_path()
                                                                     : options.currentFolder,
                      .environment = environmentBlock(options.environment),
                      .flags = noWindow() | (recorder ? DEBUG_ONLY_THIS_PROCESS : 0U),
                      .standardHandles = {{in.read.get(), out.write.get(), err.write.get()}}});
    process = std::move(started.process);
    processId = started.id;
    input = std::move(in.write);
    output = std::move(out.read);
    errorOutput = std::move(err.read);
  }

  void type(std::string_view bytes) const {
    DWORD written = 0;
    if (input) {
      WriteFile(input.get(), bytes.data(), static_cast<DWORD>(bytes.size()), &written, nullptr);
    }
  }

  /// Collects the output until the launcher has ended. The end of the pipe says nothing:
  /// programs that the launcher left running may hold it open. The longer it has been silent,
  /// the less often it is looked at.
  void readUntilEnd() {
    DWORD pollMs = kShortestPollMs;
    for (bool ended = false; !ended;) {
      if (recorder) recorder->work(pollMs);
      ended = WaitForSingleObject(process.get(), recorder ? 0 : pollMs) == WAIT_OBJECT_0;
      if (!ended && GetTickCount64() - startMs > options.limitMs) {
        hang = true;
        TerminateProcess(process.get(), kEndedByStage);
        if (recorder) DebugActiveProcessStop(processId);
        ended = WaitForSingleObject(process.get(), 5000) == WAIT_OBJECT_0;
      }
      pollMs = collect() ? kShortestPollMs : std::min(2 * pollMs, kLongestPollMs);
    }
    endMs = GetTickCount64();
  }

  /// True when there was something to collect.
  bool collect() {
    const std::string more = takeAvailable(output.get());
    const std::string moreErrors = takeAvailable(errorOutput.get());
    if (options.live && !more.empty()) {
      DWORD written = 0;
      WriteFile(GetStdHandle(STD_OUTPUT_HANDLE), more.data(), static_cast<DWORD>(more.size()),
                &written, nullptr);
    }
    const std::lock_guard lock(mutex);
    console += more;
    errors += moreErrors;
    return !more.empty() || !moreErrors.empty();
  }

  [[nodiscard]] std::string consoleSoFar() const {
    const std::lock_guard lock(mutex);
    return console;
  }

  [[nodiscard]] std::string logSoFar() const {
    const std::string all = readFile(logFile).value_or("");
    return all.size() > logBefore ? all.substr(logBefore) : std::string();
  }

  template <class Text>
  bool waitForText(Text text, std::string_view wanted, unsigned limitMs) const {
    const std::uint64_t end = GetTickCount64() + limitMs;
    for (;;) {
      // Asked before the text: what a launcher wrote last is then seen once more.
      const bool ended = endMs != 0;
      if (text().find(wanted) != std::string::npos) return true;
      if (ended || GetTickCount64() >= end) return false;
      Sleep(10);
    }
  }

  RunOptions options;
  std::filesystem::path logFile;
  std::size_t logBefore;
  WinHandle process;
  WinHandle input;
  WinHandle output;
  WinHandle errorOutput;
  std::uint32_t processId = 0;
  std::uint64_t startMs = 0;
  std::atomic<std::uint64_t> endMs = 0;
  std::atomic<bool> hang = false;
  mutable std::mutex mutex;
  std::string console;
  std::string errors;
  std::optional<BoxCallRecorder> recorder;  // the reader's own until it has ended
  std::thread reader;
};

LauncherRun::LauncherRun(const std::filesystem::path& program, std::string_view arguments,
                         const RunOptions& options)
    : impl_(std::make_unique<Impl>(program, arguments, options)) {}

LauncherRun::~LauncherRun() = default;
LauncherRun::LauncherRun(LauncherRun&&) noexcept = default;
LauncherRun& LauncherRun::operator=(LauncherRun&&) noexcept = default;

std::uint32_t LauncherRun::processId() const { return impl_->processId; }

bool LauncherRun::running() const {
  return WaitForSingleObject(impl_->process.get(), 0) != WAIT_OBJECT_0;
}

std::string LauncherRun::console() const { return impl_->consoleSoFar(); }

std::string LauncherRun::log() const { return impl_->logSoFar(); }

bool LauncherRun::waitForConsole(std::string_view text, unsigned limitMs) const {
  return impl_->waitForText([this] { return console(); }, text, limitMs);
}

bool LauncherRun::waitForLog(std::string_view text, unsigned limitMs) const {
  return impl_->waitForText([this] { return log(); }, text, limitMs);
}

void LauncherRun::typeInput(std::string_view bytes) { impl_->type(bytes); }

void LauncherRun::endInput() { impl_->input.reset(); }

RunResult LauncherRun::wait() {
  if (impl_->reader.joinable()) impl_->reader.join();
  RunResult result;
  result.hang = impl_->hang;
  DWORD code = 0;
  GetExitCodeProcess(impl_->process.get(), &code);
  result.exitCode = code;
  result.console = impl_->console;
  result.errors = impl_->errors;
  result.log = impl_->logSoFar();
  result.elapsedMs = static_cast<unsigned>(impl_->endMs - impl_->startMs);
  result.processId = impl_->processId;
  if (impl_->recorder) result.boxCalls = impl_->recorder->calls();
  return result;
}

}  // namespace stage
