// What only the companion asks (check/system.h, antivirus.h, server_question.h,
// timer_question.h) on the machine in memory. Its files are real there; the rest is the plain
// case: no file came from the internet, no antivirus says anything, every redirect is followed.

#include "check/antivirus.h"
#include "check/server_question.h"
#include "check/system.h"
#include "check/timer_question.h"
#include "livesplit/client.h"
#include "tests/machine/machine.h"

namespace launcher::check {
namespace {

using machine::Call;
using machine::Failure;
using machine::FileError;
using machine::Machine;
using machine::Units;

constexpr char kProbe[] = "kov_check.tmp";
constexpr std::int64_t kConnectLimitMs = 60000;
constexpr unsigned long kCannotConnect = 12029;
constexpr unsigned long kTimeout = 12002;
constexpr unsigned long kConnectionError = 12030;

Machine& here() { return Machine::current(); }

Units named(const std::string& path) { return here().ansi(std::string_view(path.c_str())); }

bool isChinese() { return here().page == machine::CodePage::chinese; }

/// Makes a file that is not there yet; a failure leaves none.
FileError makeFile(const Units& path, const std::string& bytes) {
  if (here().files.exists(path)) return FileError::exists;
  if (const FileError why = here().files.write(path, bytes); why != FileError::none) return why;
  std::string written;
  (void)here().files.read(path, written);
  if (written == bytes) return FileError::none;
  (void)here().files.removeFile(path);
  return FileError::full;
}

}  // namespace

unsigned ansiCodePage() { return static_cast<unsigned>(here().page); }

unsigned oemCodePage() { return isChinese() ? 936 : 850; }

std::string windowsVersion() { return "10.0.19045"; }

std::string interfaceLanguageName() { return isChinese() ? "zh-CN" : "en-US"; }

bool interfaceIsChinese() { return isChinese(); }

std::optional<std::string> toAnsi(const std::wstring& text) {
  const Units units = machine::fromWide(text);
  std::string bytes = machine::toAnsi(here().page, units);
  if (here().ansi(bytes) != units) return std::nullopt;
  return bytes;
}

std::string environmentValue(const wchar_t* /*name*/) { return {}; }

std::wstring temporaryFolder() { return L"C:\\Users\\runner\\AppData\\Local\\Temp\\"; }

bool isMarkedAsDownloaded(const std::wstring& /*file*/) { return false; }

bool removeDownloadMark(const std::wstring& /*file*/) { return true; }

bool isFolder(const std::string& path) {
  const machine::File* file = here().files.at(machine::toUtf8(named(path)));
  return file != nullptr && file->isFolder;
}

bool canCreateFolder(const std::string& path) {
  if (here().files.createFolder(named(path)) != FileError::none) return false;
  here().files.remove(machine::toUtf8(named(path)));
  return true;
}

bool canWriteInto(const std::string& folder) {
  const Units path = named(folder + "\\" + kProbe);
  const bool written = makeFile(path, kProbe) == FileError::none;
  if (written) (void)here().files.removeFile(path);
  return written;
}

std::optional<std::uint64_t> freeBytes(const std::string& /*folder*/) { return std::nullopt; }

std::optional<std::string> readFileEnd(const std::string& path, std::size_t bytes) {
  const Failure failure = here().enter(Call::readFileEnd, path);
  std::string text;
  const bool opens = failure == Failure::none || failure == Failure::half ||
                     failure == Failure::empty;
  const bool read = opens && here().files.read(named(path), text) == FileError::none;
  if (text.size() > bytes) text.erase(0, text.size() - bytes);
  if (failure == Failure::half) text.resize(text.size() / 2);
  if (failure == Failure::empty) text.clear();
  here().leave(read ? std::to_string(text.size()) + " bytes" : "nothing");
  if (!read) return std::nullopt;
  return text;
}

bool writeNewFile(const std::string& path, const std::string& bytes) {
  const Failure failure = here().enter(Call::writeNewFile, path, bytes);
  if (failure == Failure::stop) {
    (void)makeFile(named(path), {});
    throw machine::Stopped{};
  }
  const bool done = failure == Failure::none && makeFile(named(path), bytes) == FileError::none;
  here().leave(done);
  return done;
}

bool replaceFile(const std::string& path, const std::string& bytes) {
  const Failure failure = here().enter(Call::replaceFile, path, bytes);
  const Units fresh = named(path + ".kov-new");
  if (failure != Failure::none && failure != Failure::stop) {
    here().leave(false);
    return false;
  }
  (void)here().files.removeFile(fresh);
  bool done = makeFile(fresh, bytes) == FileError::none;
  if (failure == Failure::stop) throw machine::Stopped{};
  if (done) {
    const FileError old = here().files.removeFile(named(path));
    done = (old == FileError::none || old == FileError::notFound) &&
           here().files.write(named(path), bytes) == FileError::none;
    (void)here().files.removeFile(fresh);
  }
  here().leave(done);
  return done;
}

bool writeFileWhole(const std::wstring& path, const std::string& bytes) {
  const Failure failure = here().enter(Call::writeFileWhole, path, bytes);
  const Units units = machine::fromWide(path);
  std::string written;
  const bool done = failure == Failure::none &&
                    here().files.write(units, bytes) == FileError::none &&
                    here().files.read(units, written) == FileError::none && written == bytes;
  here().leave(done);
  return done;
}

std::wstring wholePath(const std::wstring& path) {
  const std::optional<Units> whole = here().files.fullPath(machine::fromWide(path));
  return whole ? machine::toWide(*whole) : path;
}

std::int64_t secondsNow() { return here().now() / 1000; }

void writeOutput(const std::string& text) { here().console += text; }

AntivirusFacts askSecurityCenter() { return {}; }

ServerAnswer askServerOnce(const std::string& url) {
  const machine::Reply reply = here().exchange(url, "GET", {});
  ServerAnswer answer;
  switch (reply.how) {
    case Failure::refused:
      answer.failure = ServerFailure::noConnection;
      answer.error = kCannotConnect;
      return answer;
    case Failure::timedOut:
      here().advance(kConnectLimitMs);
      answer.failure = ServerFailure::timedOut;
      answer.error = kTimeout;
      return answer;
    case Failure::reset:
      answer.failure = ServerFailure::noConnection;
      answer.error = kConnectionError;
      return answer;
    default: answer.status = 200;
  }
  return answer;
}

TimerReply askTimer(const std::string& command, unsigned limitMs) {
  if (here().timerListens && !here().timerAnswers(command)) {
    here().advance(limitMs);
    return {true, {}};
  }
  return {false, livesplitCommand(command)};
}

std::string timerPortHolder() { return here().timerListens ? "LiveSplit.exe" : ""; }

}  // namespace launcher::check
