#pragma once

#include <optional>
#include <string>
#include <vector>

#include "check/finding.h"

namespace launcher::check {

/// What the program was asked for on its command line.
struct Asked {
  enum class Mode {
    window,   ///< no argument
    text,     ///< --text: pages 1 and 2 to standard output
    support,  ///< --support FILE: page 3 into that file
    wrong,    ///< anything else
  };
  Mode mode = Mode::wrong;
  std::wstring file = {};                  ///< with `support`
  std::optional<Language> language = {};   ///< --language zh or en, in front or behind
};

/// Reads the arguments behind the program's name.
[[nodiscard]] Asked readArguments(const std::vector<std::wstring>& arguments);

}  // namespace launcher::check
