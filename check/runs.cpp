#include "check/runs.h"

#include <algorithm>
#include <cmath>
#include <cstdlib>

#include "check/log_runs.h"
#include "check/queue_rows.h"
#include "check/refusal_text.h"
#include "core/result_text.h"
#include "core/text.h"
#include "result/flat_json.h"
#include "result/run_check.h"
#include "server/server_text.h"

namespace launcher::check {
namespace {

/// One run: its copies, and the starts that had to do with it.
struct Run {
  const KeptFile* file = nullptr;        ///< its first copy
  std::vector<std::string> names;        ///< of all its copies
  std::vector<const LogRun*> starts;
  std::string order;                     ///< by which it is sorted
  bool isLast = false;                   ///< the last start that had to do with any run
};

struct Note {
  bool sent = false;
  std::string first;   ///< the receipt that was queued, or the entry that was sent
  std::string second;  ///< the entry, or the server's reply
};

std::vector<Note> parseNotes(std::string_view text) {
  std::vector<Note> notes;
  while (!text.empty()) {
    const std::string_view line = text.substr(0, text.find('\n'));
    text.remove_prefix(std::min(line.size() + 1, text.size()));
    const std::size_t one = line.find(' ');
    if (one == std::string_view::npos) continue;
    const std::size_t two = std::min(line.find(' ', one + 1), line.size());
    const std::string_view word = line.substr(0, one);
    if (word != "queued" && word != "sent") continue;
    notes.push_back({word == "sent", std::string(line.substr(one + 1, two - one - 1)),
                     trimBlanks(line.substr(std::min(two + 1, line.size())))});
  }
  return notes;
}

/// Groups what is there into runs and says of each what became of it.
class Teller {
 public:
  Teller(const RunFacts& facts, Language language)
      : facts_(facts), language_(language), log_(readLogRuns(facts.log)),
        notes_(parseNotes(facts.notes)) {
    collectFiles();
    collectStarts();
    countLeft();
  }

  RunRows tell() {
    std::vector<std::size_t> newestFirst(runs_.size());
    for (std::size_t i = 0; i < runs_.size(); ++i) newestFirst[i] = i;
    std::sort(newestFirst.begin(), newestFirst.end(), [this](std::size_t one, std::size_t other) {
      const int order = runs_[one].order.compare(runs_[other].order);
      return order != 0 ? order > 0 : one < other;
    });
    RunRows rows;
    addReceipt(rows);
    for (const std::size_t i : newestFirst) rows.push_back(rowOf(runs_[i]));
    return rows;
  }

 private:
  // Which runs there are --------------------------------------------------------------------

  /// Copies of equal content are one run: a receipt that no new one replaced is archived again.
  void collectFiles() {
    for (const KeptFile& file : facts_.archived) {
      Run* same = file.bytes.empty() ? nullptr : runOfBytes(file.bytes);
      if (same == nullptr) {
        runs_.push_back({});
        same = &runs_.back();
        same->file = &file;
        same->order = stampOf(file.name);
      }
      same->names.push_back(file.name);
    }
  }

  Run* runOfBytes(const std::string& bytes) {
    const auto found = std::find_if(runs_.begin(), runs_.end(), [&bytes](const Run& run) {
      return run.file != nullptr && run.file->bytes == bytes;
    });
    return found == runs_.end() ? nullptr : &*found;
  }

  Run* runOfName(const std::string& name) {
    const auto found = std::find_if(runs_.begin(), runs_.end(), [&name](const Run& run) {
      return std::find(run.names.begin(), run.names.end(), name) != run.names.end();
    });
    return found == runs_.end() ? nullptr : &*found;
  }

  /// A start belongs to the run that it archived; --upload to the run before it.
  void collectStarts() {
    std::size_t current = npos;
    for (const LogRun& start : log_.runs) {
      if (!start.reachedGame && !start.uploadOnly) continue;
      if (!start.archive.empty()) {
        const Run* known = runOfName(start.archive);
        current = known != nullptr ? static_cast<std::size_t>(known - runs_.data())
                                   : addRun(stampOf(start.archive), start.archive);
      } else if (const std::size_t copied = unloggedCopy(start, current); copied != npos) {
        current = copied;
      } else if (!start.uploadOnly || current == npos) {
        // After the run before it, whose time is the last one known.
        current = addRun(current == npos ? "" : runs_[current].order + "+", "");
      }
      runs_[current].starts.push_back(&start);
    }
    if (current != npos) runs_[current].isLast = true;
  }

