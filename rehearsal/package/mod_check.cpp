#include "rehearsal/package/mod_check.h"

#include <algorithm>
#include <array>

namespace rehearsal {

namespace {

/// Libraries beside the game's program that belong to the game.
constexpr std::array<std::string_view, 3> kOfTheGame = {
    "steam_api64.dll", "steam_api.dll", "eossdk-win64-shipping.dll"};

/// Libraries there that UE4SS brings: its loader, by one of two names, and itself.
constexpr std::array<std::string_view, 3> kOfTheMod = {"dwmapi.dll", "xinput1_3.dll", "ue4ss.dll"};

std::string inLowerCase(std::string text) {
  for (char& c : text) {
    if (c >= 'A' && c <= 'Z') c = static_cast<char>(c - 'A' + 'a');
  }
  return text;
}

template <std::size_t count>
bool holds(const std::array<std::string_view, count>& list, const std::string& name) {
  return std::find(list.begin(), list.end(), name) != list.end();
}

}  // namespace

Findings checkModNames(const std::vector<std::string>& names) {
  Findings found;
  for (const std::string& name : names) {
    if (name.find('\\') != std::string::npos) continue;  // the game has none of these folders
    const std::string small = inLowerCase(name);
    if (small.ends_with(".exe") || holds(kOfTheGame, small)) {
      found.push_back(failed("the mod folder's " + name + " would overwrite the game's own",
                             "remove it; the mod consists of libraries and scripts"));
    } else if (small.ends_with(".dll") && !holds(kOfTheMod, small)) {
      found.push_back(warned("the mod folder's " + name + " is none that UE4SS brings",
                             "look whether the game's Win64 folder has its own; it would be"
                             " overwritten"));
    }
  }
  if (found.empty()) found.push_back(passed("the mod overwrites no file of the game"));
  return found;
}

}  // namespace rehearsal
