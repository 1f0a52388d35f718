#pragma once

#include <string>
#include <string_view>

#include "check/finding.h"

namespace launcher::check {

/// Why the server refused a run, as a sentence. A reason that players know is said in their
/// language, any other as the server wrote it.
[[nodiscard]] std::string refusalText(std::string_view reply, Language language);

/// Why the launcher did not submit a run, from the reason that it reported.
[[nodiscard]] std::string skipText(std::string_view reason, Language language);

}  // namespace launcher::check
