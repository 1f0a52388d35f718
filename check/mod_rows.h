#pragma once

#include <string>
#include <vector>

#include "check/finding.h"

namespace launcher::check {

/// What was found out about the race mod. Paths are relative to the game's folder as
/// kRequiredModFiles has them, or UTF-8.
struct ModFacts {
  bool isSet = true;              ///< launcher.ini names a package
  bool gameExists = true;         ///< there is a folder to install into
  std::string package = {};
  bool packageExists = true;
  std::vector<std::string> missingInPackage = {};
  std::vector<std::string> missingInGame = {};
  std::vector<std::string> differingInGame = {};  ///< there, but not of the package's size
};

/// The rows of the stage "mod" that need no question.
[[nodiscard]] Findings modRows(const ModFacts& facts, Language language);

/// What Windows Security Center says.
struct AntivirusFacts {
  bool answered = false;
  std::vector<std::string> products = {};
};

/// The rows that answer Question::antivirus.
[[nodiscard]] Findings antivirusRows(const AntivirusFacts& facts, Language language);

}  // namespace launcher::check
