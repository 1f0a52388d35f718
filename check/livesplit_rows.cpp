#include "check/livesplit_rows.h"

#include <algorithm>
#include <iterator>

#include "check/utf8.h"

namespace launcher::check {
namespace {

constexpr std::string_view kOpenTag = "<ServerStartup>";
constexpr std::string_view kCloseTag = "</ServerStartup>";
constexpr std::string_view kPhases[] = {"NotRunning", "Running", "Ended", "Paused"};

Finding row(State state, const Wording& what, const Wording& todo, Language language,
            std::initializer_list<std::string_view> values = {}) {
  return filledRow(Stage::livesplit, state, what, todo, language, values);
}

constexpr Wording kStartByHand = {
    "右键 LiveSplit → Control → Start TCP Server。",
    "Right-click LiveSplit, Control, Start TCP Server."};

struct Element {
  std::size_t begin;
  std::size_t end;
};

std::optional<Element> findElement(std::string_view config) {
  const std::size_t open = config.find(kOpenTag);
  if (open == std::string_view::npos) return std::nullopt;
  const std::size_t begin = open + kOpenTag.size();
  const std::size_t end = config.find(kCloseTag, begin);
  if (end == std::string_view::npos) return std::nullopt;
  return Element{begin, end};
}

void addPlaceRows(const LivesplitFacts& facts, Language language, Findings& rows) {
  if (!facts.exists) {
    rows.push_back(row(State::worthKnowing,
                       {"没有找到 LiveSplit：{1}", "LiveSplit was not found: {1}"},
                       {"按 livesplit 文件夹里的 README.txt 放好；没有它时用 mod 记下的时间。",
                        "See README.txt in the folder livesplit; without it the mod's own time "
                        "counts."},
                       language, {facts.program}));
    return;
  }
  if (facts.isUsualPlace) {
    rows.push_back(row(State::worthKnowing,
                       {"launcher.ini 里的 livesplit= 不存在，会用 {1}，它的布局不会被改成比赛的。",
                        "livesplit= of launcher.ini does not exist; {1} is used, whose layout is "
                        "not set to the race's."},
                       {"改正 livesplit=。", "Correct livesplit=."}, language, {facts.program}));
  }
  if (!isAscii(facts.program) || facts.program.find_first_of("&<") != std::string::npos) {
    rows.push_back(row(State::worthKnowing,
                       {"LiveSplit 的路径里有英文以外的字或 &，它可能读不了自己的设置：{1}",
                        "LiveSplit's path has characters other than plain ASCII, or an &; it may "
                        "not be able to read its settings: {1}"},
                       {"把它放进只有英文字母和数字的文件夹。",
                        "Put it into a folder of plain letters and digits."},
                       language, {facts.program}));
  }
}

void addFileRows(const LivesplitFacts& facts, Language language, Findings& rows) {
  if (!facts.hasSplitsSetting) {
    rows.push_back(row(State::worthKnowing,
                       {"launcher.ini 里没有 livesplit_lss=，启动器不会打开 LiveSplit。",
                        "launcher.ini has no livesplit_lss=: the launcher does not open LiveSplit."},
                       {"比赛前自己打开 LiveSplit。", "Open LiveSplit yourself before the race."},
                       language));
  } else if (!facts.splitsExist) {
    rows.push_back(row(State::worthKnowing,
                       {"分段文件不存在：{1}", "The splits file does not exist: {1}"},
                       {"向主办方要。", "Ask the organiser for it."}, language, {facts.splits}));
  }
  if (facts.exists && !facts.hasLayout) {
    rows.push_back(row(State::worthKnowing,
                       {"LiveSplit 旁边没有比赛的布局 halvorn.lsl。",
                        "The race's layout halvorn.lsl is not beside LiveSplit."},
                       {"向主办方要。", "Ask the organiser for it."}, language));
  }
}

std::optional<Finding> startupRow(const LivesplitFacts& facts, Language language) {
  if (!facts.exists) return std::nullopt;
  switch (facts.startup) {
    case ServerStartup::tcp: return std::nullopt;
    case ServerStartup::noFile:
      return row(State::worthKnowing,
                 {"LiveSplit 还没有 settings.cfg，它的计时服务器不会自己启动。",
                  "LiveSplit has no settings.cfg yet; its server does not start by itself."},
                 {"打开 LiveSplit 再关掉，然后再检查一次。",
                  "Open LiveSplit, close it, and check again."},
                 language);
    case ServerStartup::noElement:
      return row(State::worthKnowing,
                 {"LiveSplit 的设置里没有 ServerStartup（1.8.34 起才有），计时服务器要每次手动启动。",
                  "LiveSplit's settings have no ServerStartup (1.8.34 and later do); its server "
                  "has to be started by hand each time."},
                 kStartByHand, language);
    case ServerStartup::off:
    case ServerStartup::webSocket:
    case ServerStartup::asBefore: break;
  }
  Finding startup = row(State::worthKnowing,
                        {"LiveSplit 的计时服务器没有设成自动启动。",
                         "LiveSplit's server is not set to start with it."},
                        facts.runs ? Wording{"关掉 LiveSplit，再按按钮。",
                                             "Close LiveSplit, then use the button."}
                                   : Wording{"按按钮打开它。", "Switch it on with the button."},
                        language);
  startup.button = Button::startTimerServer;
  return startup;
}

/// Who listens, for a sentence: "(by program.exe)" or "".
std::string byHolder(const TimerFacts& facts, Language language) {
  if (facts.holder.empty()) return {};
  return language == Language::chinese ? "（" + facts.holder + "）" : " (" + facts.holder + ")";
}

Finding noAnswerRow(const TimerFacts& facts, Language language) {
  if (facts.silent) {
    return row(State::bad,
               {"有程序{1}占着 LiveSplit 的端口 16834 却不回答，启动器会停在那里等。",
                "A program{1} holds LiveSplit's port 16834 and does not answer; the launcher would "
                "stop there and wait."},
               {"关掉那个程序。", "Close that program."}, language, {byHolder(facts, language)});
  }
  if (!facts.holder.empty() && !isSameName(facts.holder, "LiveSplit.exe")) {
    return row(State::bad,
               {"另一个程序{1}占着 LiveSplit 的端口 16834。",
                "Another program{1} holds LiveSplit's port 16834."},
               {"关掉那个程序。", "Close that program."}, language, {byHolder(facts, language)});
  }
  if (facts.runs) {
    return row(State::worthKnowing,
               {"LiveSplit 开着，但计时服务器没有启动。",
                "LiveSplit runs, but its server does not."},
               kStartByHand, language);
  }
  if (!facts.willBeStarted) {
    return row(State::worthKnowing,
               {"LiveSplit 没有开，启动器也不会打开它；没有它时用 mod 记下的时间。",
                "LiveSplit does not run and the launcher does not start it; without it the mod's "
                "own time counts."},
               {"比赛前自己打开 LiveSplit 和它的服务器。",
                "Open LiveSplit and its server before the race."},
               language);
  }
  if (facts.startup == ServerStartup::tcp) {
    return row(State::good,
               {"LiveSplit 现在没有开，启动器会打开它，计时服务器也会自己启动。",
                "LiveSplit does not run now; the launcher starts it, and its server starts too."},
               kNothingToDo, language);
  }
  return row(State::worthKnowing,
             {"LiveSplit 现在没有开；启动器会打开它，但计时服务器不会自己启动。",
              "LiveSplit does not run now; the launcher starts it, but its server does not start "
              "by itself."},
             kStartByHand, language);
}

Finding answerRow(const TimerFacts& facts, Language language) {
  if (!isTimerPhase(facts.phase)) {
    return row(State::bad,
               {"端口 16834 上的程序{1}不是 LiveSplit，它回答：{2}",
                "The program on port 16834{1} is not LiveSplit; it answers: {2}"},
               {"关掉那个程序。", "Close that program."}, language,
               {byHolder(facts, language), facts.phase});
  }
  if (facts.silentOnSplit) {
    return row(State::bad,
               {"LiveSplit 太旧（1.8.28 或更早），第一个分段之前不回答，上传会停在那里。",
                "LiveSplit is too old (1.8.28 or before): it does not answer before the first "
                "split, where an upload would stop."},
               {"换成新的 LiveSplit。", "Use a newer LiveSplit."}, language);
  }
  return row(State::good,
             {"LiveSplit 的计时服务器有回答（{1}）。", "LiveSplit's server answers ({1})."},
             kNothingToDo, language, {facts.phase});
}

}  // namespace

ServerStartup serverStartup(const std::optional<std::string>& config) {
  if (!config) return ServerStartup::noFile;
  const std::optional<Element> element = findElement(*config);
  if (!element) return ServerStartup::noElement;
  const std::string_view value =
      std::string_view(*config).substr(element->begin, element->end - element->begin);
  if (value == "1") return ServerStartup::tcp;
  if (value == "2") return ServerStartup::webSocket;
  if (value == "3") return ServerStartup::asBefore;
  return ServerStartup::off;
}

std::optional<std::string> withServerStartup(std::string_view config) {
  const std::optional<Element> element = findElement(config);
  if (!element || config.substr(element->begin, element->end - element->begin) == "1") {
    return std::nullopt;
  }
  std::string changed(config.substr(0, element->begin));
  return changed.append("1").append(config.substr(element->end));
}

Findings livesplitRows(const LivesplitFacts& facts, Language language) {
  if (!facts.isSet) {
    return {row(State::worthKnowing,
                {"launcher.ini 里没有 livesplit=，不使用 LiveSplit；用 mod 记下的时间。",
                 "launcher.ini has no livesplit=: LiveSplit is not used, the mod's own time "
                 "counts."},
                {"要用的话问主办方。", "Ask the organiser whether it is needed."}, language)};
  }
  Findings rows;
  addPlaceRows(facts, language, rows);
  addFileRows(facts, language, rows);
  if (auto startup = startupRow(facts, language)) rows.push_back(std::move(*startup));
  if (rows.empty()) {
    rows.push_back(row(State::good, {"LiveSplit：{1}", "LiveSplit: {1}"}, kNothingToDo, language,
                       {facts.program}));
  }
  return rows;
}

bool isTimerPhase(std::string_view word) {
  return std::find(std::begin(kPhases), std::end(kPhases), word) != std::end(kPhases);
}

Findings timerRows(const TimerFacts& facts, Language language) {
  Finding answer;
  if (!facts.isSet) {
    answer = row(State::good, {"不使用 LiveSplit，没有去问它。",
                               "LiveSplit is not used and was not asked."},
                 kNothingToDo, language);
    // The upload asks its port all the same.
    if (facts.silent) answer = noAnswerRow(facts, language);
  } else if (facts.phase.empty()) {
    answer = noAnswerRow(facts, language);
  } else {
    answer = answerRow(facts, language);
  }
  answer.question = Question::livesplit;
  return {answer};
}

}  // namespace launcher::check
