#pragma once

#include <string>
#include <string_view>

#include "result/submission.h"

namespace launcher {

/// What became of a run, as the result card's --kind names it.
enum class ResultKind { ok, fail, none };

/// "ok" when the server accepted the run, "fail" when a finished run did not get
/// through, "none" when there was no finished run.
[[nodiscard]] ResultKind resultKind(bool accepted, bool finished);

/// The kind's word on the card's command line and in the log.
[[nodiscard]] const char* kindWord(ResultKind kind);

/// True when a result file's text says that the mod saw an ending: it holds
/// "status":"ending" without blanks.
[[nodiscard]] bool isFinishedRun(std::string_view runText);

/// The text for the player, in Chinese (UTF-8). `runText` is the result file as it
/// lies on disk; for an accepted run its total, when there is one, is shown as
/// minutes and seconds.
[[nodiscard]] std::string playerMessage(ResultKind kind, std::string_view runText);

/// The card's detail in English; empty for an accepted run. For a run that did not
/// get through it names the reason after the first "error" of the server's reply, such
/// as {"accepted":false,"error":"week window closed"}.
[[nodiscard]] std::string detailMessage(ResultKind kind, std::string_view reply);

/// Command line of the card that follows the upload. Both paths go in double quotes.
[[nodiscard]] std::string progressCardCommandLine(std::string_view card,
                                                  std::string_view stateFile);

/// What follows the card's path on the command line that shows a result. Values are
/// inserted as they are, without escaping.
[[nodiscard]] std::string resultCardArguments(ResultKind kind, const UploadOutcome& outcome);

}  // namespace launcher
