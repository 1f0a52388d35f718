#include "result/submission.h"

#include "result/flat_json.h"

namespace launcher {
namespace {

void takeOver(std::string& target, std::optional<std::string> value) {
  if (value) target = std::move(*value);
}

}  // namespace

std::string submissionPayload(std::string_view player, std::string_view steamId,
                              std::string_view difficulty, const Receipt& receipt) {
  std::string payload = "{\"player\":\"";
  payload.append(player).append("\"");
  if (!steamId.empty()) payload.append(",\"playerId\":\"").append(steamId).append("\"");
  if (!receipt.hasDifficulty()) {
    payload.append(",\"difficulty\":\"").append(difficulty).append("\"");
  }
  payload.append(",").append(receipt.text(), 1);
  return payload;
}

std::optional<std::string> replyToken(std::string_view reply) {
  return quotedValueAfter(reply, "\"token\":");
}

std::string replyError(std::string_view reply) {
  const std::size_t key = findText(reply, "\"error\"", 0);
  if (key == npos) return {};
  const std::size_t colon = findChar(reply, ':', key);
  if (colon == npos) return {};
  const std::size_t open = findChar(reply, '"', colon);
  if (open == npos) return {};
  const std::size_t close = findChar(reply, '"', open + 1);
  if (close == npos) return {};
  return std::string(reply.substr(open + 1, close - open - 1));
}

void readOutcome(UploadOutcome& outcome, const std::string& reply, std::string_view difficulty,
                 std::string_view receipt) {
  outcome.difficulty = difficulty;
  takeOver(outcome.total, rawValueAfter(receipt, "\"total\":"));
  takeOver(outcome.ending, quotedValueAfter(receipt, "\"ending\":\""));
  outcome.rank = integerAfter(reply, "\"rank\":", outcome.rank);
  outcome.points = integerAfter(reply, "\"points\":", outcome.points);
}

std::string profileAddress(std::string_view siteBase, std::string_view token) {
  std::string address(siteBase);
  address.append("/profile?token=").append(token);
  return address;
}

}  // namespace launcher