  /// Ended between the archive copy and its line in the log, or just before that copy.
  static bool endedAtTheCopy(const LogRun& start) {
    return start.gameClosed && start.archive.empty() && !start.reachedUpload && !start.complete;
  }

  /// The run of a start that ended at the copy: of the copies that no line names and that lie,
  /// by their time, between the runs around this start. There may be older ones, of a log that
  /// is gone: each such start from here to the next named copy made one of the newest.
  std::size_t unloggedCopy(const LogRun& start, std::size_t current) {
    if (!endedAtTheCopy(start)) return npos;
    std::string next = "9";
    std::size_t startsLeft = 0;
    for (const LogRun* later = &start; later != log_.runs.data() + log_.runs.size(); ++later) {
      if (!later->archive.empty()) {
        next = stampOf(later->archive);
        break;
      }
      if (endedAtTheCopy(*later)) ++startsLeft;
    }
    const std::string before = current == npos ? "" : runs_[current].order;
    std::vector<std::size_t> found;
    for (std::size_t i = 0; i < runs_.size(); ++i) {
      const Run& run = runs_[i];
      if (run.file == nullptr || !run.starts.empty() || isNamed(run)) continue;
      if (run.order > before && run.order < next) found.push_back(i);
    }
    if (found.empty()) return npos;
    return found[found.size() - std::min(startsLeft, found.size())];
  }

  /// True when the log names a copy of the run.
  [[nodiscard]] bool isNamed(const Run& run) const {
    return std::any_of(log_.runs.begin(), log_.runs.end(), [&run](const LogRun& start) {
      return std::find(run.names.begin(), run.names.end(), start.archive) != run.names.end();
    });
  }

  std::size_t addRun(std::string order, std::string name) {
    Run run;
    run.order = std::move(order);
    if (!name.empty()) run.names.push_back(std::move(name));
    runs_.push_back(std::move(run));
    return runs_.size() - 1;
  }

  // The queue -------------------------------------------------------------------------------

  [[nodiscard]] bool isQueued(const std::string& entry) const {
    return std::any_of(facts_.queued.begin(), facts_.queued.end(),
                       [&entry](const KeptFile& file) { return file.name == entry; });
  }

  [[nodiscard]] bool isQueuedText(const Run& run) const {
    return run.file != nullptr && !run.file->bytes.empty() &&
           std::any_of(facts_.queued.begin(), facts_.queued.end(), [&run](const KeptFile& file) {
             return file.bytes == run.file->bytes;
           });
  }

  /// The queue entries that were made of a run.
  [[nodiscard]] std::vector<std::string> entriesOf(const Run& run) const {
    std::vector<std::string> entries;
    for (const LogRun* start : run.starts) {
      if (!start->pending.empty()) entries.push_back(start->pending);
    }
    for (const Note& note : notes_) {
      const bool own = !note.sent && std::find(run.names.begin(), run.names.end(), note.first) !=
                                         run.names.end();
      if (own) entries.push_back(note.second);
    }
    return entries;
  }

  [[nodiscard]] const Note* sentNote(const std::string& entry) const {
    for (const Note& note : notes_) {
      if (note.sent && note.first == entry) return &note;
    }
    return nullptr;
  }

  /// Entries that left the queue, and how many the launcher says were accepted: only when these
  /// agree is an entry that is gone an accepted one.
  void countLeft() {
    for (const Run& run : runs_) {
      for (const std::string& entry : entriesOf(run)) {
        if (!isQueued(entry) && sentNote(entry) == nullptr) ++left_;
      }
    }
    for (const LogRun& start : log_.runs) flushed_ += start.flushed;
  }

  // What became of a run --------------------------------------------------------------------

  [[nodiscard]] std::string words(const Wording& wording) const { return say(wording, language_); }

  static void set(RunRow& row, Fate fate, std::string outcome) {
    row.fate = fate;
    row.outcome = std::move(outcome);
  }

  [[nodiscard]] std::string acceptedText(const std::string& reply) const {
    const int rank = integerAfter(reply, "\"rank\":", 0);
    if (rank <= 0) return words({"服务器收下了。", "Accepted by the server."});
    return fill({"服务器收下了：第 {1} 名，{2} 分。", "Accepted: rank {1}, {2} points."}, language_,
                {std::to_string(rank), std::to_string(integerAfter(reply, "\"points\":", 0))});
  }

