#pragma once

#include <string>
#include <string_view>

namespace launcher {

/// Every value of launcher.ini. A text is empty when its key is absent; no key
/// has a default here. Texts are bytes as the file has them, which for paths
/// and names means the ANSI code page. What a search puts into `game` or `steam` is UTF-8
/// and goes to the same narrow calls. The field names are the file's keys.
struct Settings {
  std::string file;           ///< path of the launcher.ini that was read; no key of its own
  std::string game;           ///< full path of the game's executable; UTF-8 once it was searched for
  std::string receipt;        ///< path of the receipt that the race mod writes (required)
  std::string data;           ///< the data folder (required)
  std::string server;         ///< base address of the race server; empty: no server
  std::string steam;          ///< full path of steam.exe; UTF-8 once it was searched for
  std::string appid;          ///< Steam app id that starts the game
  std::string player;         ///< player name; later the Steam persona, when there is one
  std::string difficulty;     ///< "easy", "normal" or "nightmare"
  bool playerFromSteam = false;  ///< `player` is the Steam persona and so UTF-8 already
  std::string timer;          ///< "1" asks for the timer overlay
  std::string install_from;   ///< folder of the mod package
  bool dryrun = false;        ///< the value is exactly "1"
  std::string livesplit;      ///< full path of LiveSplit.exe; empty: no LiveSplit
  std::string livesplit_lss;  ///< full path of the race's splits file
};

/// In which runs the placeholders in a setting's value are filled in. Each one includes
/// those after it.
enum class Expansion : unsigned char {
  everyMode,  ///< also for --profile
  upload,     ///< for --upload and in a race run
  race,       ///< in a race run alone
  never,      ///< a path that is taken as it is written
  noPath,     ///< the value is no path
};

/// A key of launcher.ini and the field that holds its value. A key without a field is not
/// part of the record.
struct SettingKey {
  std::string_view name;
  Expansion expansion;
  std::string Settings::*text;         ///< nullptr: the value is no text of the record
  bool Settings::*flag = nullptr;      ///< set by the value "1"
};

/// The key that siteBaseFrom() looks for.
inline constexpr std::string_view kSiteKey = "site";

/// Every key, once. What reads, expands or checks settings goes by this table.
inline constexpr SettingKey kSettingKeys[] = {
    // No part of --upload uses `game`; it is expanded there all the same.
    {"game", Expansion::upload, &Settings::game},
    {"receipt", Expansion::upload, &Settings::receipt},
    {"data", Expansion::everyMode, &Settings::data},
    {"livesplit", Expansion::race, &Settings::livesplit},
    {"livesplit_lss", Expansion::race, &Settings::livesplit_lss},
    {"install_from", Expansion::race, &Settings::install_from},
    {"steam", Expansion::never, &Settings::steam},
    {"server", Expansion::noPath, &Settings::server},
    {"appid", Expansion::noPath, &Settings::appid},
    {"player", Expansion::noPath, &Settings::player},
    {"difficulty", Expansion::noPath, &Settings::difficulty},
    {"timer", Expansion::noPath, &Settings::timer},
    {"dryrun", Expansion::noPath, nullptr, &Settings::dryrun},
    {kSiteKey, Expansion::noPath, nullptr},
};

/// The row of a key, in exactly these letters; nullptr for an unknown one.
[[nodiscard]] const SettingKey* findSettingKey(std::string_view name);

/// The settings in the bytes of a launcher.ini:
///
///     # a comment; so is a line that begins with ;
///     game = D:\Games\Backrooms-Win64-Shipping.exe
///     receipt=%LOCALDATA%\receipt.json
///
/// Read as a C library reads text, in lines of at most 1023 bytes; a longer line
/// counts as several. Keys are exact in letter case, unknown ones are ignored,
/// the last of several wins, values are trimmed and otherwise kept whole (a
/// further "=" or a comment after a value is part of it). Nothing is expanded.
[[nodiscard]] Settings parseSettings(std::string_view bytes);

/// Fills in the placeholders of every path that is expanded in `run` (race, upload or
/// everyMode). `programFolder` and `localData` are those of expandPath().
void expandPaths(Settings& settings, Expansion run, std::string_view programFolder,
                 std::string_view localData);

/// The race's web site as a "site" line of launcher.ini names it, or `builtIn`
/// when no line has one. This line has rules of its own: lines of at most 511
/// bytes, no blank before the key, trailing blanks and double quotes stripped
/// from the value, of which only what follows a remaining first double quote is
/// kept; a trailing slash stays; the last value that is not empty wins.
[[nodiscard]] std::string siteBaseFrom(std::string_view bytes, std::string_view builtIn);

}  // namespace launcher
