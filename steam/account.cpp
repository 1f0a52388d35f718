#include "steam/account.h"

#include "steam/vdf.h"

namespace launcher {
namespace {

constexpr std::size_t kSteamIdLength = 17;

bool looksLikeSteamId(const std::string& token) {
  return token.size() == kSteamIdLength && token.starts_with("7656");
}

}  // namespace

SteamAccount recentAccount(std::string_view loginUsers) {
  return chooseAccount(loginUsers).account;
}

AccountChoice chooseAccount(std::string_view loginUsers) {
  const std::vector<std::string> tokens = tokenizeVdf(loginUsers);
  SteamAccount current;
  SteamAccount first;
  SteamAccount recent;
  AccountChoice choice;
  for (std::size_t i = 0; i < tokens.size(); ++i) {
    const bool followed = i + 1 < tokens.size();
    if (looksLikeSteamId(tokens[i])) {
      current = {tokens[i], ""};
      ++choice.accounts;
    } else if (followed && tokens[i] == "PersonaName") {
      current.persona = tokens[i + 1];
      if (!current.steamId.empty() && first.steamId.empty()) first = current;
    } else if (followed && tokens[i] == "MostRecent" && tokens[i + 1] == "1") {
      recent = current;
      choice.isMarked = true;
    }
  }
  const SteamAccount& idOf = recent.steamId.empty() ? first : recent;
  const SteamAccount& personaOf = recent.persona.empty() ? first : recent;
  choice.account = {idOf.steamId, personaOf.persona};
  choice.isMixed = idOf.steamId != personaOf.steamId && !personaOf.persona.empty();
  return choice;
}

}  // namespace launcher
