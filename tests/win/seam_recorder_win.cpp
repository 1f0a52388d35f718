#include "tests/win/seam_recorder_win.h"

#include <cstdarg>
#include <cstdint>
#include <cstdio>
#include <optional>
#include <string_view>
#include <type_traits>

#include "core/file_io.h"
#include "core/log.h"
#include "core/platform.h"
#include "livesplit/connection.h"
#include "rehearsal/stage/text.h"
#include "server/http.h"
#include "steam/registry.h"
#include "tests/machine/call_text.h"

// Begins the function that stands between the callers of a function of the seam and Windows'
// body of it, which is real_NAME here. tests/CMakeLists.txt reads the symbols from this file
// and has the linker wrap each (--wrap). A member's object is its first parameter.
#define KOV_BETWEEN(symbol, result, name, parameters)      \
  result real_##name parameters __asm__("__real_" symbol); \
  result wrap_##name parameters __asm__("__wrap_" symbol); \
  result wrap_##name parameters

// The same for one that writes a formatted text: the text is its argument.
#define KOV_BETWEEN_TEXTS(symbol, name)                                                   \
  void real_##name(const char* format, ...) __asm__("__real_" symbol) KOV_PRINTF;         \
  void wrap_##name(const char* format, ...) __asm__("__wrap_" symbol) KOV_PRINTF;         \
  void wrap_##name(const char* format, ...) {                                             \
    std::va_list values;                                                                  \
    va_start(values, format);                                                             \
    const std::string text = formatText(format, values);                                  \
    va_end(values);                                                                       \
    const Note call(#name, text);                                                         \
    real_##name("%s", text.c_str());                                                      \
  }

namespace launcher {
namespace {

std::vector<std::string>* noted = nullptr;
int depth = 0;

std::string shown(std::string_view text) { return machine::onOneLine(text); }
std::string shown(const std::string& text) { return machine::onOneLine(text); }
std::string shown(const std::wstring& text) { return machine::onOneLine(stage::toUtf8(text)); }
std::string shown(bool value) { return value ? "yes" : "no"; }
std::string shown(unsigned value) { return std::to_string(value); }
std::string shown(unsigned long value) { return std::to_string(value); }

/// A call until its return. One that a body makes itself is none of the seam.
class Note {
 public:
  template <class... Arguments>
  explicit Note(const char* name, const Arguments&... arguments) {
    isOn_ = noted != nullptr && depth++ == 0;
    if (isOn_) noted->push_back(machine::callText(name, {shown(arguments)...}));
  }
  Note(const Note&) = delete;
  Note& operator=(const Note&) = delete;
  ~Note() {
    if (noted != nullptr) --depth;
  }

  template <class Result>
  void leave(const Result& result) {
    if (isOn_) noted->back() += " -> " + shown(result);
  }

