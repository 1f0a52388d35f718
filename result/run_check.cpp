#include "result/run_check.h"

#include <algorithm>
#include <cstdio>
#include <iterator>

#include "result/flat_json.h"

namespace launcher {
namespace {

constexpr Rejection kInvalid = {"receipt content invalid, upload skipped", "receipt invalid"};
constexpr Rejection kNoEndingScreen = {
    "run not finished: receipt has no ENDING marker (crashed before ending?)",
    "run not finished (no ending screen)"};

constexpr std::string_view kEndingMark = "ENDING:";
constexpr std::string_view kMapPattern = "\"map\":\"";
constexpr std::string_view kTimePattern = "\"t\":";
constexpr std::string_view kEndingMaps[] = {"3999", "Tunnel", "Final Escape", "Neon",
                                            kEndingMark};
constexpr std::string_view kEndings[] = {"arcade", "main", "true"};
constexpr std::string_view kDifficulties[] = {"easy", "normal", "nightmare"};
constexpr int kSplitsOfTrueEnding = 45;
constexpr double kNoTime = -1.0;

bool contains(std::string_view text, std::string_view part) {
  return findText(text, part, 0) != npos;
}

template <typename Words>
bool isOneOf(std::string_view word, const Words& words) {
  return std::find(std::begin(words), std::end(words), word) != std::end(words);
}

bool isEndingMap(std::string_view map) {
  return std::any_of(std::begin(kEndingMaps), std::end(kEndingMaps),
                     [map](std::string_view part) { return contains(map, part); });
}

}  // namespace

std::optional<Rejection> rejectReceipt(std::string_view text, bool isModResult) {
  if (!text.starts_with('{')) return kInvalid;
  if (!isModResult && !contains(text, "\"map\":\"ENDING:")) return kNoEndingScreen;
  return std::nullopt;
}

EndingSplit findEndingSplit(const std::string& text) {
  const std::string_view view = text;
  EndingSplit split;
  std::size_t endingClose = npos;
  std::size_t position = 0;
  for (;;) {
    const std::size_t hit = findText(view, kMapPattern, position);
    if (hit == npos) break;
    const std::size_t begin = hit + kMapPattern.size();
    const std::size_t close = findChar(view, '"', begin);
    if (close == npos) break;
    position = close;
    const std::string_view map = view.substr(begin, close - begin);
    if (!isEndingMap(map)) continue;
    split.found = true;
    split.map = map;
    endingClose = close;
  }
  // Only the last ending split's time is wanted. Looking for it once, here, keeps the
  // walk linear when many splits have no time of their own.
  if (split.found) split.seconds = numberAfterFrom(text, kTimePattern, endingClose, kNoTime);
  return split;
}

int countSplits(std::string_view text) {
  constexpr std::string_view kIndexPattern = "\"i\":";
  int count = 0;
  for (std::size_t hit = findText(text, kIndexPattern, 0); hit != npos;
       hit = findText(text, kIndexPattern, hit + kIndexPattern.size())) {
    ++count;
  }
  return count;
}

std::string inferEnding(std::string_view endingMap, int splitCount) {
  if (endingMap.starts_with(kEndingMark)) {
    const std::string_view name = endingMap.substr(kEndingMark.size());
    return isOneOf(name, kEndings) ? std::string(name) : "main";
  }
  if (contains(endingMap, "Neon")) return "arcade";
  if (contains(endingMap, "Tunnel")) return "main";
  if (contains(endingMap, "3999") || contains(endingMap, "Arcade") ||
      contains(endingMap, "Final Escape")) {
    return splitCount < kSplitsOfTrueEnding ? "arcade" : "true";
  }
  return "main";
}

std::string settleEnding(std::string_view text, std::string_view inferredEnding) {
  std::string settled = replaceQuotedValue(text, "\"status\":", "ending");
  const std::optional<std::string> written = quotedValueAfter(settled, "\"ending\":");
  if (!written || isOneOf(*written, kEndings)) return settled;
  return replaceQuotedValue(settled, "\"ending\":", inferredEnding);
}

double lastSplitSeconds(const std::string& text) {
  const std::size_t last = text.rfind(kTimePattern);
  return last == npos ? kNoTime : numberAfterFrom(text, kTimePattern, last, kNoTime);
}

std::optional<ReplacedTotal> replaceTotal(std::string_view text, double seconds) {
  constexpr std::string_view kTotalPattern = "\"total\":";
  const std::optional<std::string> old = rawValueAfter(text, kTotalPattern);
  if (!old) return std::nullopt;
  char formatted[64] = {};
  (void)std::snprintf(formatted, sizeof(formatted), "%.2f", seconds);
  return ReplacedTotal{replaceRawValue(text, kTotalPattern, formatted), *old};
}

std::optional<std::string> gameDifficulty(std::string_view text) {
  std::optional<std::string> written = quotedValueAfter(text, "\"difficulty\":\"");
  if (!written || !isDifficulty(*written)) return std::nullopt;
  return written;
}

bool isDifficulty(std::string_view word) { return isOneOf(word, kDifficulties); }

}  // namespace launcher
