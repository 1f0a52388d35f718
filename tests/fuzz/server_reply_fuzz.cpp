#include "result/submission.h"
#include "server/server_text.h"
#include "tests/fuzz/fuzz_target.h"

KOV_FUZZ_TARGET(serverReply) {
  fuzzing::requireLinearTime(input, [](std::string_view text) {
    const std::string_view part = fuzzing::takePart(text);
    const std::string answer(text);
    (void)launcher::replyToken(answer);
    (void)launcher::acceptsRun(answer);
    launcher::UploadOutcome read;
    launcher::readOutcome(read, answer, "easy", part);
  });
  const std::string_view receipt = fuzzing::takePart(input);
  const std::string reply(input);

  const std::optional<std::string> token = launcher::replyToken(reply);
  check(!token || token->find('"') == std::string::npos);
  check(!token || reply.find(*token) != std::string::npos);
  check(!token || reply.find("\"token\":") != std::string::npos);

  launcher::UploadOutcome outcome;
  outcome.profileToken = "kept";
  outcome.rank = -7;
  outcome.points = -8;
  launcher::readOutcome(outcome, reply, "easy", receipt);
  check(outcome.profileToken == "kept");
  check(outcome.difficulty == "easy");
  check(outcome.total.find_first_of(",}") == std::string::npos);
  check(outcome.ending.find('"') == std::string::npos);
  check(outcome.rank == -7 || reply.find("\"rank\":") != std::string::npos);
  check(outcome.points == -8 || reply.find("\"points\":") != std::string::npos);

  check(!launcher::acceptsRun(reply) || reply.find("\"accepted\":") != std::string::npos);
  check(launcher::acceptsRun(reply + "{\"accepted\":true}"));
}
