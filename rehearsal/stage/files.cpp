#include "rehearsal/stage/files.h"

#include <windows.h>

#include <algorithm>
#include <stdexcept>

#include "rehearsal/stage/text.h"
#include "rehearsal/stage/win_handle.h"

namespace stage {

namespace fs = std::filesystem;

namespace {

/// The first of `relative` in the program's folder and the folders above it.
std::optional<fs::path> findUpwards(const fs::path& relative) {
  for (fs::path folder = programFolder();; folder = folder.parent_path()) {
    if (pathExists(folder / relative)) return folder / relative;
    if (folder == folder.parent_path()) return std::nullopt;
  }
}

}  // namespace

std::optional<std::string> readFile(const fs::path& path) {
  const WinHandle file = ownHandle(CreateFileW(
      path.c_str(), GENERIC_READ, FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE, nullptr,
      OPEN_EXISTING, FILE_ATTRIBUTE_NORMAL, nullptr));
  if (!file) return std::nullopt;
  std::string bytes;
  char buffer[65536];
  DWORD got = 0;
  while (ReadFile(file.get(), buffer, sizeof buffer, &got, nullptr) && got > 0) {
    bytes.append(buffer, got);
  }
  return bytes;
}

void writeFile(const fs::path& path, std::string_view bytes) {
  std::error_code ignored;
  fs::create_directories(path.parent_path(), ignored);
  const WinHandle file =
      ownHandle(CreateFileW(path.c_str(), GENERIC_WRITE, FILE_SHARE_READ, nullptr, CREATE_ALWAYS,
                            FILE_ATTRIBUTE_NORMAL, nullptr));
  if (!file) throw std::runtime_error("cannot write " + textOf(path));
  while (!bytes.empty()) {
    const DWORD part = static_cast<DWORD>(std::min<std::size_t>(bytes.size(), 1U << 20));
    DWORD written = 0;
    if (!WriteFile(file.get(), bytes.data(), part, &written, nullptr) || written == 0) {
      throw std::runtime_error("cannot write all of " + textOf(path));
    }
    bytes.remove_prefix(written);
  }
}

bool pathExists(const fs::path& path) {
  return GetFileAttributesW(path.c_str()) != INVALID_FILE_ATTRIBUTES;
}

std::vector<std::string> listFolder(const fs::path& folder) {
  std::vector<std::string> names;
  std::error_code error;
  for (fs::recursive_directory_iterator it(folder, error), end; !error && it != end;
       it.increment(error)) {
    const std::string name = textOf(it->path().lexically_relative(folder));
    std::error_code ignored;
    if (!it->is_directory(ignored)) {
      names.push_back(name);
    } else if (fs::is_empty(it->path(), ignored)) {
      names.push_back(name + "\\");
    }
  }
  std::sort(names.begin(), names.end());
  return names;
}

fs::path programFolder() {
  wchar_t buffer[4096];
  const DWORD length = GetModuleFileNameW(nullptr, buffer, 4096);
  return fs::path(std::wstring(buffer, length)).parent_path();
}

std::optional<std::string> environmentText(std::string_view name) {
  const std::wstring wideName = toWide(name);
  std::wstring value(32768, L'\0');
  SetLastError(ERROR_SUCCESS);
  const DWORD length = GetEnvironmentVariableW(wideName.c_str(), value.data(), 32768);
  if (length == 0 && GetLastError() == ERROR_ENVVAR_NOT_FOUND) return std::nullopt;
  value.resize(length);
  return toUtf8(value);
}

fs::path builtLauncher() {
  if (const auto named = environmentText("KOV_LAUNCHER"); named && !named->empty()) {
    return pathOf(*named);
  }
  if (const auto found = findUpwards(fs::path("windows") / "launcher.exe")) return *found;
  throw std::runtime_error("no launcher.exe: build it, or name it in KOV_LAUNCHER");
}

fs::path standInsFolder() {
  if (const auto named = environmentText("KOV_STANDINS"); named && !named->empty()) {
    return pathOf(*named);
  }
  if (pathExists(programFolder() / "steam.exe")) return programFolder();
  if (const auto found = findUpwards(fs::path("rehearsal") / "steam.exe")) {
    return found->parent_path();
  }
  throw std::runtime_error("no stand-ins: build them, or name their folder in KOV_STANDINS");
}

}  // namespace stage
