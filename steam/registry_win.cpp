#include "steam/registry.h"

#include "core/platform.h"
#include "core/win_handle.h"
#include "steam/libraries.h"

namespace launcher {
namespace {

constexpr DWORD kValueUnits = 260;

UniqueRegistryKey openSteamKey() {
  HKEY key = nullptr;
  const LSTATUS status =
      RegOpenKeyExW(HKEY_CURRENT_USER, L"Software\\Valve\\Steam", 0, KEY_READ, &key);
  return UniqueRegistryKey(status == ERROR_SUCCESS ? key : nullptr);
}

}  // namespace

std::string readSteamRoot() {
  const UniqueRegistryKey key = openSteamKey();
  if (!key) return {};
  // One unit more than is offered: a value that fills the buffer has no terminator.
  wchar_t value[kValueUnits + 1] = {};
  DWORD bytes = kValueUnits * sizeof(wchar_t);
  const LSTATUS status = RegQueryValueExW(key.get(), L"SteamPath", nullptr, nullptr,
                                          reinterpret_cast<BYTE*>(value), &bytes);
  if (status != ERROR_SUCCESS) return {};
  return withBackslashes(wideToUtf8(value));
}

}  // namespace launcher
