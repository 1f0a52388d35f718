#include "livesplit/layout.h"

namespace launcher {
namespace {

constexpr std::string_view kOpenTag = "<LayoutPath>";
constexpr std::string_view kCloseTag = "</LayoutPath>";

}  // namespace

std::optional<std::string> withLayoutPath(std::string_view config, std::string_view layout) {
  std::string result;
  bool changed = false;
  std::size_t copied = 0;
  for (;;) {
    const std::size_t open = config.find(kOpenTag, copied);
    if (open == std::string_view::npos) break;
    const std::size_t value = open + kOpenTag.size();
    const std::size_t close = config.find(kCloseTag, value);
    if (close == std::string_view::npos) break;
    changed = changed || config.substr(value, close - value) != layout;
    result.append(config.substr(copied, value - copied)).append(layout);
    copied = close;
  }
  if (!changed) return std::nullopt;
  result.append(config.substr(copied));
  return result;
}

}  // namespace launcher
