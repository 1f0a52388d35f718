#include "rehearsal/package/settings_check.h"

#include <algorithm>
#include <map>

#include "core/paths.h"
#include "core/settings.h"
#include "core/text.h"
#include "rehearsal/package/address_check.h"
#include "rehearsal/stage/text.h"

namespace rehearsal {

namespace {

constexpr std::size_t kLongestLine = 1023;
constexpr std::string_view kByteOrderMark = "\xEF\xBB\xBF";

struct Line {
  std::size_t number = 0;
  std::string_view raw;  ///< without its line end
  std::string key;       ///< empty: no setting
  std::string value;
};

bool isBlankOrComment(std::string_view line) {
  return line.empty() || line.front() == '#' || line.front() == ';' || line.front() == '[';
}

/// The file's lines as an editor counts them.
std::vector<Line> linesOf(std::string_view bytes) {
  std::vector<Line> lines;
  for (std::size_t at = 0; at < bytes.size();) {
    const std::size_t end = std::min(bytes.find('\n', at), bytes.size());
    Line line{lines.size() + 1, bytes.substr(at, end - at), {}, {}};
    if (line.raw.ends_with('\r')) line.raw.remove_suffix(1);
    const std::string trimmed = launcher::trimBlanks(line.raw);
    const std::size_t equals = trimmed.find('=');
    if (!isBlankOrComment(trimmed) && equals != std::string::npos) {
      line.key = launcher::trimBlanks(std::string_view(trimmed).substr(0, equals));
      line.value = launcher::trimBlanks(std::string_view(trimmed).substr(equals + 1));
    }
    lines.push_back(std::move(line));
    at = end + 1;
  }
  return lines;
}

std::string at(const Line& line) { return " (line " + std::to_string(line.number) + ")"; }
std::string inQuotes(std::string_view text) { return "\"" + std::string(text) + "\""; }

bool isKnown(std::string_view key) { return launcher::findSettingKey(key) != nullptr; }

/// The finding when there is no complaint, else one finding for each.
Findings orPassed(Findings complaints, std::string what) {
  if (complaints.empty()) complaints.push_back(passed(std::move(what)));
  return complaints;
}

// Bytes and lines --------------------------------------------------------------------------

Findings checkEncoding(std::string_view bytes, const std::vector<Line>& lines) {
  Findings found;
  if (bytes.starts_with("\xFF\xFE") || bytes.starts_with("\xFE\xFF")) {
    found.push_back(failed("launcher.ini is UTF-16, of which the launcher reads nothing",
                           "save it as UTF-8 without a byte-order mark, or as ANSI"));
  } else if (const std::size_t end = bytes.find_first_of(std::string_view("\0\x1A", 2));
             end != std::string_view::npos) {
    found.push_back(failed("launcher.ini has a byte at which the launcher stops reading",
                           "remove it, at position " + std::to_string(end)));
  }
  if (bytes.starts_with(kByteOrderMark) && !lines.empty() && !lines.front().key.empty()) {
    found.push_back(failed("launcher.ini begins with a byte-order mark, so its first key is lost",
                           "put a comment into its first line, or save it without the mark"));
  }
  return orPassed(std::move(found), "launcher.ini has an encoding that the launcher reads");
}

Findings checkLines(const std::vector<Line>& lines) {
  Findings found;
  for (const Line& line : lines) {
    const bool marked = line.number == 1 && line.raw.starts_with(kByteOrderMark);
    const std::string text = launcher::trimBlanks(line.raw.substr(marked ? 3 : 0));
    if (line.raw.size() > kLongestLine) {
      found.push_back(failed("launcher.ini has a line of more than 1023 bytes" + at(line),
                             "shorten it; the launcher takes it for several"));
    } else if (line.key.empty() && !isBlankOrComment(text)) {
      found.push_back(failed("launcher.ini has a line that is neither setting nor comment" +
                                 at(line),
                             "write key=value, or begin it with #"));
    }
  }
  return orPassed(std::move(found), "launcher.ini has no line that the launcher would misread");
}

// Keys -------------------------------------------------------------------------------------

Findings checkRequired(const launcher::Settings& settings) {
  Findings found;
  for (const auto& [key, value] : {std::pair("receipt", &settings.receipt),
                                   std::pair("data", &settings.data)}) {
    if (value->empty()) {
      found.push_back(failed(std::string("launcher.ini names no ") + key +
                                 ", without which the launcher stops at once",
                             std::string("add the line ") + key + "=..."));
    }
  }
  return orPassed(std::move(found), "launcher.ini has the required keys receipt and data");
}

std::string adviceForUnknown(const std::string& key) {
  std::string small = key;
  for (char& c : small) {
    if (c >= 'A' && c <= 'Z') c = static_cast<char>(c - 'A' + 'a');
  }
  for (const char blank : {' ', '-'}) std::replace(small.begin(), small.end(), blank, '_');
  return isKnown(small) ? "write it " + inQuotes(small) : "correct or remove it";
}

Findings checkKeys(const std::vector<Line>& lines) {
  Findings found;
  for (const Line& line : lines) {
    const bool marked = line.number == 1 && line.raw.starts_with(kByteOrderMark);
    if (line.key.empty() || marked) continue;  // reported with the encoding
    if (!isKnown(line.key)) {
      found.push_back(failed("launcher.ini has the unknown key " + inQuotes(line.key) + at(line),
                             adviceForUnknown(line.key)));
    } else if (line.key == launcher::kSiteKey &&
               launcher::trimEnd(line.raw.substr(0, line.raw.find('=')), " ") != line.key) {
      found.push_back(failed("launcher.ini has a \"site\" line that the launcher overlooks" +
                                 at(line),
                             "begin the line with site=, without blanks or tabs"));
    }
  }
  return orPassed(std::move(found), "launcher.ini has no unknown key");
}

Findings checkDoubled(const std::vector<Line>& lines) {
  Findings found;
  std::map<std::string, const Line*> first;
  for (const Line& line : lines) {
    if (line.key.empty()) continue;
    const auto [earlier, isNew] = first.emplace(line.key, &line);
    if (isNew) continue;
    found.push_back(failed("launcher.ini has " + inQuotes(line.key) + " twice, in line " +
                               std::to_string(earlier->second->number) + " and line " +
                               std::to_string(line.number),
                           "remove one; the last one counts"));
  }
  return orPassed(std::move(found), "launcher.ini has no key twice");
}

// Values -----------------------------------------------------------------------------------

Findings checkTrailingComments(const std::vector<Line>& lines) {
  Findings found;
  for (const Line& line : lines) {
    for (const std::string_view sign : {" #", "\t#", " ;", "\t;", " //", "\t//"}) {
      if (line.value.find(sign) == std::string::npos) continue;
      found.push_back(failed("launcher.ini has a comment behind the value of " +
                                 inQuotes(line.key) + at(line),
                             "put it on a line of its own; here it is part of the value"));
      break;
    }
  }
  return orPassed(std::move(found), "launcher.ini has no comment behind a value");
}

/// Placeholders in the value that the launcher does not know, "%APPDATA%".
std::string unknownPlaceholder(std::string_view value) {
  for (std::size_t open = value.find('%'); open != std::string_view::npos;) {
    const std::size_t close = value.find('%', open + 1);
    if (close == std::string_view::npos) return {};
    const std::string_view name = value.substr(open, close + 1 - open);
    if (name != launcher::kAppDirPlaceholder && name != launcher::kLocalDataPlaceholder) return std::string(name);
    open = value.find('%', close + 1);
  }
  return {};
}

Findings checkPathValues(const std::vector<Line>& lines) {
  Findings found;
  for (const Line& line : lines) {
    const launcher::SettingKey* key = launcher::findSettingKey(line.key);
    if (key == nullptr || key->expansion == launcher::Expansion::noPath) continue;
    const bool expanded = key->expansion != launcher::Expansion::never;
    if (line.value.find('"') != std::string::npos) {
      found.push_back(failed("the path of " + inQuotes(line.key) + " has quotes" + at(line),
                             "remove them; they would be part of the path"));
    }
    if (!stage::isPlainAscii(line.value)) {
      found.push_back(failed("the path of " + inQuotes(line.key) +
                                 " has characters outside of ASCII" + at(line),
                             "each player's Windows reads them in its own code page; use %APPDIR%"
                             " or another name"));
    }
    const std::string placeholder = unknownPlaceholder(line.value);
    if (expanded && !placeholder.empty()) {
      found.push_back(failed("the path of " + inQuotes(line.key) + " has " + placeholder + at(line),
                             "only %APPDIR% and %LOCALDATA%, in capitals, are known"));
    }
    if (!expanded && line.value.find('%') != std::string::npos) {
      found.push_back(failed("the path of " + inQuotes(line.key) + " has a placeholder" + at(line),
                             "write the path out or leave it empty"));
    }
  }
  return orPassed(std::move(found), "the paths of launcher.ini can be read on every machine");
}

bool isOneOf(std::string_view value, std::initializer_list<std::string_view> words) {
  return std::find(words.begin(), words.end(), value) != words.end();
}

Findings checkWords(const std::vector<Line>& lines) {
  Findings found;
  const auto wrong = [&](const Line& line, std::string todo) {
    found.push_back(failed("the value of " + inQuotes(line.key) + " is " + inQuotes(line.value) +
                               at(line),
                           std::move(todo)));
  };
  for (const Line& line : lines) {
    const std::string& value = line.value;
    if (line.key == "dryrun" && value == "1") {
      wrong(line, "write 0, or no player can start the game");
    } else if (line.key == "dryrun" && !isOneOf(value, {"", "0"})) {
      wrong(line, "write 0");
    } else if (line.key == "timer" && !isOneOf(value, {"", "0", "1"})) {
      wrong(line, "write 0 or 1");
    } else if (line.key == "difficulty" && !isOneOf(value, {"", "easy", "normal", "nightmare"})) {
      wrong(line, "write easy, normal or nightmare");
    } else if (line.key == "appid" && value.find_first_not_of("0123456789") != std::string::npos) {
      wrong(line, "write the game's number on Steam");
    }
  }
  return orPassed(std::move(found), "dryrun, timer, difficulty and appid have proper values");
}

}  // namespace

Findings checkSettings(std::string_view bytes) {
  const std::vector<Line> lines = linesOf(bytes);
  const launcher::Settings settings = launcher::parseSettings(bytes);
  Findings all;
  append(all, checkEncoding(bytes, lines));
  append(all, checkLines(lines));
  append(all, checkRequired(settings));
  append(all, checkKeys(lines));
  append(all, checkDoubled(lines));
  append(all, checkTrailingComments(lines));
  append(all, checkPathValues(lines));
  append(all, checkWords(lines));
  all.push_back(checkAddress("server", settings.server));
  all.push_back(checkAddress("site", launcher::siteBaseFrom(bytes, "")));
  return all;
}

std::string withSettings(std::string_view bytes,
                         const std::vector<std::pair<std::string, std::string>>& values) {
  std::string text;
  std::vector<std::string> written;
  for (const Line& line : linesOf(bytes)) {
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
