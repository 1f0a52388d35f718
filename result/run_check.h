#pragma once

#include <optional>
#include <string>
#include <string_view>

namespace launcher {

// The judgement of a run from the text of its receipt (or of the mod's result file,
// which has the same form). Linear in the size of the text, whatever it holds.
//
//     {"status":"running","splits":[{"i":0,"map":"Level 0","t":0.0},
//      {"i":9,"map":"ENDING:main","t":754.56}],"ending":"main","total":754.56,
//      "difficulty":"normal"}

/// Why a run is not submitted: the log's line and the reason sent to the server.
struct Rejection {
  const char* logLine;
  const char* reason;
};

inline constexpr Rejection kNoReceipt = {"no receipt to upload", "no receipt file"};
inline constexpr Rejection kNoEndingMap = {
    "run not finished, upload skipped (no ending map in splits)",
    "run not finished (no ending map)"};

/// Rejects a text whose first byte is not "{" and a receipt without the marker of an
/// ending screen. The mod's own result file needs no marker. Nothing when it passes.
[[nodiscard]] std::optional<Rejection> rejectReceipt(std::string_view text, bool isModResult);

/// The last split that reached an ending.
struct EndingSplit {
  bool found = false;
  std::string map;        ///< its map name; empty when there is none
  double seconds = -1.0;  ///< its "t"; -1 when there is none
};

/// Walks the splits ("map":"...") and keeps the last whose name contains "3999",
/// "Tunnel", "Final Escape", "Neon" or "ENDING:". A split's time is the first "t":
/// behind its map name, so that one without takes the next split's.
[[nodiscard]] EndingSplit findEndingSplit(const std::string& text);

/// How often "i": occurs: the number of splits.
[[nodiscard]] int countSplits(std::string_view text);

/// "main", "arcade" or "true", from the ending split's map name. A run through the
/// final level counts as "true" from 45 splits on and as "arcade" below.
[[nodiscard]] std::string inferEnding(std::string_view endingMap, int splitCount);

/// The text with the status set to "ending", and the ending set to `inferredEnding`
/// unless the mod wrote a valid one. Only quoted values that are there are replaced.
[[nodiscard]] std::string settleEnding(std::string_view text, std::string_view inferredEnding);

/// The number behind the last "t": in the text, in seconds; -1 when there is none.
[[nodiscard]] double lastSplitSeconds(const std::string& text);

/// A receipt whose total was replaced, and the raw old total with its blanks.
struct ReplacedTotal {
  std::string text;
  std::string oldTotal;
};

/// The text with its "total" replaced by `seconds` with two decimals; nothing when it
/// has no total that a "," or "}" ends.
[[nodiscard]] std::optional<ReplacedTotal> replaceTotal(std::string_view text, double seconds);

/// The difficulty that the game wrote, when it is "easy", "normal" or "nightmare".
[[nodiscard]] std::optional<std::string> gameDifficulty(std::string_view text);

/// True for the three difficulty words of the race.
[[nodiscard]] bool isDifficulty(std::string_view word);

}  // namespace launcher
