#pragma once

#include <string>
#include <string_view>
#include <vector>

namespace launcher::check {

/// What must not leave this machine.
struct Secrets {
  std::vector<std::string> codes = {};      ///< login codes as files have them
  std::vector<std::string> userNames = {};  ///< Windows' user name and its folder's, UTF-8
};

/// What stands in the place of a whole text that holds more login codes than any real one.
inline constexpr std::string_view kTooManyCodes = "(left out: too many login codes)\n";

/// The text without secrets:
///
///  - a login code, known or found behind "token" in the text itself, wherever it stands: as it
///    is, escaped as in JSON, in a URL, or cut after 255 bytes;
///  - the name of a user's folder in a path (C:\Users\NAME\...), with either slash, doubled
///    backslashes too, and the known names as a part of any path;
///  - a SteamID64, but for its last four digits.
///
/// Linear in the size of the text.
[[nodiscard]] std::string redacted(std::string_view text, const Secrets& secrets);

}  // namespace launcher::check
