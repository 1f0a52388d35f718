#pragma once

#include <string>
#include <string_view>

namespace launcher {

/// A file of the week: its name in the data folder, and its path on the race server.
struct WeeklyFile {
  const char* name;
  const char* serverPath;
};

/// The week's files in the order in which they are fetched. The first one holds the seed.
inline constexpr WeeklyFile kWeeklyFiles[] = {
    {"week.json", "/week/current"},
    {"leaderboard.json", "/leaderboard"},
    {"board_data.txt", "/board-data"},
    {"board_en.txt", "/board-en"},
    {"board.txt", "/leaderboard.txt"},
    {"board.tsv", "/leaderboard.tsv"},
};
inline constexpr const WeeklyFile& kWeekFile = kWeeklyFiles[0];

/// The week's seed in the text of a week.json: the decimal digits after the first
/// "seed" in quotes and the next colon, with only blanks and tabs between.
///
///     {"week":"2026-W47","seed": 12345,"map":"Level 0"}
///
/// Digits are kept unchanged ("0042"; "12.5" is "12"). Empty when there are
/// none (absent, quoted, negative, null) or the text is shorter than 6 bytes.
[[nodiscard]] std::string scanSeed(std::string_view week);

}  // namespace launcher
