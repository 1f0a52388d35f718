#include "card/command_line.h"

#include "tests/fuzz/fuzz_target.h"

KOV_FUZZ_TARGET(cardCommandLine) {
  using launcher::card::CardMode;
  std::u16string line;
  for (const char byte : input) line.push_back(static_cast<unsigned char>(byte));
  const launcher::card::CommandLine parsed = launcher::card::parseCommandLine(line);
  check(parsed.mode == CardMode::progress || parsed.statePath.empty());
  // Every value is a piece of the line, and none is longer than it.
  for (const std::u16string* value :
       {&parsed.statePath, &parsed.result.ok, &parsed.result.kind, &parsed.result.total,
        &parsed.result.difficulty, &parsed.result.ending, &parsed.result.rank,
        &parsed.result.points, &parsed.result.message}) {
    check(line.find(*value) != std::u16string::npos);
  }
}
