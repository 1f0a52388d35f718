// probe.exe: a program that does what its first argument says, for the stage's own tests of
// running, watching and ending a program.

#include <windows.h>

#include <cstdio>
#include <string>

#include "rehearsal/stage/files.h"
#include "rehearsal/stage/text.h"
#include "rehearsal/standins/stand_in.h"

namespace {

void print(FILE* stream, const std::string& text) {
  std::fputs(text.c_str(), stream);
  std::fflush(stream);
}

/// Standard input back to standard output, until its end.
int echo() {
  for (int c = 0; (c = std::getchar()) != EOF;) {
    std::putchar(c);
    std::fflush(stdout);
  }
  return 4;
}

int report() {
  wchar_t folder[1024];
  GetCurrentDirectoryW(1024, folder);
  print(stdout, stage::StandIn::commandLine() + "\n" + stage::toUtf8(folder) + "\n" +
                    stage::environmentText("KOV_PROBE").value_or("(unset)") + "\n" +
                    stage::environmentText("LOCALAPPDATA").value_or("(unset)") + "\n");
  print(stderr, "trouble\n");
  return 3;
}

/// Appends a line to launcher.log beside itself, then waits.
int logAndWait() {
  const std::filesystem::path log = stage::StandIn::program().parent_path() / "launcher.log";
  stage::writeFile(log, stage::readFile(log).value_or("") + "a line\r\nanother 行\r\n");
  Sleep(60000);
  return 0;
}

int boxes() {
  MessageBoxW(nullptr, L"\u6CA1\u6709\n\nline", L"KOV \u5468\u8D5B",
              MB_ICONERROR | MB_TOPMOST);
  // UTF-8 bytes in the narrow box, as they are.
  MessageBoxA(nullptr, "\xE6\xB2\xA1 plain", "KOV", MB_SETFOREGROUND);
  MessageBoxW(nullptr, L"third", L"KOV", MB_ICONINFORMATION);
  return 5;
}

/// The error mode that it was started with, above other exit codes.
int errorMode() { return 100 + static_cast<int>(GetErrorMode()); }

}  // namespace

int wmain(int count, wchar_t** arguments) {
  const std::wstring word = count > 1 ? arguments[1] : L"";
  if (word == L"echo") return echo();
  if (word == L"report") return report();
  if (word == L"log") return logAndWait();
  if (word == L"boxes") return boxes();
  if (word == L"errormode") return errorMode();
  return 1;
}