  bool tellAccepted(const Run& run, RunRow& row) const {
    for (const LogRun* start : run.starts) {
      if (!start->accepted.value_or(acceptsRun(start->reply))) continue;
      set(row, Fate::accepted, acceptedText(start->reply));
      if (!start->submittedTotal.empty()) row.time = shownTime(start->submittedTotal);
      return true;
    }
    for (const std::string& entry : entriesOf(run)) {
      if (isQueued(entry)) continue;
      if (const Note* note = sentNote(entry)) {
        set(row, Fate::accepted, acceptedText(note->second));
        return true;
      }
    }
    return false;
  }

  /// The last answer that a run got, if any.
  static const LogRun* lastAnswer(const Run& run) {
    for (auto start = run.starts.rbegin(); start != run.starts.rend(); ++start) {
      if ((*start)->answered) return *start;
    }
    return nullptr;
  }

  bool tellQueued(const Run& run, RunRow& row) const {
    const std::vector<std::string> entries = entriesOf(run);
    const bool waits = isQueuedText(run) ||
                       std::any_of(entries.begin(), entries.end(), [this](const std::string& entry) {
                         return isQueued(entry);
                       });
    if (waits) {
      const LogRun* answer = lastAnswer(run);
      set(row, Fate::waiting,
          answer == nullptr
              ? words({"在补传队列里，下次打开启动器时会传。",
                       "Waits in the queue; the next start sends it."})
              : refusalText(answer->reply, language_) +
                    words({"在补传队列里，每次启动都会再传。",
                           " It waits in the queue; each start sends it again."}));
      return true;
    }
    if (entries.empty()) return false;
    if (flushed_ >= left_) {
      set(row, Fate::accepted, words({"补传成功，服务器收下了。",
                                      "Accepted when it was sent again from the queue."}));
    } else {
      set(row, Fate::unknown, words({"排过队，但文件不见了，不知道传上去没有。",
                                     "It was queued, but its file is gone; whether it was sent is "
                                     "not known."}));
    }
    return true;
  }

  /// The last run of a log can look broken off because the log was cut, or because the launcher
  /// still runs.
  [[nodiscard]] bool isLogSure(const Run& run) const {
    if (!run.isLast) return true;
    return log_.isWhole && !facts_.launcherRuns && trimBlanks(facts_.launchState) != "done";
  }

  /// The receipt on the disk is this run's: an accepted one would have been deleted.
  [[nodiscard]] bool isStillThere(const Run& run) const {
    return run.file != nullptr && facts_.receipt && !run.file->bytes.empty() &&
           facts_.receipt->bytes == run.file->bytes;
  }

  void tellUnsent(const Run& run, const Wording& why, RunRow& row) const {
    if (run.file == nullptr) {
      set(row, Fate::unknown, words({"没有留下成绩单。", "No receipt was kept."}));
    } else if (!isFinished(run.file->bytes)) {
      set(row, Fate::notFinished, skipText("", language_));
    } else {
      set(row, Fate::neverSent, words(why));
      row.queueSource = run.file->path;
    }
  }

  /// A refused run goes into the queue, too, unless the launcher was ended before that.
  void tellRefused(const Run& run, const LogRun& answer, RunRow& row) const {
    set(row, Fate::refused, refusalText(answer.reply, language_));
    if (answer.complete || answer.accepted || !isLogSure(run) || run.file == nullptr ||
        !isFinished(run.file->bytes)) {
      return;
    }
    row.outcome += words({"启动器在它进补传队列之前被关掉了。",
                          " The launcher was closed before it was queued."});
    row.queueSource = run.file->path;
  }

  void tellFromLog(const Run& run, RunRow& row) const {
    const LogRun& start = *run.starts.back();
    if (const LogRun* answer = lastAnswer(run)) {
      tellRefused(run, *answer, row);
      return;
    }
    if (!start.skipReason.empty()) {
      set(row, Fate::notFinished, skipText(start.skipReason, language_));
      return;
    }
    if (start.noServer) {
      tellUnsent(run, {"没有传：launcher.ini 里没有 server=。",
                       "Never sent: launcher.ini had no server=."},
                 row);
      return;
    }
    if (start.unreachable) {
      tellUnsent(run, {"没有传上去：没有连上服务器，也没有进补传队列。",
                       "Never sent: the server was not reached, and it was not queued."},
                 row);
      return;
    }
    if (!isLogSure(run) && !isStillThere(run)) {
      set(row, Fate::unknown,
          facts_.launcherRuns
              ? words({"启动器还开着。", "The launcher is still running."})
              : words({"日志不完整，看不出结果。", "The log is incomplete and does not say."}));
      return;
    }
    tellUnsent(run, {"没有传：启动器在上传完之前被关掉了。",
                     "Never sent: the launcher was closed before it was done."},
               row);
  }

