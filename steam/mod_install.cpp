#include "steam/mod_install.h"

#include "core/log.h"
#include "core/paths.h"
#include "core/platform.h"
#include "steam/mod_files.h"

namespace launcher {
namespace {

/// True when the file had to be copied and was.
bool installFile(const std::string& source, std::uint64_t bytes, const std::string& target) {
  if (fileSize(target) == bytes) return false;
  return copyFileOver(source, target);
}

void verifyMod(const std::string& gameFolder) {
  std::string lines;
  const std::vector<const char*> missing = missingModFiles(gameFolder);
  for (const char* file : missing) {
    lines.append(file).push_back('\n');
    logLine("MISSING after install: %s", file);
  }
  if (missing.empty()) {
    logLine("mod install verified OK (4/4 files)");
    return;
  }
  logLine("mod install INCOMPLETE (%d missing)", static_cast<int>(missing.size()));
  const std::wstring files = ansiToWide(lines);
  const std::wstring folder = ansiToWide(gameFolder);
  showMessage(incompleteModMessage(files, folder), MessageIcon::error);
}

}  // namespace

std::vector<const char*> missingModFiles(const std::string& folder) {
  std::vector<const char*> missing;
  for (const char* file : kRequiredModFiles) {
    if (!pathExists(folder + file)) missing.push_back(file);
  }
  return missing;
}

void copyTree(const std::string& source, const std::string& target) {
  FolderListing listing(source + "\\*");
  if (!listing.started()) return;
  createFolder(target);
  int installed = 0;
  while (const FolderEntry* entry = listing.next()) {
    if (entry->name == "." || entry->name == "..") continue;
    const std::string from = source + "\\" + entry->name;
    const std::string to = target + "\\" + entry->name;
    if (entry->isFolder) {
      copyTree(from, to);
    } else if (installFile(from, entry->bytes, to)) {
      ++installed;
    }
  }
  if (installed > 0) logLine("installed %d files into %s", installed, target.c_str());
}

void installMod(const Settings& settings) {
  if (settings.install_from.empty() || settings.game.empty()) return;
  const std::string gameFolder = parentFolder(settings.game);
  if (!pathExists(gameFolder) || !pathExists(settings.install_from)) {
    logLine("install skipped (game or package path missing)");
    return;
  }
  logLine("installing mod files from package...");
  copyTree(settings.install_from, gameFolder);
  verifyMod(gameFolder);
}

}  // namespace launcher
