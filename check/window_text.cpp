#include "check/window_text.h"

#include <algorithm>

namespace launcher::check {
namespace {

constexpr Wording kPageLabels[] = {
    {"赛前检查(&1)", "&Before the race"},
    {"我的成绩(&2)", "&My runs"},
    {"求助(&3)", "&Help"},
};

struct Word {
  const char* word;
  Wording shown;
};
constexpr Word kWords[] = {
    {"main", {"主线结局", "main"}}, {"arcade", {"街机结局", "arcade"}},
    {"true", {"真结局", "true"}},   {"easy", {"简单", "easy"}},
    {"normal", {"普通", "normal"}}, {"nightmare", {"噩梦", "nightmare"}},
};

constexpr Wording kHelp = {
    "遇到问题时，按下面的按钮写出 kov_support.txt，再把这个文件发给主办方。\n\n"
    "里面有：这几个程序和 Windows 的版本、语言和编码，前两页的内容，launcher.ini，"
    "launcher.log 里最近三次的记录，以及有关文件夹的文件列表。\n\n"
    "里面绝不会有：登录码；路径里的 Windows 用户名；完整的 SteamID（只留末四位）。\n\n"
    "文件会写在本程序旁边；那里不让写时，写到数据文件夹或“文档”里，并打开那个文件夹。"
    "什么也不会自动发出去。",
    "When something is wrong, write kov_support.txt with the button below and send that file to "
    "the organiser.\n\n"
    "It holds: the versions of these programs and of Windows, its language and code pages, what "
    "the first two pages say, launcher.ini, the last three runs of launcher.log, and the lists of "
    "the folders concerned.\n\n"
    "It never holds: the login code; the Windows user name in paths; a whole SteamID (only its "
    "last four digits).\n\n"
    "The file is written beside this program, or, when that folder refuses it, into the data "
    "folder or \"Documents\", and the folder is opened. Nothing is sent by itself."};

std::size_t countOf(const Findings& page, State state) {
  return static_cast<std::size_t>(std::count_if(
      page.begin(), page.end(), [state](const Finding& row) { return row.state == state; }));
}

bool isSame(const Finding& one, const Finding& other) {
  return one.stage == other.stage && one.state == other.state && one.what == other.what &&
         one.todo == other.todo && one.button == other.button;
}

/// Edit controls end their lines with CR LF.
std::string withCrLf(const std::string& text) {
  std::string result;
  for (const char c : text) {
    if (c == '\n') result += '\r';
    result += c;
  }
  return result;
}

std::string verdict(const Findings& page, Language language) {
  const std::size_t bad = countOf(page, State::bad);
  const bool checking = isChecking(page);
  if (bad > 0) {
    return fill({"有 {1} 处问题，现在还不能比赛。", "{1} problem(s): a race cannot be run yet."},
                language, {std::to_string(bad)}) +
           (checking ? say({"（还在检查……）", " (Still checking ...)"}, language) : "");
  }
  if (checking) return say({"正在检查……", "Checking ..."}, language);
  const std::size_t notes = countOf(page, State::worthKnowing);
  if (notes > 0) {
    return fill({"可以比赛，有 {1} 处要注意。", "A race can be run; {1} thing(s) worth knowing."},
                language, {std::to_string(notes)});
  }
  return say({"一切正常，可以比赛。", "All is well: a race can be run."}, language);
}

std::string sendingText(bool closing, Language language) {
  return closing ? say({"正在补传，传完就关闭；再关一次就马上关闭。",
                        "Sending; the window closes afterwards. Close it again to close it now."},
                       language)
                 : say({"正在补传……", "Sending ..."}, language);
}

std::string waitingText(int queued, Language language) {
  if (queued == 0) return say({"没有等着补传的成绩。", "No run waits to be sent."}, language);
  return fill({"有 {1} 个成绩等着补传。", "{1} run(s) wait to be sent."}, language,
              {std::to_string(queued)});
}

void viewFindings(const WindowState& state, Language language, View& view) {
  view.summary = verdict(state.findings, language);
  if (state.finding >= state.findings.size()) return;
  const Finding& row = state.findings[state.finding];
  view.details =
      std::string(stateWord(row.state, language)) + say({"：", ": "}, language) + row.what;
  if (!row.todo.empty()) view.details += "\n" + row.todo;
  view.first.label = buttonLabel(row.button, language);
  view.first.enabled =
      row.button != Button::none && (row.button != Button::resendQueue || !state.sending);
}

void viewRuns(const WindowState& state, Language language, View& view) {
  view.summary = waitingText(state.queued, language);
  view.first.label = say({"放进补传队列(&P)", "&Put into the queue"}, language);
  view.second = {say({"现在补传(&S)", "&Send the queue now"}, language),
                 state.queued > 0 && !state.sending};
  if (state.run >= state.runs.size()) {
    view.details = runsText({}, language);
    return;
  }
  const RunRow& run = state.runs[state.run];
  view.first.enabled = !run.queueSource.empty() && !state.sending;
  std::vector<std::string> cells = runCells(run, language);
  cells.pop_back();
  for (const std::string& cell : cells) {
    if (!cell.empty()) view.details += cell + "  ";
  }
  view.details += "\n" + run.outcome;
}

void viewHelp(const WindowState& state, Language language, View& view) {
  view.summary = state.supportWanted
                     ? say({"检查完就写出 kov_support.txt……",
                            "kov_support.txt is written when the checks have ended ..."},
                           language)
                     : state.supportResult;
  view.details = say(kHelp, language);
  view.first = {say({"写出 kov_support.txt(&W)", "&Write kov_support.txt"}, language),
                !state.supportWanted};
}

}  // namespace

View viewOf(const WindowState& state, Language language) {
  View view;
  switch (state.page) {
    case Page::before: viewFindings(state, language, view); break;
    case Page::runs: viewRuns(state, language, view); break;
    case Page::help: viewHelp(state, language, view); break;
  }
  if (state.sending) view.summary = sendingText(state.closing, language);
  view.details = withCrLf(view.details);
  return view;
}

const char* windowTitle(Language language) {
  return say({"KOV 周赛检查", "KOV race check"}, language);
}

const char* pageLabel(Page page, Language language) {
  return say(kPageLabels[static_cast<std::size_t>(page)], language);
}

const char* againLabel(Language language) {
  return say({"重新检查 (F5)", "Check again (F5)"}, language);
}

const char* closeLabel(Language language) { return say({"关闭", "Close"}, language); }

const char* detailsLabel(Language language) { return say({"说明", "Details"}, language); }

std::string plainLabel(const std::string& label) {
  std::string plain;
  for (const char c : label) {
    if (c != '&') plain += c;
  }
  return plain;
}

std::vector<std::string> runHeadings(Language language) {
  std::vector<std::string> headings;
  for (const Wording& wording :
       {Wording{"什么时候", "When"}, Wording{"用时", "Time"}, Wording{"结局", "Ending"},
        Wording{"难度", "Difficulty"}, Wording{"结果", "What became of it"}}) {
    headings.emplace_back(say(wording, language));
  }
  return headings;
}

std::vector<std::string> runCells(const RunRow& run, Language language) {
  const auto shown = [language](const std::string& word) {
    for (const Word& known : kWords) {
      if (word == known.word) return std::string(say(known.shown, language));
    }
    return word;
  };
  return {run.when.empty() ? say({"时间不明", "time unknown"}, language) : run.when, run.time,
          shown(run.ending), shown(run.difficulty), run.outcome};
}

std::size_t firstFinding(const Findings& page) {
  for (const State state : {State::bad, State::worthKnowing}) {
    const auto found = std::find_if(page.begin(), page.end(),
                                    [state](const Finding& row) { return row.state == state; });
    if (found != page.end()) return static_cast<std::size_t>(found - page.begin());
  }
  return page.empty() ? kNoRow : 0;
}

std::size_t sameFinding(const Findings& before, std::size_t selected, const Findings& after) {
  if (selected >= before.size()) return firstFinding(after);
  const Finding& wanted = before[selected];
  std::size_t ofQuestion = kNoRow;
  std::size_t ofStage = kNoRow;
  for (std::size_t i = 0; i < after.size(); ++i) {
    const Finding& row = after[i];
    if (row.stage != wanted.stage) continue;
    if (row.what == wanted.what) return i;
    if (ofStage == kNoRow) ofStage = i;
    if (ofQuestion == kNoRow && row.question && row.question == wanted.question) ofQuestion = i;
  }
  if (ofQuestion != kNoRow) return ofQuestion;
  return ofStage != kNoRow ? ofStage : firstFinding(after);
}

Difference differenceOf(const Findings& before, const Findings& after) {
  const std::size_t shorter = std::min(before.size(), after.size());
  std::size_t begin = 0;
  while (begin < shorter && isSame(before[begin], after[begin])) ++begin;
  std::size_t kept = 0;
  while (kept < shorter - begin &&
         isSame(before[before.size() - 1 - kept], after[after.size() - 1 - kept])) {
    ++kept;
  }
  return {begin, before.size() - kept, after.size() - kept};
}

bool isChecking(const Findings& page) { return countOf(page, State::checking) > 0; }

Confirmation confirmationOf(Button button, Language language) {
  if (button != Button::startTimerServer) return {};
  return {say({"要改 LiveSplit 的 settings.cfg 吗？只改 ServerStartup 一项，原来的文件会留一份。",
               "Change LiveSplit's settings.cfg? Only ServerStartup changes, and a copy of the "
               "file is kept."},
              language),
          say({"改", "Change it"}, language)};
}

}  // namespace launcher::check
