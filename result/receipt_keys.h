#pragma once

#include <string_view>

#include "result/flat_json.h"

namespace launcher {

/// How the name of a split begins that only marks the end of a run.
inline constexpr std::string_view kEndingMark = "ENDING:";

/// The parts of a map's name by which a split that reached an ending is known.
inline constexpr std::string_view kEndingMaps[] = {"3999", "Tunnel", "Final Escape", "Neon",
                                                   kEndingMark};

/// Where the keys that a judgement asks for stand in a receipt's text, all found in one
/// pass. Positions are those that findText() returns for the key's pattern; npos is absent.
struct ReceiptKeys {
  std::size_t status = npos;            ///< first "status":
  std::size_t ending = npos;            ///< first "ending":
  std::size_t total = npos;             ///< first "total":
  std::size_t difficulty = npos;        ///< first "difficulty":
  std::size_t difficultyText = npos;    ///< first "difficulty":"
  std::size_t lastTime = npos;          ///< last "t":
  int splits = 0;                       ///< how often "i": occurs
  bool hasEndingMark = false;           ///< "map":"ENDING: occurs
  std::size_t endingMap = npos;         ///< name of the last ending split: its first byte
  std::size_t endingMapEnd = npos;      ///< and its closing quote
};

/// The keys' places after the bytes from `begin` up to `end` made room for `newSize` bytes.
/// Right only where the change neither made a key nor took one away.
[[nodiscard]] ReceiptKeys movedKeys(const ReceiptKeys& keys, std::size_t begin, std::size_t end,
                                    std::size_t newSize);

/// Reads `text` once. Linear in its size, whatever it holds: a text of nothing but
/// keys, of nothing but quotes, or one string without an end.
[[nodiscard]] ReceiptKeys findReceiptKeys(std::string_view text);

/// True when a split of this map name reached an ending: it contains one of kEndingMaps.
[[nodiscard]] bool isEndingMap(std::string_view map);

}  // namespace launcher
