#pragma once

#include <string_view>

namespace launcher {

// What the launcher's English message to the result card and the card's Chinese text have to
// agree on. Both programs read it here; each takes out its own columns at compile time, so
// that no program carries the other's language.

/// A refusal of the race server that players know.
struct Refusal {
  std::string_view said;       ///< a part of the server's error text
  std::string_view english;    ///< how the launcher's message begins; the card knows it by this
  std::string_view detail;     ///< how it goes on
  std::u16string_view chinese; ///< what the card says
};

/// The first one whose part is in the server's error text counts. No `english` is the
/// beginning of another.
inline constexpr Refusal kRefusals[] = {
    {"splits too few", "incomplete result", " (too few splits)",
     u"服务器没有收下：成绩不完整，分段太少。"},
    {"Level 0", "run did not start at Level 0", " - not eligible",
     u"服务器没有收下：这次不是从 Level 0 开始的。"},
    {"race is closed", "The race is closed", " - result not counted",
     u"服务器没有收下：比赛已经关闭。"},
    {"week window closed", "This week has ended", " - result not counted",
     u"服务器没有收下：本周的比赛已经结束。"},
    {"hard difficulty", "Hard difficulty", " is not part of the race",
     u"服务器没有收下：困难难度不参加比赛。"},
};

/// The message when the server's answer names no reason.
inline constexpr std::string_view kNetworkError = "Network error";

/// What stands before the login code in the message about an accepted run.
inline constexpr std::string_view kLoginCodePrefix = "login code: ";

}  // namespace launcher
