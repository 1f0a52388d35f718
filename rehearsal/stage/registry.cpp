#include "rehearsal/stage/registry.h"

#include <windows.h>

#include <memory>
#include <stdexcept>

#include "rehearsal/stage/text.h"

namespace stage {

namespace {

struct CloseKey {
  using pointer = HKEY;
  void operator()(HKEY key) const { RegCloseKey(key); }
};
using Key = std::unique_ptr<HKEY, CloseKey>;

/// The root key and the path below it.
struct Place {
  HKEY root = HKEY_CURRENT_USER;
  std::wstring path;
};

Place placeOf(std::string_view key) {
  constexpr std::string_view kMachine = "HKLM\\";
  if (!key.starts_with(kMachine)) return {HKEY_CURRENT_USER, toWide(key)};
  return {HKEY_LOCAL_MACHINE, toWide(key.substr(kMachine.size()))};
}

Key openKey(std::string_view name, REGSAM access) {
  const Place place = placeOf(name);
  HKEY key = nullptr;
  if (RegOpenKeyExW(place.root, place.path.c_str(), 0, access, &key) != ERROR_SUCCESS) {
    return nullptr;
  }
  return Key(key);
}

/// The topmost part of the key that does not exist yet; empty when all of it exists.
std::string firstMissing(std::string_view key) {
  for (std::size_t end = key.find('\\', key.find('\\') + 1);; end = key.find('\\', end + 1)) {
    const std::string_view part = key.substr(0, end);
    if (!openKey(part, KEY_READ)) return std::string(part);
    if (end == std::string_view::npos) return {};
  }
}

}  // namespace

RegistryKeeper::~RegistryKeeper() { restore(); }

void RegistryKeeper::save(std::string_view key, const std::wstring& name) {
  Saved saved{std::string(key), name, std::nullopt, 0, firstMissing(key)};
  if (const Key open = openKey(key, KEY_READ)) {
    DWORD size = 0;
    DWORD type = 0;
    if (RegQueryValueExW(open.get(), name.c_str(), nullptr, &type, nullptr, &size) ==
        ERROR_SUCCESS) {
      std::vector<unsigned char> data(size);
      RegQueryValueExW(open.get(), name.c_str(), nullptr, &type, data.data(), &size);
      saved.data = std::move(data);
      saved.type = type;
    }
  }
  saved_.push_back(std::move(saved));
}

void RegistryKeeper::set(std::string_view key, std::string_view name, std::string_view text) {
  const Place place = placeOf(key);
  const std::wstring wideName = toWide(name);
  const std::wstring wideText = toWide(text);
  save(key, wideName);
  HKEY open = nullptr;
  if (RegCreateKeyExW(place.root, place.path.c_str(), 0, nullptr, 0, KEY_WRITE, nullptr, &open,
                      nullptr) != ERROR_SUCCESS) {
    throw std::runtime_error("cannot create the registry key " + std::string(key));
  }
  const Key owner(open);
  const DWORD size = static_cast<DWORD>((wideText.size() + 1) * sizeof(wchar_t));
  if (RegSetValueExW(open, wideName.c_str(), 0, REG_SZ,
                     reinterpret_cast<const BYTE*>(wideText.c_str()), size) != ERROR_SUCCESS) {
    throw std::runtime_error("cannot set a value of the registry key " + std::string(key));
  }
}

void RegistryKeeper::remove(std::string_view key, std::string_view name) {
  const Key open = openKey(key, KEY_SET_VALUE);
  if (!open) return;
  save(key, toWide(name));
  RegDeleteValueW(open.get(), toWide(name).c_str());
}

void RegistryKeeper::restore() {
  for (; !saved_.empty(); saved_.pop_back()) {
    const Saved& saved = saved_.back();
    if (!saved.createdKey.empty()) {
      const Place place = placeOf(saved.createdKey);
      RegDeleteTreeW(place.root, place.path.c_str());
      continue;
    }
    const Key open = openKey(saved.key, KEY_SET_VALUE);
    if (!open) continue;
    if (saved.data) {
      RegSetValueExW(open.get(), saved.name.c_str(), 0, saved.type, saved.data->data(),
                     static_cast<DWORD>(saved.data->size()));
    } else {
      RegDeleteValueW(open.get(), saved.name.c_str());
    }
  }
}

std::optional<std::string> RegistryKeeper::read(std::string_view key, std::string_view name) {
  const Key open = openKey(key, KEY_READ);
  if (!open) return std::nullopt;
  DWORD size = 0;
  DWORD type = 0;
  if (RegQueryValueExW(open.get(), toWide(name).c_str(), nullptr, &type, nullptr, &size) !=
          ERROR_SUCCESS ||
      (type != REG_SZ && type != REG_EXPAND_SZ)) {
    return std::nullopt;
  }
  std::wstring text(size / sizeof(wchar_t), L'\0');
  RegQueryValueExW(open.get(), toWide(name).c_str(), nullptr, &type,
                   reinterpret_cast<BYTE*>(text.data()), &size);
  while (!text.empty() && text.back() == L'\0') text.pop_back();
  return toUtf8(text);
}

}  // namespace stage
