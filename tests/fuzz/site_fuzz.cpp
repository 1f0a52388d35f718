#include "core/settings.h"

#include "tests/fuzz/fuzz_target.h"

KOV_FUZZ_TARGET(site) {
  constexpr std::string_view kBuiltIn = "https://built.in";
  fuzzing::requireLinearTime(
      input, [&](std::string_view text) { (void)launcher::siteBaseFrom(text, kBuiltIn); });
  const std::string site = launcher::siteBaseFrom(input, kBuiltIn);
  check(!site.empty());
  check(site == kBuiltIn || input.find("site") != std::string_view::npos);
  if (site != kBuiltIn) {
    check(input.find(site) != std::string_view::npos);
    check(site.size() < 511);
    check(site.find_first_of(std::string_view("\n\0", 2)) == std::string::npos);
    check(site.front() != ' ');
    check(std::string_view(" \r\n\"").find(site.back()) == std::string_view::npos);
  }
  const std::string more = std::string(input) + "\nsite=\"https://last.one/\"\r\n";
  check(launcher::siteBaseFrom(more, kBuiltIn) == "https://last.one/");
}
