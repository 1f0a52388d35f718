#include <windows.h>

#include <string>
#include <vector>

#include "check/command_line.h"
#include "check/report.h"
#include "check/system_win.h"
#include "core/platform.h"

namespace launcher::check {
namespace {

constexpr int kExitRaceCanRun = 0;
constexpr int kExitRaceCannotRun = 1;
constexpr int kExitWrongArguments = 2;

constexpr Wording kUsage = {
    "用法：kov_check.exe [--text | --support 文件] [--language zh|en]\n",
    "usage: kov_check.exe [--text | --support FILE] [--language zh|en]\n"};

int printPages(Language language) {
  const Machine machine = readMachine();
  Findings page = quickFindings(machine, language);
  for (const Question question : kQuestions) {
    putAnswer(page, question, ask(question, machine, language));
  }
  writeOutput(pageText(page, language));
  return canRace(page) ? kExitRaceCanRun : kExitRaceCannotRun;
}

int run(const std::vector<std::wstring>& arguments) {
  const Asked asked = readArguments(arguments);
  const Language language = asked.language.value_or(interfaceLanguage());
  switch (asked.mode) {
    case Asked::Mode::text: return printPages(language);
    case Asked::Mode::support:
    case Asked::Mode::window:
    case Asked::Mode::wrong: break;
  }
  writeOutput(say(kUsage, language));
  return kExitWrongArguments;
}

}  // namespace
}  // namespace launcher::check

int wmain(int count, wchar_t** arguments) {
  launcher::loadLibrariesFromSystemOnly();
  return launcher::check::run({arguments + 1, arguments + count});
}
