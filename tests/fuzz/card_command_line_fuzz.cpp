#include "card/command_line.h"

#include "tests/fuzz/fuzz_target.h"

namespace {

/// Each byte as a UTF-16 unit of its own.
std::u16string widened(std::string_view bytes) {
  std::u16string line;
  for (const char byte : bytes) line.push_back(static_cast<unsigned char>(byte));
  return line;
}

}  // namespace

KOV_FUZZ_TARGET(cardCommandLine) {
  using launcher::card::CardMode;
  fuzzing::requireLinearTime(input, [](std::string_view text) {
    (void)launcher::card::parseCommandLine(widened(text));
  });
  const std::u16string line = widened(input);
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
