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
  return replaceAll(replaceAll(value, "%APPDIR%", programFolder), "%LOCALDATA%", localData);
}

std::string modResultPath(std::string_view dataFolder) {
  return std::string(dataFolder) + "\\kovw_result.json";
}

std::string profileFlagPath(std::string_view dataFolder) {
  return std::string(dataFolder) + "\\profile_opened.flag";
}

}  // namespace launcher
