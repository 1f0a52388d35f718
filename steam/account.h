#pragma once

#include <string>
#include <string_view>

namespace launcher {

/// A Steam account; either text is empty when it is not known.
struct SteamAccount {
  std::string steamId;  ///< SteamID64, 17 characters that begin with 7656
  std::string persona;  ///< the display name, bytes as the file has them (UTF-8)
};

/// The account that a launcher takes, and why.
struct AccountChoice {
  SteamAccount account;
  int accounts = 0;       ///< how many the file records
  bool isMarked = false;  ///< one is marked as the most recent
  bool isMixed = false;   ///< id and name are those of different accounts
};

/// The account used most recently, from the text of Steam's loginusers.vdf:
///
///     "users" { "76561198000000001" { "PersonaName" "someone" "MostRecent" "1" } }
///
/// The last account with "MostRecent" "1" wins; without one the first account
/// with a "PersonaName". Id and name fall back on their own, so the recent account's
/// id can come with the first account's name. Keys are exact in letter case, and
/// a value is looked at as a key too (a persona called MostRecent is taken for
/// one); the newest clients no longer write "MostRecent" at all.
[[nodiscard]] SteamAccount recentAccount(std::string_view loginUsers);

/// The same look-up, with the reasons for its choice.
[[nodiscard]] AccountChoice chooseAccount(std::string_view loginUsers);

}  // namespace launcher
