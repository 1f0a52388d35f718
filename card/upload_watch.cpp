#include "card/upload_watch.h"

#include <cstddef>

namespace launcher::card {

UploadState readUploadState(std::string_view bytes) {
  constexpr std::string_view kBlanks = " \t\r\n";
  const std::size_t first = bytes.find_first_not_of(kBlanks);
  if (first == std::string_view::npos) return UploadState::waiting;
  const std::string_view word =
      bytes.substr(first, bytes.find_last_not_of(kBlanks) - first + 1);
  if (word == "uploading") return UploadState::uploading;
  if (word == "done") return UploadState::done;
  if (word == "fail") return UploadState::failed;
  return UploadState::waiting;
}

void UploadWatch::update(std::uint64_t nowMs, UploadState state) {
  if (shown_ != UploadState::uploading) return;
  if (state != UploadState::done && state != UploadState::failed) return;
  shown_ = state;
  outcomeMs_ = nowMs;
}

bool UploadWatch::isOver(std::uint64_t nowMs) const {
  if (shown_ != UploadState::uploading) return nowMs - outcomeMs_ >= kOutcomeShownMs;
  return nowMs - startMs_ >= kProgressLimitMs;
}

}  // namespace launcher::card
