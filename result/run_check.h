#pragma once

#include <optional>
#include <string>
#include <string_view>

#include "result/receipt_keys.h"

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

/// The last split that reached an ending.
struct EndingSplit {
  bool found = false;
  std::string map;        ///< its map name; empty when there is none
  double seconds = -1.0;  ///< its "t"; -1 when there is none
};

/// A receipt while it is judged and made ready for submission.
class Receipt {
 public:
  explicit Receipt(std::string text);

  /// The text as rewritten so far.
  [[nodiscard]] const std::string& text() const { return text_; }

  /// Rejects a text whose first byte is not "{" and a receipt without the marker of an
  /// ending screen. The mod's own result file needs no marker. Nothing when it passes.
  [[nodiscard]] std::optional<Rejection> reject(bool isModResult) const;

  /// The last split ("map":"...") whose name is an ending map. A split's time is the
  /// first "t": after its map name, so that one without takes the next split's.
  [[nodiscard]] EndingSplit endingSplit() const;

  /// How often "i": occurs: the number of splits.
  [[nodiscard]] int splitCount() const { return keys_.splits; }

  /// Sets the status to "ending", and the ending to `inferredEnding` unless the mod wrote
  /// a valid one. Only quoted values that are there are replaced.
  void settleEnding(std::string_view inferredEnding);

  /// The number after the last "t":, in seconds; -1 when there is none.
  [[nodiscard]] double lastSplitSeconds() const;

  /// Replaces the total by `seconds` with two decimals and returns the raw old value with
  /// its blanks; nothing, and no change, without a total that a "," or "}" ends.
  std::optional<std::string> replaceTotal(double seconds);

  /// The difficulty that the game wrote, when it is "easy", "normal" or "nightmare".
  [[nodiscard]] std::optional<std::string> gameDifficulty() const;

  /// True when there is a "difficulty": of any kind, which then goes to the server.
  [[nodiscard]] bool hasDifficulty() const { return keys_.difficulty != npos; }

 private:
  void replaceQuoted(std::size_t key, std::string_view pattern, std::string_view value);
  void replaceSpan(const Span& span, std::string_view value, bool keysStay);

  std::string text_;
  ReceiptKeys keys_;
};

/// "main", "arcade" or "true", from the ending split's map name. A run through the
/// final level counts as "true" from 45 splits on and as "arcade" below.
[[nodiscard]] std::string inferEnding(std::string_view endingMap, int splitCount);

/// True for the three difficulty words of the race.
[[nodiscard]] bool isDifficulty(std::string_view word);

}  // namespace launcher
