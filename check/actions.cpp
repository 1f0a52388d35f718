#include "check/actions.h"

#include "check/edits.h"
#include "check/livesplit_rows.h"
#include "check/notes.h"
#include "check/refusal_text.h"
#include "check/runs.h"
#include "check/system.h"
#include "check/utf8.h"
#include "core/file_io.h"
#include "core/paths.h"
#include "core/platform.h"
#include "livesplit/start.h"
#include "server/pending_queue.h"
#include "server/server_text.h"
#include "steam/discovery.h"

namespace launcher::check {
namespace {

ActionResult result(bool done, const Wording& text, Language language,
                    std::initializer_list<std::string_view> values = {}) {
  return {done, fill(text, language, values)};
}

std::string fileNameOf(const std::string& path) {
  return path.substr(path.rfind('\\') + 1);
}

constexpr Wording kCannotWrite = {
    "{1} 写不进去：文件夹不让写，或者文件正被别的程序打开。",
    "{1} cannot be written: the folder refuses it, or another program has the file open."};

/// A time one second later; days and months are as long as they need to be for a name.
LocalTime oneSecondLater(LocalTime time) {
  if (++time.second < 60) return time;
  time.second = 0;
  if (++time.minute < 60) return time;
  time.minute = 0;
  time.hour = (time.hour + 1) % 24;
  return time;
}

/// The time in the name of an archived receipt, else now.
LocalTime timeOf(const std::string& file) {
  constexpr std::size_t kStamp = sizeof("20250301_214502.json") - 1;
  if (file.size() < kStamp || !file.ends_with(".json")) return localTimeNow();
  const std::string stamp = file.substr(file.size() - kStamp);
  const auto number = [&stamp](std::size_t at, std::size_t size) {
    int value = 0;
    for (const char digit : stamp.substr(at, size)) {
      if (digit < '0' || digit > '9') return -1;
      value = value * 10 + (digit - '0');
    }
    return value;
  };
  const LocalTime time = {number(0, 4), number(4, 2), number(6, 2),
                          number(9, 2), number(11, 2), number(13, 2)};
  for (const int part : {time.year, time.month, time.day, time.hour, time.minute, time.second}) {
    if (part < 0) return localTimeNow();
  }
  return time;
}

bool isInQueue(const std::string& dataFolder, const std::string& bytes) {
  QueueListing queue(dataFolder);
  for (std::string path = queue.next(); !path.empty(); path = queue.next()) {
    if (readWholeFile(path) == bytes) return true;
  }
  return false;
}

/// Writes the entry under the first free name from the run's own time on; empty when it
/// cannot be written.
std::string writeEntry(const std::string& dataFolder, LocalTime time, const std::string& bytes) {
  constexpr int kTries = 60;
  for (int i = 0; i < kTries; ++i, time = oneSecondLater(time)) {
    std::string path = pendingEntryPath(dataFolder, time);
    if (pathExists(path)) continue;
    if (writeNewFile(path, bytes)) return path;
    if (!pathExists(path)) return {};
  }
  return {};
}

/// A name for the copy of a file, beside it, that is not taken.
std::string copyName(const std::string& path) {
  std::string name = path + ".kov-backup";
  for (int i = 2; pathExists(name); ++i) name = path + ".kov-backup" + std::to_string(i);
  return name;
}

std::string sentText(const std::vector<Resent>& results, Language language) {
  std::size_t accepted = 0;
  std::string refused;
  for (const Resent& entry : results) {
    if (entry.accepted) {
      ++accepted;
    } else if (entry.sendable) {
      refused += "\n" + fileNameOf(entry.path) + ": ";
      refused += entry.reply.empty() ? say({"没有连上服务器。", "The server was not reached."}, language)
                                     : refusalText(entry.reply, language);
    }
  }
  return fill({"补传成功 {1} 个，一共 {2} 个。", "{1} of {2} sent and accepted."}, language,
              {std::to_string(accepted), std::to_string(results.size())}) +
         refused;
}

}  // namespace

ActionResult removeMarks(const Machine& machine, Language language) {
  bool done = true;
  for (const wchar_t* program : kPrograms) {
    const std::wstring path = machine.programFolderWide + program;
    if (isMarkedAsDownloaded(path)) done = removeDownloadMark(path) && done;
  }
  return done ? result(true, {"已解除。", "Unblocked."}, language)
              : result(false, kCannotWrite, language, {wideToUtf8(machine.programFolderWide)});
}

ActionResult writeGame(const Machine& machine, const std::wstring& path, Language language) {
  const std::string shown = wideToUtf8(path);
  const std::wstring name = path.substr(path.rfind(L'\\') + 1);
  if (!isSameName(wideToUtf8(name), wideToUtf8(kGameImageName)) || !pathExistsWide(path)) {
    return result(false,
                  {"这不是 Backrooms-Win64-Shipping.exe：{1}",
                   "This is not Backrooms-Win64-Shipping.exe: {1}"},
                  language, {shown});
  }
  const std::optional<std::string> ansi = toAnsi(path);
  if (!ansi) {
    return result(false,
                  {"这个路径里有这台 Windows 的 ANSI 编码没有的字，启动器用不了：{1}",
                   "This path has characters that Windows' ANSI code page lacks; the launcher "
                   "cannot use it: {1}"},
                  language, {shown});
  }
  const std::optional<std::string> bytes = readFile(machine.settingsPath);
  if (!bytes && pathExists(machine.settingsPath)) {
    return result(false, kCannotWrite, language, {"launcher.ini"});
  }
  const std::optional<std::string> changed = withGame(bytes.value_or(""), *ansi);
  if (!bytes || !changed) {
    return result(false,
                  {"launcher.ini 读不了；从玩家包里重新解压它。",
                   "launcher.ini cannot be read; extract it from the zip again."},
                  language);
  }
  if (!replaceFile(machine.settingsPath, *changed)) {
    return result(false, kCannotWrite, language, {"launcher.ini"});
  }
  return result(true, {"已写入 launcher.ini：game={1}", "Written to launcher.ini: game={1}"},
                language, {shown});
}

ActionResult startTimerServer(const Machine& machine, Language language) {
  if (findProcessByName(kLivesplitImageName) != 0) {
    return result(false,
                  {"LiveSplit 还开着，它关闭时会写回旧的设置。先关掉它。",
                   "LiveSplit runs and would write its old settings back when it closes. Close it "
                   "first."},
                  language);
  }
  const std::string path = timerConfigPath(machine);
  const std::optional<std::string> bytes = readFile(path);
  if (!bytes && pathExists(path)) return result(false, kCannotWrite, language, {"settings.cfg"});
  const std::optional<std::string> changed = withServerStartup(bytes.value_or(""));
  if (!changed) {
    return result(false,
                  {"LiveSplit 的设置里没有可以改的 ServerStartup。",
                   "LiveSplit's settings have no ServerStartup to change."},
                  language);
  }
  const std::string copy = copyName(path);
  if (!writeNewFile(copy, *bytes) || !replaceFile(path, *changed)) {
    return result(false, kCannotWrite, language, {"settings.cfg"});
  }
  return result(true,
                {"计时服务器以后会和 LiveSplit 一起启动。原来的设置留在 {1}。",
                 "The server will start with LiveSplit from now on. The old settings are kept as "
                 "{1}."},
                language, {fileNameOf(copy)});
}

ActionResult putIntoQueue(const Machine& machine, const RunRow& run, Language language) {
  const std::string& data = machine.settings.data;
  const std::optional<std::string> bytes = readFile(run.queueSource);
  if (!bytes || !isSendable(*bytes) || !isFinished(*bytes)) {
    return result(false, {"这份成绩单读不了，或者没有跑到结局。",
                          "This receipt cannot be read, or reached no ending."},
                  language);
  }
  if (isInQueue(data, *bytes)) {
    return result(false, {"它已经在补传队列里。", "It is in the queue already."}, language);
  }
  createFolder(inDataFolder(data, kPendingFolder));
  const std::string entry = writeEntry(data, timeOf(run.queueSource), *bytes);
  if (entry.empty()) return result(false, kCannotWrite, language, {kPendingFolder});
  appendNote(data, noteOfQueued(fileNameOf(run.queueSource), fileNameOf(entry)));
  return result(true,
                {"已放进补传队列，下次打开启动器时会传；也可以现在就传。",
                 "It is in the queue; the next start sends it, or send it now."},
                language);
}

ActionResult resendQueue(const Machine& machine, Language language) {
  Settings settings = machine.settings;
  (void)resolvePlayer(settings);
  std::vector<Resent> results;
  flushPending(settings, &results);
  bool all = true;
  for (const Resent& entry : results) {
    all = all && entry.accepted;
    if (entry.accepted) {
      appendNote(settings.data, noteOfSent(fileNameOf(entry.path), entry.reply));
    }
  }
  if (results.empty()) {
    return result(false, {"没有可以补传的成绩，或者没有设置服务器。",
                          "There is nothing to send, or no server is set."},
                  language);
  }
  return {all, sentText(results, language)};
}

ActionResult writeSupportFile(const std::wstring& path, const std::string& text,
                              Language language) {
  const std::wstring whole = wholePath(path);
  if (!writeFileWhole(whole, text)) {
    return result(false, kCannotWrite, language, {wideToUtf8(whole)});
  }
  return result(true, {"已写好：{1}", "Written: {1}"}, language, {wideToUtf8(whole)});
}

}  // namespace launcher::check
