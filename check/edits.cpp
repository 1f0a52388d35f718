#include "check/edits.h"

#include "core/settings.h"
#include "core/settings_faults.h"

namespace launcher::check {
namespace {

constexpr std::string_view kKey = "game";

/// The line end that the file has after its last complete line.
std::string_view lineEndOf(std::string_view bytes) {
  const std::size_t last = bytes.rfind('\n');
  const bool plain = last != std::string_view::npos && (last == 0 || bytes[last - 1] != '\r');
  return plain ? "\n" : "\r\n";
}

std::string withLine(std::string_view bytes, const SettingsLine& line, const std::string& value) {
  const auto begin = static_cast<std::size_t>(line.raw.data() - bytes.data());
  std::string text(bytes.substr(0, begin));
  text.append(kKey).append("=").append(value);
  return text.append(bytes.substr(begin + line.raw.size()));
}

std::string withNewLine(std::string_view bytes, const std::string& value) {
  const std::string_view end = lineEndOf(bytes);
  std::string text(bytes);
  if (!text.empty() && text.back() != '\n') text.append(end);
  return text.append(kKey).append("=").append(value).append(end);
}

}  // namespace

std::optional<std::string> withGame(std::string_view bytes, const std::string& value) {
  if (bytes.starts_with("\xFF\xFE") || bytes.starts_with("\xFE\xFF")) return std::nullopt;
  std::string text;
  for (const SettingsLine& line : settingsLines(bytes)) {
    if (line.key == kKey) text = withLine(bytes, line, value);
  }
  if (text.empty()) text = withNewLine(bytes, value);
  if (parseSettings(text).game != value) return std::nullopt;
  return text;
}

}  // namespace launcher::check
