#include "server/server_text.h"
#include "tests/fuzz/fuzz_target.h"

KOV_FUZZ_TARGET(pendingBody) {
  fuzzing::requireLinearTime(input, [](std::string_view text) {
    if (launcher::isSendable(text)) (void)launcher::pendingBody(text, "P", "easy");
  });
  if (!launcher::isSendable(input)) {
    check(input.empty() || input.front() != '{');
    return;
  }
  constexpr std::string_view kHead = "{\"player\":\"P\",\"difficulty\":\"easy\",";
  const std::string body = launcher::pendingBody(input, "P", "easy");
  check(body.starts_with(kHead));
  const std::string_view sent = std::string_view(body).substr(kHead.size());
  const std::string_view members = input.substr(1);
  if (input.find("\"ending\"") == std::string_view::npos) {
    check(sent == members);
    return;
  }
  // At most one value changed, into "ending"; what stands around it is the entry's.
  const std::size_t status = members.find("\"status\":\"");
  if (status == std::string_view::npos) {
    check(sent == members);
    return;
  }
  const std::size_t value = status + 10;
  const std::size_t close = members.find('"', value);
  if (close == std::string_view::npos) {
    check(sent == members);
    return;
  }
  check(sent.substr(0, value) == members.substr(0, value));
  check(sent.substr(value).starts_with("ending\""));
  check(sent.substr(value + 6) == members.substr(close));
}
