#include "core/settings.h"

#include <utility>

#include "core/text.h"

namespace launcher {
namespace {

constexpr std::size_t kLineBufferBytes = 1024;
constexpr std::size_t kSiteLineBufferBytes = 512;

struct TextKey {
  std::string_view key;
  std::string Settings::*field;
};

constexpr TextKey kTextKeys[] = {
    {"game", &Settings::game},
    {"receipt", &Settings::receipt},
    {"data", &Settings::data},
    {"server", &Settings::server},
    {"steam", &Settings::steam},
    {"appid", &Settings::appid},
    {"player", &Settings::player},
    {"difficulty", &Settings::difficulty},
    {"timer", &Settings::timer},
    {"install_from", &Settings::install_from},
    {"livesplit", &Settings::livesplit},
    {"livesplit_lss", &Settings::livesplit_lss},
};

void storeValue(Settings& settings, std::string_view key, std::string value) {
  if (key == "dryrun") {
    settings.dryrun = value == "1";
    return;
  }
  for (const TextKey& entry : kTextKeys) {
    if (key == entry.key) settings.*entry.field = std::move(value);
  }
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
  if (trimEnd(line.substr(0, equals), " \r\n") != "site") return {};
  std::string value = trimEnd(line.substr(equals + 1), " \r\n\"");
  const std::size_t quote = value.find('"');
  if (quote != std::string::npos) value.erase(0, quote + 1);
  value.erase(0, value.find_first_not_of(' '));
  return value;
}

}  // namespace

Settings parseSettings(std::string_view bytes) {
  Settings settings;
  const std::string text = fromTextMode(bytes);
  for (const std::string_view piece : linePieces(text, kLineBufferBytes)) {
    readLine(settings, piece);
  }
  return settings;
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
