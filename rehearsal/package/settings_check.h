#pragma once

#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "rehearsal/package/finding.h"

namespace rehearsal {

/// The checks of a launcher.ini that need nothing but its bytes: encoding, lines that the
/// launcher would skip or misread, required, unknown and doubled keys, and values that no
/// player's launcher could use.
Findings checkSettings(std::string_view bytes);

/// The launcher.ini with other values: every line of one of these keys gets its value, and a
/// key that has no line is added at the end. Everything else stays byte for byte.
std::string withSettings(std::string_view bytes,
                         const std::vector<std::pair<std::string, std::string>>& values);

}  // namespace rehearsal
