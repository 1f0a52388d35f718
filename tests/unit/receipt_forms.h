#pragma once

// The judgement's steps as functions of a text, for tests that want one step at a time.

#include <optional>
#include <string>
#include <string_view>
#include <utility>

#include "result/run_check.h"
#include "result/submission.h"

namespace launcher {

inline Receipt receiptOf(std::string_view text) { return Receipt(std::string(text)); }

inline std::optional<Rejection> rejectReceipt(std::string_view text, bool isModResult) {
  return receiptOf(text).reject(isModResult);
}

inline EndingSplit findEndingSplit(std::string_view text) {
  return receiptOf(text).endingSplit();
}

inline int countSplits(std::string_view text) { return receiptOf(text).splitCount(); }

inline std::string settleEnding(std::string_view text, std::string_view inferredEnding) {
  Receipt receipt = receiptOf(text);
  receipt.settleEnding(inferredEnding);
  return receipt.text();
}

inline double lastSplitSeconds(std::string_view text) {
  return receiptOf(text).lastSplitSeconds();
}

/// A receipt whose total was replaced, and the raw old total.
struct ReplacedTotal {
  std::string text;
  std::string oldTotal;
};

inline std::optional<ReplacedTotal> replaceTotal(std::string_view text, double seconds) {
  Receipt receipt = receiptOf(text);
  std::optional<std::string> old = receipt.replaceTotal(seconds);
  if (!old) return std::nullopt;
  return ReplacedTotal{receipt.text(), std::move(*old)};
}

inline std::optional<std::string> gameDifficulty(std::string_view text) {
  return receiptOf(text).gameDifficulty();
}

inline std::string submissionPayload(std::string_view player, std::string_view steamId,
                                     std::string_view difficulty, std::string_view text) {
  return submissionPayload(player, steamId, difficulty, receiptOf(text));
}

}  // namespace launcher
