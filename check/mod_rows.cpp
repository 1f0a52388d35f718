#include "check/mod_rows.h"

#include <algorithm>

namespace launcher::check {
namespace {

Finding row(State state, const Wording& what, const Wording& todo, Language language,
            std::string_view value = {}) {
  return filledRow(Stage::mod, state, what, todo, language, {value});
}

std::string joined(const std::vector<std::string>& parts, const char* separator) {
  std::string text;
  for (const std::string& part : parts) text += (text.empty() ? "" : separator) + part;
  return text;
}

constexpr Wording kExclude = {
    "多半被杀毒软件删了：把游戏的 Win64 文件夹加入排除项，再重新解压玩家包。",
    "An antivirus program has probably taken them: exclude the game's Win64 folder, then extract "
    "the zip again."};

/// The required files that are missing after a start: in the game and in the package too.
std::vector<std::string> missingAfterInstall(const ModFacts& facts) {
  std::vector<std::string> missing;
  for (const std::string& file : facts.missingInGame) {
    const auto& package = facts.missingInPackage;
    const bool comes = facts.isSet && facts.packageExists &&
                       std::find(package.begin(), package.end(), file) == package.end();
    if (!comes) missing.push_back(file);
  }
  return missing;
}

void addPackageRows(const ModFacts& facts, Language language, Findings& rows) {
  if (!facts.isSet) {
    rows.push_back(row(State::worthKnowing,
                       {"launcher.ini 里没有 install_from=，启动器不会装 mod，也不检查。",
                        "launcher.ini has no install_from=: the mod is neither installed nor "
                        "checked."},
                       {"问主办方。", "Ask the organiser."}, language));
  } else if (!facts.packageExists) {
    rows.push_back(row(State::worthKnowing,
                       {"mod 的文件夹不存在，启动器不会装 mod，也不检查：{1}",
                        "The mod's folder does not exist: the mod is neither installed nor "
                        "checked: {1}"},
                       {"不要单独移动 launcher 文件夹；重新解压玩家包。",
                        "Do not move the folder launcher alone; extract the zip again."},
                       language, facts.package));
  } else if (!facts.missingInPackage.empty()) {
    rows.push_back(row(State::worthKnowing,
                       {"玩家包的 mod 文件夹里少了：{1}",
                        "Missing in the mod's folder of the package: {1}"},
                       kExclude, language, joined(facts.missingInPackage, ", ")));
  }
}

}  // namespace

Findings modRows(const ModFacts& facts, Language language) {
  Findings rows;
  addPackageRows(facts, language, rows);
  if (!facts.gameExists) {
    rows.push_back(row(State::unknown,
                       {"没有找到游戏，看不到 mod。", "Without the game the mod cannot be seen."},
                       {"见“游戏”。", "See Game."}, language));
    return rows;
  }
  const std::vector<std::string> missing = missingAfterInstall(facts);
  if (!missing.empty()) {
    rows.push_back(row(State::bad,
                       {"游戏文件夹里少了 mod 的文件，这样不会计时：{1}",
                        "The game's folder lacks files of the mod; a run would not be timed: {1}"},
                       kExclude, language, joined(missing, ", ")));
  } else if (!facts.missingInGame.empty()) {
    rows.push_back(row(State::worthKnowing,
                       {"游戏文件夹里还没有这些 mod 文件，启动时会复制：{1}",
                        "These files of the mod are not in the game's folder yet; the start "
                        "copies them: {1}"},
                       {"装好过又不见了的话，是被杀毒软件删了：把游戏的 Win64 文件夹加入排除项。",
                        "If they were there before, an antivirus program took them: exclude the "
                        "game's Win64 folder."},
                       language, joined(facts.missingInGame, ", ")));
  } else if (!facts.differingInGame.empty()) {
    rows.push_back(row(State::good,
                       {"mod 已装好；启动时会更新：{1}",
                        "The mod is installed; the start updates: {1}"},
                       kNothingToDo, language, joined(facts.differingInGame, ", ")));
  } else {
    rows.push_back(row(State::good,
                       {"mod 已装好（4/4 个文件）。", "The mod is installed (4/4 files)."},
                       kNothingToDo, language));
  }
  return rows;
}

Findings antivirusRows(const AntivirusFacts& facts, Language language) {
  Finding answer;
  if (!facts.answered) {
    answer = row(State::unknown,
                 {"Windows 没有说装了哪些杀毒软件。",
                  "Windows does not say which antivirus programs are installed."},
                 kNothingToDo, language);
  } else if (facts.products.empty()) {
    answer = row(State::good,
                 {"Windows 安全中心没有登记杀毒软件。",
                  "Windows Security Center names no antivirus program."},
                 kNothingToDo, language);
  } else {
    answer = row(State::good,
                 {"Windows 安全中心登记的杀毒软件：{1}。它删了 mod 文件时，在它里面加排除项。",
                  "Antivirus programs that Windows Security Center names: {1}. If one takes files "
                  "of the mod, add the exclusion there."},
                 kNothingToDo, language, joined(facts.products, language == Language::chinese ? "、" : ", "));
  }
  answer.question = Question::antivirus;
  return {answer};
}

}  // namespace launcher::check
