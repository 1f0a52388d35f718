#pragma once

#include <optional>
#include <string>
#include <string_view>
#include <vector>

/// Real-shaped texts of the files that other programs write.
namespace stage {

/// One split of a receipt.
struct Split {
  std::string map;
  std::string time;  ///< as in the file, "12.345"
};

/// A receipt as the race mod writes it, on one line:
///     {"week":"2026-W47","seed":20261147,"status":"ending","splits":[
///      {"i":0,"map":"Level 0","t":12.345},...,{"i":9,"map":"ENDING:main","t":754.560}],
///      "ending":"main","total":754.560,"difficulty":"normal"}
/// An empty text leaves its member out.
struct Receipt {
  std::string week = "2026-W47";
  std::string seed = "20261147";
  std::string status = "ending";
  std::vector<Split> splits = {};
  std::string ending = "main";
  std::string total = "754.560";
  std::string difficulty = "normal";

  [[nodiscard]] std::string text() const;
};

/// A finished run: ten splits from Level 0 to ENDING:main in 754.560 s, normal.
Receipt finishedRun();

/// The same run closed after six levels: status "running", no ending split, empty ending.
Receipt unfinishedRun();

/// A run of `count` splits whose last one is ENDING:<ending>.
Receipt runWithSplits(std::size_t count, std::string_view ending);

/// Line ends and byte-order mark of a text file.
struct TextForm {
  bool crLf = false;
  bool byteOrderMark = false;
};

/// The text (written here with line feeds) in that form.
std::string inForm(std::string_view text, TextForm form);

enum class LibraryFileGeneration {
  current,    ///< since June 2021: numbered blocks with "path", the Steam folder among them
  before2021, ///< "1" "D:\\SteamLibrary"; no "path" token, so no library is found in it
};

/// steamapps\libraryfolders.vdf listing these folders (backslashes are doubled here).
/// `folders` begins with the Steam folder, which the old generation leaves out.
std::string libraryFoldersVdf(const std::vector<std::string>& folders,
                              LibraryFileGeneration generation = LibraryFileGeneration::current,
                              TextForm form = {});

/// One account of loginusers.vdf.
struct SteamAccount {
  std::string id = "76561198000000001";
  std::string name = "runner";           ///< login name
  std::string persona = "竞速玩家";       ///< UTF-8, goes in raw
  /// Value of "MostRecent"; nothing leaves the line out, as the newest clients do.
  std::optional<std::string> mostRecent = "1";
  std::string mostRecentKey = "MostRecent";  ///< some clients write "mostrecent"
};

/// config\loginusers.vdf with these accounts.
std::string loginUsersVdf(const std::vector<SteamAccount>& accounts, TextForm form = {});

/// LiveSplit's settings.cfg (UTF-8 with byte-order mark, CR LF) with these recent layouts,
/// oldest first, and the splits file that it opens at its start.
std::string liveSplitSettings(const std::vector<std::string>& layoutPaths,
                              std::string_view splits = "C:\\a.lss");

/// A small splits file (.lss) of the race; `personalBest` ("00:12:34.5600000") is the time of
/// an earlier run, "" when there was none.
std::string splitsFile(std::string_view personalBest = {});

}  // namespace stage
