#pragma once

#include <string>

#include "check/finding.h"
#include "check/machine.h"
#include "check/run_row.h"

namespace launcher::check {

// The pages. Usual way of a window:
//
//     const Language language = interfaceLanguage();
//     Machine machine = readMachine();                   // quick, also after every button
//     Findings page = quickFindings(machine, language);  // a `checking` row for each question
//     for (Question question : kQuestions)               // on the worker thread
//       putAnswer(page, question, ask(question, machine, language));
//     RunRows runs = readRuns(machine, language);
//
// A Machine is a value: hand the worker its own copy.

/// Chinese when Windows' interface language is, else English.
[[nodiscard]] Language interfaceLanguage();

/// Page 1 but for the slow questions. Reads files and the registry; writes one file of its own
/// into the data folder, to see that it can, and removes it. Well below a second.
[[nodiscard]] Findings quickFindings(const Machine& machine, Language language);

/// The rows that answer one slow question; seldom empty of news, never of rows. May take a
/// minute (the server), about three seconds (a program on LiveSplit's port that says nothing).
/// Not more than one call at a time.
[[nodiscard]] Findings ask(Question question, const Machine& machine, Language language);

/// Page 2, newest first.
[[nodiscard]] RunRows readRuns(const Machine& machine, Language language);

/// How many files wait in the queue.
[[nodiscard]] int queuedRuns(const Machine& machine);

/// Page 3: the text of kov_support.txt, UTF-8 with CR LF line ends, redacted.
[[nodiscard]] std::string supportText(const Machine& machine, const Findings& page,
                                      const RunRows& runs, Language language);

}  // namespace launcher::check
