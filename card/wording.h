#pragma once

#include <cstddef>
#include <string>
#include <string_view>
#include <vector>

#include "card/command_line.h"
#include "card/upload_watch.h"

namespace launcher::card {

/// What became of the run.
enum class Kind {
  ok,        ///< the server counts it
  fail,      ///< finished, but not delivered or not accepted
  none,      ///< no ending reached
  unknown,   ///< the launcher used a word that this card does not know
  progress,  ///< still being uploaded
};

/// One line of advice, marked by a small sign.
struct Note {
  enum class Sign { what, safe, next };
  Sign sign;
  std::u16string text;
};

/// One large number with its label. `place` is 1 to 3 on the podium, else 0.
struct Stat {
  std::u16string label;
  std::u16string value;
  int place = 0;
};

/// Every text of the result card. A part that is empty is not shown.
struct CardContent {
  Kind kind = Kind::unknown;
  std::u16string windowTitle;
  std::u16string heading;
  std::u16string timeLabel;
  std::u16string time;
  bool timeIsClock = false;  ///< `time` is made of digits, ":" and "." alone
  std::vector<std::u16string> tags;
  std::vector<Stat> stats;
  std::vector<Note> notes;
  std::u16string detail;     ///< the launcher's English message
  std::u16string loginCode;  ///< whole, however long: this is what gets copied
};

/// Texts of the progress card.
struct ProgressContent {
  Kind kind = Kind::progress;
  std::u16string windowTitle;
  std::u16string heading;
  std::u16string hint;
};

inline constexpr std::u16string_view kRaceName = u"KOV 周赛";
inline constexpr std::u16string_view kCloseLabel = u"知道了";
inline constexpr std::u16string_view kCopyLabel = u"复制";
inline constexpr std::u16string_view kCopiedLabel = u"已复制";
inline constexpr std::u16string_view kLoginLabel = u"登录码";
inline constexpr std::u16string_view kLoginHint = u"相当于密码，晒图前请裁掉这一栏";

/// The card for a result. Words that the card does not know are shown as they
/// are; overlong texts are cut with an ellipsis.
[[nodiscard]] CardContent describeResult(const ResultArguments& arguments);

/// The card for somebody who started the program by hand.
[[nodiscard]] CardContent describeIdle();

/// The progress card for `uploading`, `done` or `failed`.
[[nodiscard]] ProgressContent describeProgress(UploadState state);

/// The line beside the button: "12 秒后自动关闭".
[[nodiscard]] std::u16string describeCountdown(int seconds);

/// At most `length` UTF-16 units of `text`, the last one an ellipsis when
/// something was left out; control characters become blanks, and no surrogate
/// pair is cut in two.
[[nodiscard]] std::u16string clipText(std::u16string_view text, std::size_t length);

}  // namespace launcher::card
