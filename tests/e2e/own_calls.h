#pragma once

#include <winsock2.h>
#include <windows.h>

#include <algorithm>
#include <cstdint>
#include <cstdio>
#include <cstring>
#include <functional>
#include <map>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "rehearsal/stage/debugger.h"
#include "rehearsal/stage/text.h"

namespace e2e {

/// A library and those of its functions that a debugger watches.
using WatchedLibrary = std::pair<const wchar_t*, stage::Debugger::Functions>;

/// The calls by which a program waits, starts and opens processes, asks the clock and talks to
/// servers, with what it passes, in their order and one line each:
///
///     Sleep 500
///     WaitForSingleObject game.exe process without limit
///
/// Only calls of the program's own code, not those of the system's libraries on its behalf.
/// Handles have names, and those that the list does not know are left out.
class OwnCalls {
 public:
  using Lines = std::vector<std::string>;
  using Call = stage::Debugger::Call;
  using Hook = std::function<void(Call&)>;

  /// Reads the program's memory through this debugger, once it is there.
  explicit OwnCalls(stage::Debugger& debugger) : debugger_(debugger) {}
  OwnCalls(const OwnCalls&) = delete;
  OwnCalls& operator=(const OwnCalls&) = delete;

  /// What the debugger has to watch for it.
  [[nodiscard]] std::vector<WatchedLibrary> watched() {
    stage::Debugger::Functions system = processFunctions();
    for (auto& function : timeFunctions()) system.push_back(std::move(function));
    return {{L"kernel32.dll", std::move(system)},
            {L"ws2_32.dll", socketFunctions()},
            {L"winhttp.dll", httpFunctions()}};
  }

  /// Called for each call of this function, after it was written down and before it is made.
  void before(std::string function, Hook hook) { hooks_[std::move(function)] = std::move(hook); }

  /// Every call so far.
  [[nodiscard]] const Lines& lines() const { return lines_; }
  /// The same without the lines that repeat the one before them: polls and pieces of an answer.
  [[nodiscard]] Lines linesWithoutRepeats() const {
    Lines once = lines_;
    once.erase(std::unique(once.begin(), once.end()), once.end());
    return once;
  }
  /// How often this line is there.
  [[nodiscard]] std::size_t times(std::string_view line) const {
    return static_cast<std::size_t>(std::count(lines_.begin(), lines_.end(), line));
  }

 private:
  using Functions = stage::Debugger::Functions;

  Functions::value_type watch(const char* name, Hook note) {
    return {name, [this, name, note = std::move(note)](Call& call) {
              if (!debugger_.inProgram(call.caller())) return;
              note(call);
              if (const auto hook = hooks_.find(name); hook != hooks_.end()) hook->second(call);
            }};
  }
  /// A function of which the name says all.
  Functions::value_type watch(const char* name) {
    return watch(name, [this, name](Call&) { add(name); });
  }

  void add(std::string line) { lines_.push_back(std::move(line)); }

  static std::string number(std::uint64_t value) { return std::to_string(value); }
  static std::string hex(std::uint64_t value) {
    char text[32];
    std::snprintf(text, sizeof text, "0x%llx", static_cast<unsigned long long>(value));
    return text;
  }
  /// A text argument, which may be none.
  template <class Unit>
  [[nodiscard]] std::string text(std::uint64_t address) const {
    if (address == 0) return "-";
    if constexpr (sizeof(Unit) == 1) {
      return debugger_.readText<char>(address);
    } else {
      return stage::toUtf8(debugger_.readText<wchar_t>(address));
    }
  }

  // Processes ----------------------------------------------------------------------------

  Functions processFunctions() {
    return {watch("CreateProcessA", [this](Call& call) { noteStart<char>(call); }),
            watch("CreateProcessW", [this](Call& call) { noteStart<wchar_t>(call); }),
            watch("OpenProcess", [this](Call& call) { noteOpen(call); }),
            watch("WaitForSingleObject", [this](Call& call) { noteWait(call); }),
            watch("CloseHandle", [this](Call& call) { noteClose(call); })};
  }

