#include "check/window_win.h"

#include "check/window_dialogs_win.h"
#include "check/window_text.h"
#include "check/window_theme_win.h"
#include "check/window_worker_win.h"

#include <commctrl.h>
#include <windowsx.h>

#include <algorithm>
#include <iterator>

#include "check/actions.h"
#include "check/machine.h"
#include "check/report.h"
#include "core/paths.h"
#include "core/platform.h"

namespace launcher::check {
namespace {

constexpr wchar_t kClass[] = L"KovRaceCheck";
constexpr wchar_t kSupportFile[] = L"\\kov_support.txt";
constexpr UINT kAnswerMessage = WM_APP;

/// Ids of the controls; "close" is IDCANCEL, which Esc presses too.
enum Id : int {
  kPageId = 100,  // and the next two
  kSummaryId = 110,
  kFindingsId,
  kRunsId,
  kDetailsId,
  kFirstId,
  kSecondId,
  kAgainId,
};

// Sizes in pixels at 96 dpi.
constexpr int kMargin = 12;
constexpr int kGap = 8;
constexpr int kWidth = 880;
constexpr int kHeight = 680;
constexpr int kLeastWidth = 560;
constexpr int kLeastHeight = 420;
constexpr int kButtonPadding = 28;
constexpr int kCellPadding = 18;
constexpr int kRowHeight = 22;
constexpr int kDetailLines = 5;

/// Columns of page 1. The stage has one of its own only where the list shows no groups.
enum Column : int { kStateColumn, kWhatColumn, kStageColumn };

class CheckWindow {
 public:
  explicit CheckWindow(Language language) : language_(language) {}

  void run();

 private:
  static LRESULT CALLBACK procedure(HWND window, UINT message, WPARAM wParam, LPARAM lParam);
  LRESULT handle(UINT message, WPARAM wParam, LPARAM lParam);
  bool handleKey(const MSG& message);

  // Building
  HWND add(const wchar_t* type, int id, DWORD style, const std::string& text);
  void name(const std::string& text);
  void create();
  void prepareFindings();
  void prepareRuns();
  void place();

  // Looks
  [[nodiscard]] int px(int at96) const { return MulDiv(at96, static_cast<int>(dpi_), 96); }
  [[nodiscard]] int textWidth(const std::string& text) const;
  void dress();
  void layOut();
  void layOutColumns();
  [[nodiscard]] int placeButton(HWND button, int x, int y, int height, bool toTheLeft);
  LRESULT drawRow(NMLVCUSTOMDRAW& draw) const;

  // What is shown
  void showPage(Page page);
  void showFindings(Findings findings);
  void showRuns();
  void showAround();
  void select(HWND list, std::size_t row);
  void selected(const NMLISTVIEW& change);
  [[nodiscard]] HWND list() const;

  // What is done
  void again();
  void look();
  void goOn();
  void answered(std::unique_ptr<WorkerAnswer> answer);
  void command(int id);
  void pressFirst();
  void pressRowButton(Button button);
  void done(const ActionResult& result);
  void send();
  void writeSupport();
  void close();

  Language language_;
  WindowState state_;
  Machine machine_;
  unsigned round_ = 0;
  std::vector<Question> unasked_;
  bool sendNext_ = false;
  bool chosen_ = false;     // the player selected a row of page 1
  bool selecting_ = false;  // this program is selecting one
  bool grouped_ = false;
  bool complete_ = false;  // what the window shows first is known

