#pragma once

#include <atomic>
#include <filesystem>
#include <thread>

namespace rehearsal {

/// The player in front of the real result card: looks at it for a moment, of which a
/// picture is kept, and closes it with the Enter key.
class CardPlayer {
 public:
  /// `picture` is where the card's picture goes (.bmp), once there was a card.
  explicit CardPlayer(std::filesystem::path picture);
  ~CardPlayer();
  CardPlayer(const CardPlayer&) = delete;
  CardPlayer& operator=(const CardPlayer&) = delete;

 private:
  void watch() const;

  std::filesystem::path picture_;
  std::atomic<bool> done_ = false;
  std::thread thread_;
};

}  // namespace rehearsal
