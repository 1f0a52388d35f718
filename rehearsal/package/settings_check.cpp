#include "rehearsal/package/settings_check.h"

#include <algorithm>
#include <initializer_list>

#include "core/settings.h"
#include "core/settings_faults.h"
#include "rehearsal/package/address_check.h"

namespace rehearsal {

namespace {

using Fault = launcher::SettingsFault;
using Kind = Fault::Kind;

std::string at(const Fault& fault) { return " (line " + std::to_string(fault.line) + ")"; }
std::string inQuotes(std::string_view text) { return "\"" + std::string(text) + "\""; }

/// The finding when there is no complaint, else one finding for each.
Findings orPassed(Findings complaints, std::string what) {
  if (complaints.empty()) complaints.push_back(passed(std::move(what)));
  return complaints;
}

/// What an organiser is told of a fault.
Finding complaint(const Fault& fault) {
  const std::string key = inQuotes(fault.key);
  const std::string wrongValue =
      "the value of " + key + " is " + inQuotes(fault.value) + at(fault);
  switch (fault.kind) {
    case Kind::utf16:
      return failed("launcher.ini is UTF-16, of which the launcher reads nothing",
                    "save it as UTF-8 without a byte-order mark, or as ANSI");
    case Kind::stopByte:
      return failed("launcher.ini has a byte at which the launcher stops reading",
                    "remove it, at position " + fault.detail);
    case Kind::byteOrderMark:
      return failed("launcher.ini begins with a byte-order mark, so its first key is lost",
                    "put a comment into its first line, or save it without the mark");
    case Kind::longLine:
      return failed("launcher.ini has a line of more than 1023 bytes" + at(fault),
                    "shorten it; the launcher takes it for several");
    case Kind::noSetting:
      return failed("launcher.ini has a line that is neither setting nor comment" + at(fault),
                    "write key=value, or begin it with #");
    case Kind::missingKey:
      return failed("launcher.ini names no " + fault.key +
                        ", without which the launcher stops at once",
                    "add the line " + fault.key + "=...");
    case Kind::unknownKey:
      return failed("launcher.ini has the unknown key " + key + at(fault),
                    fault.detail.empty() ? "correct or remove it"
                                         : "write it " + inQuotes(fault.detail));
    case Kind::siteOverlooked:
      return failed("launcher.ini has a \"site\" line that the launcher overlooks" + at(fault),
                    "begin the line with site=, without blanks or tabs");
    case Kind::doubledKey:
      return failed("launcher.ini has " + key + " twice, in line " +
                        std::to_string(fault.earlierLine) + " and line " +
                        std::to_string(fault.line),
                    "remove one; the last one counts");
    case Kind::trailingComment:
      return failed("launcher.ini has a comment behind the value of " + key + at(fault),
                    "put it on a line of its own; here it is part of the value");
    case Kind::quotedPath:
      return failed("the path of " + key + " has quotes" + at(fault),
                    "remove them; they would be part of the path");
    case Kind::foreignPath:
      return failed("the path of " + key + " has characters outside of ASCII" + at(fault),
                    "each player's Windows reads them in its own code page; use %APPDIR%"
                    " or another name");
    case Kind::unknownPlaceholder:
      return failed("the path of " + key + " has " + fault.detail + at(fault),
                    "only %APPDIR% and %LOCALDATA%, in capitals, are known");
    case Kind::placeholderInSteam:
      return failed("the path of " + key + " has a placeholder" + at(fault),
                    "write the path out or leave it empty");
    case Kind::dryRun: return failed(wrongValue, "write 0, or no player can start the game");
    case Kind::oddDryRun: return failed(wrongValue, "write 0");
    case Kind::oddTimer: return failed(wrongValue, "write 0 or 1");
    case Kind::oddDifficulty: return failed(wrongValue, "write easy, normal or nightmare");
    case Kind::oddAppId: break;
  }
  return failed(wrongValue, "write the game's number on Steam");
}

/// One check: the complaints of its kinds of faults, or that there is none.
Findings checkKinds(const std::vector<Fault>& faults, std::initializer_list<Kind> kinds,
                    std::string what) {
  Findings found;
  for (const Fault& fault : faults) {
    if (std::find(kinds.begin(), kinds.end(), fault.kind) != kinds.end()) {
      found.push_back(complaint(fault));
    }
  }
  return orPassed(std::move(found), std::move(what));
}

}  // namespace

Findings checkSettings(std::string_view bytes) {
  const std::vector<Fault> faults = launcher::settingsFaults(bytes);
  const launcher::Settings settings = launcher::parseSettings(bytes);
  Findings all;
  append(all, checkKinds(faults, {Kind::utf16, Kind::stopByte, Kind::byteOrderMark},
                         "launcher.ini has an encoding that the launcher reads"));
  append(all, checkKinds(faults, {Kind::longLine, Kind::noSetting},
                         "launcher.ini has no line that the launcher would misread"));
  append(all, checkKinds(faults, {Kind::missingKey},
                         "launcher.ini has the required keys receipt and data"));
  append(all, checkKinds(faults, {Kind::unknownKey, Kind::siteOverlooked},
                         "launcher.ini has no unknown key"));
  append(all, checkKinds(faults, {Kind::doubledKey}, "launcher.ini has no key twice"));
  append(all, checkKinds(faults, {Kind::trailingComment},
                         "launcher.ini has no comment behind a value"));
  append(all, checkKinds(faults,
                         {Kind::quotedPath, Kind::foreignPath, Kind::unknownPlaceholder,
                          Kind::placeholderInSteam},
                         "the paths of launcher.ini can be read on every machine"));
  append(all, checkKinds(faults,
                         {Kind::dryRun, Kind::oddDryRun, Kind::oddTimer, Kind::oddDifficulty,
                          Kind::oddAppId},
                         "dryrun, timer, difficulty and appid have proper values"));
  all.push_back(checkAddress("server", settings.server));
  all.push_back(checkAddress("site", launcher::siteBaseFrom(bytes, "")));
  return all;
}

std::string withSettings(std::string_view bytes,
                         const std::vector<std::pair<std::string, std::string>>& values) {
  std::string text;
  std::vector<std::string> written;
  for (const launcher::SettingsLine& line : launcher::settingsLines(bytes)) {
    const auto value = std::find_if(values.begin(), values.end(), [&](const auto& wanted) {
      return !line.key.empty() && wanted.first == line.key;
    });
    if (value == values.end()) {
      const auto end = static_cast<std::size_t>(line.raw.data() - bytes.data()) + line.raw.size();
      text += line.raw;
      text += bytes.substr(end, std::min(bytes.find('\n', end), bytes.size()) + 1 - end);
      continue;
    }
    text += value->first + "=" + value->second + "\r\n";
    written.push_back(value->first);
  }
  if (!text.empty() && !text.ends_with('\n')) text += "\r\n";
  for (const auto& [key, value] : values) {
    if (std::find(written.begin(), written.end(), key) == written.end()) {
      text += key + "=" + value + "\r\n";
    }
  }
  return text;
}

}  // namespace rehearsal
