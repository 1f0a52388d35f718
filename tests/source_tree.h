#pragma once

#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>
#include <system_error>

/// For the tests that compare the guides with the program.
namespace source_tree {

/// The folder of the sources. A path of the host is found on drive Z: below Wine.
inline std::filesystem::path folder() {
  const std::filesystem::path root = KOV_SOURCE_DIR;
  std::error_code error;
  if (std::filesystem::exists(root / "docs", error)) return root;
  return "Z:" + root.generic_string();
}

/// The bytes of a file of the sources ("docs/maintainer.md"); empty when it is missing.
inline std::string read(const std::filesystem::path& relative) {
  std::ifstream file(folder() / relative, std::ios::binary);
  return {std::istreambuf_iterator<char>(file), std::istreambuf_iterator<char>()};
}

}  // namespace source_tree
