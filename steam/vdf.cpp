#include "steam/vdf.h"

namespace launcher {

std::vector<std::string> tokenizeVdf(std::string_view text) {
  std::vector<std::string> tokens;
  for (;;) {
    const std::size_t open = text.find('"');
    if (open == std::string_view::npos) return tokens;
    const std::size_t close = text.find('"', open + 1);
    if (close == std::string_view::npos) return tokens;
    tokens.emplace_back(text.substr(open + 1, close - open - 1));
    text.remove_prefix(close + 1);
  }
}

}  // namespace launcher
