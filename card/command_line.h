#pragma once

#include <string>
#include <string_view>

namespace launcher::card {

/// The values of a result, each exactly as it is on the command line:
/// UTF-16, unescaped, possibly empty. An option that is missing is empty too.
struct ResultArguments {
  std::u16string ok;
  std::u16string kind;
  std::u16string total;
  std::u16string difficulty;
  std::u16string ending;
  std::u16string rank;
  std::u16string points;
  std::u16string message;
};

/// What the card was asked to show.
enum class CardMode {
  idle,      ///< started without any argument, say by a double click
  progress,  ///< follow `statePath` until the upload is over
  result,    ///< show `result`
};

struct CommandLine {
  CardMode mode = CardMode::idle;
  std::u16string statePath;
  ResultArguments result;
};

/// Takes the whole command line of the process apart, program path included.
///
///   "C:\kov\kov_result.exe" --mode progress --state "C:\kov\data\upload.state"
///   "C:\kov\kov_result.exe" --ok 1 --kind ok --total 754.56 --difficulty normal
///     --ending main --rank 3 --points 120 --msg "login code: K7Q2"   (one line)
///
/// The launcher joins the parts without escaping anything, so the usual rules
/// for arguments do not apply: a value may hold blanks, quotes or the name of
/// another option. The order of the options is what can be relied on. A value
/// runs until the option that follows it in that order; the message, always
/// the last, runs to the last quote of the line or, without one, to its end.
[[nodiscard]] CommandLine parseCommandLine(std::u16string_view line);

}  // namespace launcher::card
