#pragma once

#include <string>

namespace launcher::check {

/// The companion's own file in the data folder: which receipts it queued and which queue
/// entries were accepted when it sent them. launcher.log does not know of either.
inline constexpr char kNotesFile[] = "kov_check.txt";

/// Its text; empty when there is none.
[[nodiscard]] std::string readNotes(const std::string& dataFolder);

/// Adds a line; the others stay also when this program is ended meanwhile. Failure is ignored:
/// then a row says "unknown" where it could say more.
void appendNote(const std::string& dataFolder, const std::string& line);

}  // namespace launcher::check
