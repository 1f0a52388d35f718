#pragma once

#include <optional>
#include <string>
#include <string_view>

namespace launcher::check {

/// The bytes of a launcher.ini whose last line game= has this value (ANSI bytes); such a line is
/// added when there is none. Only that line changes, and it keeps its line end. Nothing when
/// the launcher would not read the value from the new bytes: a UTF-16 file, or one with a byte
/// before the line at which it stops reading.
[[nodiscard]] std::optional<std::string> withGame(std::string_view bytes,
                                                  const std::string& value);

}  // namespace launcher::check
