#pragma once

#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace stage {

/// Changes text values of the registry and puts back what was there. A key is named below
/// HKEY_CURRENT_USER ("Software\Valve\Steam"), or with "HKLM\" in front of it below
/// HKEY_LOCAL_MACHINE.
class RegistryKeeper {
 public:
  RegistryKeeper() = default;
  ~RegistryKeeper();  ///< restores, last change first
  RegistryKeeper(const RegistryKeeper&) = delete;
  RegistryKeeper& operator=(const RegistryKeeper&) = delete;

  /// Sets a text value (created with its key when missing). An empty name is the key's
  /// default value.
  void set(std::string_view key, std::string_view name, std::string_view text);
  /// Removes a value.
  void remove(std::string_view key, std::string_view name);
  /// Puts everything back now.
  void restore();

  /// A text value, or nothing when it is not there.
  static std::optional<std::string> read(std::string_view key, std::string_view name);

 private:
  struct Saved {
    std::string key;
    std::wstring name;
    std::optional<std::vector<unsigned char>> data;
    unsigned long type = 0;
    std::string createdKey;  ///< topmost key that had to be created; removed again
  };

  void save(std::string_view key, const std::wstring& name);

  std::vector<Saved> saved_;
};

}  // namespace stage
