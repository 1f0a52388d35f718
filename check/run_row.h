#pragma once

#include <string>
#include <vector>

#include "check/finding.h"

namespace launcher::check {

/// What became of a run.
enum class Fate {
  accepted,     ///< the server counts it
  refused,      ///< the server looked and did not accept, and nothing will send it again
  waiting,      ///< in the queue; the next start sends it
  notFinished,  ///< no ending was reached
  neverSent,    ///< finished, but neither sent nor queued
  unknown,      ///< what is left on this machine does not say
};

/// One row of the second page. Texts are UTF-8.
struct RunRow {
  std::string when;        ///< "2025-03-01 21:45:02", local time; empty when nothing says
  std::string time;        ///< "12:34.56"; empty when nothing says
  std::string ending;      ///< "main", "arcade", "true" or empty
  std::string difficulty;  ///< "easy", "normal", "nightmare" or empty
  Fate fate = Fate::unknown;
  std::string outcome;     ///< the fate in a sentence, with rank, points or reason
  /// The file that "put into the queue" copies (ANSI path); empty when that button is off.
  std::string queueSource = {};
};

using RunRows = std::vector<RunRow>;

/// The page as lines, newest first.
[[nodiscard]] std::string runsText(const RunRows& runs, Language language);

}  // namespace launcher::check
