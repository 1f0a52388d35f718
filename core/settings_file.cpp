#include "core/settings_file.h"

#include "core/file_io.h"

namespace launcher {
namespace {

std::string& rememberedPath() {
  static std::string path;
  return path;
}

}  // namespace

Settings loadSettings(const std::string& path) {
  rememberedPath() = path;
  return parseSettings(readWholeFile(path));
}

const std::string& settingsFilePath() { return rememberedPath(); }

}  // namespace launcher
