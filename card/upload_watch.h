#pragma once

#include <cstdint>
#include <string_view>

namespace launcher::card {

/// What upload.state says. The file holds one word without a line end:
///
///   uploading
///
/// and later "done" or "fail". Everything else, an absent file and one caught
/// while it is being rewritten count as `waiting`.
enum class UploadState { waiting, uploading, done, failed };

/// The state in the bytes of the file; blanks and line ends around the word
/// do not matter.
[[nodiscard]] UploadState readUploadState(std::string_view bytes);

/// Milliseconds that the progress card stays at most when nothing changes.
inline constexpr std::uint64_t kProgressLimitMs = 60000;
/// Milliseconds that the outcome stays on the progress card.
inline constexpr std::uint64_t kOutcomeShownMs = 750;

/// Follows an upload: given at short intervals what the file says, it knows
/// what to show and when to close. Times are milliseconds of any one clock.
class UploadWatch {
 public:
  explicit UploadWatch(std::uint64_t startMs) : startMs_(startMs) {}

  /// Takes a reading of the file. The first outcome is final: what comes
  /// after it no longer changes anything.
  void update(std::uint64_t nowMs, UploadState state);

  /// What the card shows: `uploading` until there is an outcome.
  [[nodiscard]] UploadState shown() const { return shown_; }

  /// Whether it is time to close.
  [[nodiscard]] bool isOver(std::uint64_t nowMs) const;

 private:
  std::uint64_t startMs_;
  std::uint64_t outcomeMs_ = 0;
  UploadState shown_ = UploadState::uploading;
};

}  // namespace launcher::card
