#include <windows.h>

#include <string>
#include <string_view>

#include "card/command_line.h"
#include "card/progress_window_win.h"
#include "card/result_window_win.h"
#include "card/wording.h"

int WINAPI wWinMain(HINSTANCE, HINSTANCE, PWSTR, int) {
  namespace card = launcher::card;

  // Windows' own DLLs load further ones, and must not find a planted one beside the card.
  (void)SetDefaultDllDirectories(LOAD_LIBRARY_SEARCH_SYSTEM32);
  const std::wstring_view line = GetCommandLineW();
  const card::CommandLine asked =
      card::parseCommandLine(std::u16string(line.begin(), line.end()));
  switch (asked.mode) {
    case card::CardMode::progress: card::showProgress(asked.statePath); break;
    case card::CardMode::result: card::showResult(card::describeResult(asked.result)); break;
    case card::CardMode::idle: card::showResult(card::describeIdle()); break;
  }
  return 0;
}