  template <class Unit>
  void noteStart(const Call& call) {
    const std::string commandLine = text<Unit>(call.argument(2));
    const auto optional = [&](std::size_t nth) {
      return call.argument(nth) == 0 ? std::string("-") : std::string("some");
    };
    add("start " + commandLine);
    add("  application " + text<Unit>(call.argument(1)) + ", security " + optional(3) + " " +
        optional(4) + ", inherits " + number(call.argument<std::uint32_t>(5)) + ", flags " +
        hex(call.argument<std::uint32_t>(6)) + ", environment " + optional(7) + ", folder " +
        text<Unit>(call.argument(8)) + ", startup " + startup(call.argument(9)));
    std::string name = commandLine.substr(0, commandLine.find('"', 1));
    name = name.substr(name.find_last_of("\\/\"") + 1);
    debugger_.atReturn(call, [this, name, info = call.argument(10)](std::uint64_t started) {
      if (static_cast<std::uint32_t>(started) == 0) {
        add("  failed");
        return;
      }
      const auto handles = debugger_.read<PROCESS_INFORMATION>(info);
      handles_[handles.hProcess] = name + " process";
      handles_[handles.hThread] = name + " thread";
    });
  }

  /// The start-up information (its two forms have the same shape).
  [[nodiscard]] std::string startup(std::uint64_t address) const {
    STARTUPINFOW plain{};
    plain.cb = sizeof plain;
    const auto given = debugger_.read<STARTUPINFOW>(address);
    if (std::memcmp(&given, &plain, sizeof plain) == 0) return "empty";
    std::string bytes;
    for (std::size_t i = 0; i < sizeof given; ++i) {
      bytes += hex(debugger_.read<unsigned char>(address + i)) + " ";
    }
    return bytes;
  }

  void noteOpen(const Call& call) {
    add("OpenProcess " + hex(call.argument<std::uint32_t>(1)) + ", inherits " +
        number(call.argument<std::uint32_t>(2)));
    debugger_.atReturn(call, [this](std::uint64_t handle) {
      if (handle == 0) {
        add("  failed");
      } else {
        handles_[reinterpret_cast<HANDLE>(handle)] = "opened process";
      }
    });
  }

  void noteWait(const Call& call) {
    const auto handle = handles_.find(reinterpret_cast<HANDLE>(call.argument(1)));
    const auto limit = call.argument<std::uint32_t>(2);
    add("WaitForSingleObject " + (handle == handles_.end() ? "something" : handle->second) +
        (limit == INFINITE ? std::string(" without limit") : " " + number(limit)));
  }

  void noteClose(const Call& call) {
    const auto closed = handles_.extract(reinterpret_cast<HANDLE>(call.argument(1)));
    if (closed) add("CloseHandle " + closed.mapped());
  }

  // Time ---------------------------------------------------------------------------------

  Functions timeFunctions() {
    return {watch("Sleep",
                  [this](Call& call) { add("Sleep " + number(call.argument<std::uint32_t>(1))); }),
            watch("GetLocalTime"), watch("GetSystemTime")};
  }

  // Sockets ------------------------------------------------------------------------------

  Functions socketFunctions() {
    return {
        watch("WSAStartup",
              [this](Call& call) { add("WSAStartup " + hex(call.argument<std::uint16_t>(1))); }),
        watch("WSACleanup"),
        watch("socket",
              [this](Call& call) {
                add("socket " + number(call.argument(1)) + " " + number(call.argument(2)) + " " +
                    number(call.argument(3)));
              }),
        watch("connect",
              [this](Call& call) {
                const auto to = debugger_.read<sockaddr_in>(call.argument(2));
                const auto& host = to.sin_addr.S_un.S_un_b;
                add("connect " + number(host.s_b1) + "." + number(host.s_b2) + "." +
                    number(host.s_b3) + "." + number(host.s_b4) + ":" +
                    number(_byteswap_ushort(to.sin_port)));
              }),
        watch("send",
              [this](Call& call) {
                const auto bytes = call.argument<std::uint32_t>(3);
                add("send " + debugger_.readText<char>(call.argument(2), bytes) + "| flags " +
                    number(call.argument<std::uint32_t>(4)));
              }),
        watch("recv",
              [this](Call& call) {
                add("recv " + number(call.argument<std::uint32_t>(3)) + " flags " +
                    number(call.argument<std::uint32_t>(4)));
              }),
        watch("closesocket"), watch("shutdown"), watch("setsockopt"),
        watch("ioctlsocket"), watch("select"),
        watch("WSAIoctl",
              [this](Call& call) { add("WSAIoctl " + hex(call.argument<std::uint32_t>(2))); })};
  }

