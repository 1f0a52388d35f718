#include "steam/launch_text.h"

#include <cstdint>

#include "core/text.h"

namespace launcher {

std::string steamCommandLine(std::string_view steam, std::string_view appId) {
  return quoted(steam) + " -applaunch " + std::string(appId);
}

std::wstring widenBytes(std::string_view text) {
  std::wstring wide;
  wide.reserve(text.size());
  for (const char byte : text) {
    // NOLINTNEXTLINE(bugprone-signed-char-misuse): a byte of 0x80 on becomes 0xFF80 on
    const auto unit = static_cast<std::uint16_t>(static_cast<signed char>(byte));
    wide.push_back(static_cast<wchar_t>(unit));
  }
  return wide;
}

std::wstring folderAtEitherSlash(const std::wstring& path) {
  return path.substr(0, path.find_last_of(L"\\/"));
}

}  // namespace launcher
