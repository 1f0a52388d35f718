#pragma once

#include <string>

#include "check/finding.h"
#include "steam/account.h"

namespace launcher::check {

/// What was found out about Steam, the account and the game. Texts are UTF-8.
struct SteamFacts {
  std::string steam = {};            ///< path as a start would use it; empty: none known
  bool exists = false;
  AccountChoice choice = {};
  std::string iniPlayer = {};        ///< player= of launcher.ini
};

/// The rows of the stage "Steam and account".
[[nodiscard]] Findings steamRows(const SteamFacts& facts, Language language);

struct GameFacts {
  std::string game = {};             ///< path as a start would use it
  std::string written = {};          ///< game= of launcher.ini, placeholders filled in
  bool exists = false;
  bool searched = false;        ///< it came from a Steam library
  bool hasRightName = true;     ///< Backrooms-Win64-Shipping.exe
  bool isFolder = false;
  bool runs = false;            ///< a process of the game's name runs
  bool steamExists = true;
};

/// The rows of the stage "game".
[[nodiscard]] Findings gameRows(const GameFacts& facts, Language language);

}  // namespace launcher::check
