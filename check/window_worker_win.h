#pragma once

#include <memory>
#include <optional>

#include "check/actions.h"
#include "check/finding.h"
#include "check/machine.h"
#include "core/win_handle.h"

namespace launcher::check {

/// What the worker is given: one slow question, or none, which sends the queue.
struct WorkerTask {
  unsigned round = 0;  ///< comes back with the answer, which is stale when it is an old one
  std::optional<Question> question = {};
  Machine machine = {};
  Language language = Language::chinese;
};

struct WorkerAnswer {
  unsigned round = 0;
  std::optional<Question> question = {};
  Findings rows = {};      ///< with a question
  ActionResult sent = {};  ///< without
};

/// The one thread that does what can take long, one task at a time. Its answers are posted to
/// a window, as a message whose LPARAM is a WorkerAnswer that the receiver owns.
class Worker {
 public:
  Worker(HWND window, UINT message);
  Worker(const Worker&) = delete;
  Worker& operator=(const Worker&) = delete;
  /// Waits for the thread. Not to be reached while it is busy: a question that nobody answers
  /// can take a minute, and then the whole program is to end instead.
  ~Worker();

  /// True from start() until takeAnswer().
  [[nodiscard]] bool busy() const { return busy_; }

  /// Hands the thread its next task. Only while it is not busy.
  void start(std::unique_ptr<WorkerTask> task);

  /// The answer that came with a message.
  [[nodiscard]] std::unique_ptr<WorkerAnswer> takeAnswer(LPARAM answer);

 private:
  static DWORD WINAPI work(void* worker);
  void post(std::unique_ptr<WorkerAnswer> answer) const;

  HWND window_;
  UINT message_;
  bool busy_ = false;                 // the window's thread alone looks at it
  std::unique_ptr<WorkerTask> task_;  // the thread takes it after the event; none: the end
  UniqueProcess wake_;
  UniqueProcess thread_;
};

}  // namespace launcher::check
