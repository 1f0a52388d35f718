#include "core/paths.h"

#include "core/text.h"

namespace launcher {
namespace {

constexpr std::size_t kLongestEntryPath = 259;

/// "\receipt_20250301_214502.json"
std::string stampedFile(const char* prefix, const LocalTime& time) {
  std::string name = "\\";
  appendPadded(name += prefix, time.year, 4);
  appendPadded(name, time.month, 2);
  appendPadded(name, time.day, 2);
  appendPadded(name += "_", time.hour, 2);
  appendPadded(name, time.minute, 2);
  appendPadded(name, time.second, 2);
  return name += ".json";
}

}  // namespace

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

std::string expandPath(std::string_view value, std::string_view programFolder,
                       std::string_view localData) {
  return replaceAll(replaceAll(value, kAppDirPlaceholder, programFolder), kLocalDataPlaceholder,
                    localData);
}

std::string inDataFolder(std::string_view dataFolder, std::string_view name) {
  std::string path(dataFolder);
  path.append("\\").append(name);
  return path;
}

std::string modResultPath(std::string_view dataFolder) {
  return inDataFolder(dataFolder, kModResultFile);
}

std::string archivePath(std::string_view dataFolder, const LocalTime& time) {
  return inDataFolder(dataFolder, kReceiptsFolder) + stampedFile("receipt_", time);
}

std::string pendingEntryPath(std::string_view dataFolder, const LocalTime& time) {
  return (inDataFolder(dataFolder, kPendingFolder) + stampedFile("p_", time))
      .substr(0, kLongestEntryPath);
}

}  // namespace launcher
