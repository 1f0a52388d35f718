#include "core/settings.h"

#include <utility>

#include "core/paths.h"
#include "core/text.h"

namespace launcher {
namespace {

constexpr std::size_t kLineBufferBytes = 1024;
constexpr std::size_t kSiteLineBufferBytes = 512;

void storeValue(Settings& settings, std::string_view name, std::string value) {
  const SettingKey* key = findSettingKey(name);
  if (key == nullptr) return;
  if (key->flag != nullptr) settings.*key->flag = value == "1";
  if (key->text != nullptr) settings.*key->text = std::move(value);
}

void readLine(Settings& settings, std::string_view piece) {
  const std::string line = trimBlanks(piece);
  if (line.empty() || line.front() == '#' || line.front() == ';') return;
  const std::size_t equals = line.find('=');
  if (equals == std::string::npos) return;
  const std::string_view view = line;
  storeValue(settings, trimBlanks(view.substr(0, equals)), trimBlanks(view.substr(equals + 1)));
}

/// The value of one line when it is a "site" line with one, else empty.
std::string siteValue(std::string_view line) {
  const std::size_t equals = line.find('=');
  if (equals == std::string_view::npos) return {};
  if (trimEnd(line.substr(0, equals), " \r\n") != kSiteKey) return {};
  std::string value = trimEnd(line.substr(equals + 1), " \r\n\"");
  const std::size_t quote = value.find('"');
  if (quote != std::string::npos) value.erase(0, quote + 1);
  value.erase(0, value.find_first_not_of(' '));
  return value;
}

}  // namespace

const SettingKey* findSettingKey(std::string_view name) {
  for (const SettingKey& key : kSettingKeys) {
    if (key.name == name) return &key;
  }
  return nullptr;
}

Settings parseSettings(std::string_view bytes) {
  Settings settings;
  const std::string text = fromTextMode(bytes);
  for (const std::string_view piece : linePieces(text, kLineBufferBytes)) {
    readLine(settings, piece);
  }
  return settings;
}

void expandPaths(Settings& settings, Expansion run, std::string_view programFolder,
                 std::string_view localData) {
  for (const SettingKey& key : kSettingKeys) {
    if (key.expansion > run) continue;
    std::string& path = settings.*key.text;
    path = expandPath(path, programFolder, localData);
  }
}

std::string siteBaseFrom(std::string_view bytes, std::string_view builtIn) {
  std::string site(builtIn);
  for (const std::string_view line : linePieces(bytes, kSiteLineBufferBytes)) {
    std::string value = siteValue(line);
    if (!value.empty()) site = std::move(value);
  }
  return site;
}

}  // namespace launcher
