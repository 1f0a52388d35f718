// run_each.exe: runs the tests of GoogleTest programs, each as a process of its own, and
// writes a report. For machines without this project's scripts: a hosted Windows.
//
//     run_each.exe REPORT LIMIT PROGRAM [FILTER]    every test of the program
//     run_each.exe REPORT LIMIT --plain PROGRAM ARGUMENT...    once with each argument
//
// REPORT is a folder: it gets what each process printed, and a table in summary.md, to which
// every call adds its own. LIMIT is in seconds, for one process; what it started ends with
// it. Exit code 0: nothing failed and something passed.

#include <windows.h>

#include <chrono>
#include <cstdio>
#include <exception>
#include <filesystem>
#include <string>
#include <string_view>
#include <vector>

#include "rehearsal/stage/files.h"
#include "rehearsal/stage/text.h"
#include "rehearsal/stage/win_handle.h"
#include "tests/hosted/verdict.h"

namespace {

namespace fs = std::filesystem;
using hosted::Outcome;
using hosted::Verdict;

constexpr DWORD kTimedOut = 0xFFFFFFFE;

/// Runs the command with its output in `report`; everything that it started ends with it.
DWORD run(const std::string& command, const fs::path& report, DWORD limitMs) {
  SECURITY_ATTRIBUTES inherited = {sizeof inherited, nullptr, TRUE};
  const auto open = [&](const wchar_t* path, DWORD access, DWORD how) {
    return stage::ownHandle(CreateFileW(path, access, FILE_SHARE_READ | FILE_SHARE_WRITE,
                                        &inherited, how, FILE_ATTRIBUTE_NORMAL, nullptr));
  };
  const stage::WinHandle output = open(report.c_str(), GENERIC_WRITE, CREATE_ALWAYS);
  const stage::WinHandle input = open(L"NUL", GENERIC_READ, OPEN_EXISTING);
  const stage::WinHandle job = stage::ownHandle(CreateJobObjectW(nullptr, nullptr));
  JOBOBJECT_EXTENDED_LIMIT_INFORMATION limits = {};
  limits.BasicLimitInformation.LimitFlags = JOB_OBJECT_LIMIT_KILL_ON_JOB_CLOSE;
  SetInformationJobObject(job.get(), JobObjectExtendedLimitInformation, &limits, sizeof limits);

  STARTUPINFOW start = {};
  start.cb = sizeof start;
  start.dwFlags = STARTF_USESTDHANDLES;
  start.hStdInput = input.get();
  start.hStdOutput = output.get();
  start.hStdError = output.get();
  PROCESS_INFORMATION made = {};
  std::wstring line = stage::toWide(command);
  if (CreateProcessW(nullptr, line.data(), nullptr, nullptr, TRUE, CREATE_SUSPENDED, nullptr,
                     nullptr, &start, &made) == FALSE) {
    return GetLastError();
  }
  const stage::WinHandle process = stage::ownHandle(made.hProcess);
  const stage::WinHandle thread = stage::ownHandle(made.hThread);
  AssignProcessToJobObject(job.get(), process.get());
  ResumeThread(thread.get());
  DWORD exitCode = kTimedOut;
  if (WaitForSingleObject(process.get(), limitMs) == WAIT_OBJECT_0) {
    GetExitCodeProcess(process.get(), &exitCode);
  }
  TerminateJobObject(job.get(), 1);
  return exitCode;
}

struct Runs {
  fs::path report;
  DWORD limitMs = 0;
  std::string rows;
  int passed = 0;
  int failed = 0;
  int skipped = 0;

