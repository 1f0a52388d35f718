#include "check/steam_rows.h"

#include <string_view>

#include "check/utf8.h"

namespace launcher::check {
namespace {

Finding row(Stage stage, State state, const Wording& what, const Wording& todo, Language language,
            std::initializer_list<std::string_view> values = {}) {
  return filledRow(stage, state, what, todo, language, values);
}


Finding programRow(const SteamFacts& facts, Language language) {
  if (facts.exists) {
    return row(Stage::steam, State::good, {"Steam：{1}", "Steam: {1}"}, kNothingToDo, language,
               {facts.steam});
  }
  return row(Stage::steam, State::worthKnowing,
             {"没有找到 Steam，游戏会被直接启动。",
              "Steam was not found; the game will be started directly."},
             {"安装 Steam 并登录一次。", "Install Steam and log in once."}, language);
}

/// A name that breaks the submission's JSON.
bool isUnreadable(std::string_view name) {
  return name.find_first_of("\"\\") != std::string_view::npos;
}

std::string lastDigits(const std::string& steamId) {
  constexpr std::size_t kShown = 4;
  return steamId.size() > kShown ? steamId.substr(steamId.size() - kShown) : steamId;
}

Finding unreadableNameRow(const std::string& name, Language language) {
  return row(Stage::steam, State::bad,
             {"名字里有英文引号或反斜杠，服务器读不懂成绩：{1}",
              "The name has a quote or a backslash; the server cannot read the result: {1}"},
             {"改掉名字。", "Change the name."}, language, {name});
}

Finding noAccountRow(const SteamFacts& facts, Language language) {
  if (isUnreadable(facts.iniPlayer)) return unreadableNameRow(facts.iniPlayer, language);
  if (facts.iniPlayer.empty()) {
    return row(Stage::steam, State::worthKnowing,
               {"没有 Steam 账号的名字，launcher.ini 里也没有 player=，成绩会记在 anonymous 名下。",
                "There is no Steam name and no player= in launcher.ini: the result will be "
                "anonymous."},
               {"登录一次 Steam，或填写 player=。", "Log in to Steam once, or fill in player=."},
               language);
  }
  return row(Stage::steam, State::worthKnowing,
             {"没有 Steam 账号的名字，会使用 launcher.ini 里的名字：{1}",
              "There is no Steam name; the name of launcher.ini is used: {1}"},
             {"登录一次 Steam。", "Log in to Steam once."}, language, {facts.iniPlayer});
}

Finding accountRow(const SteamFacts& facts, Language language) {
  const AccountChoice& choice = facts.choice;
  const std::string& name = choice.account.persona;
  if (name.empty()) return noAccountRow(facts, language);
  if (isUnreadable(name)) return unreadableNameRow(name, language);
  const std::string digits = lastDigits(choice.account.steamId);
  const std::string count = std::to_string(choice.accounts);
  const std::initializer_list<std::string_view> values = {name, digits, count};
  const Wording keepOne = {"不是你的话，在 Steam 的账号选择界面里移除别的账号，再登录一次。",
                           "If it is not yours, remove the other accounts in Steam's account "
                           "chooser and log in again."};
  if (choice.isMixed) {
    return row(Stage::steam, State::worthKnowing,
               {"会用的名字是 {1}，SteamID（末四位 {2}）却是另一个账号的。",
                "The name will be {1}, with the SteamID (ending in {2}) of another account."},
               keepOne, language, values);
  }
  if (choice.accounts > 1 && !choice.isMarked) {
    return row(Stage::steam, State::worthKnowing,
               {"会用的账号是 {1}（SteamID 末四位 {2}）：Steam 记了 {3} 个账号，没有标出最近用的，"
                "所以取第一个。",
                "The account will be {1} (SteamID ending in {2}): Steam has recorded {3} and marks "
                "none as the most recent, so the first is taken."},
               keepOne, language, values);
  }
  if (choice.accounts > 1) {
    return row(Stage::steam, State::good,
               {"会用的账号是 {1}（SteamID 末四位 {2}）：Steam 的 {3} 个账号里标着最近使用的那个。",
                "The account will be {1} (SteamID ending in {2}): of Steam's {3} accounts the one "
                "marked as the most recent."},
               kNothingToDo, language, values);
  }
  return row(Stage::steam, State::good,
             {"会用的账号是 {1}（SteamID 末四位 {2}）。",
              "The account will be {1} (SteamID ending in {2})."},
             kNothingToDo, language, values);
}

Finding missingGameRow(const GameFacts& facts, Language language) {
  Finding missing = row(
      Stage::game, State::bad,
      facts.written.empty()
          ? Wording{"没有找到游戏，启动器会退出。", "The game was not found; the launcher will end."}
          : Wording{"没有找到游戏，launcher.ini 里的 game= 也不存在：{1}",
                    "The game was not found, and game= of launcher.ini does not exist: {1}"},
      {"按按钮选择 Backrooms-Win64-Shipping.exe（Steam：右键游戏 → 管理 → 浏览本地文件，再进 "
       "EscapeTheBackrooms\\Binaries\\Win64）。",
       "Choose Backrooms-Win64-Shipping.exe with the button (Steam: right-click the game, Manage, "
       "Browse local files, then EscapeTheBackrooms\\Binaries\\Win64)."},
      language, {facts.written});
  missing.button = Button::chooseGame;
  return missing;
}

void addGameDoubts(const GameFacts& facts, Language language, Findings& rows) {
  if (facts.isFolder || !facts.hasRightName) {
    rows.push_back(row(Stage::game, State::worthKnowing,
                       {"game= 不是 Backrooms-Win64-Shipping.exe 这个文件，启动器等不到它：{1}",
                        "game= is not the file Backrooms-Win64-Shipping.exe; the launcher would "
                        "wait for it in vain: {1}"},
                       {"按按钮选择正确的文件。", "Choose the right file with the button."}, language,
                       {facts.game}));
    rows.back().button = Button::chooseGame;
  }
  if (!facts.steamExists && !isAscii(facts.game)) {
    rows.push_back(row(Stage::game, State::bad,
                       {"没有 Steam 时，启动器打不开路径里有英文以外字符的游戏：{1}",
                        "Without Steam the launcher cannot start a game whose path is not plain "
                        "ASCII: {1}"},
                       {"安装 Steam。", "Install Steam."}, language, {facts.game}));
  }
  if (facts.runs) {
    rows.push_back(row(Stage::game, State::worthKnowing,
                       {"游戏已经开着，启动器会直接等它结束。",
                        "The game runs already; the launcher will wait for its end."},
                       {"先关掉游戏，再从启动器开始。", "Close it and start from the launcher."},
                       language));
  }
}

}  // namespace

Findings steamRows(const SteamFacts& facts, Language language) {
  return {programRow(facts, language), accountRow(facts, language)};
}

Findings gameRows(const GameFacts& facts, Language language) {
  if (!facts.exists) return {missingGameRow(facts, language)};
  Findings rows;
  if (facts.searched && !facts.written.empty()) {
    rows.push_back(row(Stage::game, State::worthKnowing,
                       {"launcher.ini 里的 game= 不存在，会用 Steam 库里的：{1}",
                        "game= of launcher.ini does not exist; the one in the Steam library is "
                        "used: {1}"},
                       {"留空 game=，或改成正确的路径。", "Leave game= empty, or correct it."},
                       language, {facts.game}));
  } else {
    rows.push_back(row(Stage::game, State::good, {"游戏：{1}", "Game: {1}"}, kNothingToDo, language,
                       {facts.game}));
  }
  addGameDoubts(facts, language, rows);
  return rows;
}

}  // namespace launcher::check
