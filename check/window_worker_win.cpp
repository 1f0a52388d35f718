#include "check/window_worker_win.h"

#include "check/report.h"
#include "core/platform.h"

namespace launcher::check {

Worker::Worker(HWND window, UINT message)
    : window_(window),
      message_(message),
      wake_(CreateEventW(nullptr, FALSE, FALSE, nullptr)),
      thread_(CreateThread(nullptr, 0, work, this, 0, nullptr)) {}

Worker::~Worker() {
  (void)SetEvent(wake_.get());
  (void)WaitForSingleObject(thread_.get(), INFINITE);
}

void Worker::start(std::unique_ptr<WorkerTask> task) {
  busy_ = true;
  task_ = std::move(task);
  (void)SetEvent(wake_.get());
}

std::unique_ptr<WorkerAnswer> Worker::takeAnswer(LPARAM answer) {
  busy_ = false;
  return std::unique_ptr<WorkerAnswer>(reinterpret_cast<WorkerAnswer*>(answer));
}

void Worker::post(std::unique_ptr<WorkerAnswer> answer) const {
  // A queue of messages that is full empties again, unless the window is gone.
  constexpr DWORD kAgainMs = 50;
  while (!PostMessageW(window_, message_, 0, reinterpret_cast<LPARAM>(answer.get()))) {
    if (!IsWindow(window_)) return;
    Sleep(kAgainMs);
  }
  (void)answer.release();
}

DWORD WINAPI Worker::work(void* worker) {
  Worker& self = *static_cast<Worker*>(worker);
  takeMissingDisksForMissingFiles();
  for (;;) {
    (void)WaitForSingleObject(self.wake_.get(), INFINITE);
    const std::unique_ptr<WorkerTask> task = std::move(self.task_);
    if (!task) return 0;
    auto answer = std::make_unique<WorkerAnswer>();
    answer->round = task->round;
    answer->question = task->question;
    if (task->question) {
      answer->rows = ask(*task->question, task->machine, task->language);
    } else {
      answer->sent = resendQueue(task->machine, task->language);
    }
    self.post(std::move(answer));
  }
}

}  // namespace launcher::check
