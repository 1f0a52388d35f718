#include "rehearsal/package/timer_check.h"

#include <algorithm>
#include <optional>

#include "rehearsal/stage/files.h"
#include "rehearsal/stage/text.h"
#include "rehearsal/stage/timer_files.h"
#include "rehearsal/stage/xml_text.h"

namespace rehearsal {

namespace fs = std::filesystem;

namespace {

constexpr char kLayout[] = "halvorn.lsl";
constexpr char kPort[] = "16834";
constexpr char kLost[] =
    "LiveSplit cannot read its settings.cfg and loses all settings for good, hotkeys too";

std::string shown(const Package& package, const fs::path& path) {
  return stage::textOf(path.lexically_relative(package.root));
}

/// True for a text that may stand in LiveSplit's path: the launcher writes it into settings.cfg
/// as it is.
bool canStandInSettings(const std::string& path) {
  return stage::isPlainAscii(path) && path.find_first_of("&<") == std::string::npos;
}

// Splits -----------------------------------------------------------------------------------

std::string inSeconds(stage::Ticks time) {
  const stage::Ticks hundredths = time / (stage::kTicksPerSecond / 100);
  const std::string rest = std::to_string(std::abs(hundredths % 100));
  return (time < 0 ? "-" : "") + std::to_string(std::abs(hundredths / 100)) + "." +
         (rest.size() < 2 ? "0" : "") + rest + " s";
}

Findings checkSplitsText(const std::string& bytes, const std::string& name) {
  const std::optional<stage::TimerSplits> splits = stage::readTimerSplits(bytes);
  if (!splits) {
    return {warned("LiveSplit cannot read the splits file " + name,
                   "save it in LiveSplit once more; it has to be XML with <Run> around it")};
  }
  Findings found;
  if (splits->hasTimes) {
    found.push_back(warned("the splits file " + name + " has times of earlier runs",
                           "clear them in LiveSplit's splits editor; a personal best becomes the"
                           " total of a player whose timer was not ended"));
  }
  if (splits->startOffset != 0) {
    found.push_back(warned("the splits file " + name + " starts the timer at " +
                               inSeconds(splits->startOffset),
                           "let it start at zero; an offset counts as time of the run"));
  }
  if (found.empty()) found.push_back(passed("the splits file is there, without times"));
  return found;
}

Findings checkSplits(const Package& package) {
  const std::string& value = package.settings.livesplit_lss;
  const Target target = targetOf(package, value);
  switch (target.place) {
    case Target::Place::none:
      return {package.settings.livesplit.empty()
                  ? passed("no LiveSplit, no splits file")
                  : unseen("livesplit_lss is empty",
                           "the launcher will not start LiveSplit, only ask it")};
    case Target::Place::nowhere:
      return {failed("the splits file is " + value, "begin the path with %APPDIR% or a drive")};
    case Target::Place::package:
      break;
    default:
      return {unseen("the splits file is " + value,
                     "it has to be there on every player's machine")};
  }
  const std::optional<std::string> bytes = stage::readFile(target.path);
  if (!bytes) {
    return {failed("the splits file " + shown(package, target.path) + " is missing",
                   "put it there or correct livesplit_lss")};
  }
  return checkSplitsText(*bytes, shown(package, target.path));
}

// LiveSplit --------------------------------------------------------------------------------

/// The path of the race's splits from LiveSplit's folder on; "" when it is not in the package.
std::string splitsFrom(const Package& package, const fs::path& folder) {
  const Target splits = targetOf(package, package.settings.livesplit_lss);
  if (splits.place != Target::Place::package) return {};
  return stage::textOf(splits.path.lexically_relative(folder));
}

Findings checkSettingsFile(const Package& package, const fs::path& program) {
  const fs::path folder = program.parent_path();
  const fs::path file = folder / "settings.cfg";
  if (const std::optional<std::string> bytes = stage::readFile(file)) {
    return checkTimerSettings(*bytes, splitsFrom(package, folder), shown(package, file));
  }
  if (!stage::pathExists(program)) return {};
  return {warned("LiveSplit has no settings.cfg in the package",
                 "make one as the organiser guide says; without it each player has to open"
                 " splits and layout and to start the server")};
}

Findings checkPackagedLiveSplit(const Package& package, const fs::path& program) {
  Findings found;
  if (stage::pathExists(program)) {
    found.push_back(passed("LiveSplit is in the package"));
  } else {
    found.push_back(unseen("LiveSplit is not in the package at " + shown(package, program),
                           "players need it in C:\\Program Files\\LiveSplit, or put it there"));
  }
  const fs::path layout = program.parent_path() / kLayout;
  if (stage::pathExists(layout)) {
    found.push_back(passed("halvorn.lsl is beside LiveSplit"));
  } else {
    found.push_back(failed("halvorn.lsl is not beside LiveSplit",
                           "put the race's layout at " + shown(package, layout)));
  }
  append(found, checkSettingsFile(package, program));
  found.push_back(unseen("where players unpack this is up to them",
                         std::string("tell them to keep to plain letters and digits; with other"
                                     " characters, & or < in the path ") + kLost));
  return found;
}

Findings checkLiveSplit(const Package& package) {
  const std::string& value = package.settings.livesplit;
  const Target target = targetOf(package, value);
  const bool packaged = target.place == Target::Place::package;
  if (target.place == Target::Place::none) return {passed("no LiveSplit, no layout")};
  if (target.place == Target::Place::nowhere) {
    return {failed("LiveSplit is " + value, "begin the path with %APPDIR% or a drive")};
  }
  Findings found;
  if (!canStandInSettings(value) ||
      (packaged && !canStandInSettings(shown(package, target.path)))) {
    found.push_back(failed("LiveSplit is " + (packaged ? shown(package, target.path) : value),
                           std::string("keep to plain letters and digits, without & and <; ") +
                               kLost));
  }
  if (packaged) {
    append(found, checkPackagedLiveSplit(package, target.path));
  } else {
    found.push_back(unseen("LiveSplit is " + value,
                           "it and halvorn.lsl beside it have to be there on every player's"
                           " machine"));
  }
  return found;
}

// settings.cfg -------------------------------------------------------------------------------

bool isLetter(char c) { return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z'); }

/// True for "C:\..." and "\\server\...", not for "https://...".
bool isFullPath(const std::string& text) {
  const std::size_t first = text.find_first_not_of(" \t\r\n");
  if (first == std::string::npos) return false;
  const std::string path = text.substr(first);
  const bool drive = path.size() > 2 && isLetter(path[0]) && path[1] == ':' &&
                     (path[2] == '\\' || path[2] == '/');
  return drive || path.starts_with("\\\\");
}

/// The first full path anywhere below an element; "" when there is none.
std::string fullPathIn(const stage::XmlElement& element) {
  if (isFullPath(element.text)) return element.text;
  for (const auto& [name, value] : element.attributes) {
    if (isFullPath(value)) return value;
  }
  for (const stage::XmlElement& child : element.children) {
    if (std::string path = fullPathIn(child); !path.empty()) return path;
  }
  return {};
}

/// True when Windows takes both for the same file of a folder.
bool isSameFile(const std::string& one, const std::string& other) {
  const auto form = [](std::string path) {
    for (char& c : path) {
      if (c >= 'A' && c <= 'Z') c = static_cast<char>(c - 'A' + 'a');
      if (c == '/') c = '\\';
    }
    return path.starts_with(".\\") ? path.substr(2) : path;
  };
  return form(one) == form(other);
}

std::string lastOf(const std::vector<std::string>& list) {
  return list.empty() ? std::string() : list.back();
}

}  // namespace

Findings checkTimerSettings(std::string_view bytes, const std::string& splits,
                            const std::string& name) {
  const std::optional<stage::TimerSettings> settings = stage::readTimerSettings(bytes);
  if (!settings) {
    return {failed(name + " is one that LiveSplit cannot use",
                   "make it anew in LiveSplit; from this one it falls back to its defaults")};
  }
  Findings found;
  const std::string own = fullPathIn(stage::readXml(bytes).value_or(stage::XmlElement()));
  if (!own.empty()) {
    found.push_back(failed(name + " holds a path of your own machine, " + own,
                           "remove its entry, or leave the file's name alone (race.lss,"
                           " halvorn.lsl)"));
  }
  const std::string wanted = splits.empty() ? "race.lss" : splits;
  const std::string opened = lastOf(settings->splits);
  if (opened.empty() || (!splits.empty() && !isSameFile(opened, splits))) {
    found.push_back(failed(name + " opens " + (opened.empty() ? "no splits" : opened),
                           "let the last SplitsFile of RecentSplits be " + wanted));
  }
  if (!isSameFile(lastOf(settings->layouts), kLayout)) {
    found.push_back(failed(name + " does not open the race's layout",
                           "let the last LayoutPath of RecentLayouts be halvorn.lsl"));
  }
  if (settings->serverStartup != "1") {
    found.push_back(failed(name + " does not start LiveSplit's server",
                           "write <ServerStartup>1</ServerStartup>"));
  }
  if (!settings->serverPort.empty() && settings->serverPort != kPort) {
    found.push_back(failed(name + " puts LiveSplit's server on port " + settings->serverPort,
                           "write 16834; the launcher asks no other"));
  }
  if (found.empty()) {
    found.push_back(passed(name + " opens the race's splits and layout and starts the server"));
  }
  return found;
}

Findings checkTimer(const Package& package) {
  Findings found = checkSplits(package);
  append(found, checkLiveSplit(package));
  return found;
}

}  // namespace rehearsal
