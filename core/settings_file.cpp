#include "core/settings_file.h"

#include "core/file_io.h"

namespace launcher {

Settings loadSettings(const std::string& path) {
  Settings settings = parseSettings(readWholeFile(path));
  settings.file = path;
  return settings;
}

}  // namespace launcher
