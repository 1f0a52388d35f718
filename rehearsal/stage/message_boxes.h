#pragma once

#include <cstdint>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "rehearsal/stage/timeline.h"

namespace stage {

/// One message box that was seen.
struct SeenBox {
  std::uint32_t processId = 0;
  std::string imageName;  ///< of its process: "launcher.exe"
  std::string caption;    ///< UTF-8
  std::string text;       ///< UTF-8, line ends as in the box
  /// "none", "error", "information", "warning", "question"; "unknown" when the box has an
  /// icon that is none of these.
  std::string icon;
  /// Whether it is a topmost window. Always false under Wine 8, whose boxes ignore that wish:
  /// the exact style of a box is in RunResult::boxCalls.
  bool topmost = false;
  bool owned = false;          ///< it has an owner window
  std::vector<std::string> buttons;  ///< captions of its buttons, "&" removed
  unsigned openMs = 0;         ///< how long it stood open until it was closed; 0 while open
};

/// Watches for message boxes of other processes (windows of class "#32770" with a text and
/// a button), records each and closes it with its OK button as a player would.
///
/// With a timeline it writes "box open" ("caption|icon|text") and "box close" (caption).
class MessageBoxWatcher {
 public:
  struct Options {
    std::uint32_t processId = 0;       ///< only boxes of this process; 0: of any but ours
    bool ourOwnToo = false;            ///< also boxes of this very process
    bool close = true;                 ///< false: leave every box open until closeAll()
    unsigned closeAfterMs = 0;         ///< how long the player reads before clicking
    Timeline timeline = {};
  };

  MessageBoxWatcher();
  explicit MessageBoxWatcher(Options options);
  ~MessageBoxWatcher();
  MessageBoxWatcher(const MessageBoxWatcher&) = delete;
  MessageBoxWatcher& operator=(const MessageBoxWatcher&) = delete;

  /// Every box so far, in the order of appearance.
  [[nodiscard]] std::vector<SeenBox> boxes() const;

  /// Waits until that many boxes have appeared; false when the limit passes first.
  [[nodiscard]] bool waitForBoxes(std::size_t count, unsigned limitMs = 10000) const;

  /// From now on closes what is open and what comes.
  void closeAll();

 private:
  struct Impl;
  std::unique_ptr<Impl> impl_;
};

}  // namespace stage
