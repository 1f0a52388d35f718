// core/platform.h on the machine in memory.

#include "core/platform.h"

#include <chrono>
#include <utility>

#include "tests/machine/machine.h"

namespace launcher {
namespace {

using machine::Call;
using machine::Failure;
using machine::FileError;
using machine::Machine;
using machine::Units;

constexpr std::size_t kPathBuffer = 260;
constexpr unsigned long kDenied = 5;
constexpr unsigned long kFileNotFound = 2;

Machine& here() { return Machine::current(); }

/// Narrow texts reach Windows up to their first NUL.
Units named(const std::string& path) { return here().ansi(std::string_view(path.c_str())); }

}  // namespace

std::string programPath() {
  (void)here().enter(Call::programPath);
  std::string path = toAnsi(here().page, here().program).substr(0, kPathBuffer - 1);
  here().leave(path);
  return path;
}

std::wstring programPathWide() {
  (void)here().enter(Call::programPathWide);
  std::wstring path = machine::toWide(here().program).substr(0, kPathBuffer - 1);
  here().leave(path);
  return path;
}

void loadLibrariesFromSystemOnly() { (void)here().enter(Call::loadLibrariesFromSystemOnly); }

void prepareConsole() { (void)here().enter(Call::prepareConsole); }

// No drive is without its disk here, and no console has a mouse.
void takeMissingDisksForMissingFiles() {}
QuickEditOff::QuickEditOff() = default;
QuickEditOff::~QuickEditOff() = default;

void waitForCharacter() {
  (void)here().enter(Call::waitForCharacter);
  ++here().keysAwaited;
}

std::string localAppData() {
  const Failure failure = here().enter(Call::localAppData);
  std::string folder;
  if (failure == Failure::none && here().localAppData) {
    folder = toAnsi(here().page, *here().localAppData);
  }
  if (folder.size() >= kPathBuffer) folder.clear();
  here().leave(folder);
  return folder;
}

bool pathExists(const std::string& path) {
  const Failure failure = here().enter(Call::pathExists, path);
  const bool there = failure == Failure::none && here().files.exists(named(path));
  here().leave(there);
  return there;
}

bool pathExistsWide(const std::wstring& path) {
  const Failure failure = here().enter(Call::pathExistsWide, path);
  const bool there = failure == Failure::none &&
                     here().files.exists(machine::fromWide(path.c_str()));
  here().leave(there);
  return there;
}

void createFolder(const std::string& path) {
  if (here().enter(Call::createFolder, path) == Failure::none) {
    (void)here().files.createFolder(named(path));
  }
}

void deleteFile(const std::string& path) {
  if (here().enter(Call::deleteFile, path) == Failure::none) {
    (void)here().files.removeFile(named(path));
  }
}

bool copyFileOver(const std::string& source, const std::string& target) {
  const Failure failure = here().enter(Call::copyFileOver, source, target);
  if (failure == Failure::stop) {
    std::string bytes;
    if (here().files.read(named(source), bytes) == FileError::none) {
      (void)here().files.write(named(target), bytes.substr(0, bytes.size() / 2));
    }
    throw machine::Stopped{};
  }
  if (failure == Failure::full) (void)here().files.removeFile(named(target));
  const bool copied = failure == Failure::none &&
                      here().files.copy(named(source), named(target)) == FileError::none;
  here().leave(copied);
  return copied;
}

std::optional<std::uint64_t> fileSize(const std::string& path) {
  const Failure failure = here().enter(Call::fileSize, path);
  std::optional<std::uint64_t> size;
  if (failure == Failure::none) size = here().files.size(named(path));
  here().leave(size ? std::to_string(*size) : "nothing");
  return size;
}

struct FolderListing::State {
  std::vector<machine::ListedFile> found;
  std::size_t at = 0;
  FolderEntry entry;
};

FolderListing::FolderListing(const std::string& pattern) : state_(std::make_unique<State>()) {
  const Failure failure = here().enter(Call::listFolder, pattern);
  const bool started =
      failure == Failure::none &&
      here().files.list(named(pattern), state_->found) == FileError::none;
  if (!started) state_.reset();
  here().leave(started);
}

FolderListing::~FolderListing() = default;

const FolderEntry* FolderListing::next() {
  const Failure failure = here().enter(Call::nextEntry);
  if (!state_ || failure != Failure::none || state_->at == state_->found.size()) {
    here().leave("nothing");
    return nullptr;
  }
  const machine::ListedFile& file = state_->found[state_->at++];
  state_->entry = {toAnsi(here().page, file.name), file.isFolder, file.bytes};
  here().leave(state_->entry.name);
  return &state_->entry;
}

struct Process::Handles {
  unsigned long id = 0;
};

Process::Process(std::unique_ptr<Handles> handles) : handles_(std::move(handles)) {}
Process::Process(Process&&) noexcept = default;
Process& Process::operator=(Process&&) noexcept = default;
Process::~Process() = default;

void Process::waitForEnd() const {
  if (here().enter(Call::waitForEnd) != Failure::none) return;
  here().waitForEnd(handles_->id);
}

void Process::waitForEnd(unsigned milliseconds) const {
  if (here().enter(Call::waitForEndLimited, milliseconds) != Failure::none) return;
  here().waitForEnd(handles_->id, milliseconds);
}

namespace {

StartResult startWith(Failure failure, const Units& commandLine,
                      const std::optional<Units>& folder) {
  unsigned long error = 0;
  auto handles = std::make_unique<Process::Handles>();
  if (failure == Failure::notFound) {
    error = kFileNotFound;
  } else if (failure == Failure::denied) {
    error = kDenied;
  } else {
    error = here().start(commandLine, folder, handles->id);
  }
  here().leave(error == 0 ? "started" : "error " + std::to_string(error));
  if (error != 0) return {std::nullopt, error};
  return {Process(std::move(handles)), 0};
}

}  // namespace

StartResult startProcess(const std::string& commandLine) {
  const Failure failure = here().enter(Call::startProcess, commandLine);
  return startWith(failure, named(commandLine), std::nullopt);
}

StartResult startProcessWide(const std::wstring& commandLine, const wchar_t* folder) {
  const Failure failure = here().enter(Call::startProcessWide, commandLine,
                                       std::wstring(folder ? folder : L""));
  std::optional<Units> inFolder;
  if (folder) inFolder = machine::fromWide(folder);
  return startWith(failure, machine::fromWide(commandLine.c_str()), inFolder);
}

unsigned long findProcessByName(const wchar_t* imageName) {
  const Failure failure = here().enter(Call::findProcessByName, std::wstring(imageName));
  const unsigned long id =
      failure == Failure::none ? here().find(machine::fromWide(imageName)) : 0;
  here().leave(id);
  return id;
}

std::optional<Process> openProcess(unsigned long processId) {
  const Failure failure = here().enter(Call::openProcess, processId);
  const bool opened = failure == Failure::none && here().runs(processId) &&
                      !here().isLocked(processId);
  here().leave(opened);
  if (!opened) return std::nullopt;
  auto handles = std::make_unique<Process::Handles>();
  handles->id = processId;
  return Process(std::move(handles));
}

std::string ansiToUtf8(const std::string& text) {
  const Failure failure = here().enter(Call::ansiToUtf8, text);
  const std::string utf8 = machine::toUtf8(here().ansi(text));
  return failure == Failure::none ? utf8 : text;
}

std::wstring ansiToWide(const std::string& text) {
  const Failure failure = here().enter(Call::ansiToWide, text);
  return failure == Failure::none ? machine::toWide(here().ansi(text)) : std::wstring();
}

std::wstring utf8ToWide(const std::string& text) {
  const Failure failure = here().enter(Call::utf8ToWide, text);
  return failure == Failure::none ? machine::toWide(machine::fromUtf8(text)) : std::wstring();
}

std::string wideToUtf8(const std::wstring& text) {
  const Failure failure = here().enter(Call::wideToUtf8, text);
  return failure == Failure::none ? machine::toUtf8(machine::fromWide(text)) : std::string();
}

void showMessage(const std::wstring& text, MessageIcon icon) {
  const bool isError = icon == MessageIcon::error;
  if (here().enter(Call::showMessage, text, std::string(isError ? "error" : "information")) !=
      Failure::none) {
    return;
  }
  here().boxes.push_back({machine::fromWide(text.c_str()), "KOV 周赛"});
  here().advance(here().boxMs);
}

void showPlainMessage(const std::string& text) {
  if (here().enter(Call::showPlainMessage, text) != Failure::none) return;
  here().boxes.push_back({named(text), "KOV"});
  here().advance(here().boxMs);
}

void openInBrowser(const std::string& address) {
  if (here().enter(Call::openInBrowser, address) != Failure::none) return;
  here().browser.push_back(machine::toUtf8(named(address)));
}

LocalTime localTimeNow() {
  (void)here().enter(Call::localTimeNow);
  const auto local = std::chrono::milliseconds(here().now()) +
                     std::chrono::minutes(here().zoneMinutes);
  const auto day = std::chrono::floor<std::chrono::days>(local);
  const std::chrono::year_month_day date{std::chrono::sys_days(day)};
  const std::chrono::hh_mm_ss clock(std::chrono::floor<std::chrono::seconds>(local - day));
  return {static_cast<int>(date.year()),
          static_cast<int>(static_cast<unsigned>(date.month())),
          static_cast<int>(static_cast<unsigned>(date.day())),
          static_cast<int>(clock.hours().count()),
          static_cast<int>(clock.minutes().count()),
          static_cast<int>(clock.seconds().count())};
}

void sleepMilliseconds(unsigned milliseconds) {
  (void)here().enter(Call::sleepMilliseconds, milliseconds);
  here().advance(milliseconds);
}

}  // namespace launcher
