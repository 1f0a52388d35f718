#include "check/redaction.h"
#include "tests/fuzz/fuzz_target.h"

// Two saved codes and a user's name, then the text. Whatever they are, no code is left.
KOV_FUZZ_TARGET(checkRedaction) {
  launcher::check::Secrets secrets;
  secrets.codes = {std::string(fuzzing::takePart(input)), std::string(fuzzing::takePart(input))};
  secrets.userNames = {std::string(fuzzing::takePart(input))};
  fuzzing::requireLinearTime(input, [&secrets](std::string_view text) {
    (void)launcher::check::redacted(text, secrets);
  });
  const std::string result = launcher::check::redacted(input, secrets);
  if (result == launcher::check::kTooManyCodes) return;
  for (const std::string& code : secrets.codes) {
    // A code of several lines is several codes.
    if (code.empty() || code.find_first_of("\r\n") != std::string::npos) continue;
    check(result.find(code) == std::string::npos);
  }
  for (std::size_t at = result.find("7656"); at != std::string::npos;
       at = result.find("7656", at + 1)) {
    const std::string id = result.substr(at, 17);
    check(id.size() < 17 || id.find_first_not_of("0123456789") != std::string::npos);
  }
}