  void tellFate(const Run& run, RunRow& row) const {
    if (tellAccepted(run, row) || tellQueued(run, row)) return;
    if (!run.starts.empty()) {
      tellFromLog(run, row);
    } else if (run.file != nullptr && !isFinished(run.file->bytes)) {
      set(row, Fate::notFinished, skipText("", language_));
    } else if (isStillThere(run)) {
      tellUnsent(run, {"没有传上去：成绩单还在原处。",
                       "Never sent: the receipt is still in its place."},
                 row);
    } else {
      set(row, Fate::unknown,
          words({"日志里没有这一次，不知道传上去没有。",
                 "The log does not mention it; whether it was sent is not known."}));
    }
  }

  // Rows ------------------------------------------------------------------------------------

  static void readResult(const std::string& bytes, RunRow& row) {
    const Receipt receipt(bytes);
    row.time = shownTime(rawValueAfter(bytes, "\"total\":").value_or(""));
    const EndingSplit ending = receipt.endingSplit();
    row.ending = quotedValueAfter(bytes, "\"ending\":").value_or("");
    if (row.ending != "main" && row.ending != "arcade" && row.ending != "true") {
      row.ending = ending.found ? inferEnding(ending.map, receipt.splitCount()) : "";
    }
    row.difficulty = receipt.gameDifficulty().value_or("");
  }

  [[nodiscard]] RunRow rowOf(const Run& run) const {
    RunRow row;
    if (!run.names.empty()) row.when = stampOf(run.names.front());
    if (run.file != nullptr) readResult(run.file->bytes, row);
    tellFate(run, row);
    return row;
  }

  /// A receipt that was never archived: the launcher ended while the game ran.
  void addReceipt(RunRows& rows) {
    if (!facts_.receipt || facts_.launcherRuns) return;
    const std::string& bytes = facts_.receipt->bytes;
    const auto isSame = [&bytes](const KeptFile& file) { return file.bytes == bytes; };
    if (!isFinished(bytes) || runOfBytes(bytes) != nullptr ||
        std::any_of(facts_.queued.begin(), facts_.queued.end(), isSame)) {
      return;
    }
    RunRow row;
    readResult(bytes, row);
    set(row, Fate::neverSent,
        words({"没有传：启动器在比赛结束前被关掉了；下一次比赛会覆盖它。",
               "Never sent: the launcher was closed before the game; the next run overwrites "
               "it."}));
    row.queueSource = facts_.receipt->path;
    rows.push_back(std::move(row));
  }

  const RunFacts& facts_;
  Language language_;
  LogRuns log_;
  std::vector<Note> notes_;
  std::vector<Run> runs_;
  int left_ = 0;
  int flushed_ = 0;
};

}  // namespace

RunRows runRows(const RunFacts& facts, Language language) {
  return Teller(facts, language).tell();
}

bool isFinished(const std::string& bytes) {
  const Receipt receipt(bytes);
  if (receipt.reject(true)) return false;
  return isFinishedRun(bytes) || (!receipt.reject(false) && receipt.endingSplit().found);
}

std::string shownTime(const std::string& seconds) {
  constexpr double kLongest = 1e7;
  const double value = std::atof(seconds.c_str());
  if (!(value > 0.0) || value > kLongest) return {};
  const auto hundredths = static_cast<long>(value * 100.0 + 0.5);
  const long minutes = hundredths / 6000;
  std::string text;
  if (minutes >= 60) appendPadded(text, minutes / 60, 1);
  if (minutes >= 60) text += ":";
  appendPadded(text, minutes % 60, minutes < 60 ? 1 : 2);
  appendPadded(text += ":", hundredths / 100 % 60, 2);
  appendPadded(text += ".", hundredths % 100, 2);
  return text;
}

std::string noteOfQueued(std::string_view receipt, std::string_view entry) {
  std::string line = "queued ";
  return line.append(receipt).append(" ").append(entry).append("\n");
}

std::string noteOfSent(std::string_view entry, std::string_view reply) {
  std::string line = "sent ";
  line.append(entry).append(" ");
  // Without what may be a login code: the two numbers are all that is read again.
  const std::string text(reply);
  line += "\"rank\":" + std::to_string(integerAfter(text, "\"rank\":", 0)) + ",\"points\":" +
          std::to_string(integerAfter(text, "\"points\":", 0));
  return line.append("\n");
}

}  // namespace launcher::check