  // HTTP ---------------------------------------------------------------------------------

  Functions httpFunctions() {
    Functions all = {
        watch("WinHttpOpen",
              [this](Call& call) {
                add("WinHttpOpen " + text<wchar_t>(call.argument(1)) + ", access " +
                    number(call.argument<std::uint32_t>(2)) + ", proxy " +
                    text<wchar_t>(call.argument(3)) + " " + text<wchar_t>(call.argument(4)) +
                    ", flags " + hex(call.argument<std::uint32_t>(5)));
                nameResult(call, "session");
              }),
        watch("WinHttpConnect",
              [this](Call& call) {
                add("WinHttpConnect " + text<wchar_t>(call.argument(2)));
                nameResult(call, "connection");
              }),
        watch("WinHttpOpenRequest",
              [this](Call& call) {
                add("WinHttpOpenRequest " + text<wchar_t>(call.argument(2)) + " " +
                    text<wchar_t>(call.argument(3)) + ", flags " +
                    hex(call.argument<std::uint32_t>(7)));
                nameResult(call, "request");
              }),
        watch("WinHttpReadData",
              [this](Call& call) {
                add("WinHttpReadData " + number(call.argument<std::uint32_t>(3)));
              }),
        watch("WinHttpCloseHandle", [this](Call& call) {
          const auto closed = internet_.extract(call.argument(1));
          add("WinHttpCloseHandle " + (closed ? closed.mapped() : std::string("something")));
        })};
    for (const char* name :
         {"WinHttpSendRequest", "WinHttpReceiveResponse", "WinHttpSetTimeouts", "WinHttpSetOption",
          "WinHttpSetStatusCallback", "WinHttpAddRequestHeaders", "WinHttpSetCredentials",
          "WinHttpQueryHeaders", "WinHttpQueryDataAvailable", "WinHttpWriteData"}) {
      all.push_back(watch(name));
    }
    return all;
  }

  void nameResult(const Call& call, const char* name) {
    debugger_.atReturn(call, [this, name](std::uint64_t handle) { internet_[handle] = name; });
  }

  stage::Debugger& debugger_;
  std::map<std::string, Hook, std::less<>> hooks_;
  std::map<HANDLE, std::string> handles_;
  std::map<std::uint64_t, std::string> internet_;
  Lines lines_;
};

/// Lines as one text, which GoogleTest compares line by line.
inline std::string asText(const OwnCalls::Lines& lines) {
  std::string text;
  for (const std::string& line : lines) text += line + "\n";
  return text;
}

/// The calls that start a program as a bystander: it gets nothing of ours but the
/// environment.
inline OwnCalls::Lines callsOfStart(const std::string& commandLine,
                                    const std::string& folder = "-") {
  return {"start " + commandLine,
          "  application -, security - -, inherits 0, flags 0x0, environment -, folder " + folder +
              ", startup empty"};
}

/// The calls of one connection to LiveSplit's server, on which these commands are asked.
inline OwnCalls::Lines callsOfTimer(const std::string& command,
                                    const OwnCalls::Lines& more = {}) {
  OwnCalls::Lines calls = {"WSAStartup 0x202", "socket 2 1 6", "WSAIoctl 0x98000011",
                           "connect 127.0.0.1:16834", "Sleep 250"};
  const auto ask = [&](const std::string& text) {
    calls.push_back("send " + text + "\r\n| flags 0");
    calls.push_back("recv 511 flags 0");
  };
  ask(command);
  for (const std::string& next : more) ask(next);
  calls.insert(calls.end(), {"closesocket", "WSACleanup"});
  return calls;
}

/// The calls of one exchange with the race server, "GET /week/current".
inline OwnCalls::Lines callsOfHttp(const std::string& request) {
  return {"WinHttpOpen KOV-Race-Launcher/1.0, access 0, proxy - -, flags 0x0",
          "WinHttpConnect 127.0.0.1",
          "WinHttpOpenRequest " + request + ", flags 0x0",
          "WinHttpSendRequest",
          "WinHttpReceiveResponse",
          "WinHttpReadData 8192",
          "WinHttpCloseHandle request",
          "WinHttpCloseHandle connection",
          "WinHttpCloseHandle session"};
}

}  // namespace e2e
