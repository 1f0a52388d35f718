#pragma once

#include <filesystem>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace stage {

/// All bytes of a file; nothing when it cannot be opened. Never blocks a writer out.
std::optional<std::string> readFile(const std::filesystem::path& path);

/// Writes the bytes as the whole file and creates the folders above it.
/// Throws std::runtime_error when the file cannot be written.
void writeFile(const std::filesystem::path& path, std::string_view bytes);

/// True when a file or folder of that name exists.
bool pathExists(const std::filesystem::path& path);

/// All files below a folder, relative to it, with backslashes, sorted by bytes.
/// An empty folder below it is listed with a trailing backslash. A missing folder
/// returns an empty list.
std::vector<std::string> listFolder(const std::filesystem::path& folder);

/// Folder of the running program, without a trailing backslash.
std::filesystem::path programFolder();

/// The built launcher.exe: named by the environment variable KOV_LAUNCHER, or the one in a
/// folder "windows" of the running program's folder or of one above it.
/// Throws std::runtime_error when there is none.
std::filesystem::path builtLauncher();

/// The folder of the built stand-in programs: named by KOV_STANDINS, or the running program's
/// folder, or a folder "rehearsal" of it or of one above it.
/// Throws std::runtime_error when there is none.
std::filesystem::path standInsFolder();

/// Value of an environment variable as UTF-8; nothing when it is not set.
std::optional<std::string> environmentText(std::string_view name);

}  // namespace stage
