#include "core/log.h"

#include <cstdarg>
#include <cstdio>

#include "core/text.h"
#include "core/win_handle.h"

namespace launcher {
namespace {

UniqueFile& logFile() {
  static UniqueFile file;
  return file;
}

std::string formatText(const char* format, std::va_list values) {
  std::va_list again;
  va_copy(again, values);
  const int length = std::vsnprintf(nullptr, 0, format, again);
  va_end(again);
  if (length <= 0) return {};
  std::string text(static_cast<std::size_t>(length), '\0');
  (void)std::vsnprintf(text.data(), text.size() + 1, format, values);
  return text;
}

/// One write of all bytes. The C library's streams are not used for this: on an
/// unbuffered stream they write a line in pieces, and a console that gets half
/// of a Chinese character shows neither half.
void writeAll(HANDLE file, const std::string& bytes) {
  DWORD written = 0;
  (void)WriteFile(file, bytes.data(), static_cast<DWORD>(bytes.size()), &written, nullptr);
}

void writeConsole(const std::string& bytes) { writeAll(GetStdHandle(STD_OUTPUT_HANDLE), bytes); }

}  // namespace

void openLog(const std::string& path) {
  logFile() = UniqueFile(CreateFileA(path.c_str(), FILE_APPEND_DATA,
                                     FILE_SHARE_READ | FILE_SHARE_WRITE, nullptr, OPEN_ALWAYS,
                                     FILE_ATTRIBUTE_NORMAL, nullptr));
}

void logLine(const char* format, ...) {
  std::va_list values;
  va_start(values, format);
  const std::string bytes = toTextMode(formatText(format, values) + "\n");
  va_end(values);
  if (logFile()) writeAll(logFile().get(), bytes);
  writeConsole(bytes);
}

void consolePrint(const char* format, ...) {
  std::va_list values;
  va_start(values, format);
  const std::string bytes = toTextMode(formatText(format, values));
  va_end(values);
  writeConsole(bytes);
}

void closeLog() { logFile().reset(); }

}  // namespace launcher