  void note(const std::string& name, const Outcome& outcome, double seconds) {
    const char* word = "passed";
    if (outcome.verdict == Verdict::passed) ++passed;
    if (outcome.verdict == Verdict::failed) ++failed, word = "FAILED";
    if (outcome.verdict == Verdict::skipped) ++skipped, word = "skipped";
    char took[32] = {};
    (void)std::snprintf(took, sizeof took, "%.1f", seconds);
    if (outcome.verdict != Verdict::passed) {
      rows += "| " + std::string(word) + " | `" + name + "` | " + took + " | " +
              stage::replaceAll(outcome.why, "|", "/") + " |\n";
    }
    std::printf("%-8s%8s s  %s%s%s\n", word, took, name.c_str(), outcome.why.empty() ? "" : ": ",
                outcome.why.c_str());
    std::fflush(stdout);
  }
};

/// Runs one process and notes its outcome; `judge` takes its output and exit code.
template <typename Judge>
void runOne(Runs& runs, const fs::path& program, const std::string& arguments,
            const std::string& name, Judge judge) {
  std::string file = name;
  for (char& c : file) {
    if (c == '/' || c == '\\' || c == ':') c = '_';
  }
  const fs::path report = runs.report / stage::pathOf(program.stem().string() + "." + file + ".txt");
  const auto start = std::chrono::steady_clock::now();
  const DWORD code = run("\"" + stage::textOf(program) + "\" " + arguments, report, runs.limitMs);
  const std::chrono::duration<double> took = std::chrono::steady_clock::now() - start;
  const std::string output = stage::readFile(report).value_or("");
  Outcome outcome = judge(output, code);
  if (code == kTimedOut) outcome = {Verdict::failed, "not done within the limit"};
  runs.note(name, outcome, took.count());
}

void runTests(Runs& runs, const fs::path& program, const std::string& filter) {
  const fs::path list = runs.report / (program.stem().string() + ".list.txt");
  run("\"" + stage::textOf(program) + "\" --gtest_list_tests --gtest_filter=" + filter, list,
      runs.limitMs);
  for (const std::string& test : hosted::testNames(stage::readFile(list).value_or(""))) {
    if (const std::string why = hosted::reasonToSkip(test, GetACP()); !why.empty()) {
      runs.note(test, {Verdict::skipped, why}, 0.0);
      continue;
    }
    runOne(runs, program, "--gtest_color=no --gtest_filter=" + test, test, hosted::outcomeOf);
  }
}

void runPlain(Runs& runs, const fs::path& program, const std::vector<std::string>& arguments) {
  for (const std::string& argument : arguments) {
    runOne(runs, program, argument, argument, hosted::plainOutcomeOf);
  }
}

void addToSummary(const Runs& runs, const std::string& title) {
  const fs::path file = runs.report / "summary.md";
  std::string text = stage::readFile(file).value_or("");
  text += "### " + title + "\n\n" + std::to_string(runs.passed) + " passed, " +
          std::to_string(runs.failed) + " failed, " + std::to_string(runs.skipped) + " skipped\n\n";
  if (!runs.rows.empty()) text += "| | Test | s | Why |\n|---|---|---|---|\n" + runs.rows + "\n";
  stage::writeFile(file, text);
}

int runAll(const std::vector<std::string>& arguments) {
  if (arguments.size() < 3) {
    std::fputs("usage: run_each.exe REPORT LIMIT PROGRAM [FILTER]\n"
               "       run_each.exe REPORT LIMIT --plain PROGRAM ARGUMENT...\n",
               stderr);
    return 2;
  }
  Runs runs;
  runs.report = fs::absolute(stage::pathOf(arguments[0]));
  runs.limitMs = static_cast<DWORD>(std::stoul(arguments[1])) * 1000;
  fs::create_directories(runs.report);
  const bool plain = arguments[2] == "--plain" && arguments.size() > 3;
  const fs::path program = fs::absolute(stage::pathOf(arguments[plain ? 3 : 2]));
  if (plain) {
    runPlain(runs, program, {arguments.begin() + 4, arguments.end()});
  } else {
    runTests(runs, program, arguments.size() > 3 ? arguments[3] : "*");
  }
  addToSummary(runs, program.filename().string());
  std::printf("%d passed, %d failed, %d skipped\n", runs.passed, runs.failed, runs.skipped);
  return runs.failed == 0 && runs.passed > 0 ? 0 : 1;
}

}  // namespace

int wmain(int count, wchar_t** words) {
  std::vector<std::string> arguments;
  for (int i = 1; i < count; ++i) arguments.push_back(stage::toUtf8(words[i]));
  try {
    return runAll(arguments);
  } catch (const std::exception& problem) {
    std::fprintf(stderr, "%s\n", problem.what());
    return 2;
  }
}
