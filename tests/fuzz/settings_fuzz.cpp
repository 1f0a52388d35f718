#include "core/settings.h"

#include "core/text.h"
#include "tests/fuzz/fuzz_target.h"

KOV_FUZZ_TARGET(settings) {
  fuzzing::requireLinearTime(
      input, [](std::string_view text) { (void)launcher::parseSettings(text); });
  const launcher::Settings settings = launcher::parseSettings(input);
  for (const std::string* value :
       {&settings.game, &settings.receipt, &settings.data, &settings.server, &settings.steam,
        &settings.appid, &settings.player, &settings.difficulty, &settings.timer,
        &settings.install_from, &settings.livesplit, &settings.livesplit_lss}) {
    // A value is one trimmed line of at most 1023 bytes, cut at a NUL, out of the file.
    check(*value == launcher::trimBlanks(*value));
    check(value->size() < 1023);
    check(value->find_first_of(std::string_view("\n\0\x1A", 3)) == std::string::npos);
    check(launcher::fromTextMode(input).find(*value) != std::string::npos);
  }
  check(!settings.playerFromSteam);
  check(!settings.dryrun || input.find("dryrun") != std::string_view::npos);

  // Whatever the file holds, a last line decides over the lines before it.
  const std::size_t end = input.find('\x1A');
  const std::string more = std::string(input.substr(0, end)) + "\nplayer = last=one\t\r\n";
  check(launcher::parseSettings(more).player == "last=one");
}
