#pragma once

#include <cstddef>
#include <string>
#include <vector>

#include "check/finding.h"
#include "check/run_row.h"

namespace launcher::check {

// What the window shows, decided apart from the window. All texts are UTF-8; "&" stands before
// the letter that presses a button together with Alt.

/// The window's pages.
enum class Page { before, runs, help };
inline constexpr Page kPages[] = {Page::before, Page::runs, Page::help};

/// No row.
inline constexpr std::size_t kNoRow = static_cast<std::size_t>(-1);

/// Everything that the window knows.
struct WindowState {
  Page page = Page::before;
  Findings findings = {};
  std::size_t finding = kNoRow;  ///< the selected row of page 1
  RunRows runs = {};
  std::size_t run = kNoRow;        ///< the selected row of page 2
  int queued = 0;                  ///< how many files of the queue can be sent
  bool sending = false;            ///< the queue is being sent
  bool closing = false;            ///< the player closed the window while it was
  bool supportWanted = false;      ///< the support file is written after the last answer
  std::string supportResult = {};  ///< what became of the last one
};

/// A button: not shown without a label.
struct ButtonView {
  std::string label = {};
  bool enabled = false;
};

/// What stands around the list.
struct View {
  std::string summary;  ///< one line above the list
  std::string details;  ///< below it, or in its place; lines end with CR LF
  ButtonView first;     ///< what the selected row asks for; on page 3 the support file
  ButtonView second;    ///< page 2: sends the queue
};

[[nodiscard]] View viewOf(const WindowState& state, Language language);

/// Title of the window.
[[nodiscard]] const char* windowTitle(Language language);

/// Label of a page's button.
[[nodiscard]] const char* pageLabel(Page page, Language language);

/// Labels of the two buttons that every page has.
[[nodiscard]] const char* againLabel(Language language);
[[nodiscard]] const char* closeLabel(Language language);

/// What screen readers call the text below the list.
[[nodiscard]] const char* detailsLabel(Language language);

/// A label as it is drawn, without the mark of its letter.
[[nodiscard]] std::string plainLabel(const std::string& label);

/// Headings of page 2's columns, one for each cell of a run.
[[nodiscard]] std::vector<std::string> runHeadings(Language language);

/// The cells of a run.
[[nodiscard]] std::vector<std::string> runCells(const RunRow& run, Language language);

/// The row to select first: the first bad one, else the first worth knowing, else the first.
[[nodiscard]] std::size_t firstFinding(const Findings& page);

/// The row to select after an answer came: the same row, else the rows of the same question,
/// else of the same stage, else firstFinding().
[[nodiscard]] std::size_t sameFinding(const Findings& before, std::size_t selected,
                                      const Findings& after);

/// Where two pages differ: rows [begin, oldEnd) of the old one became [begin, newEnd).
struct Difference {
  std::size_t begin;
  std::size_t oldEnd;
  std::size_t newEnd;
};
[[nodiscard]] Difference differenceOf(const Findings& before, const Findings& after);

/// True when a slow question has not been answered.
[[nodiscard]] bool isChecking(const Findings& page);

/// A question to the player before a button does something to another program's file; empty for
/// buttons that need none. `label` is that of the button which agrees.
struct Confirmation {
  std::string question;
  std::string label;
};
[[nodiscard]] Confirmation confirmationOf(Button button, Language language);

}  // namespace launcher::check
