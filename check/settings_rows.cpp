#include "check/settings_rows.h"

#include <optional>

#include "core/settings.h"
#include "core/settings_faults.h"

namespace launcher::check {
namespace {

using Kind = SettingsFault::Kind;

constexpr unsigned kUtf8CodePage = 65001;

/// What a fault means to a player. In the texts {1} is the key, {2} the line, {3} the value,
/// {4} the detail and {5} the earlier line.
struct Explanation {
  State state;
  Wording what;
  Wording todo;
};

// NOLINTNEXTLINE(readability-function-size): a table, one row a kind
Explanation explain(Kind kind) {
  switch (kind) {
    case Kind::utf16:
      return {State::bad,
              {"launcher.ini 存成了 UTF-16，启动器一个字也读不到。",
               "launcher.ini is saved as UTF-16; the launcher reads nothing of it."},
              {"用记事本打开，另存为 ANSI 编码。", "Open it in Notepad and save it as ANSI."}};
    case Kind::stopByte:
      return {State::bad,
              {"launcher.ini 里有一个读到就会停下的字符（第 {4} 字节）。",
               "launcher.ini has a byte at which the launcher stops reading (position {4})."},
              {"从玩家包里重新解压 launcher.ini。", "Extract launcher.ini from the zip again."}};
    case Kind::byteOrderMark:
      return {State::worthKnowing,
              {"launcher.ini 开头有字节顺序标记（BOM），第一行的设置读不到。",
               "launcher.ini begins with a byte-order mark, which hides its first setting."},
              {"另存为 ANSI 编码，或在最前面加一行以 # 开头的说明。",
               "Save it as ANSI, or put a line that begins with # before everything else."}};
    case Kind::longLine:
      return {State::worthKnowing,
              {"launcher.ini 第 {2} 行超过 1023 字节，会被当成几行来读。",
               "Line {2} of launcher.ini has more than 1023 bytes and is read as several."},
              {"把它写短。", "Shorten it."}};
    case Kind::noSetting:
      return {State::worthKnowing,
              {"launcher.ini 第 {2} 行既不是设置也不是说明，不起作用。",
               "Line {2} of launcher.ini is neither a setting nor a comment and has no effect."},
              {"写成“名字=值”，或在行首加 #。", "Write key=value, or begin the line with #."}};
    case Kind::missingKey:
      return {State::bad,
              {"launcher.ini 里没有 {1}=，启动器会马上退出。",
               "launcher.ini has no {1}=; the launcher ends at once."},
              {"从玩家包里重新解压 launcher.ini。", "Extract launcher.ini from the zip again."}};
    case Kind::unknownKey:
      return {State::worthKnowing,
              {"launcher.ini 第 {2} 行的名字“{1}”启动器不认识，这一行不起作用。",
               "Line {2} of launcher.ini has the unknown key \"{1}\" and has no effect."},
              {"名字一律小写；不需要就删掉这一行。",
               "Keys are in lower case; remove the line if it is not needed."}};
    case Kind::siteOverlooked:
      return {State::worthKnowing,
              {"launcher.ini 第 {2} 行的 site 前后有空白，不起作用。",
               "Line {2} of launcher.ini has blanks around \"site\" and has no effect."},
              {"让这一行以 site= 开头。", "Begin the line with site=."}};
    case Kind::doubledKey:
      return {State::worthKnowing,
              {"launcher.ini 里 {1}= 写了两次（第 {5} 行和第 {2} 行），以后一个为准。",
               "launcher.ini has {1}= twice (lines {5} and {2}); the last one counts."},
              {"删掉不要的那一行。", "Remove the one that is not meant."}};
    case Kind::trailingComment:
      return {State::worthKnowing,
              {"launcher.ini 第 {2} 行的值后面好像有说明，它会成为值的一部分：{3}",
               "Line {2} of launcher.ini seems to have a comment after its value; it becomes "
               "part of the value: {3}"},
              {"把说明单独写成一行。", "Put the comment on a line of its own."}};
    case Kind::quotedPath:
      return {State::worthKnowing,
              {"launcher.ini 第 {2} 行（{1}）的路径带引号，引号会成为路径的一部分。",
               "The path in line {2} of launcher.ini ({1}) has quotes, which become part of it."},
              {"去掉引号。", "Remove the quotes."}};
    case Kind::foreignPath:
      return {State::worthKnowing,
              {"launcher.ini 第 {2} 行（{1}）的文字是 UTF-8，启动器会按 ANSI 读成别的字。",
               "Line {2} of launcher.ini ({1}) is UTF-8; the launcher reads it as ANSI, "
               "as other characters."},
              {"用记事本另存为 ANSI 编码，或者只用英文字母和数字。",
               "Save the file as ANSI in Notepad, or use plain letters and digits."}};
    case Kind::unknownPlaceholder:
      return {State::worthKnowing,
              {"launcher.ini 第 {2} 行（{1}）里的 {4} 启动器不认识，会原样留在路径里。",
               "Line {2} of launcher.ini ({1}) has {4}, which the launcher does not know and "
               "leaves in the path."},
              {"只有 %APPDIR% 和 %LOCALDATA% 可用，要大写。",
               "Only %APPDIR% and %LOCALDATA%, in capitals, are known."}};
    case Kind::placeholderInSteam:
      return {State::worthKnowing,
              {"launcher.ini 第 {2} 行的 steam= 里不能用 % 占位符。",
               "Line {2} of launcher.ini has a placeholder in steam=, where none works."},
              {"写完整的路径，或留空。", "Write the whole path, or leave it empty."}};
    case Kind::dryRun:
      return {State::bad,
              {"launcher.ini 里写了 dryrun=1，启动器只看一遍设置，不会开游戏。",
               "launcher.ini has dryrun=1: the launcher only looks at its settings and starts "
               "no game."},
              {"改成 dryrun=0。", "Write dryrun=0."}};
    case Kind::oddDryRun:
    case Kind::oddTimer:
    case Kind::oddDifficulty:
    case Kind::oddAppId: break;
  }
  return {State::worthKnowing,
          {"launcher.ini 第 {2} 行的值不像是对的：{1}={3}",
           "The value in line {2} of launcher.ini looks wrong: {1}={3}"},
          {"对照玩家包里原来的 launcher.ini。", "Compare it with the launcher.ini of the zip."}};
}

/// A path in quotes that the launcher cannot do without stops the race.
bool isNeeded(const std::string& key) { return key == "receipt" || key == "data"; }

std::optional<Finding> rowOf(const SettingsFault& fault, unsigned codePage,
                             TextConverter ansiToUtf8, Language language) {
  // In a file of the player's own code page such a path is right.
  if (fault.kind == Kind::foreignPath &&
      (codePage == kUtf8CodePage || !isUtf8(fault.value))) {
    return std::nullopt;
  }
  const Explanation explanation = explain(fault.kind);
  Finding row = filledRow(Stage::settings, explanation.state, explanation.what, explanation.todo,
                          language,
                          {readable(fault.key, ansiToUtf8), std::to_string(fault.line),
                           readable(fault.value, ansiToUtf8), readable(fault.detail, ansiToUtf8),
                           std::to_string(fault.earlierLine)});
  if (fault.kind == Kind::quotedPath && isNeeded(fault.key)) row.state = State::bad;
  return row;
}

constexpr Wording kAskForSettings = {"向主办方要这一周的 launcher.ini。",
                                     "Ask the organiser for this week's launcher.ini."};

std::optional<Finding> serverRow(const std::string& server, Language language) {
  const auto row = [&](const Wording& what, const Wording& todo) {
    return filledRow(Stage::settings, State::bad, what, todo, language, {server});
  };
  switch (addressFault(server)) {
    case AddressFault::none: return std::nullopt;
    case AddressFault::empty:
      return row({"launcher.ini 里 server= 是空的，成绩不会上传。",
                  "server= is empty in launcher.ini: nothing is uploaded."},
                 kAskForSettings);
    case AddressFault::sample:
      return row({"launcher.ini 里的 server= 还是样板地址：{1}",
                  "server= in launcher.ini is still the sample's: {1}"},
                 kAskForSettings);
    case AddressFault::noScheme:
    case AddressFault::oddCharacters:
      return row({"launcher.ini 里的 server= 不是一个网址：{1}",
                  "server= in launcher.ini is no address: {1}"},
                 {"它要以 https:// 开头，没有空格。",
                  "It begins with https:// and has no blanks."});
    // Which of these it is, the organiser's check says.
    case AddressFault::userName:
    case AddressFault::ipv6:
    case AddressFault::badPort:
    case AddressFault::noName:
    case AddressFault::longName:
    case AddressFault::hasQuery: break;
  }
  return row({"launcher.ini 里的 server= 不是启动器能用的网址：{1}",
              "server= in launcher.ini is no address that the launcher can use: {1}"},
             kAskForSettings);
}

/// The name is converted for the server, so it matters in the same way as a path.
std::optional<Finding> playerRow(std::string_view bytes, unsigned codePage,
                                 TextConverter ansiToUtf8, Language language) {
  for (const SettingsLine& line : settingsLines(bytes)) {
    if (line.key != "player" || isAscii(line.value)) continue;
    return rowOf({Kind::foreignPath, line.number, line.key, line.value}, codePage, ansiToUtf8,
                 language);
  }
  return std::nullopt;
}

Finding missingFileRow(Language language) {
  return {Stage::settings, State::bad,
          say({"启动器旁边没有 launcher.ini，启动器会马上退出。",
               "There is no launcher.ini beside the launcher; the launcher ends at once."},
              language),
          say({"右键玩家包的 zip，选“全部解压缩”，再从解压出来的文件夹里打开。",
               "Right-click the zip, Extract All, and start from the extracted folder."},
              language)};
}

}  // namespace

Findings settingsRows(std::string_view bytes, bool exists, unsigned codePage,
                      TextConverter ansiToUtf8, Language language) {
  if (!exists) return {missingFileRow(language)};
  Findings rows;
  for (const SettingsFault& fault : settingsFaults(bytes)) {
    if (auto row = rowOf(fault, codePage, ansiToUtf8, language)) rows.push_back(std::move(*row));
  }
  if (auto row = playerRow(bytes, codePage, ansiToUtf8, language)) {
    rows.push_back(std::move(*row));
  }
  const Settings settings = parseSettings(bytes);
  if (auto row = serverRow(readable(settings.server, ansiToUtf8), language)) {
    rows.push_back(std::move(*row));
  }
  if (rows.empty()) {
    rows.push_back({Stage::settings, State::good,
                    say({"launcher.ini 没有问题。", "launcher.ini is in order."}, language)});
  }
  return rows;
}

}  // namespace launcher::check
