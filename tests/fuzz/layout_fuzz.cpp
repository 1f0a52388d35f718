#include "livesplit/start_text.h"

#include "tests/fuzz/fuzz_target.h"

KOV_FUZZ_TARGET(layout) {
  constexpr std::string_view kOpen = "<LayoutPath>";
  constexpr std::string_view kClose = "</LayoutPath>";
  constexpr std::string_view kWanted = "C:\\LiveSplit\\halvorn.lsl";
  fuzzing::requireLinearTime(
      input, [&](std::string_view text) { (void)launcher::withLayoutPath(text, kWanted); });
  const std::optional<std::string> fixed = launcher::withLayoutPath(input, kWanted);
  if (!fixed) return;
  // It changed something, will not change it again, and added no element.
  check(*fixed != input);
  check(!launcher::withLayoutPath(*fixed, kWanted));
  check(fuzzing::countOf(*fixed, kClose) <= fuzzing::countOf(input, kClose));
  // Up to the first element everything stayed, and after it stands the wanted path.
  const std::size_t value = input.find(kOpen) + kOpen.size();
  check(fixed->substr(0, value) == input.substr(0, value));
  check(std::string_view(*fixed).substr(value).starts_with(kWanted));
}
