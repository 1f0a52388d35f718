#include "tests/machine/machine.h"

#include <algorithm>
#include <cstdlib>
#include <utility>

int wmain(int count, wchar_t** arguments);  // core/main.cpp

namespace machine {
namespace {

constexpr std::int64_t kStartOfTests = 1795272302000;  // 2026-11-21 14:45:02 UTC
constexpr std::size_t kLongestCommandLine = 32767;
constexpr std::size_t kLongestHost = 255;
constexpr std::size_t kLongestPath = 2047;
constexpr unsigned kTooLong = 206;
constexpr unsigned kNoSuchFolder = 267;

Machine* living = nullptr;

using enum Failure;

constexpr Failure kOpenForReading[] = {notFound, denied, shared, half, empty};
constexpr Failure kJustOpen[] = {notFound, denied, shared};
constexpr Failure kWrite[] = {notFound, denied, shared, full, half};
constexpr Failure kCopy[] = {denied, shared, full};
constexpr Failure kAttributes[] = {notFound, denied};
constexpr Failure kDelete[] = {denied, shared};
constexpr Failure kFolder[] = {denied, full};
constexpr Failure kExchange[] = {refused, timedOut, reset, half, empty};
constexpr Failure kTimer[] = {reset, half, empty};
constexpr Failure kConnect[] = {refused};
constexpr Failure kStart[] = {notFound, denied};
constexpr Failure kNothing[] = {empty};
constexpr Failure kRefused[] = {denied};

/// Host with port, and path, of an address that Windows can take apart.
bool crack(const std::string& url, Request& request) {
  std::string rest;
  std::string port;
  if (url.starts_with("http://")) {
    rest = url.substr(7);
    port = ":80";
  } else if (url.starts_with("https://")) {
    rest = url.substr(8);
    port = ":443";
  } else {
    return false;
  }
  const std::size_t slash = std::min(rest.find('/'), rest.size());
  const std::string host = rest.substr(0, slash);
  request.path = slash == rest.size() ? "/" : rest.substr(slash);
  const std::size_t colon = std::min(host.find(':'), host.size());
  if (colon == 0 || colon > kLongestHost || request.path.size() > kLongestPath) return false;
  request.host = colon == host.size() ? host + port : host;
  return true;
}

/// The first word of a command line, without its quotes.
Units firstWord(const Units& commandLine) {
  if (commandLine.starts_with(u'"')) {
    return commandLine.substr(1, commandLine.find(u'"', 1) - 1);
  }
  return commandLine.substr(0, commandLine.find_first_of(u" \t"));
}

Units lastPart(const Units& path) { return path.substr(path.rfind(u'\\') + 1); }

}  // namespace

const char* nameOf(Call call) {
  static constexpr const char* kNames[] = {
      "programPath", "programPathWide", "loadLibrariesFromSystemOnly", "prepareConsole",
      "waitForCharacter", "localAppData", "pathExists", "pathExistsWide", "createFolder",
      "deleteFile", "copyFileOver", "fileSize", "listFolder", "nextEntry", "waitForEnd",
      "waitForEndLimited", "startProcess", "startProcessWide", "findProcessByName",
      "openProcess", "ansiToUtf8", "ansiToWide", "utf8ToWide", "wideToUtf8", "showMessage",
      "showPlainMessage", "openInBrowser", "localTimeNow", "sleepMilliseconds", "readFile",
      "readWholeFile", "readFileStart", "opensForReading", "writeWholeFile", "openLog",
      "logLine", "consolePrint", "closeLog", "httpGet", "httpPostJson", "livesplitOpen",
      "livesplitExchange", "readSteamRoot", "readFileEnd", "writeNewFile", "replaceFile",
      "writeFileWhole"};
  return kNames[static_cast<std::size_t>(call)];
}

const char* nameOf(Failure failure) {
  static constexpr const char* kNames[] = {"none",  "notFound", "denied", "shared",   "full",
                                           "half",  "empty",    "refused", "reset",    "timedOut",
                                           "stop"};
  return kNames[static_cast<std::size_t>(failure)];
}

Failure fitting(Call call, Failure how) {
  const std::span<const Failure> ways = failuresOf(call);
  if (ways.empty()) return Failure::none;
  if (std::find(ways.begin(), ways.end(), how) != ways.end()) return how;
  return ways[static_cast<std::size_t>(how) % ways.size()];
}

std::span<const Failure> failuresOf(Call call) {
  switch (call) {
    case Call::readFile:
    case Call::readWholeFile:
    case Call::readFileEnd:
    case Call::readFileStart: return kOpenForReading;
    case Call::opensForReading: return kJustOpen;
    case Call::writeFileWhole:
    case Call::writeNewFile:
    case Call::replaceFile:
    case Call::writeWholeFile: return kWrite;
    case Call::copyFileOver: return kCopy;
    case Call::pathExists:
    case Call::pathExistsWide:
    case Call::fileSize: return kAttributes;
    case Call::deleteFile: return kDelete;
    case Call::createFolder: return kFolder;
    case Call::httpGet:
    case Call::httpPostJson: return kExchange;
    case Call::livesplitExchange: return kTimer;
    case Call::livesplitOpen: return kConnect;
    case Call::startProcess:
    case Call::startProcessWide: return kStart;
    case Call::localAppData:
    case Call::listFolder:
    case Call::nextEntry:
    case Call::findProcessByName:
    case Call::readSteamRoot:
    case Call::ansiToUtf8:
    case Call::ansiToWide:
    case Call::utf8ToWide:
    case Call::wideToUtf8:
    case Call::waitForEnd:
    case Call::waitForEndLimited: return kNothing;
    case Call::openProcess:
    case Call::showMessage:
    case Call::showPlainMessage:
    case Call::openInBrowser:
    case Call::openLog:
    case Call::logLine: return kRefused;
    case Call::programPath:
    case Call::programPathWide:
    case Call::loadLibrariesFromSystemOnly:
    case Call::prepareConsole:
    case Call::waitForCharacter:
    case Call::localTimeNow:
    case Call::sleepMilliseconds:
    case Call::consolePrint:
    case Call::closeLog: break;
  }
  return {};
}

bool hasMiddle(Call call) {
  return call == Call::writeWholeFile || call == Call::copyFileOver ||
         call == Call::httpPostJson || call == Call::writeNewFile || call == Call::replaceFile;
}

Machine::Machine(CodePage codePage) : page(codePage), now_(kStartOfTests) {
  if (living) std::abort();
  living = this;
}

Machine::~Machine() { living = nullptr; }

Machine& Machine::current() {
  if (!living) std::abort();
  return *living;
}

void Machine::setProgram(std::string_view path, Program played) {
  programs[upperCase(fromUtf8(path))] = std::move(played);
}

void Machine::after(std::int64_t milliseconds, Event event) {
  events_.emplace(now_ + milliseconds, std::move(event));
}

bool Machine::advanceToNextEvent() {
  if (events_.empty()) return false;
  auto next = events_.extract(events_.begin());
  now_ = std::max(now_, next.key());
  next.mapped()(*this);
  return true;
}

void Machine::advance(std::int64_t milliseconds) {
  const std::int64_t end = now_ + milliseconds;
  while (!events_.empty() && events_.begin()->first <= end) (void)advanceToNextEvent();
  now_ = end;
}

unsigned Machine::start(const Units& commandLine, const std::optional<Units>& folder,
                        unsigned long& id) {
  if (commandLine.size() >= kLongestCommandLine) return kTooLong;
  Units path = firstWord(commandLine);
  if (lastPart(path).find(u'.') == Units::npos) path += u".exe";
  const std::optional<Units> full = files.fullPath(path);
  std::string image;
  const FileError why = full ? files.read(*full, image) : FileError::notFound;
  if (why != FileError::none) return static_cast<unsigned>(why);
  if (folder && !files.exists(*folder)) return kNoSuchFolder;
  id = nextId_ += 4;
  processes_[id] = {lastPart(*full), false};
  starts.push_back({id, *full, commandLine, folder.value_or(u"")});
  const Start started = starts.back();
  const auto played = programs.find(upperCase(*full));
  if (played != programs.end()) {
    played->second(*this, started);
  } else {
    endAfter(id, 0);
  }
  return 0;
}

unsigned long Machine::startByHand(std::string_view path) {
  unsigned long id = 0;
  (void)start(u"\"" + fromUtf8(path) + u"\"", std::nullopt, id);
  return id;
}

void Machine::endAfter(unsigned long id, std::int64_t milliseconds) {
  after(milliseconds, [id](Machine& machine) { machine.endProcess(id); });
}

unsigned long Machine::find(std::u16string_view image) const {
  const Units wanted = upperCase(image);
  for (const auto& [id, process] : processes_) {
    if (upperCase(process.image) == wanted) return id;
  }
  return 0;
}

void Machine::waitForEnd(unsigned long id) {
  while (runs(id)) {
    if (!advanceToNextEvent()) throw Hang{"a process that never ends"};
  }
}

void Machine::waitForEnd(unsigned long id, std::int64_t milliseconds) {
  const std::int64_t end = now_ + milliseconds;
  while (runs(id) && !events_.empty() && events_.begin()->first <= end) {
    (void)advanceToNextEvent();
  }
  if (runs(id)) now_ = end;
}

int Machine::run(const std::wstring& argument) {
  calls.clear();
  record.clear();
  console.clear();
  logged.clear();
  logPath.reset();
  nextFault_ = 0;
  std::wstring program_name = toWide(program);
  std::wstring first = argument;
  wchar_t* arguments[] = {program_name.data(), first.data()};
  return wmain(argument.empty() ? 1 : 2, arguments);
}

Failure Machine::beginCall(Call call) {
  const std::size_t index = calls.size();
  if (index >= callLimit) throw Hang{"more than " + std::to_string(callLimit) + " calls"};
  const bool stops = stopAt && stopAt->call == index;
  if (stops && !(stopAt->inMiddle && hasMiddle(call))) throw Stopped{};
  calls.push_back(call);
  if (stops) return Failure::stop;
  if (nextFault_ < faults.size() && faults[nextFault_].call == index) {
    return fitting(call, faults[nextFault_++].how);
  }
  return Failure::none;
}

void Machine::noteCall(Call call, std::initializer_list<std::string> arguments) {
  record.push_back(callText(nameOf(call), arguments));
}

std::string Machine::shown(std::wstring_view text) { return onOneLine(toUtf8(fromWide(text))); }

Reply Machine::exchange(const std::string& url, const char* method, const std::string& body) {
  Request request{.method = method, .host = {}, .path = {}, .body = body};
  if (!crack(toUtf8(ansi(url.substr(0, url.find('\0')))), request)) return {Failure::refused};
  const auto server = servers.find(request.host);
  if (server == servers.end()) return {Failure::refused};
  requests.push_back(request);
  return server->second(*this, request);
}

}  // namespace machine
