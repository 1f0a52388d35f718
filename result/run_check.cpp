#include "result/run_check.h"

#include <algorithm>
#include <cstdio>
#include <iterator>
#include <utility>

namespace launcher {
namespace {

constexpr Rejection kInvalid = {"receipt content invalid, upload skipped", "receipt invalid"};
constexpr Rejection kNoEndingScreen = {
    "run not finished: receipt has no ENDING marker (crashed before ending?)",
    "run not finished (no ending screen)"};

constexpr std::string_view kStatus = "\"status\":";
constexpr std::string_view kEnding = "\"ending\":";
constexpr std::string_view kTotal = "\"total\":";
constexpr std::string_view kTime = "\"t\":";
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

}  // namespace

Receipt::Receipt(std::string text)
    : text_(std::move(text)), keys_(findReceiptKeys(text_)) {}

std::optional<Rejection> Receipt::reject(bool isModResult) const {
  if (!text_.starts_with('{')) return kInvalid;
  if (!isModResult && !keys_.hasEndingMark) return kNoEndingScreen;
  return std::nullopt;
}

EndingSplit Receipt::endingSplit() const {
  if (keys_.endingMap == npos) return {};
  return {true, text_.substr(keys_.endingMap, keys_.endingMapEnd - keys_.endingMap),
          numberAfterFrom(text_, kTime, keys_.endingMapEnd, kNoTime)};
}

void Receipt::replaceQuoted(std::size_t key, std::string_view pattern, std::string_view value) {
  const std::optional<Span> span = quotedSpanAt(text_, key, pattern);
  if (!span || spanText(text_, *span) == value) return;
  // A colon after the closing quote makes the value a key, the old one or the new.
  const bool isKey = span->end + 1 < text_.size() && text_[span->end + 1] == ':';
  replaceSpan(*span, value, !isKey);
}

void Receipt::replaceSpan(const Span& span, std::string_view value, bool keysStay) {
  text_.replace(span.begin, span.end - span.begin, value);
  keys_ = keysStay ? movedKeys(keys_, span.begin, span.end, value.size())
                   : findReceiptKeys(text_);
}

void Receipt::settleEnding(std::string_view inferredEnding) {
  replaceQuoted(keys_.status, kStatus, "ending");
  const std::optional<Span> written = quotedSpanAt(text_, keys_.ending, kEnding);
  if (!written || isOneOf(spanText(text_, *written), kEndings)) return;
  replaceQuoted(keys_.ending, kEnding, inferredEnding);
}

double Receipt::lastSplitSeconds() const {
  if (keys_.lastTime == npos) return kNoTime;
  return numberAfterFrom(text_, kTime, keys_.lastTime, kNoTime);
}

std::optional<std::string> Receipt::replaceTotal(double seconds) {
  const std::optional<Span> span = rawSpanAt(text_, keys_.total, kTotal);
  if (!span) return std::nullopt;
  std::string old(spanText(text_, *span));
  char formatted[64] = {};
  (void)std::snprintf(formatted, sizeof(formatted), "%.2f", seconds);
  replaceSpan(*span, formatted, findChar(old, '"', 0) == npos);
  return old;
}

std::optional<std::string> Receipt::gameDifficulty() const {
  const std::optional<Span> span =
      quotedSpanAt(text_, keys_.difficultyText, "\"difficulty\":\"");
  if (!span || !isDifficulty(spanText(text_, *span))) return std::nullopt;
  return std::string(spanText(text_, *span));
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

bool isDifficulty(std::string_view word) { return isOneOf(word, kDifficulties); }

}  // namespace launcher
