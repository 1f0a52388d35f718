#pragma once

#include <filesystem>
#include <string>
#include <string_view>

#include "core/settings.h"

namespace rehearsal {

/// A race package as the players get it, unpacked.
struct Package {
  std::filesystem::path root;           ///< what was given, or what the zip held
  std::filesystem::path programFolder;  ///< the one folder that holds launcher.exe; empty: none
  std::string problem;                  ///< why there is no program folder
  std::string ini;                      ///< the bytes of launcher.ini; empty: there is none
  launcher::Settings settings;          ///< as the launcher reads them
};

/// Opens a package: a folder, or a zip that is unpacked into `scratch` first (which is emptied
/// before). Throws std::runtime_error when it is neither.
Package openPackage(const std::filesystem::path& path, const std::filesystem::path& scratch);

/// Where a path setting leads.
struct Target {
  enum class Place {
    none,       ///< the setting is empty
    package,    ///< inside the package
    localData,  ///< below the player's %LOCALDATA%
    machine,    ///< elsewhere on the player's machine
    nowhere,    ///< a relative path, which depends on how the launcher was started
  };
  Place place = Place::none;
  std::filesystem::path path;  ///< in the package
};

/// Where the value of a path setting leads when the launcher runs from this package.
Target targetOf(const Package& package, std::string_view value);

/// The folder of LiveSplit.exe in the package, "" when it lies elsewhere.
std::filesystem::path liveSplitFolder(const Package& package);

/// Copies everything below a folder into another one, over what is there; empty folders too.
void copyTree(const std::filesystem::path& from, const std::filesystem::path& to);

}  // namespace rehearsal
