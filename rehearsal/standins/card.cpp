// kov_result.exe as a recorder: notes how it is started and, as the progress card, what the
// state file says. The script is described at CardScript.

#include <windows.h>

#include <cwchar>

#include "rehearsal/stage/files.h"
#include "rehearsal/stage/text.h"
#include "rehearsal/standins/stand_in.h"

namespace {

constexpr unsigned kPollMs = 10;

/// The argument behind a switch; empty when it is not there.
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

}  // namespace

int wmain(int count, wchar_t** arguments) {
  const stage::StandIn card("card");
  card.note("start", stage::StandIn::commandLine());
  if (argumentOf(count, arguments, L"--mode") == L"progress") {
    follow(card, argumentOf(count, arguments, L"--state"));
    Sleep(card.value("progressStayMs", 0U));
  } else {
    Sleep(card.value("stayMs", 0U));
  }
  const int code = card.value("exitCode", 0);
  card.note("exit", std::to_string(code));
  return code;
}
