#include "rehearsal/stage/timeline.h"

#include <windows.h>

#include <algorithm>
#include <charconv>

#include "rehearsal/stage/files.h"
#include "rehearsal/stage/win_handle.h"

namespace stage {

namespace {

constexpr std::string_view kPlain = "\\\t\n\r";
constexpr std::string_view kLetters = "\\tnr";

std::string escape(std::string_view text) {
  std::string line;
  line.reserve(text.size());
  for (const char c : text) {
    const std::size_t at = kPlain.find(c);
    if (c == '\0') {
      line += "\\0";
    } else if (at != std::string_view::npos) {
      line += '\\';
      line += kLetters[at];
    } else {
      line += c;
    }
  }
  return line;
}

std::string unescape(std::string_view line) {
  std::string text;
  for (std::size_t i = 0; i < line.size(); ++i) {
    if (line[i] != '\\' || i + 1 == line.size()) {
      text += line[i];
      continue;
    }
    const char letter = line[++i];
    const std::size_t at = kLetters.find(letter);
    text += letter == '0' || at == std::string_view::npos ? '\0' : kPlain[at];
  }
  return text;
}

/// Appending is made whole across processes by this lock: an append is a seek and a write
/// on some systems.
class AppendLock {
 public:
  AppendLock() : mutex_(ownHandle(CreateMutexW(nullptr, FALSE, L"kov-stage-timeline"))) {
    if (mutex_) WaitForSingleObject(mutex_.get(), INFINITE);
  }
  ~AppendLock() {
    if (mutex_) ReleaseMutex(mutex_.get());
  }
  AppendLock(const AppendLock&) = delete;
  AppendLock& operator=(const AppendLock&) = delete;

 private:
  WinHandle mutex_;
};

}  // namespace

std::string formatEvent(const Event& event) {
  return escape(event.who) + '\t' + escape(event.what) + '\t' + escape(event.text);
}

std::optional<Event> parseEvent(std::string_view line) {
  std::vector<std::string_view> fields;
  for (;;) {
    const std::size_t tab = line.find('\t');
    fields.push_back(line.substr(0, tab));
    if (tab == std::string_view::npos) break;
    line.remove_prefix(tab + 1);
  }
  if (fields.size() != 4) return std::nullopt;
  Event event;
  std::from_chars(fields[0].data(), fields[0].data() + fields[0].size(), event.tickMs);
  event.who = unescape(fields[1]);
  event.what = unescape(fields[2]);
  event.text = unescape(fields[3]);
  return event;
}

Timeline::Timeline(std::filesystem::path file) : file_(std::move(file)) {}

void Timeline::append(std::string_view who, std::string_view what, std::string_view text) const {
  if (file_.empty()) return;
  const AppendLock lock;
  const Event event{0, std::string(who), std::string(what), std::string(text)};
  const std::string line = std::to_string(GetTickCount64()) + '\t' + formatEvent(event) + '\n';
  const WinHandle file = ownHandle(CreateFileW(
      file_.c_str(), FILE_APPEND_DATA, FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE,
      nullptr, OPEN_ALWAYS, FILE_ATTRIBUTE_NORMAL, nullptr));
  DWORD written = 0;
  if (file) WriteFile(file.get(), line.data(), static_cast<DWORD>(line.size()), &written, nullptr);
}

std::vector<Event> Timeline::events() const {
  std::vector<Event> all;
  if (file_.empty()) return all;
  const std::string bytes = readFile(file_).value_or("");
  std::string_view rest = bytes;
  for (;;) {
    const std::size_t end = rest.find('\n');
    if (end == std::string_view::npos) break;  // a line without its end is still being written
    if (std::optional<Event> event = parseEvent(rest.substr(0, end))) {
      all.push_back(std::move(*event));
    }
    rest.remove_prefix(end + 1);
  }
  return all;
}

std::vector<Event> Timeline::events(std::string_view who, std::string_view what) const {
  std::vector<Event> all = events();
  std::erase_if(all, [&](const Event& event) {
    return event.who != who || (!what.empty() && event.what != what);
  });
  return all;
}

std::optional<std::string> Timeline::first(std::string_view who, std::string_view what) const {
  const std::vector<Event> found = events(who, what);
  if (found.empty()) return std::nullopt;
  return found.front().text;
}

bool Timeline::waitFor(std::string_view who, std::string_view what, std::size_t count,
                       unsigned limitMs) const {
  const std::uint64_t end = GetTickCount64() + limitMs;
  while (events(who, what).size() < count) {
    if (GetTickCount64() >= end) return false;
    Sleep(10);
  }
  return true;
}

}  // namespace stage
