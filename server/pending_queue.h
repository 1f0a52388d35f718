#pragma once

#include <string>
#include <vector>

#include "core/platform.h"
#include "core/settings.h"

namespace launcher {

/// The files of the queue, in the order in which Windows hands them out.
class QueueListing {
 public:
  explicit QueueListing(const std::string& dataFolder);

  /// False when there is no queue or nothing in it.
  [[nodiscard]] bool started() const { return listing_.started(); }

  /// Path of the next file; empty after the last.
  [[nodiscard]] std::string next();

 private:
  std::string folder_;
  FolderListing listing_;
};

/// What became of one queued run when it was sent.
struct Resent {
  std::string path;
  bool sendable = false;  ///< false: its text is none that can be sent
  bool accepted = false;
  std::string reply;      ///< empty when no answer came
};

/// Keeps a copy of the run's result file (the mod's result file when it exists,
/// else the receipt) in the data folder's queue. Silent when it cannot.
void savePending(const Settings& settings);

/// Sends every queued result again and deletes those that the server accepts; the
/// others stay as they are for the next start. Silent without a queue or a server. `results`,
/// when there is one, takes what became of each.
void flushPending(const Settings& settings, std::vector<Resent>* results = nullptr);

}  // namespace launcher