 private:
  bool isOn_ = false;
};

/// A call whose result is no part of its note.
template <class Result, class... Parameters>
Result note(const char* name, Result (*real)(Parameters...),
            std::type_identity_t<Parameters>... arguments) {
  const Note call(name, arguments...);
  return real(arguments...);
}

/// And one whose result is.
template <class Result, class... Parameters>
Result noteAll(const char* name, Result (*real)(Parameters...),
               std::type_identity_t<Parameters>... arguments) {
  Note call(name, arguments...);
  Result result = real(arguments...);
  call.leave(result);
  return result;
}

std::string sizeOf(const std::optional<std::string>& bytes) {
  return bytes ? std::to_string(bytes->size()) + " bytes" : "nothing";
}

std::string howItWent(const StartResult& result) {
  return result.process ? "started" : "error " + std::to_string(result.error);
}

__attribute__((format(gnu_printf, 1, 0))) std::string formatText(const char* format,
                                                                 std::va_list values) {
  std::va_list again;
  va_copy(again, values);
  const int length = std::vsnprintf(nullptr, 0, format, again);
  va_end(again);
  std::string text(length > 0 ? static_cast<std::size_t>(length) : 0, '\0');
  (void)std::vsnprintf(text.data(), text.size() + 1, format, values);
  return text;
}

}  // namespace

// core/platform.h

KOV_BETWEEN("_ZN8launcher11programPathB5cxx11Ev", std::string, programPath, ()) {
  return noteAll("programPath", real_programPath);
}
KOV_BETWEEN("_ZN8launcher15programPathWideB5cxx11Ev", std::wstring, programPathWide, ()) {
  return noteAll("programPathWide", real_programPathWide);
}
KOV_BETWEEN("_ZN8launcher27loadLibrariesFromSystemOnlyEv", void, loadLibrariesFromSystemOnly, ()) {
  note("loadLibrariesFromSystemOnly", real_loadLibrariesFromSystemOnly);
}
KOV_BETWEEN("_ZN8launcher14prepareConsoleEv", void, prepareConsole, ()) {
  note("prepareConsole", real_prepareConsole);
}
KOV_BETWEEN("_ZN8launcher12localAppDataB5cxx11Ev", std::string, localAppData, ()) {
  return noteAll("localAppData", real_localAppData);
}
KOV_BETWEEN("_ZN8launcher10pathExistsERKNSt7__cxx1112basic_stringIcSt11char_traitsIcESaIcEEE",
            bool, pathExists, (const std::string& path)) {
  return noteAll("pathExists", real_pathExists, path);
}
KOV_BETWEEN("_ZN8launcher14pathExistsWideERKNSt7__cxx1112basic_stringIwSt11char_traitsIwESaIwEEE",
            bool, pathExistsWide, (const std::wstring& path)) {
  return noteAll("pathExistsWide", real_pathExistsWide, path);
}
KOV_BETWEEN("_ZN8launcher12createFolderERKNSt7__cxx1112basic_stringIcSt11char_traitsIcESaIcEEE",
            void, createFolder, (const std::string& path)) {
  note("createFolder", real_createFolder, path);
}
KOV_BETWEEN("_ZN8launcher10deleteFileERKNSt7__cxx1112basic_stringIcSt11char_traitsIcESaIcEEE",
            void, deleteFile, (const std::string& path)) {
  note("deleteFile", real_deleteFile, path);
}
KOV_BETWEEN("_ZN8launcher12copyFileOverERKNSt7__cxx1112basic_stringIcSt11char_traitsIcESaIcEEES7_",
            bool, copyFileOver, (const std::string& source, const std::string& target)) {
  return noteAll("copyFileOver", real_copyFileOver, source, target);
}
KOV_BETWEEN("_ZN8launcher8fileSizeERKNSt7__cxx1112basic_stringIcSt11char_traitsIcESaIcEEE",
            std::optional<std::uint64_t>, fileSize, (const std::string& path)) {
  Note call("fileSize", path);
  std::optional<std::uint64_t> size = real_fileSize(path);
  call.leave(size ? std::to_string(*size) : std::string("nothing"));
  return size;
}
KOV_BETWEEN("_ZN8launcher13FolderListingC1ERKNSt7__cxx1112basic_stringIcSt11char_traitsIcESaIcEEE",
            void, listFolder, (FolderListing* listing, const std::string& pattern)) {
  Note call("listFolder", pattern);
  real_listFolder(listing, pattern);
  call.leave(listing->started());
}
KOV_BETWEEN("_ZN8launcher13FolderListing4nextEv",
            const FolderEntry*, nextEntry, (FolderListing* listing)) {
  Note call("nextEntry");
  const FolderEntry* entry = real_nextEntry(listing);
  call.leave(entry != nullptr ? entry->name : std::string("nothing"));
  return entry;
}
KOV_BETWEEN("_ZNK8launcher7Process10waitForEndEv", void, waitForEnd, (const Process* process)) {
  const Note call("waitForEnd");
  real_waitForEnd(process);
}
KOV_BETWEEN("_ZNK8launcher7Process10waitForEndEj",
            void, waitForEndLimited, (const Process* process, unsigned milliseconds)) {
  const Note call("waitForEndLimited", milliseconds);
  real_waitForEndLimited(process, milliseconds);
}
KOV_BETWEEN("_ZN8launcher12startProcessERKNSt7__cxx1112basic_stringIcSt11char_traitsIcESaIcEEE",
            StartResult, startProcess, (const std::string& commandLine)) {
  Note call("startProcess", commandLine);
  StartResult result = real_startProcess(commandLine);
  call.leave(howItWent(result));
  return result;
}
KOV_BETWEEN("_ZN8launcher16startProcessWideERKNSt7__cxx1112basic_stringIwSt11char_traitsIwESaIwEEEPKw",
            StartResult, startProcessWide,
            (const std::wstring& commandLine, const wchar_t* folder)) {
  Note call("startProcessWide", commandLine, std::wstring(folder != nullptr ? folder : L""));
  StartResult result = real_startProcessWide(commandLine, folder);
  call.leave(howItWent(result));
  return result;
}
KOV_BETWEEN("_ZN8launcher17findProcessByNameEPKw",
            unsigned long, findProcessByName, (const wchar_t* imageName)) {
  Note call("findProcessByName", std::wstring(imageName));
  const unsigned long id = real_findProcessByName(imageName);
  call.leave(id);
  return id;
}
KOV_BETWEEN("_ZN8launcher11openProcessEm",
            std::optional<Process>, openProcess, (unsigned long processId)) {
  Note call("openProcess", processId);
  std::optional<Process> process = real_openProcess(processId);
  call.leave(process.has_value());
  return process;
}
KOV_BETWEEN("_ZN8launcher10ansiToUtf8ERKNSt7__cxx1112basic_stringIcSt11char_traitsIcESaIcEEE",
            std::string, ansiToUtf8, (const std::string& text)) {
  return note("ansiToUtf8", real_ansiToUtf8, text);
}
KOV_BETWEEN("_ZN8launcher10ansiToWideERKNSt7__cxx1112basic_stringIcSt11char_traitsIcESaIcEEE",
            std::wstring, ansiToWide, (const std::string& text)) {
  return note("ansiToWide", real_ansiToWide, text);
}
KOV_BETWEEN("_ZN8launcher10utf8ToWideERKNSt7__cxx1112basic_stringIcSt11char_traitsIcESaIcEEE",
            std::wstring, utf8ToWide, (const std::string& text)) {
  return note("utf8ToWide", real_utf8ToWide, text);
}
KOV_BETWEEN("_ZN8launcher10wideToUtf8ERKNSt7__cxx1112basic_stringIwSt11char_traitsIwESaIwEEE",
            std::string, wideToUtf8, (const std::wstring& text)) {
  return note("wideToUtf8", real_wideToUtf8, text);
}
KOV_BETWEEN("_ZN8launcher12localTimeNowEv", LocalTime, localTimeNow, ()) {
  return note("localTimeNow", real_localTimeNow);
}
KOV_BETWEEN("_ZN8launcher17sleepMillisecondsEj", void, sleepMilliseconds, (unsigned milliseconds)) {
  note("sleepMilliseconds", real_sleepMilliseconds, milliseconds);
}

// core/file_io.h

KOV_BETWEEN("_ZN8launcher8readFileERKNSt7__cxx1112basic_stringIcSt11char_traitsIcESaIcEEE",
            std::optional<std::string>, readFile, (const std::string& path)) {
  Note call("readFile", path);
  std::optional<std::string> bytes = real_readFile(path);
  call.leave(sizeOf(bytes));
  return bytes;
}
KOV_BETWEEN("_ZN8launcher13readWholeFileERKNSt7__cxx1112basic_stringIcSt11char_traitsIcESaIcEEE",
            std::string, readWholeFile, (const std::string& path)) {
  Note call("readWholeFile", path);
  std::string bytes = real_readWholeFile(path);
  call.leave(sizeOf(bytes));
  return bytes;
}
KOV_BETWEEN("_ZN8launcher13readFileStartERKNSt7__cxx1112basic_stringIcSt11char_traitsIcESaIcEEEy",
            std::optional<std::string>, readFileStart,
            (const std::string& path, std::size_t most)) {
  Note call("readFileStart", path);
  std::optional<std::string> bytes = real_readFileStart(path, most);
  call.leave(sizeOf(bytes));
  return bytes;
}
KOV_BETWEEN("_ZN8launcher15opensForReadingERKNSt7__cxx1112basic_stringIcSt11char_traitsIcESaIcEEE",
            bool, opensForReading, (const std::string& path)) {
  return noteAll("opensForReading", real_opensForReading, path);
}
KOV_BETWEEN("_ZN8launcher14writeWholeFileERKNSt7__cxx1112basic_stringIcSt11char_traitsIcESaIcEEESt17basic_string_viewIcS3_E",
            bool, writeWholeFile,
            (const std::string& path, std::string_view bytes)) {
  return noteAll("writeWholeFile", real_writeWholeFile, path, bytes);
}

// core/log.h

KOV_BETWEEN("_ZN8launcher7openLogERKNSt7__cxx1112basic_stringIcSt11char_traitsIcESaIcEEE",
            void, openLog, (const std::string& path)) {
  note("openLog", real_openLog, path);
}
KOV_BETWEEN_TEXTS("_ZN8launcher7logLineEPKcz", logLine)
KOV_BETWEEN_TEXTS("_ZN8launcher12consolePrintEPKcz", consolePrint)
KOV_BETWEEN("_ZN8launcher8closeLogEv", void, closeLog, ()) {
  note("closeLog", real_closeLog);
}

// server/http.h, livesplit/connection.h, steam/registry.h

KOV_BETWEEN("_ZN8launcher7httpGetERKNSt7__cxx1112basic_stringIcSt11char_traitsIcESaIcEEERS5_",
            bool, httpGet, (const std::string& url, std::string& reply)) {
  Note call("httpGet", url);
  const bool answered = real_httpGet(url, reply);
  call.leave(answered ? reply : std::string("failed"));
  return answered;
}
KOV_BETWEEN("_ZN8launcher12httpPostJsonERKNSt7__cxx1112basic_stringIcSt11char_traitsIcESaIcEEES7_RS5_",
            bool, httpPostJson,
            (const std::string& url, const std::string& body, std::string& reply)) {
  Note call("httpPostJson", url, body);
  const bool answered = real_httpPostJson(url, body, reply);
  call.leave(answered ? reply : std::string("failed"));
  return answered;
}
KOV_BETWEEN("_ZN8launcher19LivesplitConnection4openEv",
            std::optional<LivesplitConnection>, livesplitOpen, ()) {
  Note call("livesplitOpen");
  std::optional<LivesplitConnection> connection = real_livesplitOpen();
  call.leave(connection.has_value());
  return connection;
}
KOV_BETWEEN("_ZN8launcher19LivesplitConnection8exchangeB5cxx11ESt17basic_string_viewIcSt11char_traitsIcEE",
            std::string, livesplitExchange,
            (LivesplitConnection* connection, std::string_view command)) {
  Note call("livesplitExchange", command);
  std::string reply = real_livesplitExchange(connection, command);
  call.leave(reply);
  return reply;
}
KOV_BETWEEN("_ZN8launcher13readSteamRootB5cxx11Ev", std::string, readSteamRoot, ()) {
  return noteAll("readSteamRoot", real_readSteamRoot);
}

}  // namespace launcher

namespace contract {
namespace {

std::vector<std::string>& lines() {
  static std::vector<std::string> all;
  return all;
}

}  // namespace

SeamRecorder::SeamRecorder() {
  lines().clear();
  launcher::noted = &lines();
}

SeamRecorder::~SeamRecorder() { launcher::noted = nullptr; }

const std::vector<std::string>& SeamRecorder::calls() const { return lines(); }

}  // namespace contract
