// kov_result.exe as a recorder: notes how it is started and, as the progress card, what the
// state file says. The script is described at CardScript.

#include <windows.h>

#include <cwchar>

#include "rehearsal/stage/files.h"
#include "rehearsal/stage/text.h"
#include "rehearsal/standins/stand_in.h"

namespace {

constexpr unsigned kPollMs = 10;

/// The argument after a switch; empty when it is not there.
std::wstring argumentOf(int count, wchar_t** arguments, const wchar_t* name) {
  for (int i = 1; i + 1 < count; ++i) {
    if (wcscmp(arguments[i], name) == 0) return arguments[i + 1];
  }
  return {};
}

/// Notes each content of the state file until it is a last one. A file that is just being
/// rewritten is empty for a moment; that is no content.
void follow(const stage::StandIn& card, const std::filesystem::path& stateFile) {
  const std::uint64_t end = GetTickCount64() + card.value("progressLimitMs", 20000U);
  std::string last;
  while (GetTickCount64() < end) {
    const std::string state = stage::readFile(stateFile).value_or("");
    if (!state.empty() && state != last) {
      card.note("state", state);
      last = state;
    }
    if (last == "done" || last == "fail") break;
    Sleep(kPollMs);
  }
}

/// Our command line with another program in front.
std::wstring commandLineFor(const std::filesystem::path& program) {
  const std::wstring own = GetCommandLineW();
  const std::size_t programEnd = own.find(L'"', 1);  // the launcher quotes its path
  return L"\"" + program.wstring() + L"\"" +
         (programEnd == std::wstring::npos ? L"" : own.substr(programEnd + 1));
}

/// The card itself, when the script names it; ended with this object.
class ShownCard {
 public:
  explicit ShownCard(const std::filesystem::path& program) {
    if (program.empty()) return;
    std::wstring line = commandLineFor(program);
    STARTUPINFOW startup{};
    startup.cb = sizeof startup;
    if (!CreateProcessW(nullptr, line.data(), nullptr, nullptr, FALSE, 0, nullptr, nullptr,
                        &startup, &process_)) {
      return;
    }
    waitForWindow();
  }
  ~ShownCard() {
    if (process_.hProcess == nullptr) return;
    WaitForSingleObject(process_.hProcess, INFINITE);
    CloseHandle(process_.hThread);
    CloseHandle(process_.hProcess);
  }
  ShownCard(const ShownCard&) = delete;
  ShownCard& operator=(const ShownCard&) = delete;

 private:
  /// Loads user32 itself: for a recorder that shows nothing it would be most of its start.
  void waitForWindow() const {
    using Wait = DWORD(WINAPI*)(HANDLE, DWORD);
    const HMODULE user32 = LoadLibraryExW(L"user32.dll", nullptr, LOAD_LIBRARY_SEARCH_SYSTEM32);
    const FARPROC wait = user32 ? GetProcAddress(user32, "WaitForInputIdle") : nullptr;
    // By way of void*, or the compiler warns of two functions that differ.
    if (wait) reinterpret_cast<Wait>(reinterpret_cast<void*>(wait))(process_.hProcess, 2000);
  }

  PROCESS_INFORMATION process_{};
};

/// What the recorder does itself, whether or not a card is shown.
void act(const stage::StandIn& card, int count, wchar_t** arguments) {
  if (argumentOf(count, arguments, L"--mode") == L"progress") {
    follow(card, argumentOf(count, arguments, L"--state"));
    Sleep(card.value("progressStayMs", 0U));
  } else {
    Sleep(card.value("stayMs", 0U));
  }
}

}  // namespace

int wmain(int count, wchar_t** arguments) {
  const stage::StandIn card("card");
  card.note("start", stage::StandIn::commandLine());
  {
    const ShownCard shown(card.path("shows"));
    act(card, count, arguments);
  }
  const int code = card.value("exitCode", 0);
  card.note("exit", std::to_string(code));
  return code;
}
