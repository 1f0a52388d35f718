#include "core/platform.h"

#include <cstdio>
#include <cwchar>

#include "core/win_handle.h"

#include <shellapi.h>
#include <tlhelp32.h>

namespace launcher {
namespace {

constexpr DWORD kPathBuffer = 260;

bool startCom() {
  return SUCCEEDED(CoInitializeEx(nullptr, COINIT_APARTMENTTHREADED | COINIT_DISABLE_OLE1DDE));
}

std::uint64_t wholeSize(DWORD high, DWORD low) {
  return (static_cast<std::uint64_t>(high) << 32) | low;
}

std::wstring toWide(unsigned codePage, const std::string& text) {
  const int bytes = static_cast<int>(text.size());
  const int length = MultiByteToWideChar(codePage, 0, text.data(), bytes, nullptr, 0);
  if (length <= 0) return {};
  std::wstring wide(static_cast<std::size_t>(length), L'\0');
  (void)MultiByteToWideChar(codePage, 0, text.data(), bytes, wide.data(), length);
  return wide;
}

}  // namespace

std::string programPath() {
  char buffer[kPathBuffer] = {};
  const DWORD length = GetModuleFileNameA(nullptr, buffer, kPathBuffer);
  return std::string(buffer, length < kPathBuffer ? length : kPathBuffer - 1);
}

std::wstring programPathWide() {
  wchar_t buffer[kPathBuffer] = {};
  const DWORD length = GetModuleFileNameW(nullptr, buffer, kPathBuffer);
  return std::wstring(buffer, length < kPathBuffer ? length : kPathBuffer - 1);
}

void loadLibrariesFromSystemOnly() {
  (void)SetDefaultDllDirectories(LOAD_LIBRARY_SEARCH_SYSTEM32);
}

void takeMissingDisksForMissingFiles() {
  (void)SetThreadErrorMode(SEM_FAILCRITICALERRORS, nullptr);
}

void prepareConsole() {
  (void)SetConsoleOutputCP(CP_UTF8);
  (void)SetConsoleCP(CP_UTF8);
}

QuickEditOff::QuickEditOff() {
  const HANDLE input = GetStdHandle(STD_INPUT_HANDLE);
  DWORD found = 0;
  if (!GetConsoleMode(input, &found)) return;
  found_ = found;
  const DWORD quickEdit = ENABLE_QUICK_EDIT_MODE;
  (void)SetConsoleMode(input, (found & ~quickEdit) | ENABLE_EXTENDED_FLAGS);
}

QuickEditOff::~QuickEditOff() {
  if (found_) (void)SetConsoleMode(GetStdHandle(STD_INPUT_HANDLE), *found_);
}

void waitForCharacter() { (void)std::getchar(); }

std::string localAppData() {
  char buffer[kPathBuffer] = {};
  const DWORD length = GetEnvironmentVariableA("LOCALAPPDATA", buffer, kPathBuffer);
  if (length == 0 || length >= kPathBuffer) return {};
  return std::string(buffer, length);
}

bool pathExists(const std::string& path) {
  return GetFileAttributesA(path.c_str()) != INVALID_FILE_ATTRIBUTES;
}

bool pathExistsWide(const std::wstring& path) {
  return GetFileAttributesW(path.c_str()) != INVALID_FILE_ATTRIBUTES;
}

void createFolder(const std::string& path) { (void)CreateDirectoryA(path.c_str(), nullptr); }

void deleteFile(const std::string& path) { (void)DeleteFileA(path.c_str()); }

bool copyFileOver(const std::string& source, const std::string& target) {
  return CopyFileA(source.c_str(), target.c_str(), FALSE) != 0;
}

std::optional<std::uint64_t> fileSize(const std::string& path) {
  WIN32_FILE_ATTRIBUTE_DATA data = {};
  if (!GetFileAttributesExA(path.c_str(), GetFileExInfoStandard, &data)) return std::nullopt;
  return wholeSize(data.nFileSizeHigh, data.nFileSizeLow);
}

struct FolderListing::State {
  WIN32_FIND_DATAA data = {};
  UniqueListing listing;
  bool first = true;
  FolderEntry entry;
};

FolderListing::FolderListing(const std::string& pattern) : state_(std::make_unique<State>()) {
  state_->listing = UniqueListing(FindFirstFileA(pattern.c_str(), &state_->data));
  if (!state_->listing) state_.reset();
}

FolderListing::~FolderListing() = default;

const FolderEntry* FolderListing::next() {
  if (!state_) return nullptr;
  const bool there =
      state_->first || FindNextFileA(state_->listing.get(), &state_->data) != 0;
  state_->first = false;
  if (!there) return nullptr;
  const WIN32_FIND_DATAA& data = state_->data;
  state_->entry.name = data.cFileName;
  state_->entry.isFolder = (data.dwFileAttributes & FILE_ATTRIBUTE_DIRECTORY) != 0;
  state_->entry.bytes = wholeSize(data.nFileSizeHigh, data.nFileSizeLow);
  return &state_->entry;
}

struct Process::Handles {
  UniqueProcess process;
  UniqueProcess thread;
};

Process::Process(std::unique_ptr<Handles> handles) : handles_(std::move(handles)) {}
Process::Process(Process&&) noexcept = default;
Process& Process::operator=(Process&&) noexcept = default;
Process::~Process() = default;

void Process::waitForEnd() const {
  (void)WaitForSingleObject(handles_->process.get(), INFINITE);
}

void Process::waitForEnd(unsigned milliseconds) const {
  (void)WaitForSingleObject(handles_->process.get(), milliseconds);
}

namespace {

StartResult startResult(BOOL started, const PROCESS_INFORMATION& information) {
  if (!started) return {std::nullopt, GetLastError()};
  auto handles = std::make_unique<Process::Handles>();
  handles->process = UniqueProcess(information.hProcess);
  handles->thread = UniqueProcess(information.hThread);
  return {Process(std::move(handles)), 0};
}

}  // namespace

StartResult startProcess(const std::string& commandLine) {
  std::string writable = commandLine;
  STARTUPINFOA startup = {};
  startup.cb = sizeof(startup);
  PROCESS_INFORMATION information = {};
  const BOOL started = CreateProcessA(nullptr, writable.data(), nullptr, nullptr, FALSE, 0,
                                      nullptr, nullptr, &startup, &information);
  return startResult(started, information);
}

StartResult startProcessWide(const std::wstring& commandLine, const wchar_t* folder) {
  std::wstring writable = commandLine;
  STARTUPINFOW startup = {};
  startup.cb = sizeof(startup);
  PROCESS_INFORMATION information = {};
  const BOOL started = CreateProcessW(nullptr, writable.data(), nullptr, nullptr, FALSE, 0,
                                      nullptr, folder, &startup, &information);
  return startResult(started, information);
}

unsigned long findProcessByName(const wchar_t* imageName) {
  const UniqueFile snapshot(CreateToolhelp32Snapshot(TH32CS_SNAPPROCESS, 0));
  if (!snapshot) return 0;
  PROCESSENTRY32W entry = {};
  entry.dwSize = sizeof(entry);
  for (BOOL more = Process32FirstW(snapshot.get(), &entry); more;
       more = Process32NextW(snapshot.get(), &entry)) {
    if (_wcsicmp(entry.szExeFile, imageName) == 0) return entry.th32ProcessID;
  }
  return 0;
}

std::optional<Process> openProcess(unsigned long processId) {
  UniqueProcess process(OpenProcess(SYNCHRONIZE, FALSE, processId));
  if (!process) return std::nullopt;
  auto handles = std::make_unique<Process::Handles>();
  handles->process = std::move(process);
  return Process(std::move(handles));
}

std::string ansiToUtf8(const std::string& text) {
  const std::string utf8 = wideToUtf8(ansiToWide(text));
  return utf8.empty() ? text : utf8;
}

std::wstring ansiToWide(const std::string& text) { return toWide(CP_ACP, text); }

std::wstring utf8ToWide(const std::string& text) { return toWide(CP_UTF8, text); }

std::string wideToUtf8(const std::wstring& text) {
  const int units = static_cast<int>(text.size());
  const int length =
      WideCharToMultiByte(CP_UTF8, 0, text.data(), units, nullptr, 0, nullptr, nullptr);
  if (length <= 0) return {};
  std::string utf8(static_cast<std::size_t>(length), '\0');
  (void)WideCharToMultiByte(CP_UTF8, 0, text.data(), units, utf8.data(), length, nullptr,
                            nullptr);
  return utf8;
}

void showMessage(const std::wstring& text, MessageIcon icon) {
  const UINT iconStyle = icon == MessageIcon::error ? MB_ICONERROR : MB_ICONINFORMATION;
  (void)MessageBoxW(nullptr, text.c_str(), L"KOV 周赛", iconStyle | MB_TOPMOST);
}

void showPlainMessage(const std::string& text) {
  (void)MessageBoxA(nullptr, text.c_str(), "KOV", MB_SETFOREGROUND);
}

void openInBrowser(const std::string& address) {
  const UniqueCom com(startCom());
  SHELLEXECUTEINFOA page = {};
  page.cbSize = sizeof(page);
  page.fMask = SEE_MASK_NOASYNC | SEE_MASK_FLAG_NO_UI;
  page.lpVerb = "open";
  page.lpFile = address.c_str();
  page.nShow = SW_SHOWNORMAL;
  (void)ShellExecuteExA(&page);
}

LocalTime localTimeNow() {
  SYSTEMTIME now = {};
  GetLocalTime(&now);
  return {now.wYear, now.wMonth, now.wDay, now.wHour, now.wMinute, now.wSecond};
}

void sleepMilliseconds(unsigned milliseconds) { Sleep(milliseconds); }

}  // namespace launcher