  UINT dpi_ = USER_DEFAULT_SCREEN_DPI;
  int lineHeight_ = 0;
  Theme theme_;
  UniqueDrawing font_;
  HWND window_ = nullptr;
  HWND pages_[std::size(kPages)] = {};
  HWND summary_ = nullptr;
  HWND findings_ = nullptr;
  HWND runs_ = nullptr;
  HWND details_ = nullptr;
  HWND first_ = nullptr;
  HWND second_ = nullptr;
  HWND again_ = nullptr;
  HWND close_ = nullptr;
  HWND focus_ = nullptr;  // the control that has it while the window is active
  std::unique_ptr<Worker> worker_;
};

std::wstring windowText(HWND window) {
  std::wstring text(static_cast<std::size_t>(GetWindowTextLengthW(window)) + 1, L'\0');
  text.resize(
      static_cast<std::size_t>(GetWindowTextW(window, text.data(), static_cast<int>(text.size()))));
  return text;
}

/// A text that stays the same is left alone: screen readers speak what changes.
void setText(HWND window, const std::string& text) {
  const std::wstring wide = utf8ToWide(text);
  if (windowText(window) != wide) (void)SetWindowTextW(window, wide.c_str());
}

void setCell(HWND list, int row, int column, const std::string& text) {
  std::wstring wide = utf8ToWide(text);
  LVITEMW item = {};
  item.iSubItem = column;
  item.pszText = wide.data();
  (void)SendMessageW(list, LVM_SETITEMTEXTW, static_cast<WPARAM>(row),
                     reinterpret_cast<LPARAM>(&item));
}

void addColumn(HWND list, int column, const std::string& heading) {
  std::wstring wide = utf8ToWide(heading);
  LVCOLUMNW added = {};
  added.mask = LVCF_TEXT | LVCF_SUBITEM;
  added.pszText = wide.data();
  added.iSubItem = column;
  (void)SendMessageW(list, LVM_INSERTCOLUMNW, static_cast<WPARAM>(column),
                     reinterpret_cast<LPARAM>(&added));
}

void setColumnWidth(HWND list, int column, int width) {
  (void)SendMessageW(list, LVM_SETCOLUMNWIDTH, static_cast<WPARAM>(column), MAKELPARAM(width, 0));
}

// Building ---------------------------------------------------------------------------------

HWND CheckWindow::add(const wchar_t* type, int id, DWORD style, const std::string& text) {
  return CreateWindowExW(0, type, utf8ToWide(text).c_str(), WS_CHILD | WS_VISIBLE | style, 0, 0, 0,
                         0, window_, reinterpret_cast<HMENU>(static_cast<INT_PTR>(id)),
                         GetModuleHandleW(nullptr), nullptr);
}

/// What screen readers call the control that is added next: a label without a size.
void CheckWindow::name(const std::string& text) { (void)add(L"STATIC", 0, SS_NOPREFIX, text); }

void CheckWindow::create() {
  constexpr DWORD kPush = BS_PUSHBUTTON | WS_TABSTOP;
  constexpr DWORD kRows = LVS_REPORT | LVS_SINGLESEL | LVS_SHOWSELALWAYS | LVS_NOCOLUMNHEADER |
                          WS_BORDER | WS_TABSTOP | WS_GROUP;
  for (const Page page : kPages) {
    const int index = static_cast<int>(page);
    pages_[index] = add(L"BUTTON", kPageId + index,
                        BS_AUTORADIOBUTTON | BS_PUSHLIKE | (index == 0 ? WS_GROUP : 0),
                        pageLabel(page, language_));
  }
  summary_ = add(L"STATIC", kSummaryId, SS_NOPREFIX | SS_ENDELLIPSIS | WS_GROUP, "");
  name(plainLabel(pageLabel(Page::before, language_)));
  findings_ = add(WC_LISTVIEWW, kFindingsId, kRows, "");
  name(plainLabel(pageLabel(Page::runs, language_)));
  runs_ = add(WC_LISTVIEWW, kRunsId, kRows, "");
  name(detailsLabel(language_));
  details_ =
      add(L"EDIT", kDetailsId,
          ES_MULTILINE | ES_READONLY | ES_AUTOVSCROLL | WS_BORDER | WS_TABSTOP | WS_GROUP, "");
  first_ = add(L"BUTTON", kFirstId, kPush | WS_GROUP, "");
  second_ = add(L"BUTTON", kSecondId, kPush, "");
  again_ = add(L"BUTTON", kAgainId, kPush, againLabel(language_));
  close_ = add(L"BUTTON", IDCANCEL, kPush, closeLabel(language_));
  prepareFindings();
  prepareRuns();
}

void CheckWindow::prepareFindings() {
  addColumn(findings_, kStateColumn, say({"状态", "State"}, language_));
  addColumn(findings_, kWhatColumn, say({"检查结果", "Finding"}, language_));
  (void)SendMessageW(findings_, LVM_ENABLEGROUPVIEW, TRUE, 0);
  grouped_ = SendMessageW(findings_, LVM_ISGROUPVIEWENABLED, 0, 0) != 0;
  if (!grouped_) {
    addColumn(findings_, kStageColumn, say({"环节", "Stage"}, language_));
    int order[] = {kStageColumn, kStateColumn, kWhatColumn};
    (void)SendMessageW(findings_, LVM_SETCOLUMNORDERARRAY, std::size(order),
                       reinterpret_cast<LPARAM>(order));
    return;
  }
  for (int stage = 0; stage <= static_cast<int>(Stage::queue); ++stage) {
    std::wstring title = utf8ToWide(stageTitle(static_cast<Stage>(stage), language_));
    LVGROUP group = {};
    group.cbSize = sizeof(group);
    group.mask = LVGF_HEADER | LVGF_GROUPID;
    group.pszHeader = title.data();
    group.iGroupId = stage;
    (void)SendMessageW(findings_, LVM_INSERTGROUP, static_cast<WPARAM>(-1),
                       reinterpret_cast<LPARAM>(&group));
  }
}

void CheckWindow::prepareRuns() {
  int column = 0;
  for (const std::string& heading : runHeadings(language_)) addColumn(runs_, column++, heading);
}

/// In the middle of its screen, and not larger than that.
void CheckWindow::place() {
  MONITORINFO screen = {};
  screen.cbSize = sizeof(screen);
  (void)GetMonitorInfoW(MonitorFromWindow(window_, MONITOR_DEFAULTTONEAREST), &screen);
  const RECT& room = screen.rcWork;
  const int width = std::min<int>(px(kWidth), room.right - room.left);
  const int height = std::min<int>(px(kHeight), room.bottom - room.top);
  (void)SetWindowPos(window_, nullptr, (room.left + room.right - width) / 2,
                     (room.top + room.bottom - height) / 2, width, height,
                     SWP_NOZORDER | SWP_NOACTIVATE);
}

// Looks ------------------------------------------------------------------------------------

/// Width of a text in the window's font, which the list has too.
int CheckWindow::textWidth(const std::string& text) const {
  return static_cast<int>(SendMessageW(findings_, LVM_GETSTRINGWIDTHW, 0,
                                       reinterpret_cast<LPARAM>(utf8ToWide(text).c_str())));
}

/// Colours and font, as Windows has them now.
void CheckWindow::dress() {
  const bool wasDark = theme_.dark;
  theme_ = dressFrame(window_);
  MessageFont font = messageFont(dpi_);
  for (HWND child = GetWindow(window_, GW_CHILD); child != nullptr;
       child = GetWindow(child, GW_HWNDNEXT)) {
    const bool isList = child == findings_ || child == runs_;
    if (isList || theme_.dark || wasDark) dressControl(child, theme_);
    (void)SendMessageW(child, WM_SETFONT, reinterpret_cast<WPARAM>(font.font.get()), FALSE);
  }
  font_ = std::move(font.font);
  lineHeight_ = font.lineHeight;
  for (const HWND rows : {findings_, runs_}) {
    // The rows of a list are as high as its pictures, of which there are none. The list takes
    // the new ones over, and hands back the old ones.
    const HIMAGELIST high = ImageList_Create(1, px(kRowHeight), ILC_COLOR, 1, 0);
    (void)ImageList_Destroy(reinterpret_cast<HIMAGELIST>(
        SendMessageW(rows, LVM_SETIMAGELIST, LVSIL_SMALL, reinterpret_cast<LPARAM>(high))));
    (void)SendMessageW(rows, LVM_SETEXTENDEDLISTVIEWSTYLE, 0,
                       LVS_EX_FULLROWSELECT | LVS_EX_DOUBLEBUFFER | LVS_EX_LABELTIP);
    (void)SendMessageW(rows, LVM_SETBKCOLOR, 0, static_cast<LPARAM>(theme_.field));
    (void)SendMessageW(rows, LVM_SETTEXTBKCOLOR, 0, static_cast<LPARAM>(theme_.field));
    (void)SendMessageW(rows, LVM_SETTEXTCOLOR, 0, static_cast<LPARAM>(theme_.text));
  }
  layOut();
  (void)RedrawWindow(window_, nullptr, nullptr, RDW_INVALIDATE | RDW_ERASE | RDW_ALLCHILDREN);
}

/// Places a button as wide as its text needs; the next place beside it.
int CheckWindow::placeButton(HWND button, int x, int y, int height, bool toTheLeft) {
  const int width = textWidth(plainLabel(wideToUtf8(windowText(button)))) + px(kButtonPadding);
  (void)SetWindowPos(button, nullptr, toTheLeft ? x - width : x, y, width, height,
                     SWP_NOZORDER | SWP_NOACTIVATE);
  return toTheLeft ? x - width - px(kGap) : x + width + px(kGap);
}

void CheckWindow::layOut() {
  if (!complete_) return;
  RECT room = {};
  (void)GetClientRect(window_, &room);
  const int margin = px(kMargin);
  const int gap = px(kGap);
  const int left = margin;
  const int right = room.right - margin;
  const int buttonHeight = px(30);

  int x = left;
  int y = margin;
  for (const HWND page : pages_) x = placeButton(page, x, y, buttonHeight, false);
  y += buttonHeight + gap;
  (void)SetWindowPos(summary_, nullptr, left, y, right - left, lineHeight_,
                     SWP_NOZORDER | SWP_NOACTIVATE);
  y += lineHeight_ + gap / 2;

  const int buttons = room.bottom - margin - buttonHeight;
  x = placeButton(first_, left, buttons, buttonHeight, false);
  (void)placeButton(second_, x, buttons, buttonHeight, false);
  x = placeButton(close_, right, buttons, buttonHeight, true);
  (void)placeButton(again_, x, buttons, buttonHeight, true);

  const int bottom = buttons - gap;
  const int detailsTop = state_.page == Page::help ? y : bottom - kDetailLines * lineHeight_ - gap;
  for (const HWND rows : {findings_, runs_}) {
    (void)SetWindowPos(rows, nullptr, left, y, right - left, std::max(0, detailsTop - gap - y),
                       SWP_NOZORDER | SWP_NOACTIVATE);
  }
  (void)SetWindowPos(details_, nullptr, left, detailsTop, right - left, bottom - detailsTop,
                     SWP_NOZORDER | SWP_NOACTIVATE);
  const auto lines = static_cast<int>(SendMessageW(details_, EM_GETLINECOUNT, 0, 0));
  (void)ShowScrollBar(details_, SB_VERT, lines * lineHeight_ > bottom - detailsTop);
  (void)GetClientRect(details_, &room);
  room = {px(kGap), px(kGap) / 2, room.right - px(kGap), room.bottom - px(kGap) / 2};
  (void)SendMessageW(details_, EM_SETRECT, 0, reinterpret_cast<LPARAM>(&room));
  layOutColumns();
}

void CheckWindow::layOutColumns() {
  RECT room = {};
  (void)GetWindowRect(findings_, &room);
  const int whole = room.right - room.left - 2 - GetSystemMetricsForDpi(SM_CXVSCROLL, dpi_);
  const int padding = px(kCellPadding);
  int widest = 0;
  for (int state = 0; state <= static_cast<int>(State::unknown); ++state) {
    widest = std::max(widest, textWidth(stateWord(static_cast<State>(state), language_)));
  }
  int taken = widest + padding;
  setColumnWidth(findings_, kStateColumn, taken);
  if (!grouped_) {
    widest = 0;
    for (int stage = 0; stage <= static_cast<int>(Stage::queue); ++stage) {
      widest = std::max(widest, textWidth(stageTitle(static_cast<Stage>(stage), language_)));
    }
    setColumnWidth(findings_, kStageColumn, widest + padding);
    taken += widest + padding;
  }
  setColumnWidth(findings_, kWhatColumn, std::max(px(100), whole - taken));

  const int last = static_cast<int>(runHeadings(language_).size()) - 1;
  taken = 0;
  for (int column = 0; column < last; ++column) {
    widest = 0;
    for (const RunRow& run : state_.runs) {
      widest =
          std::max(widest, textWidth(runCells(run, language_)[static_cast<std::size_t>(column)]));
    }
    setColumnWidth(runs_, column, widest == 0 ? 0 : widest + padding);
    taken += widest == 0 ? 0 : widest + padding;
  }
  setColumnWidth(runs_, last, std::max(px(100), whole - taken));
}

LRESULT CheckWindow::drawRow(NMLVCUSTOMDRAW& draw) const {
  switch (draw.nmcd.dwDrawStage) {
    case CDDS_PREPAINT:
      if (draw.dwItemType != LVCDI_GROUP) return CDRF_NOTIFYITEMDRAW;
      // Windows has no light letters for headings on dark ground.
      if (!theme_.dark || draw.nmcd.dwItemSpec > static_cast<DWORD_PTR>(Stage::queue)) {
        return CDRF_DODEFAULT;
      }
      (void)SetTextColor(draw.nmcd.hdc, theme_.text);
      (void)DrawTextW(
          draw.nmcd.hdc,
          utf8ToWide(stageTitle(static_cast<Stage>(draw.nmcd.dwItemSpec), language_)).c_str(), -1,
          &draw.rcText, DT_SINGLELINE | DT_VCENTER | DT_NOPREFIX);
      return CDRF_SKIPDEFAULT;
    case CDDS_ITEMPREPAINT:
      // The selected row's ground is the list's own choice, and so are its letters.
      return draw.nmcd.dwItemSpec == state_.finding ? CDRF_DODEFAULT : CDRF_NOTIFYSUBITEMDRAW;
    case CDDS_ITEMPREPAINT | CDDS_SUBITEM: break;
    default: return CDRF_DODEFAULT;
  }
  const auto row = static_cast<std::size_t>(draw.nmcd.dwItemSpec);
  const bool isState = draw.iSubItem == kStateColumn && row < state_.findings.size();
  draw.clrText = isState ? stateColor(theme_, state_.findings[row].state) : theme_.text;
  return CDRF_DODEFAULT;
}

// What is shown ----------------------------------------------------------------------------

HWND CheckWindow::list() const {
  switch (state_.page) {
    case Page::before: return findings_;
    case Page::runs: return runs_;
    case Page::help: break;
  }
  return nullptr;
}

void CheckWindow::showPage(Page page) {
  const bool changes = page != state_.page;
  state_.page = page;
  for (const HWND button : pages_) {
    const bool isOn = button == pages_[static_cast<int>(page)];
    (void)SendMessageW(button, BM_SETCHECK, isOn ? BST_CHECKED : BST_UNCHECKED, 0);
    const LONG_PTR style = GetWindowLongPtrW(button, GWL_STYLE) & ~LONG_PTR{WS_TABSTOP};
    (void)SetWindowLongPtrW(button, GWL_STYLE, isOn ? style | WS_TABSTOP : style);
  }
  if (changes && page == Page::runs) showRuns();
  (void)ShowWindow(findings_, page == Page::before ? SW_SHOW : SW_HIDE);
  (void)ShowWindow(runs_, page == Page::runs ? SW_SHOW : SW_HIDE);
  showAround();
}

void CheckWindow::select(HWND rows, std::size_t row) {
  if (row == kNoRow) return;
  LVITEMW item = {};
  item.state = item.stateMask = LVIS_SELECTED | LVIS_FOCUSED;
  selecting_ = true;
  (void)SendMessageW(rows, LVM_SETITEMSTATE, row, reinterpret_cast<LPARAM>(&item));
  selecting_ = false;
  (void)SendMessageW(rows, LVM_ENSUREVISIBLE, row, FALSE);
}

/// The rows that stay are not touched, so that the list neither scrolls nor speaks.
void CheckWindow::showFindings(Findings findings) {
  const Difference difference = differenceOf(state_.findings, findings);
  const std::size_t row =
      chosen_ ? sameFinding(state_.findings, state_.finding, findings) : firstFinding(findings);
  state_.findings = std::move(findings);
  selecting_ = true;
  (void)SendMessageW(findings_, WM_SETREDRAW, FALSE, 0);
  for (std::size_t i = difference.oldEnd; i > difference.begin; --i) {
    (void)SendMessageW(findings_, LVM_DELETEITEM, i - 1, 0);
  }
  for (std::size_t i = difference.begin; i < difference.newEnd; ++i) {
    const Finding& finding = state_.findings[i];
    std::wstring word = utf8ToWide(stateWord(finding.state, language_));
    LVITEMW item = {};
    item.mask = LVIF_TEXT | (grouped_ ? LVIF_GROUPID : 0);
    item.iItem = static_cast<int>(i);
    item.pszText = word.data();
    item.iGroupId = static_cast<int>(finding.stage);
    (void)SendMessageW(findings_, LVM_INSERTITEMW, 0, reinterpret_cast<LPARAM>(&item));
    setCell(findings_, item.iItem, kWhatColumn, finding.what);
    if (!grouped_) {
      setCell(findings_, item.iItem, kStageColumn, stageTitle(finding.stage, language_));
    }
  }
  (void)SendMessageW(findings_, WM_SETREDRAW, TRUE, 0);
  selecting_ = false;
  state_.finding = row;
  select(findings_, row);
  showAround();
}

void CheckWindow::showRuns() {
  (void)SetCursor(LoadCursorW(nullptr, IDC_WAIT));
  state_.runs = readRuns(machine_, language_);
  state_.queued = queuedRuns(machine_);
  (void)SendMessageW(runs_, LVM_DELETEALLITEMS, 0, 0);
  for (std::size_t i = 0; i < state_.runs.size(); ++i) {
    LVITEMW item = {};
    item.iItem = static_cast<int>(i);
    (void)SendMessageW(runs_, LVM_INSERTITEMW, 0, reinterpret_cast<LPARAM>(&item));
    int column = 0;
    for (const std::string& cell : runCells(state_.runs[i], language_)) {
      setCell(runs_, item.iItem, column++, cell);
    }
  }
  if (state_.run >= state_.runs.size()) state_.run = state_.runs.empty() ? kNoRow : 0;
  layOutColumns();
  select(runs_, state_.run);
  (void)SetCursor(LoadCursorW(nullptr, IDC_ARROW));
}

/// Everything but the rows.
void CheckWindow::showAround() {
  const View view = viewOf(state_, language_);
  setText(summary_, view.summary);
  setText(details_, view.details);
  const std::pair<HWND, const ButtonView&> buttons[] = {{first_, view.first},
                                                        {second_, view.second}};
  for (const auto& [button, shown] : buttons) {
    setText(button, shown.label);
    const bool losesFocus = GetFocus() == button && !shown.enabled;
    (void)EnableWindow(button, shown.enabled ? TRUE : FALSE);
    (void)ShowWindow(button, shown.label.empty() ? SW_HIDE : SW_SHOW);
    if (losesFocus) (void)SetFocus(list() != nullptr ? list() : details_);
  }
  layOut();
}

void CheckWindow::selected(const NMLISTVIEW& change) {
  const bool isNew = (change.uChanged & LVIF_STATE) != 0 &&
                     (change.uNewState & ~change.uOldState & LVIS_SELECTED) != 0;
  if (!isNew || selecting_) return;
  const auto row = static_cast<std::size_t>(change.iItem);
  if (change.hdr.hwndFrom == findings_) {
    chosen_ = true;
    state_.finding = row;
  } else {
    state_.run = row;
  }
  showAround();
}

// What is done -----------------------------------------------------------------------------

/// Looks at everything anew; answers to earlier questions no longer count.
void CheckWindow::again() {
  look();
  goOn();
}

/// All of it but the slow questions.
void CheckWindow::look() {
  ++round_;
  machine_ = readMachine();
  unasked_.assign(std::begin(kQuestions), std::end(kQuestions));
  showFindings(quickFindings(machine_, language_));
  if (state_.page == Page::runs) {
    showRuns();
    showAround();
  }
}

/// Gives the worker its next task, if there is one.
void CheckWindow::goOn() {
  if (worker_->busy() || (!sendNext_ && unasked_.empty())) return;
  auto task = std::make_unique<WorkerTask>();
  task->round = round_;
  task->machine = machine_;
  task->language = language_;
  if (sendNext_) {
    sendNext_ = false;
  } else {
    task->question = unasked_.front();
    unasked_.erase(unasked_.begin());
  }
  worker_->start(std::move(task));
}

void CheckWindow::answered(std::unique_ptr<WorkerAnswer> answer) {
  if (!answer->question) {
    state_.sending = false;
    if (state_.closing) {
      (void)DestroyWindow(window_);
    } else {
      done(answer->sent);
    }
    return;
  }
  if (answer->round == round_) {
    Findings findings = state_.findings;
    putAnswer(findings, *answer->question, answer->rows);
    showFindings(std::move(findings));
  }
  goOn();
  if (state_.supportWanted && !isChecking(state_.findings)) writeSupport();
}

void CheckWindow::command(int id) {
  switch (id) {
    case IDCANCEL: (void)PostMessageW(window_, WM_CLOSE, 0, 0); return;
    case IDOK:  // Enter in a list
    case kFirstId: pressFirst(); return;
    case kSecondId: send(); return;
    case kAgainId: again(); return;
    default: break;
  }
  for (const Page page : kPages) {
    if (id == kPageId + static_cast<int>(page)) showPage(page);
  }
}

void CheckWindow::pressFirst() {
  if (!viewOf(state_, language_).first.enabled) return;
  switch (state_.page) {
    case Page::before: pressRowButton(state_.findings[state_.finding].button); return;
    case Page::runs: done(putIntoQueue(machine_, state_.runs[state_.run], language_)); return;
    case Page::help: break;
  }
  state_.supportWanted = true;
  showAround();
  if (!isChecking(state_.findings)) writeSupport();
}

void CheckWindow::pressRowButton(Button button) {
  if (!confirm(window_, confirmationOf(button, language_), language_)) return;
  switch (button) {
    case Button::none: return;
    case Button::removeMark: done(removeMarks(machine_, language_)); return;
    case Button::startTimerServer: done(startTimerServer(machine_, language_)); return;
    case Button::resendQueue: send(); return;
    case Button::chooseGame: break;
  }
  const std::optional<std::wstring> file =
      chooseGame(window_, ansiToWide(parentFolder(machine_.settings.game)));
  if (file) done(writeGame(machine_, *file, language_));
}

void CheckWindow::done(const ActionResult& result) {
  again();
  showResult(window_, result, language_);
}

void CheckWindow::send() {
  if (state_.sending) return;
  state_.sending = true;
  sendNext_ = true;
  showAround();
  goOn();
}

void CheckWindow::writeSupport() {
  state_.supportWanted = false;
  const std::string text =
      supportText(machine_, state_.findings, readRuns(machine_, language_), language_);
  std::wstring own = machine_.programFolderWide;
  own.resize(own.find_last_not_of(L'\\') + 1);
  ActionResult result;
  for (const std::wstring& folder : {own, ansiToWide(machine_.settings.data), documentsFolder()}) {
    if (folder.empty()) continue;
    const std::wstring file = folder + kSupportFile;
    result = writeSupportFile(file, text, language_);
    if (!result.done) continue;
    showInFolder(file);
    break;
  }
  state_.supportResult = result.text;
  showAround();
  if (!result.done) showResult(window_, result, language_);
}

/// A queue that is being sent is waited for, so that no run is sent twice; a second time is
/// meant.
void CheckWindow::close() {
  if (state_.sending && !sendNext_ && !state_.closing) {
    state_.closing = true;
    showAround();
  } else {
    (void)DestroyWindow(window_);
  }
}

// Messages ---------------------------------------------------------------------------------

bool CheckWindow::handleKey(const MSG& message) {
  if (message.message != WM_KEYDOWN) return false;
  const bool shift = GetKeyState(VK_SHIFT) < 0;
  const bool inDetails = message.hwnd == details_;  // would keep these keys for itself
  switch (message.wParam) {
    case VK_F5: again(); return true;
    case VK_TAB:
      if (GetKeyState(VK_CONTROL) < 0) {
        const std::size_t step = shift ? std::size(kPages) - 1 : 1;
        showPage(kPages[(static_cast<std::size_t>(state_.page) + step) % std::size(kPages)]);
        (void)SetFocus(list() != nullptr ? list() : details_);
        return true;
      }
      if (inDetails) (void)SetFocus(GetNextDlgTabItem(window_, details_, shift ? TRUE : FALSE));
      return inDetails;
    case VK_RETURN:
      if (inDetails) pressFirst();
      return inDetails;
    case VK_ESCAPE:
      if (inDetails) command(IDCANCEL);
      return inDetails;
    default: return false;
  }
}

LRESULT CheckWindow::handle(UINT message, WPARAM wParam, LPARAM lParam) {
  switch (message) {
    case WM_COMMAND:
      if (HIWORD(wParam) == BN_CLICKED) command(LOWORD(wParam));
      return 0;
    case WM_NOTIFY: {
      auto* header = reinterpret_cast<NMHDR*>(lParam);
      if (header->code == LVN_ITEMCHANGED) selected(*reinterpret_cast<NMLISTVIEW*>(lParam));
      if (header->code == static_cast<UINT>(NM_CUSTOMDRAW) && header->hwndFrom == findings_) {
        return drawRow(*reinterpret_cast<NMLVCUSTOMDRAW*>(lParam));
      }
      return 0;
    }
    case WM_CTLCOLORSTATIC:
    case WM_CTLCOLOREDIT:
    case WM_CTLCOLORBTN: {
      const auto context = reinterpret_cast<HDC>(wParam);
      (void)SetTextColor(context, theme_.text);
      (void)SetBkColor(context, theme_.ground);
      return reinterpret_cast<LRESULT>(theme_.groundBrush.get());
    }
    case WM_ERASEBKGND: {
      RECT room = {};
      (void)GetClientRect(window_, &room);
      (void)FillRect(reinterpret_cast<HDC>(wParam), &room,
                     static_cast<HBRUSH>(theme_.groundBrush.get()));
      return 1;
    }
    case WM_SIZE: layOut(); return 0;
    case WM_GETMINMAXINFO: {
      auto* limits = reinterpret_cast<MINMAXINFO*>(lParam);
      limits->ptMinTrackSize = {px(kLeastWidth), px(kLeastHeight)};
      return 0;
    }
    case WM_DPICHANGED: {
      dpi_ = HIWORD(wParam);
      const RECT& wanted = *reinterpret_cast<const RECT*>(lParam);
      (void)SetWindowPos(window_, nullptr, wanted.left, wanted.top, wanted.right - wanted.left,
                         wanted.bottom - wanted.top, SWP_NOZORDER | SWP_NOACTIVATE);
      dress();
      return 0;
    }
    case WM_SETTINGCHANGE:
    case WM_SYSCOLORCHANGE: dress(); return 0;
    case WM_ACTIVATE:
      // A window that is being minimised has no focus any more.
      if (LOWORD(wParam) == WA_INACTIVE && GetFocus() != nullptr) focus_ = GetFocus();
      break;
    case WM_SETFOCUS: (void)SetFocus(focus_); return 0;
    case DM_GETDEFID:
      // Enter presses the button that has the focus, also after a click on it.
      if (SendMessageW(GetFocus(), WM_GETDLGCODE, 0, 0) &
          (DLGC_DEFPUSHBUTTON | DLGC_UNDEFPUSHBUTTON)) {
        return MAKELRESULT(GetDlgCtrlID(GetFocus()), DC_HASDEFID);
      }
      break;
    case kAnswerMessage: answered(worker_->takeAnswer(lParam)); return 0;
    case WM_CLOSE: close(); return 0;
    case WM_DESTROY: PostQuitMessage(0); return 0;
    default: break;
  }
  return DefWindowProcW(window_, message, wParam, lParam);
}

LRESULT CALLBACK CheckWindow::procedure(HWND window, UINT message, WPARAM wParam, LPARAM lParam) {
  auto* self = reinterpret_cast<CheckWindow*>(GetWindowLongPtrW(window, GWLP_USERDATA));
  if (self == nullptr) return DefWindowProcW(window, message, wParam, lParam);
  return self->handle(message, wParam, lParam);
}

void CheckWindow::run() {
  const INITCOMMONCONTROLSEX controls = {sizeof(controls),
                                         ICC_LISTVIEW_CLASSES | ICC_STANDARD_CLASSES};
  (void)InitCommonControlsEx(&controls);
  const HINSTANCE program = GetModuleHandleW(nullptr);
  WNDCLASSW type = {};
  type.lpfnWndProc = procedure;
  type.hInstance = program;
  type.hIcon = LoadIconW(program, MAKEINTRESOURCEW(1));
  type.hCursor = LoadCursorW(nullptr, IDC_ARROW);
  type.lpszClassName = kClass;
  (void)RegisterClassW(&type);
  window_ = CreateWindowExW(WS_EX_CONTROLPARENT, kClass, utf8ToWide(windowTitle(language_)).c_str(),
                            WS_OVERLAPPEDWINDOW | WS_CLIPCHILDREN, CW_USEDEFAULT, CW_USEDEFAULT,
                            CW_USEDEFAULT, CW_USEDEFAULT, nullptr, nullptr, program, nullptr);
  if (window_ == nullptr) return;
  dpi_ = GetDpiForWindow(window_);
  place();
  create();
  (void)SetWindowLongPtrW(window_, GWLP_USERDATA, reinterpret_cast<LONG_PTR>(this));
  dress();
  focus_ = findings_;
  showPage(Page::before);
  look();
  complete_ = true;
  layOut();
  (void)ShowWindow(window_, SW_SHOWDEFAULT);
  (void)RedrawWindow(window_, nullptr, nullptr, RDW_UPDATENOW | RDW_ALLCHILDREN);
  // Only now: loading what the questions need would hold the window up.
  worker_ = std::make_unique<Worker>(window_, kAnswerMessage);
  goOn();
  MSG message = {};
  while (GetMessageW(&message, nullptr, 0, 0) > 0) {
    if (handleKey(message) || IsDialogMessageW(window_, &message)) continue;
    (void)TranslateMessage(&message);
    (void)DispatchMessageW(&message);
  }
  // A question that is not answered yet can take a minute: everything ends, unwound or not.
  if (worker_->busy()) (void)TerminateProcess(GetCurrentProcess(), 0);
}

}  // namespace

void showWindow(Language language) {
  takeMissingDisksForMissingFiles();
  CheckWindow(language).run();
}

}  // namespace launcher::check
