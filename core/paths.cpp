#include "core/paths.h"

#include "core/text.h"

namespace launcher {

std::string folderWithBackslash(std::string_view path) {
  const std::size_t last = path.rfind('\\');
  return std::string(last == std::string_view::npos ? path : path.substr(0, last + 1));
}

std::string parentFolder(std::string_view path) {
  return std::string(path.substr(0, path.rfind('\\')));
}

std::string localDataFolder(std::string_view localAppData) {
  if (localAppData.empty()) return {};
  return std::string(localAppData) + "\\KOV-Race";
}

std::string expandPlaceholders(std::string_view value, std::string_view programFolder,
                               std::string_view localData) {
  return replaceAll(replaceAll(value, kAppDirPlaceholder, programFolder), kLocalDataPlaceholder,
                    localData);
}

std::string inDataFolder(std::string_view dataFolder, std::string_view name) {
  std::string path(dataFolder);
  path.append("\\").append(name);
  return path;
}

}  // namespace launcher
