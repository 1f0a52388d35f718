// The system calls of a full run and nothing else: no parsing, no decisions, every path and
// text known beforehand. It takes the launcher's place on the stage of a finished run:
//
//     bare_run.exe <stage folder> <port of the race server>
//
// The file bin\lines.txt of the stage holds the log lines of such a run, which it writes too.
#include <winsock2.h>
#include <windows.h>

#include <mstcpip.h>
#include <objbase.h>
#include <shellapi.h>
#include <tlhelp32.h>

#include <cstdlib>
#include <cwchar>
#include <string>

#include "tests/bench/bare_request_win.h"

namespace {

constexpr char kGameBelowLibrary[] =
    "\\steamapps\\common\\EscapeTheBackrooms\\EscapeTheBackrooms\\Binaries\\Win64";
constexpr char kGame[] = "\\Backrooms-Win64-Shipping.exe";
constexpr const char* kModFiles[] = {"\\dwmapi.dll", "\\ue4ss\\UE4SS.dll",
                                     "\\ue4ss\\Mods\\KOVWeekly\\Scripts\\main.lua",
                                     "\\ue4ss\\Mods\\KOVWeekly\\enabled.txt"};
constexpr const char* kModFolders[] = {"", "\\ue4ss", "\\ue4ss\\Mods", "\\ue4ss\\Mods\\KOVWeekly",
                                       "\\ue4ss\\Mods\\KOVWeekly\\Scripts"};
constexpr unsigned short kTimerPort = 16834;

std::string root;
unsigned short serverPort = 0;
HANDLE logFile = INVALID_HANDLE_VALUE;
std::string lines;
std::size_t nextLine = 0;

void writeTo(HANDLE file, const char* bytes, std::size_t count) {
  DWORD written = 0;
  (void)WriteFile(file, bytes, static_cast<DWORD>(count), &written, nullptr);
}

/// The next lines of the log, each written to the file and to the console.
void say(int count) {
  for (; count > 0 && nextLine < lines.size(); --count) {
    const std::size_t end = lines.find('\n', nextLine) + 1;
    writeTo(logFile, lines.data() + nextLine, end - nextLine);
    writeTo(GetStdHandle(STD_OUTPUT_HANDLE), lines.data() + nextLine, end - nextLine);
    nextLine = end;
  }
}

HANDLE openForReading(const std::string& path) {
  return CreateFileA(path.c_str(), GENERIC_READ, FILE_SHARE_READ | FILE_SHARE_WRITE, nullptr,
                     OPEN_EXISTING, FILE_ATTRIBUTE_NORMAL, nullptr);
}

void tryToOpen(const std::string& path) {
  const HANDLE file = openForReading(path);
  if (file != INVALID_HANDLE_VALUE) (void)CloseHandle(file);
}

std::string readFile(const std::string& path) {
  const HANDLE file = openForReading(path);
  if (file == INVALID_HANDLE_VALUE) return {};
  std::string bytes(GetFileSize(file, nullptr), '\0');
  DWORD got = 0;
  (void)ReadFile(file, bytes.data(), static_cast<DWORD>(bytes.size()), &got, nullptr);
  (void)CloseHandle(file);
  return bytes;
}

void writeFile(const std::string& path, const std::string& bytes) {
  const HANDLE file = CreateFileA(path.c_str(), GENERIC_WRITE, FILE_SHARE_READ | FILE_SHARE_WRITE,
                                  nullptr, CREATE_ALWAYS, FILE_ATTRIBUTE_NORMAL, nullptr);
  writeTo(file, bytes.data(), bytes.size());
  (void)CloseHandle(file);
}

void queryAttributes(const std::string& path) { (void)GetFileAttributesA(path.c_str()); }

void readSteamPath() {
  HKEY key = nullptr;
  if (RegOpenKeyExW(HKEY_CURRENT_USER, L"Software\\Valve\\Steam", 0, KEY_READ, &key) != 0) return;
  wchar_t value[260] = {};
  DWORD bytes = sizeof value;
  (void)RegQueryValueExW(key, L"SteamPath", nullptr, nullptr, reinterpret_cast<BYTE*>(value),
                         &bytes);
  (void)RegCloseKey(key);
}

DWORD findProcess(const wchar_t* name) {
  const HANDLE snapshot = CreateToolhelp32Snapshot(TH32CS_SNAPPROCESS, 0);
  PROCESSENTRY32W entry = {};
  entry.dwSize = sizeof entry;
  DWORD id = 0;
  for (BOOL more = Process32FirstW(snapshot, &entry); more && id == 0;
       more = Process32NextW(snapshot, &entry)) {
    if (_wcsicmp(entry.szExeFile, name) == 0) id = entry.th32ProcessID;
  }
  (void)CloseHandle(snapshot);
  return id;
}

/// Starts a program and, with a limit, waits for its end; returns its handle when it is to be
/// waited for later.
HANDLE start(std::string commandLine) {
  STARTUPINFOA startup = {};
  startup.cb = sizeof startup;
  PROCESS_INFORMATION information = {};
  if (!CreateProcessA(nullptr, commandLine.data(), nullptr, nullptr, FALSE, 0, nullptr, nullptr,
                      &startup, &information)) {
    return nullptr;
  }
  (void)CloseHandle(information.hThread);
  return information.hProcess;
}

void waitAndClose(HANDLE process, DWORD limitMs) {
  if (process == nullptr) return;
  (void)WaitForSingleObject(process, limitMs);
  (void)CloseHandle(process);
}

/// One connection to the timer with one command; false when nothing listens.
bool askTimer(const std::string& command) {
  WSADATA data = {};
  (void)WSAStartup(MAKEWORD(2, 2), &data);
  const SOCKET socket = ::socket(AF_INET, SOCK_STREAM, IPPROTO_TCP);
  sockaddr_in address = {};
  address.sin_family = AF_INET;
  address.sin_port = htons(kTimerPort);
  address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
  TCP_INITIAL_RTO_PARAMETERS parameters = {TCP_INITIAL_RTO_UNSPECIFIED_RTT,
                                           TCP_INITIAL_RTO_NO_SYN_RETRANSMISSIONS};
  DWORD returned = 0;
  (void)WSAIoctl(socket, SIO_TCP_INITIAL_RTO, &parameters, sizeof parameters, nullptr, 0, &returned,
                 nullptr, nullptr);
  const bool connected =
      connect(socket, reinterpret_cast<const sockaddr*>(&address), sizeof address) == 0;
  if (connected) {
    char reply[512] = {};
    Sleep(250);
    (void)send(socket, command.data(), static_cast<int>(command.size()), 0);
    (void)recv(socket, reply, sizeof reply, 0);
  }
  (void)closesocket(socket);
  (void)WSACleanup();
  return connected;
}

std::string data(const char* name) { return root + "\\data" + name; }

// The run ----------------------------------------------------------------------------------

void begin() {
  (void)SetConsoleOutputCP(CP_UTF8);
  (void)SetConsoleCP(CP_UTF8);
  DWORD mode = 0;
  (void)GetConsoleMode(GetStdHandle(STD_INPUT_HANDLE), &mode);
  char own[260] = {};
  (void)GetModuleFileNameA(nullptr, own, sizeof own);
  logFile = CreateFileA((root + "\\app\\launcher.log").c_str(), FILE_APPEND_DATA,
                        FILE_SHARE_READ | FILE_SHARE_WRITE, nullptr, OPEN_ALWAYS,
                        FILE_ATTRIBUTE_NORMAL, nullptr);
  say(1);
  tryToOpen(root + "\\app\\profile_token.txt");
  tryToOpen(root + "\\app\\..\\data\\profile_token.txt");
  (void)readFile(root + "\\app\\launcher.ini");
}

void findGame(const std::string& gameFolder) {
  char local[260] = {};
  (void)GetEnvironmentVariableA("LOCALAPPDATA", local, sizeof local);
  queryAttributes("");
  readSteamPath();
  say(1);
  queryAttributes("");
  readSteamPath();
  (void)readFile(root + "\\steam\\steamapps\\libraryfolders.vdf");
  queryAttributes(root + "\\steam" + kGameBelowLibrary + kGame);
  queryAttributes(gameFolder + kGame);
  say(1);
  queryAttributes(gameFolder + kGame);
}

void compareMod(const std::string& gameFolder) {
  queryAttributes(gameFolder);
  queryAttributes(root + "\\pkg");
  say(1);
  for (const char* folder : kModFolders) {
    WIN32_FIND_DATAA found = {};
    const HANDLE listing = FindFirstFileA((root + "\\pkg" + folder + "\\*").c_str(), &found);
    (void)CreateDirectoryA((gameFolder + folder).c_str(), nullptr);
    while (FindNextFileA(listing, &found)) {
    }
    (void)FindClose(listing);
  }
  for (const char* file : kModFiles) {
    WIN32_FILE_ATTRIBUTE_DATA attributes = {};
    (void)GetFileAttributesExA((gameFolder + file).c_str(), GetFileExInfoStandard, &attributes);
  }
  for (const char* file : kModFiles) queryAttributes(gameFolder + file);
  say(1);
}

void startTimer() {
  const std::string timer = root + "\\ls\\LiveSplit.exe";
  std::string settings = readFile(root + "\\ls\\settings.cfg");
  writeFile(root + "\\ls\\settings.cfg", settings);
  say(1);
  (void)findProcess(L"LiveSplit.exe");
  queryAttributes(timer);
  queryAttributes(timer);
  const HANDLE process = start("\"" + timer + "\" \"" + root + "\\ls\\race.lss\"");
  (void)CloseHandle(process);
  say(2);
  queryAttributes(timer);
  (void)findProcess(L"LiveSplit.exe");
  say(1);
  while (!askTimer("getcurrenttimerphase\r\n")) Sleep(500);
  say(1);
}

void fetchWeek() {
  constexpr struct {
    const wchar_t* path;
    const char* file;
  } kFiles[] = {{L"/week/current", "\\week.json"},       {L"/leaderboard", "\\leaderboard.json"},
                {L"/board-data", "\\board_data.txt"},    {L"/board-en", "\\board_en.txt"},
                {L"/leaderboard.txt", "\\board.txt"},    {L"/leaderboard.tsv", "\\board.tsv"}};
  for (const auto& file : kFiles) {
    writeFile(data(file.file), bench::bareRequest(serverPort, L"GET", file.path, {}));
    say(1);
  }
  (void)readFile(data("\\week.json"));
  writeFile(data("\\rand_seed.txt"), "20261147");
  say(1);
  writeFile(data("\\timer.enabled"), "0");
  say(1);
  writeFile(data("\\board.toggle"), "0");
  writeFile(data("\\timer.enabled"), "0");
  WIN32_FIND_DATAA found = {};
  (void)FindFirstFileA(data("\\pending\\*.json").c_str(), &found);
}

void playGame() {
  constexpr wchar_t kImage[] = L"Backrooms-Win64-Shipping.exe";
  writeFile(data("\\launch.state"), "launching");
  say(1);
  DWORD id = findProcess(kImage);
  const std::string steam = root + "\\steam\\steam.exe";
  queryAttributes(steam);
  const HANDLE process = start("\"" + steam + "\" -applaunch 1943950");
  (void)CloseHandle(process);
  say(1);
  while (id == 0) {
    Sleep(500);
    id = findProcess(kImage);
  }
  const HANDLE game = OpenProcess(SYNCHRONIZE, FALSE, id);
  say(1);
  writeFile(data("\\launch.state"), "playing");
  waitAndClose(game, INFINITE);
  say(2);
}

HANDLE archiveAndShowProgress() {
  const std::string archived = readFile(root + "\\receipt.json");
  SYSTEMTIME now = {};
  GetLocalTime(&now);
  (void)CreateDirectoryA(data("\\receipts").c_str(), nullptr);
  writeFile(data("\\receipts\\receipt_20261121_034702.json"), archived);
  say(2);
  writeFile(data("\\launch.state"), "uploading");
  say(1);
  writeFile(data("\\upload.state"), "uploading");
  const std::string card = root + "\\app\\kov_result.exe";
  queryAttributes(card);
  return start("\"" + card + "\" --mode progress --state \"" + data("\\upload.state") + "\"");
}

void upload() {
  (void)askTimer("getfinaltime\r\n");
  say(1);
  tryToOpen(data("\\kovw_result.json"));
  const std::string receipt = readFile(root + "\\receipt.json");
  (void)askTimer("getcurrenttimerphase\r\n");
  say(2);
  (void)askTimer("getfinaltime\r\n");
  say(1);
  (void)askTimer("getfinaltime\r\n");
  say(2);
  readSteamPath();
  (void)readFile(root + "\\steam\\config\\loginusers.vdf");
  (void)bench::bareRequest(serverPort, L"POST", L"/submit",
                  "{\"player\":\"runner\",\"playerId\":\"76561198000000001\"," +
                      receipt.substr(1));
  writeFile(data("\\profile_token.txt"), "kq7-4821");
  say(1);
  tryToOpen(data("\\profile_opened.flag"));
  (void)readFile(root + "\\app\\launcher.ini");
  (void)CoInitializeEx(nullptr, COINIT_APARTMENTTHREADED | COINIT_DISABLE_OLE1DDE);
  SHELLEXECUTEINFOA page = {};
  page.cbSize = sizeof page;
  page.fMask = SEE_MASK_NOASYNC | SEE_MASK_FLAG_NO_UI;
  page.lpVerb = "open";
  page.lpFile = "https://kov-race.example/profile?token=kq7-4821";
  page.nShow = SW_SHOWNORMAL;
  (void)ShellExecuteExA(&page);
  CoUninitialize();
  writeFile(data("\\profile_opened.flag"), "1");
  say(2);
  (void)DeleteFileA((root + "\\receipt.json").c_str());
}

void end(HANDLE progressCard) {
  writeFile(data("\\upload.state"), "done");
  waitAndClose(progressCard, 4000);
  tryToOpen(data("\\kovw_result.json"));
  tryToOpen(root + "\\receipt.json");
  say(1);
  wchar_t own[260] = {};
  (void)GetModuleFileNameW(nullptr, own, 260);
  const std::string card = root + "\\app\\kov_result.exe";
  queryAttributes(card);
  tryToOpen(data("\\profile_opened.flag"));
  say(1);
  waitAndClose(start("\"" + card + "\" --kind ok --title t --rank 1 --points 100 --ok 1"), 15000);
  writeFile(data("\\launch.state"), "done");
  say(1);
  (void)CloseHandle(logFile);
  writeTo(GetStdHandle(STD_OUTPUT_HANDLE), "\n", 1);
  char key = 0;
  DWORD got = 0;
  (void)ReadFile(GetStdHandle(STD_INPUT_HANDLE), &key, 1, &got, nullptr);
}

}  // namespace

int wmain(int count, wchar_t** arguments) {
  if (count < 3) return 1;
  for (const wchar_t* at = arguments[1]; *at != L'\0'; ++at) root += static_cast<char>(*at);
  serverPort = static_cast<unsigned short>(wcstoul(arguments[2], nullptr, 10));
  lines = readFile(root + "\\bin\\lines.txt");
  const std::string gameFolder = root + "\\lib2" + kGameBelowLibrary;
  begin();
  findGame(gameFolder);
  compareMod(gameFolder);
  readSteamPath();
  (void)readFile(root + "\\steam\\config\\loginusers.vdf");
  say(1);
  (void)CreateDirectoryA(data("").c_str(), nullptr);
  (void)CreateDirectoryA(data("\\receipts").c_str(), nullptr);
  startTimer();
  fetchWeek();
  playGame();
  const HANDLE progressCard = archiveAndShowProgress();
  upload();
  end(progressCard);
  return 0;
}
