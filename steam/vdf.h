#pragma once

#include <string>
#include <string_view>
#include <vector>

namespace launcher {

/// Every quoted run of a Steam text file, in order, without its quotes:
///
///     "users" { "76561198000000001" { "PersonaName"  "someone" } }
///
/// becomes users, 76561198000000001, PersonaName, someone. Whatever stands outside
/// quotes is ignored, braces included. There are no escapes: a backslash is kept,
/// and a quote after one ends the token. An unclosed last quote makes no token.
[[nodiscard]] std::vector<std::string> tokenizeVdf(std::string_view text);

}  // namespace launcher
