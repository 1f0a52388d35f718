#include "rehearsal/package/package.h"

#include <stdexcept>
#include <vector>

#include "core/paths.h"
#include "rehearsal/package/zip_file.h"
#include "rehearsal/stage/files.h"
#include "rehearsal/stage/text.h"

namespace rehearsal {

namespace fs = std::filesystem;

namespace {

constexpr char kProgram[] = "launcher.exe";

std::vector<fs::path> foldersWithLauncher(const fs::path& root) {
  std::vector<fs::path> folders;
  if (stage::pathExists(root / kProgram)) folders.push_back(root);
  for (const fs::directory_entry& entry : fs::recursive_directory_iterator(root)) {
    if (entry.is_directory() && stage::pathExists(entry.path() / kProgram)) {
      folders.push_back(entry.path());
    }
  }
  return folders;
}

bool isBelow(const fs::path& path, const fs::path& folder) {
  const fs::path relative = path.lexically_relative(folder);
  return !relative.empty() && *relative.begin() != "..";
}

}  // namespace

Package openPackage(const fs::path& path, const fs::path& scratch) {
  Package package;
  package.root = fs::absolute(path).lexically_normal();
  if (!stage::pathExists(package.root)) {
    throw std::runtime_error("there is no package " + stage::textOf(package.root));
  }
  if (!fs::is_directory(package.root)) {
    fs::remove_all(scratch);
    unpackZip(package.root, scratch);
    package.root = fs::absolute(scratch).lexically_normal();
  }
  const std::vector<fs::path> found = foldersWithLauncher(package.root);
  if (found.size() != 1) {
    package.problem = found.empty() ? "the package has no launcher.exe"
                                    : "the package has more than one launcher.exe";
    return package;
  }
  package.programFolder = found.front();
  package.ini = stage::readFile(package.programFolder / "launcher.ini").value_or("");
  package.settings = launcher::parseSettings(package.ini);
  return package;
}

Target targetOf(const Package& package, std::string_view value) {
  if (value.empty()) return {};
  const std::string text(value);
  if (text.find(launcher::kLocalDataPlaceholder) != std::string::npos) return {Target::Place::localData, {}};
  const fs::path full = stage::pathOf(stage::replaceAll(
      text, launcher::kAppDirPlaceholder, stage::textOf(package.programFolder) + "\\"));
  if (!full.is_absolute()) return {Target::Place::nowhere, {}};
  // The program's own folder may be what was given; its siblings count as the package, too.
  const fs::path normal = full.lexically_normal();
  const bool fromProgram = text.find(launcher::kAppDirPlaceholder) != std::string::npos;
  if (isBelow(normal, package.root) ||
      (fromProgram && isBelow(normal, package.programFolder.parent_path()))) {
    return {Target::Place::package, normal};
  }
  return {Target::Place::machine, {}};
}

fs::path liveSplitFolder(const Package& package) {
  const Target target = targetOf(package, package.settings.livesplit);
  return target.place == Target::Place::package ? target.path.parent_path() : fs::path();
}

// The library's own fs::copy takes every two folders of one drive for the same one here.
void copyTree(const fs::path& from, const fs::path& to) {
  fs::create_directories(to);
  for (const fs::directory_entry& entry : fs::recursive_directory_iterator(from)) {
    const fs::path target = to / entry.path().lexically_relative(from);
    if (entry.is_directory()) {
      fs::create_directories(target);
    } else {
      stage::writeFile(target, stage::readFile(entry.path()).value_or(""));
    }
  }
}

}  // namespace rehearsal
