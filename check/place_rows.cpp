#include "check/place_rows.h"

#include <algorithm>
#include <string_view>

#include "check/utf8.h"

namespace launcher::check {
namespace {

/// Bytes behind the program's folder that the launcher's own longest file needs, and its limit.
constexpr std::size_t kLongestOwnName = sizeof("profile_token.txt") - 1;
constexpr std::size_t kLongestPath = 259;

/// Folders that a program keeps in step with a server, by how their name begins.
constexpr std::string_view kSyncedFolders[] = {
    "onedrive",     "dropbox",   "icloud",   "google drive", "googledrive", "坚果云",
    "nutstore",     "百度网盘",  "baidu",    "百度云",       "微云",        "腾讯微云",
    "weiyun",       "阿里云盘",  "adrive",   "wps云盘",      "wpsdrive",    "夸克网盘",
    "wps cloud",    "115",       "天翼云",   "和彩云",       "迅雷云盘",    "synologydrive",
};

char lower(char c) { return c >= 'A' && c <= 'Z' ? static_cast<char>(c - 'A' + 'a') : c; }

std::string lowerCase(std::string_view text) {
  std::string result(text);
  std::transform(result.begin(), result.end(), result.begin(), lower);
  return result;
}

bool isBelow(const std::string& folder, const std::string& parent) {
  return !parent.empty() && lowerCase(folder).starts_with(lowerCase(parent));
}

/// The first part of the path that a program keeps in step with a server, or "".
std::string syncedPart(std::string_view folder) {
  for (std::size_t at = 0; at < folder.size();) {
    const std::size_t end = std::min(folder.find('\\', at), folder.size());
    const std::string_view part = folder.substr(at, end - at);
    const std::string name = lowerCase(part);
    if (std::any_of(std::begin(kSyncedFolders), std::end(kSyncedFolders),
                    [&name](std::string_view synced) { return name.starts_with(synced); })) {
      return std::string(part);
    }
    at = end + 1;
  }
  return {};
}

Finding row(State state, const Wording& what, const Wording& todo, Language language,
            std::string_view value = {}) {
  return filledRow(Stage::place, state, what, todo, language, {value});
}

constexpr Wording kExtract = {
    "右键玩家包的 zip，选“全部解压缩”，解压到一个短的、只有英文字母和数字的文件夹，例如 D:\\KOV-Race。",
    "Right-click the zip, Extract All, into a short folder of plain letters and digits, such as "
    "D:\\KOV-Race."};

/// What makes the folder unusable, or nothing.
Findings folderFaults(const PlaceFacts& facts, Language language) {
  Findings rows;
  if (isBelow(facts.folder, facts.temporaryFolder)) {
    rows.push_back(row(State::bad,
                       {"程序还在压缩包里（Windows 的临时文件夹），关掉以后就没有了。",
                        "The programs are still inside the zip (in Windows' temporary folder), "
                        "which is emptied afterwards."},
                       kExtract, language));
  }
  if (!facts.inAnsi) {
    rows.push_back(row(State::bad,
                       {"文件夹的名字里有这台 Windows 的 ANSI 编码没有的字，启动器读不到设置：{1}",
                        "The folder's name has characters that Windows' ANSI code page lacks; the "
                        "launcher cannot read its settings: {1}"},
                       kExtract, language, facts.folder));
  } else if (facts.ansiBytes + kLongestOwnName > kLongestPath) {
    rows.push_back(row(State::bad,
                       {"文件夹的路径太长，启动器最多用 259 个字节：{1}",
                        "The folder's path is too long, the launcher uses at most 259 bytes: {1}"},
                       kExtract, language, facts.folder));
  }
  return rows;
}

/// What makes the folder a poor choice.
Findings folderDoubts(const PlaceFacts& facts, Language language) {
  Findings rows;
  if (isBelow(facts.folder, facts.programFiles) || isBelow(facts.folder, facts.programFilesX86)) {
    rows.push_back(row(State::worthKnowing,
                       {"程序在 Program Files 里，普通用户不能在那里写文件。",
                        "The programs are below Program Files, where a usual user cannot write."},
                       kExtract, language));
  }
  if (const std::string part = syncedPart(facts.folder); !part.empty()) {
    rows.push_back(row(State::worthKnowing,
                       {"文件夹“{1}”会和云端同步，成绩文件可能被锁住或换掉。",
                        "The folder \"{1}\" is synced with a cloud, which can lock or exchange "
                        "result files."},
                       kExtract, language, part));
  }
  if (facts.inAnsi && !isAscii(facts.folder)) {
    rows.push_back(row(State::worthKnowing,
                       {"文件夹的路径里有英文以外的字，LiveSplit 可能读不了自己的设置：{1}",
                        "The folder's path has characters other than plain ASCII; LiveSplit may "
                        "not be able to read its settings: {1}"},
                       kExtract, language, facts.folder));
  }
  return rows;
}

Findings programFaults(const PlaceFacts& facts, Language language) {
  Findings rows;
  const Wording extractAgain = {"从玩家包里重新解压；多半被杀毒软件删了。",
                                "Extract the zip again; an antivirus program has probably taken "
                                "it."};
  if (!facts.hasLauncher) {
    rows.push_back(row(State::bad,
                       {"旁边没有启动器 launcher.exe。", "There is no launcher.exe here."},
                       extractAgain, language));
  }
  if (!facts.hasCard) {
    rows.push_back(row(State::worthKnowing,
                       {"旁边没有 kov_result.exe，成绩只会显示在一个简单的小窗口里。",
                        "There is no kov_result.exe here; results come in a plain box only."},
                       extractAgain, language));
  }
  if (facts.isMarked) {
    rows.push_back(row(State::worthKnowing,
                       {"程序带着“来自网络”的标记，Windows 每次都会问。",
                        "The programs are marked as downloaded; Windows asks each time."},
                       {"确认 zip 来自主办方以后，按按钮解除。",
                        "When the zip is from the organiser, unblock them with the button."},
                       language));
    rows.back().button = Button::removeMark;
  }
  return rows;
}

}  // namespace

Findings placeRows(const PlaceFacts& facts, Language language) {
  Findings rows = folderFaults(facts, language);
  for (const Findings& more : {folderDoubts(facts, language), programFaults(facts, language)}) {
    rows.insert(rows.end(), more.begin(), more.end());
  }
  if (rows.empty()) {
    rows.push_back(row(State::good, {"程序在 {1}", "The programs are in {1}"}, kNothingToDo, language,
                       facts.folder));
  }
  return rows;
}

}  // namespace launcher::check
