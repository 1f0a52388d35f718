#pragma once

#include <string>

#include "check/finding.h"

namespace launcher::check {

/// Where the programs lie. Folders are UTF-8 and end in a backslash, or are empty.
struct PlaceFacts {
  std::string folder = {};            ///< of this program
  std::string temporaryFolder = {};   ///< where programs that open a zip put what they show
  std::string programFiles = {};
  std::string programFilesX86 = {};
  bool inAnsi = true;            ///< the ANSI code page has all characters of `folder`
  std::size_t ansiBytes = 0;     ///< length of `folder` in it
  bool hasLauncher = true;
  bool hasCard = true;
  bool isMarked = false;         ///< one of the programs is marked as from the internet
};

/// The rows of the stage "place".
[[nodiscard]] Findings placeRows(const PlaceFacts& facts, Language language);

}  // namespace launcher::check
