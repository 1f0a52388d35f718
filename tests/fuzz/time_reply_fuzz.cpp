#include "livesplit/time_reply.h"

#include "core/text.h"
#include "tests/fuzz/fuzz_target.h"

KOV_FUZZ_TARGET(timeReply) {
  fuzzing::requireLinearTime(input, [](std::string_view text) {
    (void)launcher::parseTimeReply(launcher::trimBlanks(text));
  });
  const std::string reply = launcher::trimBlanks(input.substr(0, 511));
  const std::optional<double> seconds = launcher::parseTimeReply(reply);
  check(!seconds || *seconds > 0.0);
  check(!seconds || reply.find(':') != std::string::npos);
  // Some C libraries read hexadecimal numbers too.
  check(!seconds || reply.find_first_of("123456789abcdefABCDEF") != std::string::npos);
  // What follows a NUL is not looked at.
  check(launcher::parseTimeReply(reply.c_str()) == seconds);
}
