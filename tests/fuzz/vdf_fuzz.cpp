#include "steam/vdf.h"

#include <set>

#include "steam/account.h"
#include "steam/libraries.h"
#include "tests/fuzz/fuzz_target.h"

namespace {

std::string sameText(const std::string& text) { return text; }

void checkLibraries(std::string_view input) {
  const std::vector<std::string> folders =
      launcher::libraryFolders("C:\\Steam", input, sameText);
  check(folders.front() == "C:\\Steam");
  check(std::set<std::string>(folders.begin(), folders.end()).size() == folders.size());
  check(folders.size() <= 1 + fuzzing::countOf(input, "\"path\""));
  for (const std::string& folder : folders) {
    check(!folder.empty());
    check(folder.find('/') == std::string::npos);
    check(folder.find('"') == std::string::npos);
  }
  check(launcher::libraryFolders("", input, sameText).empty());
}

void checkAccount(std::string_view input) {
  const launcher::SteamAccount account = launcher::recentAccount(input);
  check(account.steamId.empty() ||
        (account.steamId.size() == 17 && account.steamId.starts_with("7656")));
  check(input.find(account.steamId) != std::string_view::npos);
  check(input.find(account.persona) != std::string_view::npos);
  check(account.persona.find('"') == std::string::npos);
}

}  // namespace

KOV_FUZZ_TARGET(vdf) {
  fuzzing::requireLinearTime(input, [](std::string_view text) {
    (void)launcher::tokenizeVdf(text);
    (void)launcher::libraryFolders("C:\\Steam", text, sameText);
    (void)launcher::recentAccount(text);
  });
  const std::vector<std::string> tokens = launcher::tokenizeVdf(input);
  std::size_t bytes = 0;
  for (const std::string& token : tokens) {
    check(token.find('"') == std::string::npos);
    bytes += token.size() + 2;
  }
  check(tokens.size() == fuzzing::countOf(input, "\"") / 2);
  check(bytes <= input.size());
  checkLibraries(input);
  checkAccount(input);
}
