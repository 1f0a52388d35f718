#include "check/log_runs.h"

#include <algorithm>
#include <cstdlib>

namespace launcher::check {
namespace {

/// The name of a file that a line ends with. The folder before it may be in any code page,
/// even one in which a backslash is half a character, so it is taken by its length.
std::string nameAtEnd(std::string_view line, std::string_view prefix) {
  constexpr std::string_view kStamp = "00000000_000000.json";
  const std::size_t size = prefix.size() + kStamp.size();
  if (line.size() < size) return {};
  const std::string_view name = line.substr(line.size() - size);
  return name.starts_with(prefix) ? std::string(name) : std::string();
}

/// What follows `start` in the line; nothing when it begins otherwise.
std::optional<std::string_view> after(std::string_view line, std::string_view start) {
  if (!line.starts_with(start)) return std::nullopt;
  return line.substr(start.size());
}

int numberIn(std::string_view text) {
  constexpr std::size_t kDigits = 9;
  int value = 0;
  for (std::size_t i = 0; i < std::min(text.size(), kDigits); ++i) {
    if (text[i] < '0' || text[i] > '9') break;
    value = value * 10 + (text[i] - '0');
  }
  return value;
}

/// Lines with a value.
void readValue(std::string_view line, LogRun& run) {
  if (after(line, "receipt archived: ")) {
    run.archive = nameAtEnd(line, "receipt_");
  } else if (after(line, "pending saved: ")) {
    run.pending = nameAtEnd(line, "p_");
  } else if (const auto count = after(line, "pending flushed: ")) {
    run.flushed = numberIn(*count);
  } else if (const auto reason = after(line, "skip reported: ")) {
    run.skipReason = *reason;
  } else if (const auto reply = after(line, "upload response: ")) {
    run.reply = *reply;
    run.answered = true;
  } else if (const auto used = after(line, "livesplit time used: ")) {
    run.submittedTotal = used->substr(0, used->find(' '));
  } else if (const auto verdict = after(line, "stage: upload done (ok=")) {
    run.accepted = verdict->starts_with('1');
  } else if (const auto result = after(line, "upload-only result: ")) {
    run.accepted = *result == "ok";
    run.complete = true;
  }
}

void readLine(std::string_view line, LogRun& run) {
  if (line == "=== upload-only mode ===") {
    run.uploadOnly = run.reachedUpload = true;
  } else if (line == "stage: launching game") {
    run.reachedGame = true;
  } else if (line.starts_with("stage: game closed")) {
    run.gameClosed = true;
  } else if (line == "stage: uploading") {
    run.reachedUpload = true;
  } else if (line == "=== KOV launcher done ===") {
    run.complete = true;
  } else if (line == "no server configured, upload skipped") {
    run.noServer = true;
  } else if (line.starts_with("upload failed (server unreachable)")) {
    run.unreachable = true;
  } else {
    readValue(line, run);
  }
}

}  // namespace

LogRuns readLogRuns(std::string_view log) {
  LogRuns result;
  result.isWhole = log.empty() || log.ends_with('\n');
  for (std::size_t at = 0; at < log.size();) {
    const std::size_t end = log.find('\n', at);
    if (end == std::string_view::npos) break;
    std::string_view line = log.substr(at, end - at);
    if (line.ends_with('\r')) line.remove_suffix(1);
    if (line.starts_with(kStartOfRun)) {
      result.runs.emplace_back();
    } else if (!result.runs.empty()) {
      readLine(line, result.runs.back());
    }
    at = end + 1;
  }
  return result;
}

std::size_t lastRunsBegin(std::string_view log, int count) {
  std::size_t at = log.size();
  for (int found = 0; found < count;) {
    if (at == 0) return 0;
    at = log.rfind(kStartOfRun, at - 1);
    if (at == std::string_view::npos) return 0;
    if (at == 0 || log[at - 1] == '\n') ++found;
  }
  return at;
}

}  // namespace launcher::check
