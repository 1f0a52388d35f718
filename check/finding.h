#pragma once

#include <initializer_list>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace launcher::check {

// What the first page says. All texts are UTF-8, in the one language that was asked for.

/// The language of every text: Chinese, or English where Windows' interface is not Chinese.
enum class Language { chinese, english };

/// The stages of a run, in their order: the groups of the first page.
enum class Stage { place, settings, dataFolder, steam, game, mod, livesplit, server, queue };

/// How a row is marked.
enum class State {
  good,
  worthKnowing,  ///< the race can be run all the same
  bad,           ///< the race cannot be run, or its result would be lost or not counted
  checking,      ///< a slow question has not been answered yet
  unknown,       ///< this machine does not say
};

/// The button that does what a row asks for.
enum class Button {
  none,
  removeMark,        ///< removeMarks()
  chooseGame,        ///< let the player choose the file, then writeGame()
  startTimerServer,  ///< startTimerServer()
  resendQueue,       ///< resendQueue()
};

/// The questions that can take seconds. Each may be asked on a worker thread.
enum class Question { antivirus, livesplit, server };
inline constexpr Question kQuestions[] = {Question::antivirus, Question::livesplit,
                                          Question::server};

/// One row of the first page.
struct Finding {
  Stage stage = Stage::place;
  State state = State::unknown;
  std::string what;  ///< one sentence
  std::string todo = {};  ///< what the player can do; empty when there is nothing to do
  Button button = Button::none;
  std::optional<Question> question = {};  ///< the slow question that it answers, if any
};

using Findings = std::vector<Finding>;

/// A text in both languages.
struct Wording {
  const char* chinese;
  const char* english;
};

/// The text in that language.
[[nodiscard]] const char* say(const Wording& wording, Language language);

/// The text with "{1}", "{2}", ... replaced by the values; what a value holds is never
/// replaced again.
[[nodiscard]] std::string fill(const Wording& wording, Language language,
                               std::initializer_list<std::string_view> values);

/// A row whose texts are filled in with the values.
[[nodiscard]] Finding filledRow(Stage stage, State state, const Wording& what,
                                const Wording& todo, Language language,
                                std::initializer_list<std::string_view> values);

/// For rows that ask nothing of the player.
inline constexpr Wording kNothingToDo = {"", ""};

/// Heading of a group: "设置" or "Settings".
[[nodiscard]] const char* stageTitle(Stage stage, Language language);

/// Label of a button, without "..." or shortcut; empty for Button::none.
[[nodiscard]] const char* buttonLabel(Button button, Language language);

/// One word for a mark: "正常", "注意", "有问题", "正在检查", "未知".
[[nodiscard]] const char* stateWord(State state, Language language);

/// The row that stands for a slow question until it is answered: "正在检查……".
[[nodiscard]] Finding checkingRow(Question question, Language language);

/// Puts the answer in the place of the question's rows: its `checking` row, or the rows of an
/// earlier answer. Every page has at least one row of each question, so the order stays.
void putAnswer(Findings& page, Question question, const Findings& answer);

/// Back to `checking` for one question, as for F5.
void putChecking(Findings& page, Question question, Language language);

/// True when no row is bad. A row that is still being checked is none.
[[nodiscard]] bool canRace(const Findings& page);

/// The page as lines: a heading for each stage, a line a row, and what to do below it.
[[nodiscard]] std::string pageText(const Findings& page, Language language);

}  // namespace launcher::check
