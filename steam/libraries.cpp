#include "steam/libraries.h"

#include <set>
#include <utility>

#include "core/text.h"
#include "steam/vdf.h"

namespace launcher {

std::string withBackslashes(std::string_view path) { return replaceAll(path, "/", "\\"); }

std::vector<std::string> libraryFolders(std::string_view steamRoot, std::string_view libraryFile,
                                        TextConverter toUtf8) {
  if (steamRoot.empty()) return {};
  std::vector<std::string> folders = {std::string(steamRoot)};
  std::set<std::string> known = {folders.front()};
  const std::vector<std::string> tokens = tokenizeVdf(libraryFile);
  for (std::size_t i = 0; i + 1 < tokens.size(); ++i) {
    if (tokens[i] != "path") continue;
    std::string folder = withBackslashes(replaceAll(toUtf8(tokens[i + 1]), "\\\\", "\\"));
    if (folder.empty() || !known.insert(folder).second) continue;
    folders.push_back(std::move(folder));
  }
  return folders;
}

}  // namespace launcher
