#include "check/queue_rows.h"

#include <algorithm>

namespace launcher::check {
namespace {

Finding row(State state, const Wording& what, const Wording& todo, Language language,
            std::initializer_list<std::string_view> values = {}) {
  return filledRow(Stage::queue, state, what, todo, language, values);
}

}  // namespace

std::string stampOf(std::string_view fileName) {
  constexpr std::string_view kShape = "00000000_000000.json";
  if (fileName.size() < kShape.size()) return {};
  const std::string_view stamp = fileName.substr(fileName.size() - kShape.size());
  for (std::size_t i = 0; i < kShape.size(); ++i) {
    const bool digit = stamp[i] >= '0' && stamp[i] <= '9';
    if (kShape[i] == '0' ? !digit : stamp[i] != kShape[i]) return {};
  }
  const auto part = [stamp](std::size_t at, std::size_t size) {
    return std::string(stamp.substr(at, size));
  };
  return part(0, 4) + "-" + part(4, 2) + "-" + part(6, 2) + " " + part(9, 2) + ":" +
         part(11, 2) + ":" + part(13, 2);
}

Findings queueRows(const std::vector<QueuedFile>& queue, std::size_t archived,
                   Language language) {
  const auto sendable = static_cast<std::size_t>(std::count_if(
      queue.begin(), queue.end(), [](const QueuedFile& file) { return file.sendable; }));
  Findings rows;
  if (sendable > 0) {
    std::string oldest;
    for (const QueuedFile& file : queue) {
      const std::string stamp = stampOf(file.name);
      if (file.sendable && !stamp.empty() && (oldest.empty() || stamp < oldest)) oldest = stamp;
    }
    rows.push_back(row(State::worthKnowing,
                       oldest.empty()
                           ? Wording{"有 {1} 个成绩等着补传。", "{1} result(s) wait to be sent."}
                           : Wording{"有 {1} 个成绩等着补传，最早的是 {2}。",
                                     "{1} result(s) wait to be sent, the oldest since {2}."},
                       {"下次打开启动器时会自动补传；也可以现在就传。",
                        "The next start of the launcher sends them; or send them now."},
                       language, {std::to_string(sendable), oldest}));
    rows.back().button = Button::resendQueue;
  }
  for (const QueuedFile& file : queue) {
    if (file.sendable) continue;
    rows.push_back(row(State::worthKnowing,
                       {"补传文件夹里的 {1} 是空的或坏的，永远不会上传。",
                        "{1} in the queue is empty or broken and is never sent."},
                       {"发给主办方看；data\\receipts 里可能有完好的一份。",
                        "Show it to the organiser; data\\receipts may have a good copy."},
                       language, {file.name}));
  }
  if (rows.empty()) {
    rows.push_back(row(State::good,
                       {"没有等着补传的成绩；保存着 {1} 份成绩单。",
                        "No result waits to be sent; {1} receipt(s) are kept."},
                       kNothingToDo, language, {std::to_string(archived)}));
  }
  return rows;
}

}  // namespace launcher::check
