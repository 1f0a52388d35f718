#include "check/system.h"

#include "core/platform.h"
#include "core/win_handle.h"

namespace launcher::check {
namespace {

constexpr char kProbe[] = "kov_check.tmp";
constexpr wchar_t kMark[] = L":Zone.Identifier";
/// How often, and how far apart, a file that another program has open is tried: a virus scanner
/// is done in a moment.
constexpr int kReplaceTries = 20;
constexpr DWORD kReplacePauseMs = 50;

std::string number(unsigned long value) { return std::to_string(value); }

bool writeTo(HANDLE file, const std::string& bytes) {
  DWORD written = 0;
  return WriteFile(file, bytes.data(), static_cast<DWORD>(bytes.size()), &written, nullptr) &&
         written == bytes.size();
}

std::string readFrom(HANDLE file, std::size_t bytes) {
  std::string text(bytes, '\0');
  DWORD got = 0;
  if (!ReadFile(file, text.data(), static_cast<DWORD>(bytes), &got, nullptr)) return {};
  text.resize(got);
  return text;
}

}  // namespace

unsigned ansiCodePage() { return GetACP(); }

unsigned oemCodePage() { return GetOEMCP(); }

std::string windowsVersion() {
  // Programs are told an older version unless their manifest names the newest one, as ours does.
  using GetVersion = LONG(WINAPI*)(OSVERSIONINFOW*);
  const FARPROC found = GetProcAddress(GetModuleHandleW(L"ntdll.dll"), "RtlGetVersion");
  OSVERSIONINFOW version = {};
  version.dwOSVersionInfoSize = sizeof(version);
  if (found == nullptr) return {};
  (void)reinterpret_cast<GetVersion>(reinterpret_cast<void*>(found))(&version);
  return number(version.dwMajorVersion) + "." + number(version.dwMinorVersion) + "." +
         number(version.dwBuildNumber);
}

std::string interfaceLanguageName() {
  wchar_t name[LOCALE_NAME_MAX_LENGTH] = {};
  const LCID locale = MAKELCID(GetUserDefaultUILanguage(), SORT_DEFAULT);
  (void)LCIDToLocaleName(locale, name, LOCALE_NAME_MAX_LENGTH, 0);
  return wideToUtf8(name);
}

bool interfaceIsChinese() {
  return PRIMARYLANGID(GetUserDefaultUILanguage()) == LANG_CHINESE;
}

std::optional<std::string> toAnsi(const std::wstring& text) {
  const int units = static_cast<int>(text.size());
  const int bytes = WideCharToMultiByte(CP_ACP, WC_NO_BEST_FIT_CHARS, text.data(), units, nullptr,
                                        0, nullptr, nullptr);
  std::string ansi(static_cast<std::size_t>(bytes), '\0');
  (void)WideCharToMultiByte(CP_ACP, WC_NO_BEST_FIT_CHARS, text.data(), units, ansi.data(), bytes,
                            nullptr, nullptr);
  if (ansiToWide(ansi) != text) return std::nullopt;
  return ansi;
}

std::string environmentValue(const wchar_t* name) {
  std::wstring value(GetEnvironmentVariableW(name, nullptr, 0), L'\0');
  if (value.empty()) return {};
  value.resize(GetEnvironmentVariableW(name, value.data(), static_cast<DWORD>(value.size())));
  return wideToUtf8(value);
}

std::wstring temporaryFolder() {
  wchar_t folder[MAX_PATH + 1] = {};
  return std::wstring(folder, GetTempPathW(MAX_PATH + 1, folder));
}

bool isMarkedAsDownloaded(const std::wstring& file) { return pathExistsWide(file + kMark); }

bool removeDownloadMark(const std::wstring& file) {
  (void)DeleteFileW((file + kMark).c_str());
  return !isMarkedAsDownloaded(file);
}

bool isFolder(const std::string& path) {
  const DWORD attributes = GetFileAttributesA(path.c_str());
  return attributes != INVALID_FILE_ATTRIBUTES && (attributes & FILE_ATTRIBUTE_DIRECTORY) != 0;
}

bool canCreateFolder(const std::string& path) {
  if (!CreateDirectoryA(path.c_str(), nullptr)) return false;
  (void)RemoveDirectoryA(path.c_str());
  return true;
}

bool canWriteInto(const std::string& folder) {
  const std::string path = folder + "\\" + kProbe;
  const UniqueFile file(CreateFileA(path.c_str(), GENERIC_READ | GENERIC_WRITE | DELETE, 0,
                                    nullptr, CREATE_ALWAYS,
                                    FILE_ATTRIBUTE_TEMPORARY | FILE_FLAG_DELETE_ON_CLOSE,
                                    nullptr));
  if (!file || !writeTo(file.get(), kProbe)) return false;
  if (SetFilePointer(file.get(), 0, nullptr, FILE_BEGIN) != 0) return false;
  return readFrom(file.get(), sizeof(kProbe) - 1) == kProbe;
}

std::optional<std::uint64_t> freeBytes(const std::string& folder) {
  ULARGE_INTEGER available = {};
  if (!GetDiskFreeSpaceExA(folder.c_str(), &available, nullptr, nullptr)) return std::nullopt;
  return available.QuadPart;
}

std::optional<std::string> readFileEnd(const std::string& path, std::size_t bytes) {
  const UniqueFile file(CreateFileA(path.c_str(), GENERIC_READ,
                                    FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE,
                                    nullptr, OPEN_EXISTING, 0, nullptr));
  LARGE_INTEGER size = {};
  if (!file || !GetFileSizeEx(file.get(), &size)) return std::nullopt;
  const auto whole = static_cast<std::uint64_t>(size.QuadPart);
  LARGE_INTEGER start = {};
  start.QuadPart = static_cast<LONGLONG>(whole > bytes ? whole - bytes : 0);
  if (!SetFilePointerEx(file.get(), start, nullptr, FILE_BEGIN)) return std::nullopt;
  return readFrom(file.get(), static_cast<std::size_t>(whole - static_cast<std::uint64_t>(start.QuadPart)));
}

bool writeNewFile(const std::string& path, const std::string& bytes) {
  UniqueFile file(CreateFileA(path.c_str(), GENERIC_WRITE, 0, nullptr, CREATE_NEW,
                              FILE_ATTRIBUTE_NORMAL, nullptr));
  if (!file) return false;
  if (writeTo(file.get(), bytes)) return true;
  file.reset();
  (void)DeleteFileA(path.c_str());
  return false;
}

bool replaceFile(const std::string& path, const std::string& bytes) {
  const std::string fresh = path + ".kov-new";
  (void)DeleteFileA(fresh.c_str());
  if (!writeNewFile(fresh, bytes)) return false;
  for (int i = 0; i < kReplaceTries; ++i) {
    if (i > 0) Sleep(kReplacePauseMs);
    if (MoveFileExA(fresh.c_str(), path.c_str(),
                    MOVEFILE_REPLACE_EXISTING | MOVEFILE_WRITE_THROUGH)) {
      return true;
    }
  }
  (void)DeleteFileA(fresh.c_str());
  return false;
}

bool writeFileWhole(const std::wstring& path, const std::string& bytes) {
  const UniqueFile file(CreateFileW(path.c_str(), GENERIC_WRITE, 0, nullptr, CREATE_ALWAYS,
                                    FILE_ATTRIBUTE_NORMAL, nullptr));
  return file && writeTo(file.get(), bytes);
}

std::wstring wholePath(const std::wstring& path) {
  std::wstring whole(GetFullPathNameW(path.c_str(), 0, nullptr, nullptr), L'\0');
  if (whole.empty()) return path;
  whole.resize(GetFullPathNameW(path.c_str(), static_cast<DWORD>(whole.size()), whole.data(),
                                nullptr));
  return whole;
}

std::int64_t secondsNow() {
  constexpr std::int64_t kTicksPerSecond = 10000000;
  constexpr std::int64_t k1601To1970Seconds = 11644473600;
  FILETIME now = {};
  GetSystemTimeAsFileTime(&now);
  const auto ticks = (static_cast<std::int64_t>(now.dwHighDateTime) << 32) | now.dwLowDateTime;
  return ticks / kTicksPerSecond - k1601To1970Seconds;
}

void writeOutput(const std::string& text) {
  if (writeTo(GetStdHandle(STD_OUTPUT_HANDLE), text)) return;
  if (!AttachConsole(ATTACH_PARENT_PROCESS)) return;
  const UniqueFile console(CreateFileW(L"CONOUT$", GENERIC_READ | GENERIC_WRITE,
                                       FILE_SHARE_READ | FILE_SHARE_WRITE, nullptr,
                                       OPEN_EXISTING, 0, nullptr));
  const UINT codePage = GetConsoleOutputCP();
  (void)SetConsoleOutputCP(CP_UTF8);
  if (console) (void)writeTo(console.get(), text);
  (void)SetConsoleOutputCP(codePage);
}

}  // namespace launcher::check
