#include "server/weekly_files.h"

#include "tests/fuzz/fuzz_target.h"

KOV_FUZZ_TARGET(seed) {
  fuzzing::requireLinearTime(input, [](std::string_view text) { (void)launcher::scanSeed(text); });
  const std::string seed = launcher::scanSeed(input);
  check(seed.find_first_not_of("0123456789") == std::string::npos);
  check(seed.empty() || input.find("\"seed\"") != std::string_view::npos);
  check(input.find(seed) != std::string_view::npos);
  const std::string week = "{\"seed\": 0042," + std::string(input);
  check(launcher::scanSeed(week) == "0042");
}
