#pragma once

#include <filesystem>
#include <string>
#include <string_view>
#include <vector>

namespace rehearsal {

/// One file or folder of a zip.
struct ZipEntry {
  std::string name;   ///< UTF-8, with forward slashes; a folder's name ends in one
  std::string bytes;  ///< unpacked
};

/// Everything in a zip, in the order of its list: stored and deflated files with right
/// checksums. Throws std::runtime_error for anything else (not a zip, cut off, encrypted,
/// larger than 1 GB unpacked, several disks), and for a name that leads out of the folder
/// into which the zip is unpacked.
std::vector<ZipEntry> readZip(std::string_view bytes);

/// Why readZip throws for these bytes; "" when it does not.
std::string zipProblem(std::string_view bytes);

/// Unpacks the zip below the folder, which is created; empty folders too.
void unpackZip(const std::filesystem::path& zip, const std::filesystem::path& folder);

}  // namespace rehearsal
