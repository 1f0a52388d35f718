#include "result/run_check.h"

#include "result/flat_json.h"
#include "result/submission.h"
#include "tests/fuzz/fuzz_target.h"
#include "tests/unit/receipt_forms.h"

namespace {

/// The whole judgement of a receipt as the upload makes it: text in, payload out.
std::string judge(const std::string& receipt, const launcher::EndingSplit& ending) {
  const std::string inferred =
      launcher::inferEnding(ending.map, launcher::countSplits(receipt));
  check(inferred == "main" || inferred == "arcade" || inferred == "true");
  std::string text = launcher::settleEnding(receipt, inferred);
  (void)launcher::lastSplitSeconds(text);
  if (const auto replaced = launcher::replaceTotal(text, 754.56)) {
    check(launcher::rawValueAfter(replaced->text, "\"total\":") == "754.56");
    text = replaced->text;
  }
  const std::string difficulty = launcher::gameDifficulty(text).value_or("normal");
  check(launcher::isDifficulty(difficulty));
  return launcher::submissionPayload("P", "76561198000000001", difficulty, text);
}

/// The same steps as an upload makes them: the text is read once for all of them.
void judgeInOnePass(std::string_view text) {
  launcher::Receipt receipt{std::string(text)};
  if (receipt.reject(true)) return;
  const launcher::EndingSplit ending = receipt.endingSplit();
  receipt.settleEnding(launcher::inferEnding(ending.map, receipt.splitCount()));
  (void)receipt.lastSplitSeconds();
  (void)receipt.replaceTotal(754.56);
  const std::string difficulty = receipt.gameDifficulty().value_or("normal");
  (void)launcher::submissionPayload("P", "76561198000000001", difficulty, receipt);
}

}  // namespace

KOV_FUZZ_TARGET(receipt) {
  fuzzing::requireLinearTime(input, judgeInOnePass);
  const std::string receipt(input);
  const auto rejection = launcher::rejectReceipt(receipt, false);
  const auto modRejection = launcher::rejectReceipt(receipt, true);
  check(rejection || !modRejection);  // the mod's own file passes wherever a receipt does
  const launcher::EndingSplit ending = launcher::findEndingSplit(receipt);
  check(ending.found || (ending.map.empty() && ending.seconds < 0.0));
  check(ending.map.find('"') == std::string::npos);
  if (modRejection) return;

  // A rejected first byte never gets here, so the launcher's members open the payload.
  const std::string payload = judge(receipt, ending);
  check(payload.starts_with("{\"player\":\"P\",\"playerId\":\"76561198000000001\","));
  check(fuzzing::countOf(payload, "\"difficulty\":") >= 1);
  check(payload.size() < receipt.size() + 200);

  // Splits in front never take the last ending split's place.
  const std::string longer =
      "{\"splits\":[{\"i\":0,\"map\":\"Neon\",\"t\":1}]," + receipt.substr(1);
  const launcher::EndingSplit again = launcher::findEndingSplit(longer);
  check(again.found);
  if (ending.found) check(again.map == ending.map);
}
