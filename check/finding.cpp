#include "check/finding.h"

#include <algorithm>
#include <iterator>

namespace launcher::check {
namespace {

constexpr Wording kStageTitles[] = {
    {"安装位置", "Place"},          {"设置", "Settings"},
    {"数据文件夹", "Data folder"},  {"Steam 和账号", "Steam and account"},
    {"游戏", "Game"},               {"计时 mod", "Race mod"},
    {"LiveSplit", "LiveSplit"},     {"比赛服务器", "Race server"},
    {"待补传的成绩", "Queue"},
};

constexpr Wording kStateWords[] = {
    {"正常", "good"},          {"注意", "worth knowing"}, {"有问题", "bad"},
    {"正在检查", "checking"},  {"未知", "unknown"},
};

constexpr Wording kButtonLabels[] = {
    {"", ""},
    {"解除锁定", "Unblock"},
    {"选择游戏文件", "Choose the game"},
    {"让服务器自动启动", "Start the server with LiveSplit"},
    {"现在补传", "Send now"},
};

Stage stageOf(Question question) {
  switch (question) {
    case Question::antivirus: return Stage::mod;
    case Question::livesplit: return Stage::livesplit;
    case Question::server: break;
  }
  return Stage::server;
}

}  // namespace

const char* say(const Wording& wording, Language language) {
  return language == Language::chinese ? wording.chinese : wording.english;
}

std::string fill(const Wording& wording, Language language,
                 std::initializer_list<std::string_view> values) {
  const std::string_view text = say(wording, language);
  std::string result;
  std::size_t copied = 0;
  for (std::size_t open = text.find('{'); open != std::string_view::npos;
       open = text.find('{', open + 1)) {
    const std::size_t number =
        open + 2 < text.size() && text[open + 2] == '}' ? static_cast<std::size_t>(text[open + 1] - '0') : 0;
    if (number < 1 || number > values.size()) continue;
    result.append(text.substr(copied, open - copied)).append(values.begin()[number - 1]);
    copied = open + 3;
  }
  return result.append(text.substr(copied));
}

Finding filledRow(Stage stage, State state, const Wording& what, const Wording& todo,
                  Language language, std::initializer_list<std::string_view> values) {
  return {stage, state, fill(what, language, values), fill(todo, language, values)};
}

const char* stageTitle(Stage stage, Language language) {
  return say(kStageTitles[static_cast<std::size_t>(stage)], language);
}

const char* stateWord(State state, Language language) {
  return say(kStateWords[static_cast<std::size_t>(state)], language);
}

const char* buttonLabel(Button button, Language language) {
  return say(kButtonLabels[static_cast<std::size_t>(button)], language);
}

Finding checkingRow(Question question, Language language) {
  static constexpr Wording kWhat[] = {
      {"正在检查装了哪些杀毒软件……", "Asking which antivirus programs are installed ..."},
      {"正在检查 LiveSplit 的计时服务器……", "Asking LiveSplit's server ..."},
      {"正在检查比赛服务器……", "Asking the race server ..."},
  };
  return {.stage = stageOf(question),
          .state = State::checking,
          .what = say(kWhat[static_cast<std::size_t>(question)], language),
          .question = question};
}

void putAnswer(Findings& page, Question question, const Findings& answer) {
  const auto isOfQuestion = [question](const Finding& row) { return row.question == question; };
  const auto first = std::find_if(page.begin(), page.end(), isOfQuestion);
  const auto at = std::distance(page.begin(), first);
  page.erase(std::remove_if(page.begin(), page.end(), isOfQuestion), page.end());
  page.insert(page.begin() + at, answer.begin(), answer.end());
}

void putChecking(Findings& page, Question question, Language language) {
  putAnswer(page, question, {checkingRow(question, language)});
}

bool canRace(const Findings& page) {
  return std::none_of(page.begin(), page.end(),
                      [](const Finding& row) { return row.state == State::bad; });
}

std::string pageText(const Findings& page, Language language) {
  std::string text;
  std::optional<Stage> stage;
  for (const Finding& row : page) {
    if (row.stage != stage) {
      if (stage) text += "\n";
      text += std::string("== ") + stageTitle(row.stage, language) + "\n";
      stage = row.stage;
    }
    text += std::string("[") + stateWord(row.state, language) + "] " + row.what + "\n";
    if (!row.todo.empty()) text += "    -> " + row.todo + "\n";
  }
  return text;
}

}  // namespace launcher::check
