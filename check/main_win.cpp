#include <windows.h>

#include <string>
#include <vector>

#include "check/actions.h"
#include "check/command_line.h"
#include "check/report.h"
#include "check/system.h"
#include "check/window_win.h"
#include "core/platform.h"

namespace launcher::check {
namespace {

constexpr int kExitRaceCanRun = 0;
constexpr int kExitRaceCannotRun = 1;
constexpr int kExitWrongArguments = 2;

constexpr Wording kUsage = {
    "用法：kov_check.exe [--text | --support 文件] [--language zh|en]\n",
    "usage: kov_check.exe [--text | --support FILE] [--language zh|en]\n"};

/// Page 1 with every question answered.
Findings wholePage(const Machine& machine, Language language) {
  Findings page = quickFindings(machine, language);
  for (const Question question : kQuestions) {
    putAnswer(page, question, ask(question, machine, language));
  }
  return page;
}

int printPages(Language language) {
  const Machine machine = readMachine();
  const Findings page = wholePage(machine, language);
  writeOutput(pageText(page, language) + "\n== " + say({"我的成绩", "My runs"}, language) + "\n" +
              runsText(readRuns(machine, language), language));
  return canRace(page) ? kExitRaceCanRun : kExitRaceCannotRun;
}

int writeSupport(const std::wstring& file, Language language) {
  const Machine machine = readMachine();
  const std::string text = supportText(machine, wholePage(machine, language),
                                       readRuns(machine, language), language);
  const ActionResult written = writeSupportFile(file, text, language);
  writeOutput(written.text + "\n");
  return written.done ? kExitRaceCanRun : kExitRaceCannotRun;
}

int run(const std::vector<std::wstring>& arguments) {
  const Asked asked = readArguments(arguments);
  const Language language = asked.language.value_or(interfaceLanguage());
  switch (asked.mode) {
    case Asked::Mode::text: return printPages(language);
    case Asked::Mode::support: return writeSupport(asked.file, language);
    case Asked::Mode::window: showWindow(language); return kExitRaceCanRun;
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
