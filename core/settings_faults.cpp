#include "core/settings_faults.h"

#include <algorithm>
#include <initializer_list>
#include <map>

#include "core/paths.h"
#include "core/settings.h"
#include "core/text.h"

namespace launcher {
namespace {

using Kind = SettingsFault::Kind;
using Faults = std::vector<SettingsFault>;
using Lines = std::vector<SettingsLine>;

constexpr std::size_t kLongestLine = 1023;
constexpr std::string_view kByteOrderMark = "\xEF\xBB\xBF";

bool isBlankOrComment(std::string_view line) {
  return line.empty() || line.front() == '#' || line.front() == ';' || line.front() == '[';
}

bool isKnown(std::string_view key) { return findSettingKey(key) != nullptr; }

bool isAscii(std::string_view text) {
  return std::all_of(text.begin(), text.end(), [](char c) { return c >= ' ' && c < 0x7F; });
}

bool isOneOf(std::string_view value, std::initializer_list<std::string_view> words) {
  return std::find(words.begin(), words.end(), value) != words.end();
}

SettingsFault faultAt(Kind kind, const SettingsLine& line, std::string detail = {}) {
  return {kind, line.number, line.key, line.value, std::move(detail)};
}

// Bytes and lines --------------------------------------------------------------------------

void findEncoding(std::string_view bytes, const Lines& lines, Faults& faults) {
  if (bytes.starts_with("\xFF\xFE") || bytes.starts_with("\xFE\xFF")) {
    faults.push_back({Kind::utf16});
  } else if (const std::size_t end = bytes.find_first_of(std::string_view("\0\x1A", 2));
             end != std::string_view::npos) {
    faults.push_back({.kind = Kind::stopByte, .detail = std::to_string(end)});
  }
  if (bytes.starts_with(kByteOrderMark) && !lines.empty() && !lines.front().key.empty()) {
    faults.push_back({Kind::byteOrderMark});
  }
}

/// True for the first line of a file with a byte-order mark.
bool isMarked(const SettingsLine& line) {
  return line.number == 1 && line.raw.starts_with(kByteOrderMark);
}

void findOddLines(const Lines& lines, Faults& faults) {
  for (const SettingsLine& line : lines) {
    const std::string text =
        trimBlanks(line.raw.substr(isMarked(line) ? kByteOrderMark.size() : 0));
    if (line.raw.size() > kLongestLine) {
      faults.push_back(faultAt(Kind::longLine, line));
    } else if (line.key.empty() && !isBlankOrComment(text)) {
      faults.push_back(faultAt(Kind::noSetting, line));
    }
  }
}

// Keys -------------------------------------------------------------------------------------

void findMissing(std::string_view bytes, Faults& faults) {
  const Settings settings = parseSettings(bytes);
  if (settings.receipt.empty()) faults.push_back({.kind = Kind::missingKey, .key = "receipt"});
  if (settings.data.empty()) faults.push_back({.kind = Kind::missingKey, .key = "data"});
}

/// The known key that an unknown one resembles, or "".
std::string meantKey(std::string key) {
  for (char& c : key) {
    if (c >= 'A' && c <= 'Z') c = static_cast<char>(c - 'A' + 'a');
    if (c == ' ' || c == '-') c = '_';
  }
  return isKnown(key) ? key : "";
}

void findUnknown(const Lines& lines, Faults& faults) {
  for (const SettingsLine& line : lines) {
    if (line.key.empty() || isMarked(line)) continue;  // the mark is a fault of its own
    if (!isKnown(line.key)) {
      faults.push_back(faultAt(Kind::unknownKey, line, meantKey(line.key)));
    } else if (line.key == kSiteKey &&
               trimEnd(line.raw.substr(0, line.raw.find('=')), " ") != line.key) {
      faults.push_back(faultAt(Kind::siteOverlooked, line));
    }
  }
}

void findDoubled(const Lines& lines, Faults& faults) {
  std::map<std::string_view, std::size_t> first;
  for (const SettingsLine& line : lines) {
    if (line.key.empty()) continue;
    const auto [earlier, isNew] = first.emplace(line.key, line.number);
    if (isNew) continue;
    faults.push_back(faultAt(Kind::doubledKey, line));
    faults.back().earlierLine = earlier->second;
  }
}

// Values -----------------------------------------------------------------------------------

void findTrailingComments(const Lines& lines, Faults& faults) {
  for (const SettingsLine& line : lines) {
    for (const std::string_view sign : {" #", "\t#", " ;", "\t;", " //", "\t//"}) {
      if (line.value.find(sign) == std::string::npos) continue;
      faults.push_back(faultAt(Kind::trailingComment, line));
      break;
    }
  }
}

/// The first placeholder in the value that the launcher does not know, "%APPDATA%".
std::string unknownPlaceholder(std::string_view value) {
  for (std::size_t open = value.find('%'); open != std::string_view::npos;) {
    const std::size_t close = value.find('%', open + 1);
    if (close == std::string_view::npos) return {};
    const std::string_view name = value.substr(open, close + 1 - open);
    if (name != kAppDirPlaceholder && name != kLocalDataPlaceholder) return std::string(name);
    open = value.find('%', close + 1);
  }
  return {};
}

void findOddPaths(const Lines& lines, Faults& faults) {
  for (const SettingsLine& line : lines) {
    const SettingKey* key = findSettingKey(line.key);
    if (key == nullptr || key->expansion == Expansion::noPath) continue;
    const bool expanded = key->expansion != Expansion::never;
    if (line.value.find('"') != std::string::npos) {
      faults.push_back(faultAt(Kind::quotedPath, line));
    }
    if (!isAscii(line.value)) faults.push_back(faultAt(Kind::foreignPath, line));
    std::string placeholder = unknownPlaceholder(line.value);
    if (expanded && !placeholder.empty()) {
      faults.push_back(faultAt(Kind::unknownPlaceholder, line, std::move(placeholder)));
    }
    if (!expanded && line.value.find('%') != std::string::npos) {
      faults.push_back(faultAt(Kind::placeholderInSteam, line));
    }
  }
}

void findOddWords(const Lines& lines, Faults& faults) {
  for (const SettingsLine& line : lines) {
    const std::string& value = line.value;
    if (line.key == "dryrun" && value == "1") {
      faults.push_back(faultAt(Kind::dryRun, line));
    } else if (line.key == "dryrun" && !isOneOf(value, {"", "0"})) {
      faults.push_back(faultAt(Kind::oddDryRun, line));
    } else if (line.key == "timer" && !isOneOf(value, {"", "0", "1"})) {
      faults.push_back(faultAt(Kind::oddTimer, line));
    } else if (line.key == "difficulty" && !isOneOf(value, {"", "easy", "normal", "nightmare"})) {
      faults.push_back(faultAt(Kind::oddDifficulty, line));
    } else if (line.key == "appid" && value.find_first_not_of("0123456789") != std::string::npos) {
      faults.push_back(faultAt(Kind::oddAppId, line));
    }
  }
}

// Addresses --------------------------------------------------------------------------------

/// What stands between the scheme and the path, "" when either is missing.
std::string_view authorityOf(std::string_view address) {
  for (const std::string_view scheme : {"http://", "https://"}) {
    if (!address.starts_with(scheme)) continue;
    const std::string_view rest = address.substr(scheme.size());
    return rest.substr(0, rest.find_first_of("/?#\\"));
  }
  return {};
}

bool isPort(std::string_view text) {
  constexpr std::size_t kLongestPort = 5;
  constexpr unsigned kLargestPort = 65535;
  if (text.size() > kLongestPort) return false;
  unsigned port = 0;
  for (const char c : text) {
    if (c < '0' || c > '9') return false;
    port = port * 10 + static_cast<unsigned>(c - '0');
  }
  return port > 0 && port <= kLargestPort;
}

/// What Windows would not take of a host and its port.
AddressFault authorityFault(std::string_view authority) {
  constexpr std::size_t kLongestHost = 255;
  if (authority.find('@') != std::string_view::npos) return AddressFault::userName;
  if (authority.starts_with('[')) return AddressFault::ipv6;
  const std::size_t colon = authority.find(':');
  if (colon != std::string_view::npos && !isPort(authority.substr(colon + 1))) {
    return AddressFault::badPort;
  }
  if (colon == 0) return AddressFault::noName;
  if (std::min(colon, authority.size()) > kLongestHost) return AddressFault::longName;
  return AddressFault::none;
}

}  // namespace

std::vector<SettingsFault> settingsFaults(std::string_view bytes) {
  const Lines lines = settingsLines(bytes);
  Faults faults;
  findEncoding(bytes, lines, faults);
  findOddLines(lines, faults);
  findMissing(bytes, faults);
  findUnknown(lines, faults);
  findDoubled(lines, faults);
  findTrailingComments(lines, faults);
  findOddPaths(lines, faults);
  findOddWords(lines, faults);
  return faults;
}

AddressFault addressFault(std::string_view value) {
  if (value.empty()) return AddressFault::empty;
  const std::string_view authority = authorityOf(value);
  if (authority.empty()) return AddressFault::noScheme;
  if (!isAscii(value) || value.find(' ') != std::string_view::npos) {
    return AddressFault::oddCharacters;
  }
  const AddressFault fault = authorityFault(authority);
  if (fault != AddressFault::none) return fault;
  if (value.find_first_of("?#\\") != std::string_view::npos) return AddressFault::hasQuery;
  if (authority.substr(0, authority.find(':')).ends_with(".example")) return AddressFault::sample;
  return AddressFault::none;
}

std::vector<SettingsLine> settingsLines(std::string_view bytes) {
  Lines lines;
  for (std::size_t at = 0; at < bytes.size();) {
    const std::size_t end = std::min(bytes.find('\n', at), bytes.size());
    SettingsLine line{lines.size() + 1, bytes.substr(at, end - at), {}, {}};
    if (line.raw.ends_with('\r')) line.raw.remove_suffix(1);
    const std::string trimmed = trimBlanks(line.raw);
    const std::size_t equals = trimmed.find('=');
    if (!isBlankOrComment(trimmed) && equals != std::string::npos) {
      line.key = trimBlanks(std::string_view(trimmed).substr(0, equals));
      line.value = trimBlanks(std::string_view(trimmed).substr(equals + 1));
    }
    lines.push_back(std::move(line));
    at = end + 1;
  }
  return lines;
}

}  // namespace launcher
